// rtfcodepage.cpp: charsets, code pages and their characters.
#include "rtfcodepage.h"

#include "strbuffer.h"

#include <algorithm>
#include <iterator>

int RtfPageOfCharset(int charset, int documentPage)
{
    static constexpr struct {
        int charset, page;
    } kPages[] = {
        { ANSI_CHARSET, 1252 },       { SYMBOL_CHARSET, kRtfSymbolPage },
        { MAC_CHARSET, 10000 },       { SHIFTJIS_CHARSET, 932 },
        { HANGUL_CHARSET, 949 },      { JOHAB_CHARSET, 1361 },
        { GB2312_CHARSET, 936 },      { CHINESEBIG5_CHARSET, 950 },
        { GREEK_CHARSET, 1253 },      { TURKISH_CHARSET, 1254 },
        { VIETNAMESE_CHARSET, 1258 }, { HEBREW_CHARSET, 1255 },
        { ARABIC_CHARSET, 1256 },     { BALTIC_CHARSET, 1257 },
        { RUSSIAN_CHARSET, 1251 },    { THAI_CHARSET, 874 },
        { EASTEUROPE_CHARSET, 1250 }, { 254, 437 },
        { OEM_CHARSET, 850 },
    };
    for (const auto& entry : kPages) {
        if (entry.charset == charset)
            return entry.page;
    }
    return documentPage;
}

// False where the system has no such page. It looks for a file to find that out, so nothing more is asked about such a one.
bool RtfDecoder::MarkLeads(UINT page, Kind (&kinds)[256])
{
    CPINFO info;
    if (!::GetCPInfo(page, &info))
        return false;
    const BYTE* const end = std::end(info.LeadByte);
    for (const BYTE* range = info.LeadByte; range + 1 < end && range[0] != 0; range += 2)
        std::fill(kinds + range[0], kinds + range[1] + 1, kLead);
    return true;
}

namespace {

// Puts the characters of single bytes where each byte has its place; those that the page has none for stay as they are. The
// system takes about as long for a byte as for a hundred, so it is asked about all of them, and about halves where one has none.
void DecodeSingles(UINT page, const char* bytes, int count, wchar_t (&characters)[256])
{
    wchar_t made[256];
    if (::MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes, count, made, count) == count) {
        for (int i = 0; i < count; ++i)
            characters[static_cast<unsigned char>(bytes[i])] = made[i];
    } else if (count > 1) {
        DecodeSingles(page, bytes, count / 2, characters);
        DecodeSingles(page, bytes + count / 2, count - count / 2, characters);
    }
}

} // namespace

const RtfDecoder::Page& RtfDecoder::At(int number)
{
    if (m_last && m_last->number == number)
        return *m_last;
    for (const auto& page : m_pages) {
        if (page->number == number)
            return *(m_last = page.get());
    }
    auto page = std::make_unique<Page>();
    page->number = number;
    const UINT codePage = static_cast<UINT>(number);
    if (number >= 0 && MarkLeads(codePage, page->kinds)) { // a font's own characters have none
        char singles[256];
        int count = 0;
        for (int byte = 0; byte < 256; ++byte) {
            if (page->kinds[byte] == kSingle)
                singles[count++] = static_cast<char>(byte);
        }
        DecodeSingles(codePage, singles, count, page->characters);
    }
    m_pages.push_back(std::move(page));
    return *(m_last = m_pages.back().get());
}

wchar_t RtfDecoder::Decode(int page, unsigned char lead, unsigned char trail)
{
    const char bytes[] = { static_cast<char>(lead), static_cast<char>(trail) };
    wchar_t character = L'\0';
    return ::MultiByteToWideChar(static_cast<UINT>(page), MB_ERR_INVALID_CHARS, bytes, 2, &character, 1) == 1
               ? character
               : L'\0';
}

SString RtfEscapedName(const SString& name)
{
    SStringBuffer out(name.Length());
    for (const wchar_t c : name) {
        if (c >= 0x80)
            out << L"\\u" << static_cast<int>(c) << L" ?";
        else if (c == L'{' || c == L'}' || c == L'\\' || c == L';')
            out.AppendFormat(L"\\'%x", static_cast<int>(c));
        else if (c >= L' ')
            out << c;
    }
    return out.Detach();
}
