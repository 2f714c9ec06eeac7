// rtfsurvey.h: the first walk over a document: whether it is sound, and where its parts are.
#ifndef RTFSURVEY_H
#define RTFSURVEY_H

#include "rtflexer.h"
#include "strclss.h"

#include <string_view>

struct RtfSurvey {
    static constexpr int kNone = -1;

    /// What is wrong with the document; empty when it is sound. All else holds for a sound one.
    SString fault;
    /// Behind "{\rtf1", and the closing brace.
    const wchar_t* start;
    const wchar_t* end;
    /// The first group of its kind, braces and all; empty when there is none.
    std::wstring_view fonts, colors, styles;

    // What the header says; kNone where it says nothing.
    std::wstring_view charset; ///< ansi, mac, pc, pca
    int codePage = kNone;
    int font = kNone;     ///< \deff
    int bidiFont = kNone; ///< \adeff
    int language = kNone; ///< \deflang
    int farEastLanguage = kNone;
    int bidiLanguage = kNone;
    /// \stshfdbch, \stshfloch, \stshfhich, \stshfbi: the default fonts of the style sheet
    enum { kDoubleByte, kLow, kHigh, kBidi, kSheetFonts };
    int sheetFonts[kSheetFonts] = { kNone, kNone, kNone, kNone };

    explicit RtfSurvey(const SString& rtf, int maxDepth);

    /// The code page of bytes in the text where no font says otherwise.
    int PageOfBytes() const;

private:
    bool Begin(RtfLexer& lexer);
    void Walk(RtfLexer lexer, const wchar_t* text, int maxDepth);
    void NoteHeaderWord(const RtfToken& token);
    std::wstring_view* TableNamed(std::wstring_view name);
};

#endif
