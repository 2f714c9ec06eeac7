// rtftext.h: SRtfText, surgery on Rich Text Format source: tags, header and tables out of it, numbers changed in it.
//
//     SString header, fonts;
//     SRtfText::ExtractHeader(header, rtf, 1);             // rtf is the document's body from here on
//     SRtfText::ExtractFontTable(fonts, rtf, 1);           // ... without its font table
//     SRtfNumberMap fontMap = merged.AddFontTable(fonts);  // see rtftables.h
//     SRtfText::ChangeFontAndColor(rtf, rtf, fontMap, colorMap, styleMap);
//
// These are the single steps, which keep to simple rules that are stated with each; any text may be given to them.
// SRtfMerger (rtfmerge.h) merges whole documents and knows more of the format.
//
// Value    nothing is kept. A text that is given as an output may also be the input.
// Threads  as of the strings that are given.
// Failure  what must allocate throws SEOutOfMemory and leaves all texts as they were. No text is an error: where nothing is
//          found the output is empty.
// Cost     one pass over the text, whatever is in it. Cutting out moves the rest once.
//
// White space is blank, tab, line feed and carriage return. A tag, here, is one of:
//
//     }                 one character
//     {                 one character; or the whole group up to its own }, or to the end of the text where that is missing
//     \\                an escaped backslash: two characters
//     \word             up to the next line feed, carriage return, backslash or brace; or up to and with the first blank or
//                       tab. Nothing else ends it: "\fs20" and "\f0;" are one tag each
//     text              up to the next brace or backslash. "\'e9" and "\u233" are text
//
// This is less than a reader of the format does, on purpose: what is escaped as "\{" counts as a brace, and a letter behind
// the digits of a control word is taken for a part of it.
#ifndef RTFTEXT_H
#define RTFTEXT_H

#include "cvbase.h"
#include "smap.h"
#include "strclss.h"

/// From the number in a fragment to the number in the merged table.
typedef SMap<int, int, SAsc<int>, SPair<int, int>> SRtfNumberMap;

class CVCORE_API SRtfText {
public:
    // ---- Tags of a text that ends with a NUL ----

    /// The tag at `text`, behind the white space that stands there: where it begins and how long it is. With `wholeGroup` a
    /// { gives its whole group. Returns 1; at the end of the text 0, a null start or length 0. A null argument gives 0 and
    /// changes nothing.
    static int GetNextTag(const wchar_t** tagStart, long* tagLength, const wchar_t* text, int wholeGroup);
    /// Moves the cursor over white space. Returns 1; 0 for a null cursor.
    static int SkipSpace(wchar_t** cursor);
    /// Takes `count` characters out of the text at `at`, at most those that are there. Returns 1; 0 for a null pointer and
    /// for a count that is not positive. Moves what follows: to take out many, use the members below.
    static int RemoveTag(wchar_t* at, long count);

    // ---- Parts of a document. Each returns 1. ----

    /// "{" and those of the first six tags that are "\rtf1", "\ansi", "\ansicpgN", "\deff0", "\deflangN" or "\deflangfeN",
    /// without a closing brace. Empty when the text begins with neither "{\rtf" nor "{\urtf"; then `rtf` stays as it is.
    /// With `remove` they are cut out of `rtf`, as are the white space at its end and the closing brace in front of that.
    /// On purpose other tags stay where they are, "\deff3" among them.
    static int ExtractHeader(SString& header, SString& rtf, int remove);

    /// The first group of the document that begins with "{\fonttbl"; empty when there is none. `rtf` may be a document or
    /// what ExtractHeader left of one; groups in groups are not looked into. With `remove` it is cut out.
    static int ExtractFontTable(SString& table, SString& rtf, int remove);
    /// The same for "{\colortbl".
    static int ExtractColorTable(SString& table, SString& rtf, int remove);
    /// The same for "{\stylesheet".
    static int ExtractStyleTable(SString& table, SString& rtf, int remove);

    // ---- Numbers ----

    /// Makes `out` the tags of `body`, one behind the other, with new numbers from the maps:
    ///
    ///     \f \af                  fontMap
    ///     \cf \cb \highlight      colorMap; colour 0, which is "auto", stays
    ///     \s \cs \ds \ts          styleMap
    ///
    /// A tag whose number is not in its map stays, as does one with something else than a number ("\fs24"). Returns 1.
    /// On purpose only tags are copied: white space that stands in front of one is not, not even a blank that begins a
    /// text behind a brace. SRtfMerger keeps it.
    static int ChangeFontAndColor(SString& out, const SString& body, const SRtfNumberMap& fontMap,
                                  const SRtfNumberMap& colorMap, const SRtfNumberMap& styleMap);

    SRtfText() = delete;
};

#endif
