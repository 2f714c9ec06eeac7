// rtfmerge.h: SRtfMerger, one RTF document made of several.
//
//     SRtfMerger merger;
//     SString why;
//     for (const SString& letter : letters)
//         if (!merger.AddFragment(letter, SRtfMerger::kPageBreak, &why))
//             GeneralOutput().LogError(L"%s", why);
//     SString document = merger.GetDocument();
//
// A fragment is a document of its own. In the merged one each keeps its text, fonts, colours, styles and lists:
//
//   - font, colour, style and list tables are merged and every number that refers to them is changed, in style sheets too. A
//     number that refers to nothing goes; a colour that does not exist is the automatic one. Fonts are one when name (ignoring
//     case) and charset are equal, styles when name and kind are; where formatting differs the first one's stands in the
//     style sheet. The first style is the default one.
//   - each body is a group of its own and begins with the fragment's own defaults (\deff, \deflang, \uc), so that no
//     formatting leaks into the next one. \plain in it means its own defaults.
//   - bytes become Unicode escapes by the code page of their font, or of their document. A unit from 128 to 255 in a fragment
//     counts as a byte; one above 255 is a character. The merged document is plain ASCII without NULs: as a file it has a
//     byte for each of its characters. Binary data (\bin) of pictures is written in hexadecimal digits.
//   - a paragraph that a fragment leaves open is ended before the next one begins.
//
// What describes a whole document comes from the first one: page size, margins, view, information, and what is said of its
// first section. Later fragments' page headers and section settings stay from their first \sect on. Not merged: file tables
// and authors of revisions; the first one's stand.
//
// Value    a merger is no value: it is neither copied nor moved.
// Threads  one merger belongs to one thread at a time.
// Failure  a document that Check refuses is refused with its words. Running out of memory throws SEOutOfMemory. Either leaves
//          the merger as it was.
// Cost     linear in the fragment, but for a logarithm in the number of fonts, colours and styles. Nothing that was added
//          before is touched.
#ifndef RTFMERGE_H
#define RTFMERGE_H

#include "rtftables.h"

class CVCORE_API SRtfMerger {
public:
    /// Groups in groups; a document with more is refused. Readers of the format keep one record a group on their stack.
    static constexpr int kMaxDepth = 1000;

    /// What stands between a fragment and the one before it; the first one has nothing before it.
    enum Break {
        kParagraphBreak, ///< it begins a paragraph
        kPageBreak,      ///< it begins a page
    };

    SRtfMerger();
    ~SRtfMerger();
    SRtfMerger(const SRtfMerger&) = delete;
    SRtfMerger& operator=(const SRtfMerger&) = delete;

    /// Whether a text is a sound document: it begins, after white space, with "{\rtf" or "{\urtf"; its braces are balanced
    /// and nothing follows the last one; its \bin lengths lie in the text; groups are nested kMaxDepth deep at most. Returns
    /// 1, or 0 and tells in `why`, if that is not null, what is wrong and where: "character 12: ...", counted from 0.
    static int Check(const SString& rtf, SString* why = nullptr);

    /// Adds a document at the end. Returns 1; 0 when Check refuses it, with its `why`.
    int AddFragment(const SString& rtf, Break before = kParagraphBreak, SString* why = nullptr);
    /// How many were added.
    int Count() const;
    /// The merged document; empty when there is no fragment. More may be added afterwards.
    SString GetDocument() const;
    /// Forgets all fragments.
    void Clear();

    /// The merged tables, as they are in the document. The references are good until Clear.
    const SRtfFontTable& GetFonts() const;
    const SRtfColorTable& GetColors() const;
    const SRtfStyleTable& GetStyles() const;

private:
    struct Parts;
    Parts* m_parts;
};

#endif
