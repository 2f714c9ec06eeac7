// surl.cpp: paths as URLs and back.
#include "sfile.h"

#include "strbuffer.h"
#include "tablemem.h"
#include "utf8.h"

#include <cwchar>
#include <initializer_list>

namespace {

constexpr wchar_t kFileScheme[] = L"file://";
constexpr wchar_t kDriveScheme[] = L"file:///";
constexpr wchar_t kServerScheme[] = L"file:";
constexpr wchar_t kKept[] = L"$-_@.&!'(),=#/;";
constexpr wchar_t kHexDigits[] = L"0123456789ABCDEF";

bool BeginsWith(const SString& text, const wchar_t* start)
{
    return text.CompareNoCase(start, static_cast<int>(std::wcslen(start))) == 0;
}

bool BeginsWithAny(const SString& text, std::initializer_list<const wchar_t*> starts)
{
    for (const wchar_t* start : starts) {
        if (BeginsWith(text, start))
            return true;
    }
    return false;
}

bool IsKept(wchar_t c)
{
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9') ||
           (c != L'\0' && std::wcschr(kKept, c));
}

void AppendEscapes(SStringBuffer& url, unsigned c)
{
    char bytes[kMostUtf8];
    const int count = PutUtf8(c, bytes);
    for (int i = 0; i < count; ++i) {
        const unsigned byte = static_cast<unsigned char>(bytes[i]);
        url << L'%' << kHexDigits[byte >> 4] << kHexDigits[byte & 15];
    }
}

int HexValue(wchar_t c)
{
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    const wchar_t lower = c | 0x20;
    return lower >= L'a' && lower <= L'f' ? lower - L'a' + 10 : -1;
}

// The byte of an escape at a position; -1 when there is none.
int EscapeAt(const SString& text, int at)
{
    if (text.GetAt(at) != L'%')
        return -1;
    const int high = HexValue(text.GetAt(at + 1)), low = HexValue(text.GetAt(at + 2));
    return high < 0 || low < 0 ? -1 : high << 4 | low;
}

typedef STable<char> Bytes;

// A run of escaped bytes: UTF-8 as a whole, or the ANSI code page.
void AppendBytes(SStringBuffer& path, const Bytes& run)
{
    const char* const bytes = &run[0];
    const int count = run.Count();
    SStringBuffer decoded;
    int length = 0;
    for (int at = 0; at < count; at += length) {
        const unsigned c = GetUtf8(reinterpret_cast<const unsigned char*>(bytes) + at, count - at, &length);
        if (length == 0) {
            SString ansi;
            const int units = ::MultiByteToWideChar(CP_ACP, 0, bytes, count, nullptr, 0);
            wchar_t* const buffer = ansi.GetBufferSetLength(units);
            ::MultiByteToWideChar(CP_ACP, 0, bytes, count, buffer, units);
            path.Append(buffer, units);
            return;
        }
        if (c > 0xFFFF)
            decoded.Append(static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10)));
        decoded.Append(static_cast<wchar_t>(c > 0xFFFF ? 0xDC00 + (c & 0x3FF) : c));
    }
    path.Append(decoded.Text(), decoded.Length());
}

} // namespace

int SFile::IsFileURL(const SString& text, int allowPlain)
{
    return BeginsWith(text, kFileScheme) || (allowPlain && text.FindPos(L':') < 0);
}

int SFile::IsRelativePath(const SString& text)
{
    return text.FindPos(L':') < 0;
}

int SFile::IsInternetURL(const SString& text)
{
    return BeginsWithAny(text, { L"http:", L"https:" }) || text.FindPos(L'/') >= 0;
}

int SFile::IsValidURL(const SString& text)
{
    if (BeginsWithAny(text, { kFileScheme, L"http:", L"https:", L"ftp:", L"www." }))
        return 1;
    const int mark = text.ReverseFindPos(L'.');
    if (mark >= 0 && (text.CompareNoCase(mark, L".htm") == 0 || text.CompareNoCase(mark, L".html") == 0))
        return 1;
    return Exists(text);
}

SString SFile::PathToURL(const SString& path, int makeFull)
{
    const SString source = makeFull ? NormalizeFileName(path) : path;
    if (source.IsEmpty())
        return source;
    SStringBuffer url;
    if (source.GetAt(1) == L':')
        url << kDriveScheme;
    else if (source.Compare(L"\\\\", 2) == 0)
        url << kServerScheme;
    for (int i = 0; i < source.Length(); ++i) {
        const wchar_t c = source[i];
        if (c == L'\\') {
            url << L'/';
        } else if (IsKept(c)) {
            url << c;
        } else if ((c & 0xFC00) == 0xD800 && (source.GetAt(i + 1) & 0xFC00) == 0xDC00) {
            AppendEscapes(url, 0x10000u + ((c & 0x3FFu) << 10) + (source[i + 1] & 0x3FFu));
            ++i;
        } else {
            AppendEscapes(url, c); // half a pair too: the system allows it in names
        }
    }
    return url.Detach();
}

SString SFile::URLToPath(const SString& url, int strict)
{
    int at = 0;
    if (BeginsWith(url, kFileScheme))
        at = static_cast<int>(std::wcslen(BeginsWith(url, kDriveScheme) ? kDriveScheme : kServerScheme));
    else if (strict || url.FindPos(L':') >= 0)
        return SString();

    SStringBuffer path;
    Bytes run;
    const auto endRun = [&] {
        if (run.Count() > 0)
            AppendBytes(path, run);
        run.Clear();
    };
    while (at < url.Length()) {
        const int byte = EscapeAt(url, at);
        if (byte >= 0) {
            run.Add(static_cast<char>(byte));
            at += 3;
        } else {
            endRun();
            const wchar_t c = url[at++];
            path.Append(c == L'/' ? L'\\' : c == L'|' ? L':' : c);
        }
    }
    endRun();
    return ToLongNames(path.Detach());
}
