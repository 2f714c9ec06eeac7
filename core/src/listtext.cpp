// listtext.cpp: the one-line form of lists.
#include "listtext.h"

#include "textkern.h"

bool ListReader::Next(SString* first, SString* second, wchar_t divider)
{
    if (m_at == m_end)
        return false;
    // Runs without an escape are copied whole; most items are one such run.
    SStringBuffer halves[2];
    int half = 0;
    const wchar_t* run = m_at;
    const auto endRun = [&] { halves[half].Append(run, static_cast<int>(m_at - run)); };
    for (; m_at < m_end && !IsSeparator(*m_at); ++m_at) {
        if (m_escape && *m_at == m_escape) {
            endRun();
            run = m_at + 1;
            if (++m_at == m_end)
                break;
        } else if (second && half == 0 && *m_at == divider) {
            endRun();
            run = m_at + 1;
            half = 1;
        }
    }
    endRun();
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

namespace {

bool Holds(const SString& text, const SString& part)
{
    if (part.Length() != 1)
        return text.Find(part) != nullptr;
    return TextKern::FindChar(text, static_cast<size_t>(text.Length()), part[0]) != nullptr;
}

} // namespace

void AppendEscaped(SStringBuffer& out, const SString& text, const SString& escape,
                   std::initializer_list<const SString*> special)
{
    // Most texts hold nothing special.
    bool isPlain = !Holds(text, escape);
    for (const SString* part : special)
        isPlain = isPlain && !Holds(text, *part);
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
