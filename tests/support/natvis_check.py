"""natvis_check.py NATVIS HEADER-FOLDER...: no debugger that reads the views is at hand, so at least they must be well-formed and
name classes and members that there are. GDB has a Python where the machine has none."""
import glob
import os
import re
import xml.etree.ElementTree as tree

WORDS_OF_THE_FORMAT = {"nullptr", "this", "size_t", "unsigned", "char", "T1", "T4", "su", "sb", "x", "entry"}


def check(natvis, folders):
    sources = "".join(
        open(name, encoding="utf-8").read()
        for folder in folders
        for name in glob.glob(os.path.join(folder, "*.h")) + glob.glob(os.path.join(folder, "shglobal.cpp"))
    )
    known = set(re.findall(r"\w+", sources)) | WORDS_OF_THE_FORMAT
    faults, types = [], 0
    for kind in tree.parse(natvis).getroot():
        name = kind.get("Name")
        types += 1
        if not re.search(r"\b(class|struct)\b[^;{]*\b%s\b[^;]*\{" % name.split("<")[0], sources):
            faults.append("%s: no such class" % name)
        for part in kind.iter():
            text = part.text or ""
            if part.tag.endswith("DisplayString"):
                text = " ".join(re.findall(r"\{([^}]*)\}", text))
            texts = [text, part.get("Condition") or ""] + re.findall(r"\{([^}]*)\}", part.get("Name") or "")
            for word in re.findall(r"[A-Za-z_]\w*", re.sub(r"0x[0-9a-f]+", "", " ".join(texts))):
                if word not in known:
                    faults.append("%s: no member %s" % (name, word))
    return faults, types
