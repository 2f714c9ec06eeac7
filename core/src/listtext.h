// listtext.h: the one-line form of lists, in which an escape character takes the meaning from the one after it.
#ifndef LISTTEXT_H
#define LISTTEXT_H

#include "strbuffer.h"
#include "strclss.h"

#include <initializer_list>

/// Reads the items of a list one after the other.
///
/// An item ends at the end of the list or at a separator. An escape character is not stored; the character after it is,
/// whatever it is; an escape at the very end ends the list. Behind the separator that ended an item other separators are
/// skipped, a repeat of the same one is not: with ";," the list "a;,b" has two items, "a;;b" three. A separator at the end
/// opens no further item.
class ListReader {
public:
    /// Shares the texts: what becomes of the strings meanwhile does not matter, they may be among those that the items
    /// replace. An escape of NUL is none.
    ListReader(const SString& list, const SString& separators, wchar_t escape)
        : m_list(list), m_separators(separators), m_escape(escape), m_at(m_list.begin()), m_end(m_list.end())
    {}
    ListReader(const ListReader&) = delete;
    ListReader& operator=(const ListReader&) = delete;

    /// Puts the next item into `*item`; false at the end of the list.
    bool Next(SString* item) { return Next(item, nullptr, L'\0'); }
    /// The same for an item of two halves around its first unescaped `divider`; without one `*second` is empty.
    bool Next(SString* first, SString* second, wchar_t divider);

private:
    // The few separators of a list, mostly one, up to the first NUL.
    bool IsSeparator(wchar_t c) const
    {
        const wchar_t* separator = m_separators;
        while (*separator != L'\0' && *separator != c)
            ++separator;
        return *separator != L'\0';
    }

    const SString m_list;
    const SString m_separators;
    const wchar_t m_escape;
    const wchar_t* m_at;
    const wchar_t* const m_end;
};

/// Appends a text so that a reader gives it back: each escape doubled, each text of `special` with an escape in front, in
/// that order.
void AppendEscaped(SStringBuffer& out, const SString& text, const SString& escape,
                   std::initializer_list<const SString*> special);

#endif
