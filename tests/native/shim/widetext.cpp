// The wide functions of the run-time, plainly: a sanitizer sees each unit that is looked at.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>

size_t shim_wcslen(const wchar_t* text)
{
    size_t length = 0;
    while (text[length])
        ++length;
    return length;
}
int shim_wcsncmp(const wchar_t* a, const wchar_t* b, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        if (a[i] != b[i])
            return a[i] < b[i] ? -1 : 1;
        if (!a[i])
            break;
    }
    return 0;
}
int shim_wcscmp(const wchar_t* a, const wchar_t* b)
{
    return shim_wcsncmp(a, b, static_cast<size_t>(-1));
}
const wchar_t* shim_wcschr(const wchar_t* text, wchar_t c)
{
    for (; *text != c; ++text) {
        if (!*text)
            return nullptr;
    }
    return text;
}
const wchar_t* shim_wcsstr(const wchar_t* text, const wchar_t* wanted)
{
    const size_t length = shim_wcslen(wanted);
    for (;; ++text) {
        if (shim_wcsncmp(text, wanted, length) == 0)
            return text;
        if (!*text)
            return nullptr;
    }
}
size_t shim_wcsspn(const wchar_t* text, const wchar_t* set)
{
    size_t length = 0;
    while (text[length] && shim_wcschr(set, text[length]))
        ++length;
    return length;
}
const wchar_t* shim_wmemchr(const wchar_t* text, wchar_t c, size_t count)
{
    for (; count > 0; --count, ++text) {
        if (*text == c)
            return text;
    }
    return nullptr;
}
int shim_wmemcmp(const wchar_t* a, const wchar_t* b, size_t count)
{
    for (; count > 0; --count, ++a, ++b) {
        if (*a != *b)
            return *a < *b ? -1 : 1;
    }
    return 0;
}
wchar_t* shim_wmemcpy(wchar_t* to, const wchar_t* from, size_t count)
{
    return static_cast<wchar_t*>(memcpy(to, from, count * sizeof(wchar_t)));
}
wchar_t* shim_wmemmove(wchar_t* to, const wchar_t* from, size_t count)
{
    return static_cast<wchar_t*>(memmove(to, from, count * sizeof(wchar_t)));
}
wchar_t* shim_wmemset(wchar_t* to, wchar_t c, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        to[i] = c;
    return to;
}

// The "C" locale of the system's run-time: a byte is its character.
int shim_mbtowc(wchar_t* c, const char* bytes, size_t count)
{
    if (!bytes || count == 0)
        return 0;
    *c = static_cast<unsigned char>(*bytes);
    return *bytes != '\0';
}

// ---- Formats: conversions of doubles, numbers and texts, which are all that the library asks the run-time for ----

namespace {

// The system's run-time writes exponents with three digits.
std::string WithLongExponent(std::string text)
{
    const size_t e = text.find_first_of("eE");
    if (e == text.npos || text.find_first_of("xXnN") != text.npos)
        return text;
    const size_t end = std::min(text.find(' ', e), text.size());
    if (end - e == 4) // the letter, a sign, two digits
        text.insert(e + 2, 1, '0');
    else
        return text;
    if (text.front() == ' ')
        text.erase(0, 1); // of the room
    else if (text.back() == ' ')
        text.pop_back();
    return text;
}

} // namespace

int _snwprintf(wchar_t* output, size_t room, const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::string made;
    const auto put = [&made](const char* piece, auto... values) {
        std::string text(static_cast<size_t>(snprintf(nullptr, 0, piece, values...)) + 1, '\0');
        snprintf(&text[0], text.size(), piece, values...);
        text.pop_back();
        const char kind = piece[std::char_traits<char>::length(piece) - 1];
        made += std::string("eEgG").find(kind) == std::string::npos ? text : WithLongExponent(text);
    };
    for (const wchar_t* at = format; *at; ++at) {
        if (*at != L'%') {
            made += static_cast<char>(*at);
            continue;
        }
        std::string piece("%");
        bool isNarrow = false;
        for (++at; shim_wcschr(L"-+ #0123456789.*hl", *at) && *at; ++at) {
            isNarrow = isNarrow || *at == L'h';
            if (*at == L'*') {
                const int number = va_arg(arguments, int);
                if (number < 0 && piece.back() == '.')
                    piece.pop_back(); // none is given then
                else
                    piece += std::to_string(number);
            } else if (*at != L'h' && *at != L'l') { // a long is as long as an int here
                piece += static_cast<char>(*at);
            }
        }
        piece += static_cast<char>(*at);
        if (shim_wcschr(L"eEfFgGaA", *at)) {
            put(piece.c_str(), va_arg(arguments, double));
        } else if (*at == L's' && isNarrow) {
            put(piece.c_str(), va_arg(arguments, const char*));
        } else if (*at == L's') {
            for (const wchar_t* text = va_arg(arguments, const wchar_t*); *text; ++text)
                made += static_cast<char>(*text);
        } else {
            put(piece.c_str(), va_arg(arguments, int));
        }
    }
    va_end(arguments);
    if (made.size() > room)
        return -1;
    for (size_t i = 0; i < made.size(); ++i)
        output[i] = static_cast<unsigned char>(made[i]);
    if (made.size() < room)
        output[made.size()] = L'\0';
    return static_cast<int>(made.size());
}

unsigned _controlfp(unsigned, unsigned)
{
    return 0;
}
