// rtfcodepage.cpp: charsets, code pages and their characters.
#include "rtfcodepage.h"

#include "strbuffer.h"

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
    for (int i = 0; i < 256; ++i) {
        const char byte = static_cast<char>(i);
        wchar_t character = L'\0';
        const UINT codePage = static_cast<UINT>(number);
        const bool symbol = number < 0;
        if (!symbol && i >= 0x80 && ::IsDBCSLeadByteEx(codePage, static_cast<BYTE>(i))) {
            page->kinds[i] = kLead;
        } else if (!symbol &&
                   ::MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, &byte, 1, &character, 1) != 1) {
            character = L'\0';
        }
        page->characters[i] = character;
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
