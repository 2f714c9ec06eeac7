// rtffragment.h: what a merge has to know of a fragment while it rewrites its body.
#ifndef RTFFRAGMENT_H
#define RTFFRAGMENT_H

#include "rtfcodepage.h"
#include "rtfsurvey.h"
#include "rtftables.h"
#include "rtfwords.h"

struct RtfFragment {
    const RtfSurvey& survey;
    bool isFirst;

    // Numbers of the fragment to numbers of the merged tables.
    SRtfNumberMap fonts;
    SRtfNumberMap colors;
    enum StyleKind { kParagraph, kCharacter, kSection, kTable, kStyleKinds };
    SRtfNumberMap styles[kStyleKinds];
    /// Of its fonts: the code page of their bytes.
    SRtfNumberMap pages;
    /// What follows \plain so that it means the fragment's defaults and not the first one's: "\f3\lang1031", or nothing.
    SString plainTail;

    int DefaultFont() const
    {
        const int low = survey.sheetFonts[RtfSurvey::kLow];
        return survey.font != RtfSurvey::kNone ? survey.font : low != RtfSurvey::kNone ? low : 0;
    }
    int PageOfFont(int font) const
    {
        const int* const page = pages.Find(font);
        return page ? *page : survey.PageOfBytes();
    }

    /// The new number of a word with one; kDrop when what it names does not exist, kKeep when it stays.
    enum { kDrop = -1, kKeep = -2 };
    int NewNumber(RtfWord word, int number) const;

private:
    static int MappedOrDrop(const SRtfNumberMap& map, int number)
    {
        const int* const mapped = map.Find(number);
        return mapped ? *mapped : kDrop;
    }
};

inline int RtfFragment::NewNumber(RtfWord word, int number) const
{
    switch (word) {
    case RtfWord::kFont:
    case RtfWord::kOtherFont: return MappedOrDrop(fonts, number);
    case RtfWord::kColor: {
        // What is no colour is the automatic one, in a document without colours too.
        const int* const color = colors.Find(number);
        return color ? *color : 0;
    }
    case RtfWord::kParagraphStyle: return MappedOrDrop(styles[kParagraph], number);
    case RtfWord::kCharStyle: return MappedOrDrop(styles[kCharacter], number);
    case RtfWord::kSectionStyle: return MappedOrDrop(styles[kSection], number);
    case RtfWord::kTableStyle: return MappedOrDrop(styles[kTable], number);
    case RtfWord::kStyleReference:
        for (const SRtfNumberMap& map : styles) {
            if (const int* const mapped = map.Find(number))
                return *mapped;
        }
        return kDrop;
    default: return kKeep;
    }
}

/// Reads a font table as real documents have it: with and without braces around an entry, with escapes in names. Calls
/// `visit(entry, page)`; the entry's name and control words are such that GetFontEntry gives sound RTF of 7 bits.
void RtfReadFonts(const RtfSurvey& survey, RtfDecoder& decoder,
                  void (*visit)(void* context, const SRtfFontEntry& entry, int page), void* context);

/// The same for a style sheet.
void RtfReadStyles(const RtfSurvey& survey, RtfDecoder& decoder,
                   void (*visit)(void* context, const SRtfStyleEntry& entry), void* context);

/// A colour table without what does not belong there, as AddColorTable takes it.
SString RtfCleanColors(std::wstring_view table);

/// Control words with a fragment's new numbers.
SString RtfRenumbered(const SString& controls, const RtfFragment& fragment);

/// "\name5 ": a word with another number, ended as the token was.
class SStringBuffer;
void RtfAppendWord(SStringBuffer& out, const RtfToken& word, int number);

#endif
