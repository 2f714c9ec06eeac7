// rtfcodepage.h: the code pages that bytes in RTF text are in.
#ifndef RTFCODEPAGE_H
#define RTFCODEPAGE_H

#include "cvbase.h"
#include "strclss.h"

#include <memory>
#include <vector>

enum : int {
    kRtfSymbolPage = -1, ///< a font's own characters: they have no other name than their byte
    kRtfUsualPage = 1252,
};

/// Of a font with this \fcharset; `documentPage` where the document decides.
int RtfPageOfCharset(int charset, int documentPage);

/// Decodes bytes, and remembers the code pages that it has met.
class RtfDecoder {
public:
    /// Whether a byte is the first of two. None of ASCII is, so for those no page is looked up.
    bool IsLead(int page, unsigned char byte) { return byte >= 0x80 && At(page).kinds[byte] == kLead; }
    /// The character; NUL when the page has none for it.
    wchar_t Decode(int page, unsigned char byte) { return At(page).characters[byte]; }
    wchar_t Decode(int page, unsigned char lead, unsigned char trail);

private:
    enum Kind : unsigned char { kSingle, kLead };
    struct Page {
        int number;
        wchar_t characters[256];
        Kind kinds[256];
    };

    const Page& At(int page);
    static bool MarkLeads(UINT page, Kind (&kinds)[256]);

    std::vector<std::unique_ptr<Page>> m_pages; // a handful
    const Page* m_last = nullptr;
};

/// A name as decoded text in RTF of 7 bits. In the unsigned form: the tags of rtftext.h do not know the signed one.
SString RtfEscapedName(const SString& name);

#endif
