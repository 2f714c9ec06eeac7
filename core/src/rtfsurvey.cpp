// rtfsurvey.cpp: a document's soundness, header and tables, in one pass.
#include "rtfsurvey.h"

#include "rtfcodepage.h"
#include "rtftags.h"

#include <vector>

namespace {

constexpr wchar_t kByteOrderMark = L'\xFEFF';

constexpr const wchar_t* kSheetFontWords[] = { L"stshfdbch", L"stshfloch", L"stshfhich", L"stshfbi" };

bool IsBlank(wchar_t c)
{
    return RtfTags::IsSpace(c) || c == L'\0';
}

} // namespace

RtfSurvey::RtfSurvey(const SString& rtf, int maxDepth)
{
    const wchar_t* const text = rtf;
    const wchar_t* at = text;
    const wchar_t* const stop = text + rtf.Length();
    if (at != stop && *at == kByteOrderMark)
        ++at;
    while (at != stop && RtfTags::IsSpace(*at))
        ++at;
    RtfLexer lexer(at, stop);
    start = end = stop;
    if (!Begin(lexer)) {
        fault = L"this is not RTF: it does not begin with {\\rtf";
        return;
    }
    start = lexer.At();
    Walk(lexer, text, maxDepth);
    if (!fault.IsEmpty())
        return;
    for (at = end + 1; at != stop; ++at) {
        if (!IsBlank(*at)) {
            fault.Format(L"character %d: text follows the document's closing brace",
                         static_cast<int>(at - text));
            return;
        }
    }
}

bool RtfSurvey::Begin(RtfLexer& lexer)
{
    if (lexer.Next().kind != RtfToken::kOpen)
        return false;
    const RtfToken word = lexer.Next();
    return word.IsWord(L"rtf") || word.IsWord(L"urtf");
}

void RtfSurvey::Walk(RtfLexer lexer, const wchar_t* text, int maxDepth)
{
    const auto place = [text](const wchar_t* at) { return static_cast<int>(at - text); };
    std::vector<const wchar_t*> open{ text }; // the braces of the groups that are open
    std::wstring_view* table = nullptr;       // the one that the walk is in
    size_t tableDepth = 0;
    for (;;) {
        const RtfToken token = lexer.Next();
        switch (token.kind) {
        case RtfToken::kEnd:
            fault.Format(L"the text ends with %d groups open; the innermost begins at character %d",
                         static_cast<int>(open.size()), place(open.back()));
            return;
        case RtfToken::kOpen:
            if (static_cast<int>(open.size()) == maxDepth) {
                fault.Format(L"character %d: groups are nested deeper than %d", place(token.start), maxDepth);
                return;
            }
            open.push_back(token.start);
            if (!table) {
                table = TableNamed(RtfDestination::At(lexer).name);
                if (table && !table->empty())
                    table = nullptr;
                tableDepth = open.size();
            }
            break;
        case RtfToken::kClose:
            if (table && open.size() == tableDepth) {
                *table = { open.back(), static_cast<size_t>(token.end - open.back()) };
                table = nullptr;
            }
            open.pop_back();
            if (open.empty()) {
                end = token.start;
                return;
            }
            break;
        case RtfToken::kWord:
            if (token.missing != 0) {
                fault.Format(L"character %d: \\bin announces %d characters, the text has %d",
                             place(token.start), token.number, static_cast<int>(token.data.size()));
                return;
            }
            if (open.size() == 1)
                NoteHeaderWord(token);
            break;
        default: break;
        }
    }
}

std::wstring_view* RtfSurvey::TableNamed(std::wstring_view name)
{
    if (name == L"fonttbl")
        return &fonts;
    if (name == L"colortbl")
        return &colors;
    return name == L"stylesheet" ? &styles : nullptr;
}

void RtfSurvey::NoteHeaderWord(const RtfToken& token)
{
    const struct {
        const wchar_t* name;
        int* number;
    } kNumbers[] = {
        { L"ansicpg", &codePage },
        { L"deff", &font },
        { L"adeff", &bidiFont },
        { L"deflang", &language },
        { L"deflangfe", &farEastLanguage },
        { L"adeflang", &bidiLanguage },
        { kSheetFontWords[0], sheetFonts },
        { kSheetFontWords[1], sheetFonts + 1 },
        { kSheetFontWords[2], sheetFonts + 2 },
        { kSheetFontWords[3], sheetFonts + 3 },
    };
    if (token.name == L"ansi" || token.name == L"mac" || token.name == L"pc" || token.name == L"pca") {
        if (charset.empty())
            charset = token.name;
        return;
    }
    const wchar_t first = token.name[0];
    if ((first != L'a' && first != L'd' && first != L's') || !token.hasNumber || token.number < 0)
        return;
    for (const auto& entry : kNumbers) {
        if (token.name == entry.name && *entry.number == kNone)
            *entry.number = token.number;
    }
}

int RtfSurvey::PageOfBytes() const
{
    if (codePage > 0)
        return codePage;
    return charset == L"mac" ? 10000 : charset == L"pc" ? 437 : charset == L"pca" ? 850 : kRtfUsualPage;
}
