// rtfwords.h: what a merge does with which control word and which group.
#ifndef RTFWORDS_H
#define RTFWORDS_H

#include <string_view>

enum class RtfWord {
    kOther,
    kFont,      ///< its number is a font's
    kOtherFont, ///< the same, but bytes in the text are not this font's
    kColor,
    kParagraphStyle,
    kCharStyle,
    kSectionStyle,
    kTableStyle,
    kStyleReference, ///< a style of any kind
    kList,           ///< its number is a list's in the list override table
    kListId,
    kPlain,
    kSkipCount, ///< \uc
    kUnicode,   ///< \u
    kBinary,
    kParagraph,       ///< \pard
    kParagraphFormat, ///< of a paragraph outside of tables
    kInTable,         ///< \intbl
    kTableDepth,      ///< \itap
    kRow,             ///< \trowd
    kEndOfParagraph,
    kEndOfCell,
    kEndOfRow,
    kPrints,   ///< stands for a character
    kHeader,   ///< says something of the whole document and belongs into its header
    kDocument, ///< the same, behind the header
    kSection,  ///< says something of the section
    kEndOfSection,
};

RtfWord RtfWordOf(std::wstring_view name);

enum class RtfGroup {
    kText,
    kListText,    ///< a list's number or bullet, for readers that do not know lists
    kHidden,      ///< its text is none of the document's paragraphs
    kPicture,     ///< hidden, and stands for something visible
    kPictureData, ///< the same, and its text is hexadecimal digits
    kTable,       ///< font table, colour table, style sheet, and what nobody misses
    kListTable,
    kOverrideTable,
    kDocument, ///< describes the whole document
    kSection,  ///< belongs to the section
};

RtfGroup RtfGroupOf(std::wstring_view destination, bool starred);

#endif
