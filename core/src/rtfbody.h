// rtfbody.h: a fragment's body, rewritten for the merged document.
#ifndef RTFBODY_H
#define RTFBODY_H

#include "rtffragment.h"
#include "strbuffer.h"

#include <vector>

/// Numbers of lists in the merged document. They are given out as the fragments' lists come.
struct RtfListNumbers {
    int lastList = 0;
    int lastId = 0;
};

/// Where the parts of a fragment go.
struct RtfOutputs {
    SStringBuffer& body;
    SStringBuffer& front; ///< what describes the whole document; taken from the first fragment alone
    SStringBuffer& lists;
    SStringBuffer& listOverrides;
};

class RtfBodyRewriter {
public:
    RtfBodyRewriter(const RtfFragment& fragment, RtfDecoder& decoder, RtfListNumbers& numbers,
                    const RtfOutputs& outputs);

    void Run();
    /// Whether the text ends in a paragraph that nothing has ended.
    bool EndsInsideParagraph() const { return m_open; }

private:
    struct State {
        int skipCount;     // \uc
        int page;          // of bytes in the text
        bool inTable;      // the paragraph is
        SString paragraph; // words of its format
        bool isText;       // of the document's paragraphs
        bool isListText;
        bool isPicture;     // hexadecimal digits
        bool isRedirected;  // this group's text goes elsewhere, up to its brace
        bool hasBraces;     // ... with its braces
        bool unendedBefore; // m_unended in front of it
    };

    State& Now() { return m_states.back(); }
    size_t Depth() const { return m_states.size(); }

    /// What has become of a control word.
    enum Fate { kKept, kGone, kEnded };

    void OnOpen(const RtfToken& token);
    void OnClose(const RtfToken& token);
    void OnWord(const RtfToken& token);
    Fate OnKnownWord(const RtfToken& token, RtfWord word);
    Fate OnPlain(const RtfToken& token);
    Fate OnBinary(const RtfToken& token);
    Fate OnNumber(const RtfToken& token, RtfWord word);
    void OnSymbol(const RtfToken& token);
    void OnHex(const RtfToken& token);
    void OnText(const RtfToken& token);

    bool IsDropped(RtfGroup group) const;
    void Redirect(const RtfToken& brace, SStringBuffer& out, bool withBraces);
    Fate Drop(const RtfToken& token);
    Fate MoveToFront(const RtfToken& token);
    Fate ReplaceNumber(const RtfToken& token, int number);
    int NumberOfList(SRtfNumberMap& map, int number, int& last);
    bool TakeTrail(RtfLexer& lexer, unsigned char& trail) const;
    const wchar_t* PutRaw(const wchar_t* at, const wchar_t* end);
    void PutUnicode(wchar_t character);
    void Prints(const wchar_t* at);
    void LeaveTable(const wchar_t* at);
    void EndParagraph() { m_open = m_open && !Now().isText; }

    void CopyUpTo(const wchar_t* end);
    void ReplaceUpTo(const wchar_t* start, const wchar_t* end);

    const RtfFragment& m_fragment;
    RtfDecoder& m_decoder;
    RtfListNumbers& m_numbers;
    RtfOutputs m_outputs;
    RtfLexer m_lexer;

    SStringBuffer* m_out;
    const wchar_t* m_kept; // from here on nothing has been copied yet
    std::vector<State> m_states;
    SRtfNumberMap m_lists, m_listIds;
    int m_toSkip = 0; // characters that stand for the \u before them
    bool m_open = false;
    bool m_sectionSeen = false;
    bool m_afterRow = false; // and nothing has said since whether the next paragraph is in a table
    // The last thing that was put out is a word without a blank of its own; and what followed it is gone, so that text would
    // run into it.
    bool m_unended = false;
    bool m_gap = false;
};

#endif
