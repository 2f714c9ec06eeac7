// striter.h: cursors over a string: by character, by line, by word, by separated part.
//
//     for (const SString& line : SLines(text))
//         for (const SString& field : SParts(line, L';'))
//             ...
//
// Value    line, word and part cursors share the string's buffer: editing the string under them is safe, they go on in
//          the text they began with. const_iterator only points at its string, which must live and stay as it is.
// Threads  as strings.
// Failure  taking a piece out as a string may throw SEOutOfMemory; stepping never does.
// Cost     stepping is linear in the piece; a piece costs one pooled buffer when it is taken out.
#ifndef STRITER_H
#define STRITER_H

#include "strclss.h"

#include <cstddef>
#include <iterator>

/// A cursor over the characters of one string: a bidirectional iterator with a memory.
class CVCORE_API SString::const_iterator {
public:
    typedef std::bidirectional_iterator_tag iterator_category;
    typedef wchar_t value_type;
    typedef ptrdiff_t difference_type;
    typedef const wchar_t* pointer;
    typedef const wchar_t& reference;

    /// What SaveState remembers: an index.
    typedef int State;

    const_iterator() noexcept : m_string(nullptr), m_at(nullptr) {}
    /// At an index, which is brought into 0..Length().
    explicit const_iterator(const SString& string, int index = 0) noexcept
        : m_string(&string), m_at(string.GetPointerAt(index))
    {}
    /// A temporary would be gone by the next statement: see SStringCopyIterator.
    explicit const_iterator(const SString&& string, int index = 0) = delete;

    /// The character; the terminator at the end.
    reference operator*() const { return *m_at; }
    /// Stepping stops at either end of the text.
    const_iterator& operator++()
    {
        m_at += m_at < m_string->end();
        return *this;
    }
    const_iterator operator++(int)
    {
        const_iterator old(*this);
        ++*this;
        return old;
    }
    const_iterator& operator--()
    {
        m_at -= m_at > m_string->begin();
        return *this;
    }
    const_iterator operator--(int)
    {
        const_iterator old(*this);
        --*this;
        return old;
    }
    bool operator==(const const_iterator& other) const { return m_at == other.m_at; }
    bool operator!=(const const_iterator& other) const { return m_at != other.m_at; }
    bool operator<(const const_iterator& other) const { return m_at < other.m_at; }

    /// Back to the first character.
    void reset() { m_at = m_string->begin(); }
    bool IsEnd() const { return m_at == m_string->end(); }
    /// Whether a line ends here: at a CR, an LF or the end of the text.
    bool IsEoln() const { return *m_at == L'\n' || *m_at == L'\r' || IsEnd(); }
    /// Whether the character is white space; not at the end.
    bool IsWhitespace() const;
    /// Remembers the place, and goes back to it. A state is good for every cursor over an equally long text.
    State SaveState() const { return static_cast<int>(m_at - m_string->begin()); }
    void RestoreState(State state) { m_at = m_string->GetPointerAt(state); }
    /// The string.
    const SString& Str() const { return *m_string; }

protected:
    const SString* m_string;
    const wchar_t* m_at;
};

/// The same, over a copy of the string that it shares: the original may be edited or end.
class CVCORE_API SStringCopyIterator : public SString::const_iterator {
public:
    explicit SStringCopyIterator(const SString& string, int index = 0);
    SStringCopyIterator(const SStringCopyIterator& other);
    SStringCopyIterator& operator=(const SStringCopyIterator& other);

private:
    SString m_copy;
};

/// What line, word and part cursors have in common: an input iterator whose value is the piece as a string. A cursor that
/// has no piece left equals the default-constructed one and converts to false.
class CVCORE_API SString::span_iterator {
public:
    typedef std::input_iterator_tag iterator_category;
    typedef SString value_type;
    typedef ptrdiff_t difference_type;
    typedef const SString* pointer;
    typedef SString reference;

    /// The piece, in a buffer of its own.
    SString operator*() const { return SString(m_first, m_last); }
    operator SString() const { return **this; }
    /// The piece for one expression: it->Length().
    class Arrow {
    public:
        explicit Arrow(SString&& piece) noexcept : m_piece(std::move(piece)) {}
        const SString* operator->() const { return &m_piece; }

    private:
        SString m_piece;
    };
    Arrow operator->() const { return Arrow(**this); }
    /// The first character of the piece, inside the whole text; null when there is no piece.
    const wchar_t* GetPointer() const { return m_first; }
    /// Characters of the piece.
    int GetLength() const { return static_cast<int>(m_last - m_first); }
    explicit operator bool() const { return m_first != nullptr; }
    bool operator==(const span_iterator& other) const { return m_first == other.m_first; }
    bool operator!=(const span_iterator& other) const { return m_first != other.m_first; }

protected:
    span_iterator() noexcept : m_first(nullptr), m_last(nullptr), m_next(nullptr) {}
    explicit span_iterator(const SString& string);

    const wchar_t* TextEnd() const { return m_text.end(); }
    void Restart();
    void SetPiece(const wchar_t* first, const wchar_t* last, const wchar_t* next);
    void SetEnd() { SetPiece(nullptr, nullptr, nullptr); }

    SString m_text;
    const wchar_t* m_first; // the piece
    const wchar_t* m_last;
    const wchar_t* m_next; // where the search for the next one begins; null when there is none
};

/// Lines. A line ends with LF, CR or CR LF, which do not belong to it; a line end at the end of the text opens no further
/// line, and an empty text has none.
class CVCORE_API SString::line_iterator : public SString::span_iterator {
public:
    line_iterator() = default;
    explicit line_iterator(const SString& string) : span_iterator(string) { AdvanceNext(); }
    /// To the next line; false when there is none.
    bool AdvanceNext();
    /// Back to the first line.
    void reset()
    {
        Restart();
        AdvanceNext();
    }
    line_iterator& operator++()
    {
        AdvanceNext();
        return *this;
    }
    line_iterator operator++(int)
    {
        line_iterator before(*this);
        AdvanceNext();
        return before;
    }
};

/// Words: runs of letters, digits and marks on letters; an apostrophe between two of them belongs to the word ("don't").
/// Halves of surrogate pairs count as letters.
class CVCORE_API SString::word_iterator : public SString::span_iterator {
public:
    word_iterator() = default;
    explicit word_iterator(const SString& string) : span_iterator(string) { AdvanceNext(); }
    /// To the next word; false when there is none.
    bool AdvanceNext();
    /// Back to the first word.
    void reset()
    {
        Restart();
        AdvanceNext();
    }
    word_iterator& operator++()
    {
        AdvanceNext();
        return *this;
    }
    word_iterator operator++(int)
    {
        word_iterator before(*this);
        AdvanceNext();
        return before;
    }
};

/// Parts between separators, empty ones too: "a;;b" has three, "a;" has two. An empty text has none.
class CVCORE_API SString::parts_iterator : public SString::span_iterator {
public:
    parts_iterator() : m_separator(L'\0') {}
    parts_iterator(const SString& string, wchar_t separator) : span_iterator(string), m_separator(separator)
    {
        AdvanceNext();
    }
    /// To the next part; false when there is none.
    bool AdvanceNext();
    /// Back to the first part.
    void reset()
    {
        Restart();
        AdvanceNext();
    }
    parts_iterator& operator++()
    {
        AdvanceNext();
        return *this;
    }
    parts_iterator operator++(int)
    {
        parts_iterator before(*this);
        AdvanceNext();
        return before;
    }

private:
    wchar_t m_separator;
};

/// A pair of cursors for range-for.
template <class Iterator>
struct SStringPieces {
    Iterator first;
    const Iterator& begin() const { return first; }
    Iterator end() const { return Iterator(); }
};

inline SStringPieces<SString::line_iterator> SLines(const SString& text)
{
    return { SString::line_iterator(text) };
}
inline SStringPieces<SString::word_iterator> SWords(const SString& text)
{
    return { SString::word_iterator(text) };
}
inline SStringPieces<SString::parts_iterator> SParts(const SString& text, wchar_t separator)
{
    return { SString::parts_iterator(text, separator) };
}

#endif
