// narrow.h: narrow text: SAnsiString in the process's ANSI code page, SUtf8String in UTF-8, and the way to SString and back.
//
//     ::SetWindowTextA(window, SAnsiString(title));
//     std::fputs(SUtf8String(text), file);
//     SString back = SUtf8String::ToUnicode(line);
//
// Value    each owns its bytes; copying copies them. One that was made of nothing holds a null pointer.
// Threads  as any value: two objects on two threads, one on one.
// Failure  a text that cannot be converted becomes an empty one; no memory throws SEOutOfMemory.
// Cost     plain ASCII goes through in blocks; everything else is the system's answer for the code page.
#ifndef NARROW_H
#define NARROW_H

#include "cvbase.h"
#include "strclss.h"

#include <utility>

// What all the static converters do. A length of -1 means that the text ends at its NUL, which is converted too; other
// negative ones fail. `size` is the room of the output in its units. The output must not overlap the text: it is written while
// the text is read, and a text of mixed characters is read twice.
//   - Output null or of size 0: returns how many units the converted text takes; nothing more is counted.
//   - The converted text fills the output: the last unit is made a NUL, so the text is cut by one; returns `size`.
//   - It does not, and does not end in a NUL: one is appended and counted in the result.
//   - It does not fit, or cannot be converted: writes an empty text and returns 0.
//   - A length of 0: writes an empty text and returns 0.
//   - A null text: writes an empty text and returns 0; WideCharToAnsi alone returns 1 when it has room to write it. That
//     difference is meant.

/// What both kinds of narrow text are: bytes from malloc with a NUL behind them, or null.
class CVCORE_API SNarrowText {
public:
    SNarrowText(const SNarrowText&) = delete;
    SNarrowText& operator=(const SNarrowText&) = delete;

    /// The bytes; null for an object that was made of nothing or moved from. They may be changed, the NUL may not.
    operator char*() const { return m_text; }
    bool IsEmpty() const { return !m_text || *m_text == '\0'; }
    /// Bytes without the terminator.
    int LengthByte() const;

protected:
    SNarrowText() noexcept : m_text(nullptr) {}
    ~SNarrowText();
    /// Copies at most `length` bytes up to a NUL; negative: up to the NUL. A null text is null.
    void Copy(const char* text, int length = -1);
    void Take(SNarrowText& other) noexcept { std::swap(m_text, other.m_text); }
    /// As the constructors of wide text: by `convert`, one of the converters, in a buffer that it measured.
    void Convert(const wchar_t* text, int length, int (*convert)(const wchar_t*, int, char*, int));

private:
    char* m_text;
};

/// Text in the ANSI code page of the process.
///
/// What the code page does not hold becomes its default character, nothing merely similar; composed letters stay composed.
class CVCORE_API SAnsiString : public SNarrowText {
public:
    SAnsiString() = default;
    /// Lengths above 0x4000000 and below -1 give an empty text.
    SAnsiString(const wchar_t* text, int length = -1) { Convert(text, length, WideCharToAnsi); }
    SAnsiString(const SString& text) : SAnsiString(text, text.Length()) {}
    SAnsiString(const char* text, int length = -1) { Copy(text, length); }
    SAnsiString(const SAnsiString& other) : SNarrowText() { Copy(other); }
    SAnsiString(SAnsiString&& other) noexcept { Take(other); }
    template <class Source>
    SAnsiString& operator=(const Source& text)
    {
        SAnsiString(text).swap(*this);
        return *this;
    }
    SAnsiString& operator=(const SAnsiString& other)
    {
        SAnsiString(other).swap(*this);
        return *this;
    }
    SAnsiString& operator=(SAnsiString&& other) noexcept
    {
        SAnsiString(std::move(other)).swap(*this);
        return *this;
    }
    void swap(SAnsiString& other) noexcept { Take(other); }

    /// Characters (UTF-16 units) of the text.
    int Length() const { return LengthByte() == 0 ? 0 : AnsiToWideChar(*this, LengthByte(), nullptr, 0); }
    SString ToUnicode() const { return SString(static_cast<const char*>(*this)); }

    static int WideCharToAnsi(const wchar_t* text, int length, char* output, int size);
    static int AnsiToWideChar(const char* text, int length, wchar_t* output, int size);
};

/// Text in UTF-8.
class CVCORE_API SUtf8String : public SNarrowText {
public:
    SUtf8String() = default;
    /// Lengths above 0x4000000 and below -1 give an empty text, and so does half a surrogate pair.
    SUtf8String(const wchar_t* text, int length = -1) { Convert(text, length, WideCharToUTF8); }
    SUtf8String(const SString& text) : SUtf8String(text, text.Length()) {}
    /// Takes UTF-8 as it is, unchecked.
    SUtf8String(const char* text, int length = -1) { Copy(text, length); }
    SUtf8String(const SUtf8String& other) : SNarrowText() { Copy(other); }
    SUtf8String(SUtf8String&& other) noexcept { Take(other); }
    template <class Source>
    SUtf8String& operator=(const Source& text)
    {
        SUtf8String(text).swap(*this);
        return *this;
    }
    SUtf8String& operator=(const SUtf8String& other)
    {
        SUtf8String(other).swap(*this);
        return *this;
    }
    SUtf8String& operator=(SUtf8String&& other) noexcept
    {
        SUtf8String(std::move(other)).swap(*this);
        return *this;
    }
    void swap(SUtf8String& other) noexcept { Take(other); }

    /// Malformed bytes become U+FFFD.
    SString ToUnicode() const { return ToUnicode(*this); }
    static SString ToUnicode(const char* text);

    using SNarrowText::LengthByte;
    /// UTF-16 units that a UTF-8 text takes, and UTF-8 bytes that a wide text takes; 0 for what cannot be converted. With a
    /// length of -1 the terminator counts.
    static int Length(const char* text, int length) { return UTF8ToWideChar(text, length, nullptr, 0); }
    static int LengthByte(const wchar_t* text, int length)
    {
        return WideCharToUTF8(text, length, nullptr, 0);
    }

    static int UTF8ToWideChar(const char* text, int length, wchar_t* output, int size);
    static int WideCharToUTF8(const wchar_t* text, int length, char* output, int size);
};

#endif
