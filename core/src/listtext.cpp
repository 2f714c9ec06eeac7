// listtext.cpp: the one-line form of lists.
#include "listtext.h"

bool ListReader::Next(SString* first, SString* second, wchar_t divider)
{
    if (m_at == m_end)
        return false;
    SStringBuffer halves[2];
    int half = 0;
    for (; m_at < m_end && !IsSeparator(*m_at); ++m_at) {
        if (m_escape && *m_at == m_escape) {
            if (++m_at == m_end)
                break;
        } else if (second && half == 0 && *m_at == divider) {
            half = 1;
            continue;
        }
        halves[half].Append(*m_at);
    }
    if (m_at < m_end) {
        const wchar_t separator = *m_at++;
        while (m_at < m_end && *m_at != separator && IsSeparator(*m_at))
            ++m_at;
    }
    *first = halves[0].Detach();
    if (second)
        *second = halves[1].Detach();
    return true;
}

void AppendEscaped(SStringBuffer& out, const SString& text, const SString& escape,
                   std::initializer_list<const SString*> special)
{
    // Most texts hold nothing special.
    bool isPlain = !text.Find(escape);
    for (const SString* part : special)
        isPlain = isPlain && !text.Find(*part);
    if (isPlain) {
        out << text;
        return;
    }
    SString escaped(text);
    escaped.ReplaceAll(escape, escape + escape);
    for (const SString* part : special)
        escaped.ReplaceAll(*part, escape + *part);
    out << escaped;
}
