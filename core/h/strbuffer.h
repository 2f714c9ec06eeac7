// strbuffer.h: SStringBuffer, a builder for texts made of many pieces.
//
//     SStringBuffer out;
//     for (const SString& line : lines)
//         out << line << L'\n';
//     SString text = out.Detach();
//
// Value    copying shares what was gathered, as strings do.
// Threads  one builder belongs to one thread at a time.
// Failure  what must grow throws SEOutOfMemory and leaves the text as it was.
// Cost     the buffer doubles when it is full, so n characters cost O(n) however they come; the string that is taken out
//          is that buffer, not a copy.
#ifndef STRBUFFER_H
#define STRBUFFER_H

#include "strclss.h"

class CVCORE_API SStringBuffer {
public:
    SStringBuffer() = default;
    /// With room for `n` characters from the start.
    explicit SStringBuffer(int n) { Reserve(n); }
    SStringBuffer(const SStringBuffer&) = default;
    SStringBuffer& operator=(const SStringBuffer&) = default;
    SStringBuffer(SStringBuffer&&) noexcept = default;
    SStringBuffer& operator=(SStringBuffer&&) noexcept = default;

    // ---- Adding at the end ----

    SStringBuffer& Append(wchar_t c)
    {
        SStringData* data = m_text.GetData();
        if (S_UNLIKELY(!data->HasOwnRoom(1)))
            data = MakeRoom(1);
        data->Text()[data->length] = c;
        data->Text()[++data->length] = L'\0';
        return *this;
    }
    /// Exactly `n` characters, NULs too; they may stand in the builder itself. Nothing for 0 or less.
    SStringBuffer& Append(const wchar_t* text, int n);
    SStringBuffer& Append(const wchar_t* text);
    SStringBuffer& Append(const SString& text) { return Append(text, text.Length()); }
    /// `c` repeated.
    SStringBuffer& Append(wchar_t c, int repeat);
    /// As SString::Format.
    template <class... Arguments>
    SStringBuffer& AppendFormat(const wchar_t* format, Arguments... arguments)
    {
        SString piece;
        return Append(piece.Format(format, arguments...));
    }

    SStringBuffer& operator<<(wchar_t c) { return Append(c); }
    /// In the ANSI code page.
    SStringBuffer& operator<<(char c) { return Append(SString(&c, 1)); }
    SStringBuffer& operator<<(const wchar_t* text) { return Append(text); }
    SStringBuffer& operator<<(const SString& text) { return Append(text); }
    SStringBuffer& operator<<(long number);
    SStringBuffer& operator<<(int number) { return *this << static_cast<long>(number); }
    SStringBuffer& operator<<(unsigned number) { return *this << static_cast<unsigned long>(number); }
    SStringBuffer& operator<<(unsigned long number);
    SStringBuffer& operator<<(long long number);
    SStringBuffer& operator<<(unsigned long long number);
    SStringBuffer& operator<<(double number) { return Append(SString(number)); }
    SStringBuffer& operator<<(std::wstring_view text)
    {
        // One beyond the limit stays so, and is refused there.
        return Append(text.data(), static_cast<int>(text.size() <= SString::kMaxLength
                                                        ? text.size()
                                                        : SString::kMaxLength + size_t{ 1 }));
    }

    // ---- Look and care ----

    int Length() const { return m_text.Length(); }
    bool IsEmpty() const { return m_text.IsEmpty(); }
    /// The text so far; the pointer is dead after the next change.
    const wchar_t* Text() const { return m_text; }
    /// Room for `n` characters in all.
    void Reserve(int n);
    /// Empties the text and keeps the buffer.
    void Clear();
    /// Cuts the text to its first `n` characters; nothing when it is not longer.
    void Truncate(int n);
    /// Hands the text over and is empty afterwards.
    SString Detach();

private:
    friend class SString;

    SStringData* MakeRoom(int n);
    template <class Whole>
    SStringBuffer& AppendWhole(Whole number);

    SString m_text;
};

#endif
