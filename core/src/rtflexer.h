// rtflexer.h: the tokens of RTF text as its readers see them. RtfTags (rtftags.h) knows less of the format, on purpose.
#ifndef RTFLEXER_H
#define RTFLEXER_H

#include "strclss.h"

#include <string_view>

struct RtfToken {
    enum Kind {
        kEnd,
        kOpen,
        kClose,
        kWord,   ///< a backslash, letters, perhaps a number, and with them the one blank that ends it
        kSymbol, ///< a backslash and another character; at the end of the text the backslash alone
        kHex,    ///< \'e9
        kText,   ///< up to the next brace or backslash; line ends in it are no characters of the document
    };

    Kind kind;
    const wchar_t* start;
    const wchar_t* end;
    std::wstring_view name; ///< of a word
    bool hasNumber;
    int number; ///< of a word: 0 without one, cut to 31 bits; of a hex escape its byte
    /// Of \bin: the data, and how many units of it the text has not got.
    std::wstring_view data;
    int missing;

    bool IsWord(std::wstring_view wanted) const { return kind == kWord && name == wanted; }
    bool IsSymbol(wchar_t c) const { return kind == kSymbol && end - start == 2 && start[1] == c; }
    /// Whether a word is ended by a blank of its own.
    bool HasBlank() const { return end[-1] == L' '; }
    std::wstring_view Text() const { return { start, static_cast<size_t>(end - start) }; }
};

/// Hands out the tokens of a text.
class RtfLexer {
public:
    /// A document, or a group in one.
    RtfLexer(const wchar_t* start, const wchar_t* end) : m_at(start), m_end(end) {}
    explicit RtfLexer(std::wstring_view text) : RtfLexer(text.data(), text.data() + text.size()) {}

    RtfToken Next();
    /// Behind an opening brace: to the character behind the closing one. Returns that place.
    const wchar_t* SkipGroup();
    const wchar_t* At() const { return m_at; }

private:
    RtfToken Control();
    void ReadWord(RtfToken& token);
    void ReadBinary(RtfToken& token);

    const wchar_t* m_at;
    const wchar_t* m_end;
};

/// What a group behind its opening brace begins with: "\word" or "\*\word"; an empty name when it is something else.
struct RtfDestination {
    std::wstring_view name;
    bool starred;
    const wchar_t* end; ///< of the word

    /// `lexer` stands behind the brace.
    static RtfDestination At(RtfLexer lexer);
};

#endif
