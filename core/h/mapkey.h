// mapkey.h: what the ordered maps (smap.h) ask of their keys: an order, and for texts what makes searching for them fast.
//
// A comparator of a map has a static Compare(a, b) that answers negative, 0 or positive. It may name more:
//   Other, Probe  something else that a search takes in place of a key, and a type that a search makes of it once; then there
//                 is a Compare(const Probe&, key).
//   Hinted        itself; then there is a static HintOf(key), and a HintOf(const Probe&) where there are probes, that give an
//                 STextHint. What is derived from it may order otherwise, so that has no hints unless it names itself.
#ifndef MAPKEY_H
#define MAPKEY_H

#include "safemem.h"
#include "strclss.h"

#include <type_traits>

/// The first eight units of a text, in a form whose order is that of the texts: where two hints differ, the texts do, and in
/// the same way. Equal ones say nothing. A map keeps each key's hint beside its links, so that most turns of a search are
/// taken without a look at the key's own characters, which stand elsewhere in memory.
struct STextHint {
    static constexpr size_t kUnits = 8;

    /// A shorter text counts as if NULs followed: no unit is less than that. `text` is not null.
    CVCORE_API static STextHint Of(const wchar_t* text, size_t length);
    /// Of the text in upper case: for orders that ignore it.
    CVCORE_API static STextHint OfUpper(const wchar_t* text, size_t length);

    wchar_t units[kUnits]; ///< mapkey.cpp tells how they stand
};

/// Rising order.
template <class K>
struct SAsc {
    static int Compare(const K& a, const K& b)
    {
        if constexpr (std::is_scalar_v<K>)
            return a == b ? 0 : a < b ? -1 : 1;
        else
            return a < b ? -1 : b < a ? 1 : 0;
    }
};

/// A plain text on its way through a search, measured once. Null is the empty text.
struct STextProbe {
    explicit STextProbe(const wchar_t* plain) : text(plain ? plain : L""), length(SSafeStrLen(plain)) {}

    const wchar_t* text;
    size_t length;
};

/// The characters of a key as a map keeps it: a copy of a string that begins with a NUL is empty, so such a key is looked
/// for as the empty one that it becomes.
inline size_t SKeyLength(const SString& key)
{
    return *static_cast<const wchar_t*>(key) == L'\0' ? 0 : static_cast<size_t>(key.Length());
}

/// Strings by code unit; a plain text is looked for without being made a string.
template <>
struct SAsc<SString> {
    typedef const wchar_t* Other;
    typedef STextProbe Probe;
    typedef SAsc Hinted;

    static int Compare(const SString& a, const SString& b)
    {
        const wchar_t* const text = a;
        // Copies share their text, so a key is often looked for by its own.
        return text == static_cast<const wchar_t*>(b) ? 0
                                                      : SSafeMemCmp(text, SKeyLength(a), b, SKeyLength(b));
    }
    // With lengths, since a key may hold a NUL: to SSafeStrCmp it would end there and equal a shorter one.
    static int Compare(const STextProbe& a, const SString& b)
    {
        return SSafeMemCmp(a.text, a.length, b, SKeyLength(b));
    }
    static STextHint HintOf(const SString& key) { return STextHint::Of(key, SKeyLength(key)); }
    static STextHint HintOf(const STextProbe& probe) { return STextHint::Of(probe.text, probe.length); }
};

/// Strings ignoring case.
struct SAscNoCase {
    typedef const wchar_t* Other;
    typedef STextProbe Probe;
    typedef SAscNoCase Hinted;

    static int Compare(const SString& a, const SString& b)
    {
        const wchar_t* const text = a;
        return text == static_cast<const wchar_t*>(b) ? 0
                                                      : SSafeMemICmp(text, SKeyLength(a), b, SKeyLength(b));
    }
    static int Compare(const STextProbe& a, const SString& b)
    {
        return SSafeMemICmp(a.text, a.length, b, SKeyLength(b));
    }
    static STextHint HintOf(const SString& key) { return STextHint::OfUpper(key, SKeyLength(key)); }
    static STextHint HintOf(const STextProbe& probe) { return STextHint::OfUpper(probe.text, probe.length); }
};

#endif
