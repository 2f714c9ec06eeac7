// strresource.cpp: the string's texts from a module's string tables, in the language of the thread.
#include "strclss.h"

namespace {

struct ResourceText {
    const wchar_t* text;
    int length;
};

// A string table comes in blocks of 16 texts, each behind its length; block n holds the ids from 16 (n - 1) on. A block is
// whole in each language that has any text of it: what is not translated has no length there.
ResourceText TextInBlock(HINSTANCE module, HRSRC block, unsigned id)
{
    const HGLOBAL loaded = block ? ::LoadResource(module, block) : nullptr;
    const wchar_t* at = loaded ? static_cast<const wchar_t*>(::LockResource(loaded)) : nullptr;
    if (!at)
        return { nullptr, 0 };
    const wchar_t* const last = at + ::SizeofResource(module, block) / sizeof(wchar_t);
    for (unsigned skip = id % 16; skip > 0 && at < last; --skip)
        at += 1 + *at;
    if (at >= last || *at == 0 || *at > last - at - 1)
        return { nullptr, 0 };
    return { at + 1, *at };
}

// Read as data, not with LoadStringW: the foundation stands without the user-interface libraries. And language by language:
// the system takes the first block that it finds, even if the text is in that of another language only.
ResourceText FindText(HINSTANCE module, unsigned id)
{
    const wchar_t* const name = MAKEINTRESOURCEW(id / 16 + 1);
    const wchar_t* const type = reinterpret_cast<LPCWSTR>(RT_STRING);
    const WORD wanted = ::GetThreadUILanguage();
    const WORD ours = PRIMARYLANGID(wanted);
    const WORD languages[] = {
        wanted,
        static_cast<WORD>(MAKELANGID(ours, SUBLANG_NEUTRAL)),
        static_cast<WORD>(MAKELANGID(ours, SUBLANG_DEFAULT)),
        MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US),
    };
    for (const WORD language : languages) {
        const ResourceText found = TextInBlock(module, ::FindResourceExW(module, type, name, language), id);
        if (found.text)
            return found;
    }
    return TextInBlock(module, ::FindResourceW(module, name, type), id);
}

} // namespace

int SString::TryLoad(HINSTANCE module, unsigned id)
{
    const ResourceText found = FindText(module, id);
    if (!found.text)
        return 0;
    AssignCopy(found.length, found.text);
    return 1;
}

int SString::LoadString(unsigned id, HINSTANCE module)
{
    if (TryLoad(module, id))
        return 1;
    Empty();
    return 0;
}
