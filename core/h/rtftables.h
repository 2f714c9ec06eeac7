// rtftables.h: font table, colour table and style sheet of RTF documents, merged from those of several fragments.
//
//     SRtfFontTable fonts;
//     SRtfNumberMap first = fonts.AddFontTable(L"{\\fonttbl{\\f0\\fswiss Arial;}}");       // 0 -> 0
//     SRtfNumberMap second = fonts.AddFontTable(L"{\\fonttbl{\\f0 Courier;}{\\f3 ARIAL;}}"); // 0 -> 1, 3 -> 0
//     SString merged = fonts.GetFontTable();
//
// An entry that is added gets its index as its number; one that equals an entry of the table is that entry.
//
// Value    entries and tables are copied, compared and moved as values; copies of a table share their entries.
// Threads  as an STable: one table belongs to one thread at a time, tables that share their entries too.
// Failure  text that is no entry is skipped. The three Add members throw nothing: whatever exception comes, machine faults in
//          a derived table included, is reported through the exception dialog (excdlg.h), and the map has the entries that
//          were added until then. The other members throw SEOutOfMemory.
// Cost     adding and writing are linear in the text and the table, but for a logarithm in the number of entries.
//
// The texts are tags as rtftext.h describes them; "trimmed" is without white space on the right and then without ";".
#ifndef RTFTABLES_H
#define RTFTABLES_H

#include "rtftext.h"
#include "tablemem.h"

/// A font.
class CVCORE_API SRtfFontEntry {
public:
    SRtfFontEntry() : m_nNumber(0) {}

    /// Takes a group such as "{\f1\fswiss\fcharset0 Arial;}" apart: the number from the second tag, whatever it is; control
    /// words and groups up to the name into m_strControls; the name up to its ";", and without one the group that follows
    /// it into m_strAltGroup. Returns 1; 0 when there is no name or only one character, with what was read before it.
    int SetFontEntry(const SString& text);
    /// "{\f1\fswiss\fcharset0 Arial;}". The blank is there without control words too.
    SString GetFontEntry() const;

    int m_nNumber;
    SString m_strName;
    SString m_strControls;
    SString m_strAltGroup; ///< "{\*\falt Helvetica}", say
};

/// By name, ignoring case.
inline bool operator==(const SRtfFontEntry& a, const SRtfFontEntry& b)
{
    return a.m_strName.CompareNoCase(b.m_strName) == 0;
}
inline bool operator!=(const SRtfFontEntry& a, const SRtfFontEntry& b)
{
    return !(a == b);
}

/// A colour.
class CVCORE_API SRtfColorEntry {
public:
    SRtfColorEntry() : m_nNumber(0) {}

    /// The text is the definition; a ";" at its end goes, then white space. Number 0. Returns 1.
    int SetColorEntry(const SString& text);
    /// The definition and ";".
    SString GetColorEntry() const;

    int m_nNumber;
    SString m_strDefinition; ///< "\red255\green0\blue0"; empty for "auto"
};

/// By definition, case respected.
inline bool operator==(const SRtfColorEntry& a, const SRtfColorEntry& b)
{
    return a.m_strDefinition == b.m_strDefinition;
}
inline bool operator!=(const SRtfColorEntry& a, const SRtfColorEntry& b)
{
    return !(a == b);
}

/// A style: of paragraphs when no flag is set.
class CVCORE_API SRtfStyleEntry {
public:
    SRtfStyleEntry() : m_nNumber(0), m_bCharStyle(0), m_bSectionStyle(0), m_bTableStyle(0) {}

    /// Takes a group such as "{\*\cs10\i Emphasis;}" apart: kind and number from the first tag, after "\*" from the second
    /// one; all other control words up to the name, trimmed, into m_strControls; the name without its last character. A
    /// tag that begins with "\s" stands for a paragraph style whatever follows. Returns 1; 0 when there is no name or only
    /// one character, with what was read before it.
    int SetStyleEntry(const SString& text);
    /// "{\*\cs10\i Emphasis;}"; "\s", "\ds" or "\*\ts" for the other kinds. On purpose number 0, the default style, is
    /// written without any of them: "{ Normal;}". Empty when the number is not positive and there is neither a name nor a
    /// control word.
    SString GetStyleEntry() const;

    int m_nNumber;
    SString m_strName;
    SString m_strControls;
    int m_bCharStyle;    ///< "\cs"
    int m_bSectionStyle; ///< "\ds"
    int m_bTableStyle;   ///< "\ts"
};

/// By name, ignoring case; the kind does not matter.
inline bool operator==(const SRtfStyleEntry& a, const SRtfStyleEntry& b)
{
    return a.m_strName.CompareNoCase(b.m_strName) == 0;
}
inline bool operator!=(const SRtfStyleEntry& a, const SRtfStyleEntry& b)
{
    return !(a == b);
}

S_RELOCATABLE(SRtfFontEntry);
S_RELOCATABLE(SRtfColorEntry);
S_RELOCATABLE(SRtfStyleEntry);

/// The fonts of a merged document.
class CVCORE_API SRtfFontTable : public STable<SRtfFontEntry, SAllocator<SRtfFontEntry>> {
public:
    /// Adds the groups of a "{\fonttbl...}". Entries without braces are not read: "{\fonttbl\f0 Arial;}" adds nothing.
    SRtfNumberMap AddFontTable(const SString& fontTableText);
    /// The group, a line an entry. Characters above 255 are written as "\u947 ?", those from 128 as "\'e9".
    SString GetFontTable() const;
};

/// The colours of a merged document. The first one is "auto" once a table has been added.
class CVCORE_API SRtfColorTable : public STable<SRtfColorEntry, SAllocator<SRtfColorEntry>> {
public:
    /// Adds the definitions of a "{\colortbl...}"; their numbers in the fragment are their positions. What stands behind
    /// the last ";" is none.
    SRtfNumberMap AddColorTable(const SString& colorTableText);
    /// The group, a line an entry.
    SString GetColorTable() const;
};

/// The styles of a merged document.
class CVCORE_API SRtfStyleTable : public STable<SRtfStyleEntry, SAllocator<SRtfStyleEntry>> {
public:
    /// Adds the groups of a "{\stylesheet...}". Numbers inside of an entry (its font, the style it is based on) stay as they
    /// are; SRtfMerger changes those too.
    SRtfNumberMap AddStyleTable(const SString& styleSheetText);
    /// The group, a line an entry, as they stand: nothing is escaped.
    SString GetStyleTable() const;

    /// 1 when an entry has this name, case respected, else 0.
    int HasStyle(const SString& name) const;
    /// The control words of the first entry with this number; empty when there is none.
    SString GetStyleAttribute(int number) const;
};

#endif
