// widetext.h: the run-time's wide functions for 16-bit characters. Included in front of everything: the host's own have
// characters of four bytes, so their names must not be met anywhere.
#ifndef NATIVE_WIDETEXT_H
#define NATIVE_WIDETEXT_H

#include <cstddef>

// The host's library holds wide strings of four-byte characters ready. Here they are all instantiated anew.
#undef _GLIBCXX_EXTERN_TEMPLATE
#define _GLIBCXX_EXTERN_TEMPLATE 0

#include <cwchar>

#define NATIVE_WIDE(result, name, arguments)                                                                 \
    result shim_##name arguments;                                                                            \
    namespace std {                                                                                          \
    using ::shim_##name;                                                                                     \
    }

NATIVE_WIDE(size_t, wcslen, (const wchar_t* text))
NATIVE_WIDE(int, wcscmp, (const wchar_t* a, const wchar_t* b))
NATIVE_WIDE(int, wcsncmp, (const wchar_t* a, const wchar_t* b, size_t count))
NATIVE_WIDE(const wchar_t*, wcschr, (const wchar_t* text, wchar_t c))
NATIVE_WIDE(const wchar_t*, wcsstr, (const wchar_t* text, const wchar_t* wanted))
NATIVE_WIDE(size_t, wcsspn, (const wchar_t* text, const wchar_t* set))
NATIVE_WIDE(const wchar_t*, wmemchr, (const wchar_t* text, wchar_t c, size_t count))
NATIVE_WIDE(int, wmemcmp, (const wchar_t* a, const wchar_t* b, size_t count))
NATIVE_WIDE(wchar_t*, wmemcpy, (wchar_t * to, const wchar_t* from, size_t count))
NATIVE_WIDE(wchar_t*, wmemmove, (wchar_t * to, const wchar_t* from, size_t count))
NATIVE_WIDE(wchar_t*, wmemset, (wchar_t * to, wchar_t c, size_t count))
NATIVE_WIDE(int, mbtowc, (wchar_t * c, const char* bytes, size_t count))

#undef NATIVE_WIDE

#define wcslen shim_wcslen
#define wcscmp shim_wcscmp
#define wcsncmp shim_wcsncmp
#define wcschr shim_wcschr
#define wcsstr shim_wcsstr
#define wcsspn shim_wcsspn
#define wmemchr shim_wmemchr
#define wmemcmp shim_wmemcmp
#define wmemcpy shim_wmemcpy
#define wmemmove shim_wmemmove
#define wmemset shim_wmemset

#include <cstdlib>
#define mbtowc shim_mbtowc

#endif
