// rtflexer.cpp: RTF text into tokens.
#include "rtflexer.h"

#include "rtftags.h"

#include <algorithm>
#include <limits>

namespace {

bool IsLetter(wchar_t c)
{
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}

int HexDigit(wchar_t c)
{
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    const wchar_t lower = c | 0x20;
    return lower >= L'a' && lower <= L'f' ? lower - L'a' + 10 : -1;
}

} // namespace

RtfToken RtfLexer::Next()
{
    RtfToken token{ RtfToken::kEnd, m_at, m_at, {}, false, 0, {}, 0 };
    if (m_at == m_end)
        return token;
    switch (*m_at) {
    case L'{':
        token.kind = RtfToken::kOpen;
        ++m_at;
        break;
    case L'}':
        token.kind = RtfToken::kClose;
        ++m_at;
        break;
    case L'\\': return Control();
    default: token.kind = RtfToken::kText; m_at = RtfTags::FindBefore<RtfTags::TextEnds>(m_at, m_end);
    }
    token.end = m_at;
    return token;
}

RtfToken RtfLexer::Control()
{
    RtfToken token{ RtfToken::kSymbol, m_at, m_at, {}, false, 0, {}, 0 };
    ++m_at;
    if (m_at != m_end && IsLetter(*m_at)) {
        ReadWord(token);
    } else if (m_end - m_at >= 3 && *m_at == L'\'' && HexDigit(m_at[1]) >= 0 && HexDigit(m_at[2]) >= 0) {
        token.kind = RtfToken::kHex;
        token.number = HexDigit(m_at[1]) * 16 + HexDigit(m_at[2]);
        m_at += 3;
    } else if (m_at != m_end) {
        ++m_at;
    }
    token.end = m_at;
    return token;
}

void RtfLexer::ReadWord(RtfToken& token)
{
    token.kind = RtfToken::kWord;
    const wchar_t* const name = m_at;
    while (m_at != m_end && IsLetter(*m_at))
        ++m_at;
    token.name = { name, static_cast<size_t>(m_at - name) };

    const bool negative = m_end - m_at >= 2 && *m_at == L'-' && RtfTags::IsDigit(m_at[1]);
    if (negative)
        ++m_at;
    long long number = 0;
    for (; m_at != m_end && RtfTags::IsDigit(*m_at); ++m_at) {
        token.hasNumber = true;
        number = std::min<long long>(number * 10 + (*m_at - L'0'), std::numeric_limits<int>::max());
    }
    token.number = static_cast<int>(negative ? -number : number);
    if (m_at != m_end && *m_at == L' ')
        ++m_at;
    if (token.name == L"bin")
        ReadBinary(token);
}

void RtfLexer::ReadBinary(RtfToken& token)
{
    const int there = static_cast<int>(m_end - m_at);
    const int length = std::clamp(token.number, 0, there);
    token.missing = token.number - length;
    token.data = { m_at, static_cast<size_t>(length) };
    m_at += length;
}

const wchar_t* RtfLexer::SkipGroup()
{
    for (int depth = 1; depth > 0;) {
        const RtfToken token = Next();
        if (token.kind == RtfToken::kEnd)
            break;
        if (token.kind == RtfToken::kOpen)
            ++depth;
        else if (token.kind == RtfToken::kClose)
            --depth;
    }
    return m_at;
}

RtfDestination RtfDestination::At(RtfLexer lexer)
{
    RtfToken token = lexer.Next();
    const bool starred = token.IsSymbol(L'*');
    if (starred)
        token = lexer.Next();
    if (token.kind != RtfToken::kWord)
        return { {}, starred, token.start };
    return { token.name, starred, token.end };
}
