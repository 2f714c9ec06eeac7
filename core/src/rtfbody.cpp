// rtfbody.cpp: a fragment's body, rewritten for the merged document.
//
// Nearly all of it stays as it is and is copied in stretches as long as they come. What changes: numbers of fonts, colours,
// styles and lists; what belongs to a whole document and must be there once; and text that is not of 7 bits. Bytes become
// Unicode escapes, since what they mean hangs on a code page that the merged document has only one of.
#include "rtfbody.h"

#include <algorithm>

namespace {

constexpr wchar_t kSubstitute = L'?';
constexpr int kLongestFormat = 500; // characters
constexpr int kMostSubstitutes = 4; // in a row

bool IsLineEnd(wchar_t c)
{
    return c == L'\r' || c == L'\n';
}

bool IsPlain(wchar_t c)
{
    return c != L'\0' && c < 0x80;
}

// What follows the backslash; NUL at the end of the text.
wchar_t SymbolOf(const RtfToken& token)
{
    return token.Text().size() > 1 ? token.start[1] : L'\0';
}

// No reader knows a symbol like this, and it would break the 7 bits.
bool IsDroppedSymbol(const RtfToken& token)
{
    return token.kind == RtfToken::kSymbol && !IsLineEnd(SymbolOf(token)) && !IsPlain(SymbolOf(token));
}

} // namespace

RtfBodyRewriter::RtfBodyRewriter(const RtfFragment& fragment, RtfDecoder& decoder, RtfListNumbers& numbers,
                                 const RtfOutputs& outputs)
    : m_fragment(fragment),
      m_decoder(decoder),
      m_numbers(numbers),
      m_outputs(outputs),
      m_lexer(fragment.survey.start, fragment.survey.end),
      m_out(&outputs.body),
      m_kept(m_lexer.At())
{
    m_states.push_back({ 1,
                         fragment.PageOfFont(fragment.DefaultFont()),
                         false,
                         {},
                         true,
                         false,
                         false,
                         false,
                         false,
                         false });
}

void RtfBodyRewriter::Run()
{
    for (;;) {
        const RtfToken token = m_lexer.Next();
        // A character behind \u in another group is none of its substitutes.
        if (token.kind <= RtfToken::kClose)
            m_toSkip = 0;
        if (IsDroppedSymbol(token)) {
            m_gap = true;
        } else if (token.kind != RtfToken::kWord && token.kind != RtfToken::kOpen) {
            // A NUL at the begin of a text goes too.
            if (token.kind == RtfToken::kText && m_unended && (m_gap || *token.start == L'\0')) {
                CopyUpTo(token.start);
                *m_out << L' ';
            }
            m_gap = m_unended = false;
        }
        switch (token.kind) {
        case RtfToken::kEnd: CopyUpTo(token.start); return;
        case RtfToken::kOpen: OnOpen(token); break;
        case RtfToken::kClose: OnClose(token); break;
        case RtfToken::kWord: OnWord(token); break;
        case RtfToken::kSymbol: OnSymbol(token); break;
        case RtfToken::kHex: OnHex(token); break;
        case RtfToken::kText: OnText(token); break;
        }
    }
}

// ---- Copying ----

void RtfBodyRewriter::CopyUpTo(const wchar_t* end)
{
    m_out->Append(m_kept, static_cast<int>(end - m_kept));
    m_kept = end;
}

// What stands between is put by the caller.
void RtfBodyRewriter::ReplaceUpTo(const wchar_t* start, const wchar_t* end)
{
    CopyUpTo(start);
    m_kept = end;
}

// ---- Groups ----

bool RtfBodyRewriter::IsDropped(RtfGroup group) const
{
    switch (group) {
    case RtfGroup::kTable: return true;
    case RtfGroup::kListTable:
    case RtfGroup::kOverrideTable: return Depth() > 1;
    case RtfGroup::kDocument: return !m_fragment.isFirst && Depth() == 1;
    case RtfGroup::kSection: return !m_fragment.isFirst && Depth() == 1 && !m_sectionSeen;
    default: return false;
    }
}

void RtfBodyRewriter::OnOpen(const RtfToken& token)
{
    const RtfDestination destination = RtfDestination::At(m_lexer);
    const RtfGroup group = RtfGroupOf(destination.name, destination.starred);
    if (IsDropped(group)) {
        ReplaceUpTo(token.start, m_lexer.SkipGroup());
        m_gap = true;
        return;
    }
    if (group == RtfGroup::kPicture || group == RtfGroup::kPictureData)
        Prints(token.start);
    State inside = Now();
    inside.isRedirected = false;
    inside.isListText = inside.isListText || group == RtfGroup::kListText;
    inside.isText = inside.isText && (group == RtfGroup::kText || group == RtfGroup::kListText);
    inside.isPicture = group == RtfGroup::kPictureData || destination.name == L"objdata";
    inside.unendedBefore = m_unended;
    m_gap = m_unended = false;
    m_states.push_back(inside);
    if (Depth() != 2)
        return;
    if (group == RtfGroup::kDocument) {
        Redirect(token, m_outputs.front, true);
    } else if (group == RtfGroup::kListTable || group == RtfGroup::kOverrideTable) {
        // The lists go into the merged table without the braces and the word of their own one.
        Redirect(token, group == RtfGroup::kListTable ? m_outputs.lists : m_outputs.listOverrides, false);
        if (destination.starred)
            m_lexer.Next();
        m_lexer.Next();
        m_kept = m_lexer.At();
    }
}

void RtfBodyRewriter::Redirect(const RtfToken& brace, SStringBuffer& out, bool withBraces)
{
    CopyUpTo(brace.start);
    m_out = &out;
    Now().isRedirected = true;
    Now().hasBraces = withBraces;
}

void RtfBodyRewriter::OnClose(const RtfToken& token)
{
    if (Now().isRedirected) {
        CopyUpTo(Now().hasBraces ? token.end : token.start);
        m_kept = token.end;
        m_out = &m_outputs.body;
        m_unended = Now().unendedBefore;
        m_gap = true;
    }
    m_states.pop_back();
}

// ---- Control words ----

void RtfBodyRewriter::OnWord(const RtfToken& token)
{
    if (m_toSkip > 0)
        --m_toSkip;
    const RtfWord word = RtfWordOf(token.name);
    const Fate fate = word == RtfWord::kOther ? kKept : OnKnownWord(token, word);
    m_gap = fate == kGone;
    if (fate != kGone)
        m_unended = fate == kKept && !token.HasBlank();
}

RtfBodyRewriter::Fate RtfBodyRewriter::OnKnownWord(const RtfToken& token, RtfWord word)
{
    switch (word) {
    case RtfWord::kPlain: return OnPlain(token);
    case RtfWord::kSkipCount: Now().skipCount = token.hasNumber ? std::max(token.number, 0) : 1; return kKept;
    case RtfWord::kUnicode:
        m_toSkip = Now().skipCount;
        Prints(token.start);
        return kKept;
    case RtfWord::kBinary: return OnBinary(token);
    case RtfWord::kParagraph:
        Now().inTable = m_afterRow = false;
        Now().paragraph.Empty();
        return kKept;
    case RtfWord::kParagraphFormat:
        if (Now().paragraph.Length() < kLongestFormat)
            Now().paragraph.Append(token.start, static_cast<int>(token.end - token.start) - token.HasBlank());
        return kKept;
    case RtfWord::kInTable:
        Now().inTable = true;
        m_afterRow = false;
        return kKept;
    case RtfWord::kTableDepth:
        Now().inTable = token.number > 0;
        m_afterRow = false;
        return kKept;
    case RtfWord::kRow: m_afterRow = false; return kKept;
    case RtfWord::kEndOfParagraph:
        LeaveTable(token.start);
        EndParagraph();
        return kKept;
    case RtfWord::kEndOfRow:
        m_afterRow = true;
        EndParagraph();
        return kKept;
    case RtfWord::kEndOfCell: EndParagraph(); return kKept;
    case RtfWord::kPrints: Prints(token.start); return kKept;
    case RtfWord::kHeader: return Depth() == 1 ? Drop(token) : kKept;
    case RtfWord::kDocument: return Depth() == 1 ? MoveToFront(token) : kKept;
    case RtfWord::kSection: return Depth() == 1 && !m_sectionSeen ? MoveToFront(token) : kKept;
    case RtfWord::kEndOfSection:
        m_sectionSeen = true;
        EndParagraph();
        return kKept;
    default: return token.hasNumber ? OnNumber(token, word) : kKept;
    }
}

RtfBodyRewriter::Fate RtfBodyRewriter::OnPlain(const RtfToken& token)
{
    Now().page = m_fragment.PageOfFont(m_fragment.DefaultFont());
    // Some readers keep the font at \plain. A list's number then has that of its paragraph, which is what was meant.
    if (m_fragment.plainTail.IsEmpty() || Now().isListText)
        return kKept;
    ReplaceUpTo(token.start, token.end);
    *m_out << L"\\plain" << m_fragment.plainTail << L' ';
    return kEnded;
}

RtfBodyRewriter::Fate RtfBodyRewriter::OnNumber(const RtfToken& token, RtfWord word)
{
    if (word == RtfWord::kList) // 0 is none
        return token.number > 0
                   ? ReplaceNumber(token, NumberOfList(m_lists, token.number, m_numbers.lastList))
                   : kKept;
    if (word == RtfWord::kListId)
        return ReplaceNumber(token, NumberOfList(m_listIds, token.number, m_numbers.lastId));
    if (word == RtfWord::kFont)
        Now().page = m_fragment.PageOfFont(token.number);
    const int number = m_fragment.NewNumber(word, token.number);
    if (number == RtfFragment::kDrop)
        return Drop(token);
    return number == RtfFragment::kKeep || number == token.number ? kKept : ReplaceNumber(token, number);
}

// Data in binary would break the 7 bits; a picture may have it in hexadecimal digits as well. Elsewhere nobody reads it.
RtfBodyRewriter::Fate RtfBodyRewriter::OnBinary(const RtfToken& token)
{
    static constexpr wchar_t kDigits[] = L"0123456789abcdef";
    Drop(token);
    if (!Now().isPicture)
        return kGone;
    if (m_unended)
        *m_out << L' ';
    for (const wchar_t unit : token.data)
        *m_out << kDigits[unit >> 4 & 0xF] << kDigits[unit & 0xF];
    return kEnded;
}

RtfBodyRewriter::Fate RtfBodyRewriter::Drop(const RtfToken& token)
{
    ReplaceUpTo(token.start, token.end);
    return kGone;
}

RtfBodyRewriter::Fate RtfBodyRewriter::MoveToFront(const RtfToken& token)
{
    if (m_fragment.isFirst) {
        m_outputs.front << L'\\' << token.name;
        if (token.hasNumber)
            m_outputs.front << token.number;
    }
    return Drop(token);
}

RtfBodyRewriter::Fate RtfBodyRewriter::ReplaceNumber(const RtfToken& token, int number)
{
    ReplaceUpTo(token.start, token.end);
    RtfAppendWord(*m_out, token, number);
    return kKept;
}

int RtfBodyRewriter::NumberOfList(SRtfNumberMap& map, int number, int& last)
{
    if (const int* const known = map.Find(number))
        return *known;
    map.Set(number, last + 1);
    return ++last;
}

// ---- Text ----

void RtfBodyRewriter::Prints(const wchar_t* at)
{
    if (!Now().isText)
        return;
    LeaveTable(at);
    m_open = true;
}

// Some readers take what follows a row for a part of the table until \pard, even where the group that the row was in has
// ended, and lose it together with all that follows. For others the paragraph's format must come back behind that.
void RtfBodyRewriter::LeaveTable(const wchar_t* at)
{
    if (!m_afterRow || !Now().isText || Now().inTable)
        return;
    m_afterRow = false;
    CopyUpTo(at);
    *m_out << L"\\pard" << Now().paragraph << L' ';
}

void RtfBodyRewriter::OnSymbol(const RtfToken& token)
{
    if (m_toSkip > 0)
        --m_toSkip;
    const wchar_t c = SymbolOf(token);
    if (IsLineEnd(c))
        EndParagraph();
    else if (c == L'~' || c == L'_' || c == L'{' || c == L'}' || c == L'\\')
        Prints(token.start);
    else if (IsDroppedSymbol(token))
        ReplaceUpTo(token.start, token.end);
}

void RtfBodyRewriter::OnHex(const RtfToken& token)
{
    Prints(token.start);
    if (m_toSkip > 0) {
        --m_toSkip;
        return;
    }
    const int page = Now().page;
    const unsigned char byte = static_cast<unsigned char>(token.number);
    if (byte < 0x80 || page == kRtfSymbolPage)
        return;
    RtfLexer after(m_lexer);
    wchar_t character;
    if (unsigned char trail; !m_decoder.IsLead(page, byte))
        character = m_decoder.Decode(page, byte);
    else
        character = TakeTrail(after, trail) ? m_decoder.Decode(page, byte, trail) : L'\0';
    if (character == L'\0') // the page has no such character: a reader may know better
        return;
    m_lexer = after;
    ReplaceUpTo(token.start, m_lexer.At());
    PutUnicode(character);
}

bool RtfBodyRewriter::TakeTrail(RtfLexer& lexer, unsigned char& trail) const
{
    const wchar_t* const at = lexer.At();
    const wchar_t* const end = m_fragment.survey.end;
    if (at == end)
        return false;
    if (*at == L'\\') {
        const RtfToken token = lexer.Next();
        trail = static_cast<unsigned char>(token.number);
        return token.kind == RtfToken::kHex;
    }
    trail = static_cast<unsigned char>(*at);
    lexer = RtfLexer(at + 1, end);
    return *at != L'{' && *at != L'}' && *at >= L' ' && *at < 0x100;
}

void RtfBodyRewriter::OnText(const RtfToken& token)
{
    for (const wchar_t* at = token.start; at != token.end;) {
        if (m_toSkip == 0 && (m_open || !Now().isText)) {
            at = std::find_if_not(at, token.end, IsPlain);
            if (at == token.end)
                return;
        }
        if (*at == L'\0') {
            ReplaceUpTo(at, at + 1);
            ++at;
        } else if (IsLineEnd(*at)) {
            ++at;
        } else if (m_toSkip > 0) {
            --m_toSkip;
            if (!IsPlain(*at)) {
                ReplaceUpTo(at, at + 1);
                *m_out << kSubstitute;
            }
            ++at;
        } else {
            Prints(at);
            at = IsPlain(*at) ? at + 1 : PutRaw(at, token.end);
        }
    }
}

// A unit up to 255 is a file's byte that was widened; one above is the character itself.
const wchar_t* RtfBodyRewriter::PutRaw(const wchar_t* at, const wchar_t* end)
{
    const wchar_t unit = *at;
    const wchar_t* next = at + 1;
    wchar_t character = unit;
    if (unit < 0x100) {
        const int page = Now().page;
        const unsigned char byte = static_cast<unsigned char>(unit);
        if (!m_decoder.IsLead(page, byte)) {
            character = m_decoder.Decode(page, byte);
        } else {
            const bool paired = next != end && *next >= L' ' && *next < 0x100;
            character = paired ? m_decoder.Decode(page, byte, static_cast<unsigned char>(*next)) : L'\0';
            next += character != L'\0';
        }
    }
    ReplaceUpTo(at, next);
    if (character != L'\0')
        PutUnicode(character);
    else
        m_out->AppendFormat(L"\\'%x", static_cast<int>(unit));
    return next;
}

void RtfBodyRewriter::PutUnicode(wchar_t character)
{
    const int number = static_cast<short>(character); // the format's numbers have 16 bits and a sign
    const int substitutes = Now().skipCount;
    if (substitutes > kMostSubstitutes) {
        *m_out << L"\\uc1\\u" << number << kSubstitute << L"\\uc" << substitutes << L' ';
        return;
    }
    *m_out << L"\\u" << number;
    if (substitutes == 0)
        *m_out << L' ';
    else
        m_out->Append(kSubstitute, substitutes);
}
