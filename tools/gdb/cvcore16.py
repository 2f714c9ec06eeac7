"""GDB views of CVCore16's classes: (gdb) source cvcore16.py

    (gdb) print title                 $1 = L"Report"
    (gdb) print stock                 $2 = SMap of 2 = {[L"apples"] = 3, [L"pears"] = 1}

They read memory and call nothing in the program, so they work on one that is broken, too. The compiler
describes a class with virtual functions only where its first one is compiled, so with a DLL that has no debug
information the program does not know the fields of __STree, SDListItem, SClassInfo and others: those are read
by the layouts that the headers promise. `print/r` shows what the compiler knows. A value that cannot be right
is said to be damaged and not followed.
"""

import re

import gdb
import gdb.printing

MOST_ITEMS = 100000  # a list or map that runs in circles ends there
MOST_BYTES = 32  # of a blob that are shown


def pointer_size():
    return gdb.lookup_type("void").pointer().sizeof


def address_of(pointer):
    return int(pointer.cast(gdb.lookup_type("unsigned long long"))) & (256 ** pointer_size() - 1)


def memory(address, size):
    return bytes(gdb.selected_inferior().read_memory(address, size))


def number(address, size=4, signed=False):
    return int.from_bytes(memory(address, size), "little", signed=signed)


def pointer_at(address):
    return number(address, pointer_size())


def most_elements():
    limit = gdb.parameter("print elements")
    return MOST_ITEMS if limit is None or limit == 0 else limit


def quoted(text):
    plain = {"\\": "\\\\", '"': '\\"', "\n": "\\n", "\r": "\\r", "\t": "\\t", "\0": "\\0"}
    return 'L"%s"' % "".join(plain.get(c, c if c.isprintable() else "\\x%x" % ord(c)) for c in text)


def base_type(kind, name):
    """The base of a type that has a name (without template arguments), at any depth; the type itself too."""
    kind = kind.strip_typedefs()
    if (kind.tag or "").split("<")[0] == name:
        return kind
    for field in kind.fields():
        if field.is_base_class:
            found = base_type(field.type, name)
            if found is not None:
                return found
    return None


def object_at(address):
    """An object as what it is: the symbol of its virtual table has the name of its class. None if unknown."""
    symbol = gdb.execute("info symbol 0x%x" % pointer_at(address), to_string=True)
    name = re.match(r"vtable for (.*) \+ \d+ in section", symbol)
    if not name:
        return None
    try:
        return gdb.Value(address).cast(gdb.lookup_type(name.group(1)).pointer()).dereference()
    except gdb.error:
        return None


def item_at(address, base):
    """The same for an item of a list or tree; by its address when the symbols do not have its class."""
    found = object_at(address)
    return found if found is not None else gdb.Value(address).cast(gdb.lookup_type(base).pointer())


def safely(show):
    """Damage is what a person debugs, so it must not end in a trace of Python."""

    def shown(self):
        try:
            return show(self)
        except gdb.MemoryError as what:
            return "<damaged: %s>" % what

    return shown


class SStringPrinter:
    HEADER = 12  # three longs in front of the text: owners, length, capacity
    MOST = 0x3FFFFE00
    LOCKED = -2

    def __init__(self, value):
        self.text = address_of(value["m_text"])

    @safely
    def to_string(self):
        refs, length, capacity = (number(self.text - self.HEADER + 4 * i, signed=True) for i in range(3))
        if not 0 <= length <= capacity <= self.MOST or refs < self.LOCKED:
            return "<damaged: length %d, capacity %d, owners %d>" % (length, capacity, refs)
        shown = min(length, most_elements())
        text = quoted(memory(self.text, 2 * shown).decode("utf-16-le", "replace"))
        return text + ("..." if shown < length else "") + (" (locked)" if refs == self.LOCKED else "")


class SBlobPrinter:
    NOT_RECORDED = 0xFFFFFFFF

    def __init__(self, value):
        self.data = address_of(value["m_data"])

    @safely
    def to_string(self):
        if not self.data:
            return "SBlob, null"
        size = number(self.data)
        aligned = max(4, pointer_size())
        handle = pointer_at(self.data + aligned)
        refs = number(self.data + 2 * aligned)
        said = "SBlob of %s" % ("unrecorded size" if size == self.NOT_RECORDED else "%d bytes" % size)
        if refs > 1 and size:
            said += ", shared by %d" % refs
        if not handle or size in (0, self.NOT_RECORDED):
            return said
        # A handle of movable memory is the address of the pointer to it.
        shown = min(size, MOST_BYTES)
        text = memory(pointer_at(handle), shown).hex(" ").upper()
        return "%s: %s%s" % (said, text, " ..." if shown < size else "")


class SMapPrinter:
    """The tree's entries in the order of their keys: three links and a colour, then the pair."""

    def __init__(self, value):
        typed = base_type(value.type, "SMap")
        self.name = value.type.strip_typedefs().tag.split("<")[0]
        # A virtual table, the count, the root.
        tree = address_of(value.address)
        self.count = number(tree + pointer_size(), signed=True)
        self.root = pointer_at(tree + 2 * pointer_size())
        self.pair = typed.template_argument(3)

    def to_string(self):
        return "%s of %d" % (self.name, self.count)

    def payloads(self):
        word = pointer_size()
        entry, count = self.root, 0
        while entry and pointer_at(entry):
            entry = pointer_at(entry)
        while entry and count < MOST_ITEMS:
            yield entry + 4 * word
            count += 1
            right = pointer_at(entry + 2 * word)
            if right:
                entry = right
                while pointer_at(entry):
                    entry = pointer_at(entry)
                continue
            parent = pointer_at(entry + word)
            while parent and entry == pointer_at(parent + 2 * word):
                entry, parent = parent, pointer_at(parent + word)
            entry = parent

    def children(self):
        for i, payload in enumerate(self.payloads()):
            pair = gdb.Value(payload).cast(self.pair.pointer()).dereference()
            yield "key%d" % i, pair["key"]
            yield "value%d" % i, pair["value"]

    def display_hint(self):
        return "map"


class SUnsortedMapPrinter(SMapPrinter):
    """The same entries in the order in which they were added, which an array of their addresses keeps."""

    def __init__(self, value):
        SMapPrinter.__init__(self, value)
        order = value.cast(base_type(value.type, "SUnsortedMap"))["m_order"]
        self.order = pointer_at(address_of(order.address))

    def payloads(self):
        word = pointer_size()
        for i in range(0 if self.order & 1 else number(self.order + 8)):
            yield pointer_at(self.order + STablePrinter.HEADER + i * word) + 4 * word


class STablePrinter:
    HEADER = 16  # four longs in front of the elements: owners, capacity, count, bytes of one

    def __init__(self, value):
        self.element = base_type(value.type, "STable").template_argument(0)
        # One word, behind a virtual table where elements must be constructed.
        plain = base_type(value.type, "__STableOf").template_argument(2)
        self.block = pointer_at(address_of(value.address) + (0 if plain else pointer_size()))

    def count(self):
        # An odd word is no address: the table has no block.
        return 0 if self.block & 1 else number(self.block + 8)

    @safely
    def to_string(self):
        shared = 0 if self.block & 1 else number(self.block)
        return "STable of %d" % self.count() + (", shared by %d" % shared if shared > 1 else "")

    def children(self):
        first = gdb.Value(self.block + self.HEADER).cast(self.element.pointer())
        for i in range(min(self.count(), MOST_ITEMS)):
            yield "[%d]" % i, (first + i).dereference()

    def display_hint(self):
        return "array"


class SDListPrinter:
    NEXT = 3  # in an item's words: virtual table, list, previous, next

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "SDList of %d" % int(self.value["m_count"])

    def children(self):
        item = address_of(self.value["m_head"])
        for i in range(MOST_ITEMS):
            if not item:
                return
            yield "[%d]" % i, item_at(item, "SDListItem")
            item = pointer_at(item + self.NEXT * pointer_size())

    def display_hint(self):
        return "array"


class STreePrinter:
    """The items, parents first, named by the way down: [0.2] is the third child of the first root."""

    # In an item's words: virtual table, tree, parent, previous, next, first child, ...
    PARENT, NEXT, FIRST = 2, 4, 5

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "STree of %d" % int(self.value["m_count"])

    def children(self):
        def link(item, which):
            return pointer_at(item + which * pointer_size())

        way, item = [0], address_of(self.value["m_roots"]["first"])
        for _ in range(MOST_ITEMS):
            if not item:
                return
            yield "[%s]" % ".".join(str(step) for step in way), item_at(item, "STreeItem")
            if link(item, self.FIRST):
                item = link(item, self.FIRST)
                way.append(0)
                continue
            while item and not link(item, self.NEXT):
                item = link(item, self.PARENT)
                way.pop()
            if item:
                item = link(item, self.NEXT)
                way[-1] += 1


class SClassInfoPrinter:
    NAME, SIZE, BASE, FACTORY = 1, 2, 3, 5  # in words, behind the virtual table

    def __init__(self, value):
        self.at = address_of(value.address)

    def word(self, which, at=None):
        return pointer_at((at or self.at) + which * pointer_size())

    def name(self, at):
        return gdb.Value(self.word(self.NAME, at)).cast(gdb.lookup_type("char").pointer()).string()

    @safely
    def to_string(self):
        base = self.word(self.BASE)
        said = "class %s" % self.name(self.at) + (" : %s" % self.name(base) if base else "")
        said += ", %d bytes" % number(self.at + self.SIZE * pointer_size())
        return said + (", can be created" if self.word(self.FACTORY) else "")


MESSAGES = {2: "WM_DESTROY", 5: "WM_SIZE", 0x0F: "WM_PAINT", 0x4E: "WM_NOTIFY", 0x111: "WM_COMMAND"}
ANY_UPDATE = 0xFFFFFFFF


class SMsgMapEntryPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        message, code = int(self.value["message"]), int(self.value["code"])
        first, last = int(self.value["firstId"]), int(self.value["lastId"])
        said = MESSAGES.get(message, "message 0x%x" % message)
        if first or last:
            said += " %d" % first if first == last else " %d to %d" % (first, last)
        if code:
            said += " (update)" if code == ANY_UPDATE else " code %d" % code
        return "%s: %s" % (said, self.handler())

    def handler(self):
        # Two words: the function, odd when it is virtual, and what is added to the object's address.
        address = pointer_at(address_of(self.value["handler"].address))
        if address & 1:
            return "virtual function %d" % (address // pointer_size())
        found = gdb.execute("info symbol 0x%x" % address, to_string=True)
        return found.split(" in section")[0] if " in section" in found else "0x%x" % address


class SMsgMapPrinter:
    def __init__(self, value):
        self.value = value

    def entries(self):
        entry = self.value["entries"]
        for _ in range(MOST_ITEMS):
            if not entry or not entry["form"]:
                return
            yield entry.dereference()
            entry = entry + 1

    @safely
    def to_string(self):
        return "SMsgMap of %d" % sum(1 for _ in self.entries())

    def children(self):
        for i, entry in enumerate(self.entries()):
            yield "[%d]" % i, entry

    def display_hint(self):
        return "array"


PRINTERS = {
    "SString": SStringPrinter,
    "SBlob": SBlobPrinter,
    "SMap": SMapPrinter,
    "SStringMap": SMapPrinter,
    "SStringMapNoCase": SMapPrinter,
    "SStringUnsortedMap": SUnsortedMapPrinter,
    "SStringUnsortedMapNoCase": SUnsortedMapPrinter,
    "STable": STablePrinter,
    "SDList": SDListPrinter,
    "STree": STreePrinter,
    "SClassInfo": SClassInfoPrinter,
    "SMsgMapEntry": SMsgMapEntryPrinter,
    "SMsgMap": SMsgMapPrinter,
    "SOwnMsgMap": SMsgMapPrinter,
}


def build():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("CVCore16")
    for name, printer in PRINTERS.items():
        collection.add_printer(name, "^%s(<.*>)?$" % name, printer)
    return collection


gdb.printing.register_pretty_printer(None, build(), replace=True)
