// strclss.h: SString, the UTF-16 text value that every module passes around.
//
//     SString file = folder + L"\\" + name;
//     file.ReplaceAll(L'/', L'\\');
//     if (file.CompareNoCase(other) == 0) ...
//
// Value    copying shares the buffer; the first edit of a shared text makes a private copy. An empty string owns nothing:
//          all of them point at one static buffer. A text has at most kMaxLength characters and ends at its Length();
//          a NUL inside is kept by members that are given a length and ends the text for those that take a pointer.
// Threads  two strings that share a buffer may live on two threads; one string may not be edited on two.
// Failure  what must allocate throws SEOutOfMemory and leaves the text as it was; so does a length beyond kMaxLength.
//          A caller that wrote past a locked buffer is found by the guard (see PszStr).
// Cost     one pointer; copying costs an interlocked increment; an edit is linear in the text and allocates at most once.
//          Up to 2049 characters, buffers come from eight pools (17, 33, ... 2049 characters), then from the heap.
//
// "Character" means a UTF-16 code unit throughout; positions and counts are units. A text argument may be a null pointer,
// which counts as an empty text, and may lie inside the string that is edited. Case rules are the system's simple ones, a
// unit at a time and the same for every locale (those of CharUpperW); Collate follows the user's locale.
#ifndef STRCLSS_H
#define STRCLSS_H

#include "cvbase.h"
#include "safemem.h"

#include <cstdarg>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string_view>
#include <type_traits>
#include <utility>

class SDump;
class SStringBuffer;

/// What stands in front of the characters of every buffer.
struct SStringData {
    /// Reserved values of `refs`; any other is the number of strings that share the buffer.
    enum { kStaticEmpty = -1, kLocked = -2 };

    long refs;     ///< changed only by interlocked increment and decrement while the buffer is shared
    long length;   ///< characters, without the terminator
    long capacity; ///< characters that fit, without the terminator

    wchar_t* Text() { return reinterpret_cast<wchar_t*>(this + 1); }
    const wchar_t* Text() const { return reinterpret_cast<const wchar_t*>(this + 1); }

    /// Whether the one string that holds the buffer may write into it.
    bool IsOwn() const { return refs < 2 && refs != kStaticEmpty; }
    /// Whether it may write so many more, 1 or more. The static buffer has no room, so it need not be asked for.
    bool HasOwnRoom(long more) const { return refs < 2 && more <= capacity - length; }
};

/// The buffer of all empty strings. It stands in memory that cannot be written.
struct SStringEmpty {
    SStringData data;
    wchar_t nul;
};
extern CVCORE_API const SStringEmpty g_emptyString;

class CVCORE_API SString {
public:
    /// Longest text, in characters: the largest multiple of 512 whose block is below 2 GiB.
    static constexpr int kMaxLength = 0x3FFFFE00;

    // ---- Making ----

    SString() noexcept : m_text(EmptyText()) {}
    /// Shares the buffer; a locked one is copied, since its owner holds a raw pointer into it.
    inline SString(const SString& other);
    SString(SString&& other) noexcept : m_text(other.m_text) { other.m_text = EmptyText(); }
    SString(const wchar_t* text);
    SString(std::nullptr_t) noexcept : m_text(EmptyText()) {}
    /// At most `n` characters of the text; it ends at a NUL before that.
    SString(const wchar_t* text, int n);
    /// The characters from `first` up to, not including, `last`, NULs too. Empty when `last` is not above `first`.
    SString(const wchar_t* first, const wchar_t* last);
    /// `c` repeated; empty for a count of 0 or less, or a NUL.
    SString(wchar_t c, int repeat);
    /// From the ANSI code page of the process; with n, at most n bytes.
    SString(const char* text);
    SString(const char* text, int n);
    /// Decimal text, with a minus sign when negative.
    explicit SString(wchar_t) = delete; // a character is no number: say how often it is to stand
    explicit SString(char) = delete;
    explicit SString(int number);
    explicit SString(unsigned number);
    explicit SString(long number);
    explicit SString(unsigned long number);
    explicit SString(long long number);
    explicit SString(unsigned long long number);
    /// The shortest text that ToDouble reads back to the same value, with a point whatever the locale: "0.1", "1e+300",
    /// "inf", "-inf", "nan".
    explicit SString(double number);
    /// "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}" in upper-case hexadecimal; without the braces when `braces` is 0.
    explicit SString(const GUID& guid, int braces);
    /// The string resource `id` of a module; empty when the module does not have it. See TryLoad.
    SString(HINSTANCE module, unsigned id);
    /// A text of either width behind an untyped pointer: wide characters when `wide`, else ANSI.
    SString(const void* text, bool wide);
    /// What a builder has gathered, shared with the builder.
    SString(const SStringBuffer& buffer);
    /// Exactly the view's characters, NULs too.
    explicit SString(std::wstring_view view) : SString(view.data(), view.data() + view.size()) {}
    ~SString()
    {
        if (m_text != EmptyText())
            Release(GetData());
    }

    inline SString& operator=(const SString& other);
    SString& operator=(SString&& other) noexcept
    {
        SString moved(std::move(other));
        swap(moved);
        return *this;
    }
    SString& operator=(const SStringBuffer& buffer);
    SString& operator=(const wchar_t* text);
    SString& operator=(const char* text);
    SString& operator=(std::nullptr_t)
    {
        Empty();
        return *this;
    }
    /// One character; a NUL makes the string empty.
    SString& operator=(wchar_t c);
    SString& operator=(char c);

    void swap(SString& other) noexcept { std::swap(m_text, other.m_text); }

    /// The texts of all arguments, one after the other, in one allocation. Takes strings, wide texts, wide characters and
    /// views.
    template <class... Pieces>
    static SString Concat(const Pieces&... pieces)
    {
        const Piece all[] = { AsPiece(pieces)... };
        return ConcatPieces(all, static_cast<int>(sizeof...(pieces)));
    }

    // ---- Size and state ----

    int Length() const { return GetData()->length; }
    /// The same number: a TCHAR is a wchar_t here.
    int LengthTchar() const { return Length(); }
    /// Bytes of the characters, without the terminator.
    int LengthByte() const { return Length() * static_cast<int>(sizeof(wchar_t)); }
    /// Bytes that the text takes in a code page (CP_ACP, CP_UTF8, ...), without a terminator.
    int LengthByte(unsigned codePage) const;
    /// Measures the text again, up to the capacity, stores the result and returns it: for a caller who wrote a NUL
    /// through a raw pointer. Stores into a shared buffer too, on purpose: all its strings show the same text.
    int VerifiedLength();
    bool IsEmpty() const { return Length() == 0; }
    /// Characters that the buffer can hold.
    int Capacity() const { return GetData()->capacity; }
    /// Makes the string empty and lets its buffer go.
    void Empty() { SetNull(); }

    // ---- Access ----

    /// The character at a position; NUL at the end and everywhere outside the text.
    wchar_t GetAt(int position) const
    {
        return static_cast<unsigned>(position) < static_cast<unsigned>(Length()) ? m_text[position] : L'\0';
    }
    /// Replaces one character; a position outside the text changes nothing. Detaches a shared buffer.
    void SetAt(int position, wchar_t c);
    /// As GetAt, without its test: the position must lie in 0..Length(). Checked builds stop at a wrong one.
    wchar_t operator[](int position) const
    {
#ifdef CVCORE_CHECKED
        if (static_cast<unsigned>(position) > static_cast<unsigned>(Length()))
            S_TRAP();
#endif
        return m_text[position];
    }
    /// The text. The pointer is dead after the next edit or the end of the string.
    operator const wchar_t*() const
    {
        return m_text;
    }
    explicit operator std::wstring_view() const
    {
        return { m_text, static_cast<size_t>(Length()) };
    }

    /// The text, after a look at the guard: the unit at index Capacity() is NUL in every healthy buffer. When it is not,
    /// somebody wrote past the buffer: the process-wide overflow flag is set (SHasStringBufferOverflow), the block is
    /// locked away in its pool, the damage is reported (SReportDamage) and the NUL put back, so that the string stays
    /// usable. UnlockTchar and UnlockBuffer look too.
    const wchar_t* PszStr() const;
    /// The same for writing inside the text: detaches a shared buffer. Do not write to the pointer of an empty string.
    wchar_t* PszStr();
    /// The text from a position on; negative counts as 0, beyond the end as the end.
    const wchar_t* GetPointerAt(int position) const;
    /// The buffer for writing, without detaching it and without any check: every string that shares it changes.
    wchar_t* GetUnsafePointer()
    {
        return m_text;
    }

    // ---- Buffer access: a raw buffer for calls that fill one ----
    // Lock, fill, unlock. A locked buffer belongs to this string alone (copies of the string copy the text). All Lock
    // members keep the text that is there.

    /// Room for `n` characters and a terminator; 0 or less means the current length, or 1 when that is 0 too.
    wchar_t* LockTchar(int n = 0);
    /// As LockTchar; the length becomes `n` (the one chosen) and a NUL stands there.
    wchar_t* LockBuffer(int n = 0);
    wchar_t* LockBufferTchar(int n = 0)
    {
        return LockBuffer(n);
    }
    wchar_t* Lock(int n = 0)
    {
        return LockTchar(n);
    }
    /// As LockBuffer; `n` of 0 or less locks a buffer of one character with an empty text.
    wchar_t* GetBufferSetLength(int n);
    wchar_t* GetBufferSetTcharLength(int n)
    {
        return GetBufferSetLength(n);
    }

    /// Ends a lock. The length becomes `n` when that lies in 0..Capacity() and no NUL comes earlier, else the text is
    /// measured. An empty text lets the buffer go. A string that is not locked is left as it is.
    void UnlockTchar(int n = -1);
    void Unlock(int n = -1)
    {
        UnlockTchar(n);
    }
    /// As UnlockTchar, but 0 stands for the stored length.
    void UnlockBuffer(int n = 0);

    // ---- Comparison: negative, 0 or positive ----
    // The forms with `start` compare the text from there on, an empty text when the string is shorter; those with `count`
    // at most so many characters of either side. A null text gives 1 for a non-empty string and 0 for an empty one.

    /// By code units.
    int Compare(const SString& text) const;
    int Compare(const wchar_t* text) const;
    int Compare(const wchar_t* text, int count) const;
    int Compare(int start, const wchar_t* text) const;
    int Compare(int start, const wchar_t* text, int count) const;
    /// By upper-cased code units.
    int CompareNoCase(const SString& text) const;
    int CompareNoCase(const wchar_t* text) const;
    int CompareNoCase(const wchar_t* text, int count) const;
    int CompareNoCase(int start, const wchar_t* text) const;
    int CompareNoCase(int start, const wchar_t* text, int count) const;
    /// As the user's locale sorts.
    int Collate(const wchar_t* text) const;
    int Collate(const wchar_t* text, int count) const;
    int Collate(int start, const wchar_t* text) const;
    int Collate(int start, const wchar_t* text, int count) const;
    int CollateNoCase(const wchar_t* text) const;
    int CollateNoCase(const wchar_t* text, int count) const;
    int CollateNoCase(int start, const wchar_t* text) const;
    int CollateNoCase(int start, const wchar_t* text, int count) const;
    /// Number-aware: runs of the digits 0-9 compare by value, everything else by code unit; of two texts that are equal so
    /// far, the one whose first differing run has fewer leading zeros comes first. "a2" < "a10", "a2" < "a02".
    int CompareNb(const wchar_t* text) const;
    int CompareNb(const wchar_t* text, int count) const;
    int CompareNb(int start, const wchar_t* text) const;
    int CompareNb(int start, const wchar_t* text, int count) const;
    int CompareNbNoCase(const wchar_t* text) const;
    int CompareNbNoCase(const wchar_t* text, int count) const;
    int CompareNbNoCase(int start, const wchar_t* text) const;
    int CompareNbNoCase(int start, const wchar_t* text, int count) const;
    /// Does the whole text fit a pattern in which * stands for any characters, none included, and ? for one?
    bool Match(const wchar_t* pattern) const;
    bool MatchNoCase(const wchar_t* pattern) const;

    // ---- Search. Pointers point into the string's own buffer; null means not found. ----
    // `from` is such a pointer: the search begins there. One outside the text finds nothing. An empty text is found where
    // the search begins (ReverseFind: at the end).

    const wchar_t* Find(wchar_t c) const;
    const wchar_t* Find(wchar_t c, const wchar_t* from) const;
    const wchar_t* Find(const wchar_t* text) const;
    const wchar_t* Find(const wchar_t* text, const wchar_t* from) const;
    const wchar_t* FindNoCase(const wchar_t* text) const;
    const wchar_t* FindNoCase(const wchar_t* text, const wchar_t* from) const;
    /// The last occurrence; with `from`, the last that begins at or before it.
    const wchar_t* ReverseFind(wchar_t c) const;
    const wchar_t* ReverseFind(wchar_t c, const wchar_t* from) const;
    const wchar_t* ReverseFind(const wchar_t* text) const;
    const wchar_t* ReverseFindNoCase(wchar_t c) const;
    const wchar_t* ReverseFindNoCase(const wchar_t* text) const;
    /// Position of the first occurrence at or after `start`, -1 when there is none.
    int FindPos(wchar_t c, int start = 0) const;
    /// Position of the last occurrence at or before `start` (negative: the end), -1 when there is none.
    int ReverseFindPos(wchar_t c, int start = -1) const;

    // ---- Extraction ----

    /// The first `n` characters: empty for a negative n, the (shared) whole for one beyond the length.
    SString Left(int n) const;
    /// The last `n`, by the same rules.
    SString Right(int n) const;
    /// `count` characters from `start`; negative ones count as 0, a count past the end is cut.
    SString Mid(int start, int count = kMaxLength) const;
    /// What stands before the first separator; the whole text when there is none.
    SString Split(wchar_t separator) const;
    /// The same, and what follows the separator goes into `*rest` (emptied when there is none). `rest` may be this string.
    SString Split(SString* rest, wchar_t separator) const;
    /// Both parts; 1 when the separator occurs, else 0 with the whole text in `*head` and an empty `*tail`.
    int Split(SString* head, SString* tail, wchar_t separator) const;

    // ---- Editing: detaches a shared buffer first; pointers into the text are dead afterwards ----

    SString& operator+=(const SString& text);
    SString& operator+=(const wchar_t* text);
    /// Adds one character; a NUL adds nothing.
    SString& operator+=(wchar_t c)
    {
        SStringData* data = GetData();
        if (S_UNLIKELY(!data->HasOwnRoom(1) || c == L'\0'))
            return AppendSlowly(c);
        m_text[data->length] = c;
        m_text[++data->length] = L'\0';
        return *this;
    }
    SString& operator+=(char c);
    /// Adds exactly `n` characters, NULs too.
    SString& Append(const wchar_t* text, int n);

    /// Puts a text in front of the character at `position`; negative means the start, beyond the end means the end.
    SString& Insert(const wchar_t* text, int position);
    /// Takes `count` characters out from `position` on; what reaches outside the text is cut.
    SString& Delete(int position, int count);
    /// Replaces the first occurrence; returns 1, or 0 when there is none: then nothing is detached, earlier pointers stay
    /// good. An empty `from` occurs nowhere.
    int Replace(wchar_t from, wchar_t to);
    int Replace(const wchar_t* from, const wchar_t* to);
    int ReplaceNoCase(wchar_t from, wchar_t to);
    int ReplaceNoCase(const wchar_t* from, const wchar_t* to);
    /// Replaces every occurrence, from the left and without overlap, and returns how many there were; 0 as above.
    int ReplaceAll(wchar_t from, wchar_t to);
    int ReplaceAll(const wchar_t* from, const wchar_t* to);
    int ReplaceAllNoCase(wchar_t from, wchar_t to);
    int ReplaceAllNoCase(const wchar_t* from, const wchar_t* to);
    /// Cuts the run of `c`, or of characters of `set`, off either end. Nothing to cut: detaches nothing.
    SString& Trim(wchar_t c = L' ');
    SString& Trim(const wchar_t* set);
    SString& TrimLeft(wchar_t c = L' ');
    SString& TrimLeft(const wchar_t* set);
    SString& TrimRight(wchar_t c = L' ');
    SString& TrimRight(const wchar_t* set);
    /// Changes the case of the whole text, or of `count` characters from `start`.
    SString& ToUpper();
    SString& ToUpper(int start, int count);
    SString& ToLower();
    SString& ToLower(int start, int count);
    /// Turns the text round; surrogate pairs stay in order.
    SString& MakeReverse();
    /// Decomposes letters and drops the combining marks: "déjà" becomes "deja". Letters that the system does not decompose
    /// (such as "ø") stay.
    SString& NoAccent();
    /// Makes the text `length` random characters of `alphabet` (letters and digits when null or empty), for names that
    /// should not meet. Not for secrets.
    SString& Randomize(int length, const wchar_t* alphabet = nullptr);
    /// Replaces each character that stands in `from` by the one at the same place in `to`; where `to` is shorter, its last
    /// character serves, and an empty `to` takes the character out. The first of equal characters in `from` counts.
    SString& Translate(const wchar_t* from, const wchar_t* to);

    // ---- Classification: true when the text is not empty and ... ----

    bool IsASCII() const;      ///< all characters are below 128
    bool IsAlpha() const;      ///< all are letters (the system's classes, here and below)
    bool IsAlphaNum() const;   ///< all are letters or digits
    bool IsDigit() const;      ///< all are decimal digits of any script
    bool IsXDigit() const;     ///< all are 0-9, a-f or A-F
    bool IsHexa() const;       ///< "0x" or "0X" and at least one such digit
    bool IsInteger() const;    ///< an optional sign and digits 0-9
    bool IsNumber() const;     ///< an integer, or a decimal with point and/or exponent: "-1.5e3", ".5", "5."
    bool IsLower() const;      ///< all are lower-case letters
    bool IsUpper() const;      ///< all are upper-case letters
    bool IsWhitespace() const; ///< all are white space
    bool IsRtf() const;        ///< it begins with "{\rtf"
    bool IsRtfText() const;    ///< the same after leading white space
    /// ... the ANSI code page holds every character exactly.
    bool CanConvertToMBCS() const;

    // ---- Conversion ----

    /// The number at the start of the text, after white space and with an optional sign; what follows is ignored. No
    /// number gives 0; one out of range gives the nearest end of the range (ToULONG: a negative one gives 0). With base
    /// 16 a leading "0x" is skipped; with base 0 it chooses 16, else 10.
    long ToLONG(int base = 10) const;
    unsigned long ToULONG(int base = 10) const;
    /// The same for a decimal number with point, whatever the locale; knows "inf" and "nan". Too large gives an infinity,
    /// too small a zero.
    double ToDouble() const;
    /// 1 for "true", "yes", "on" (in any case) and for a number that is not 0, else 0.
    int ToBOOL() const;
    /// Writes the text in the ANSI code page, NUL included, and returns the bytes needed for that. Writes nothing when
    /// `bytes` is smaller or `buffer` is null.
    int _ToAnsi(char* buffer, int bytes) const;
    /// Takes over `bytes` bytes of ANSI text, up to a NUL; negative: up to the NUL.
    void _ToUnicode(const char* text, int bytes = -1);

    // ---- Formatting: Windows' wide printf (%s and %c are wide, %hs and %hc narrow) ----

    /// Formats with a text, or with the string resource of the program or the library that has this id. Arguments may
    /// point into this string. Flags, width, precision, "*" and the prefixes h, hh, l, ll, w, I32, I64 and L mean what they
    /// do there; a letter that means nothing stands for itself and takes no argument; an unfinished conversion at the end
    /// gives nothing. A null text gives "(null)". The text ends at a NUL that a %c puts into it. A missing format, and one
    /// with %n, gives an empty text. Returns the string itself.
    /// Strings may be given as they are. Other classes do not compile: a variadic function cannot take them.
    template <class... Arguments>
    SString& Format(const wchar_t* format, Arguments... arguments)
    {
        return FormatPlain(format, AsPlain(arguments)...);
    }
    template <class... Arguments>
    SString& Format(unsigned formatId, Arguments... arguments)
    {
        return FormatPlain(formatId, AsPlain(arguments)...);
    }
    /// The variadic functions behind Format: everything goes as it is.
    SString& FormatPlain(const wchar_t* format, ...);
    SString& FormatPlain(unsigned formatId, ...);
    SString& FormatV(const wchar_t* format, va_list arguments);
    /// Loads a string resource of `module` (null: the program) and returns 1; 0 and an empty text when it has none. Of
    /// several languages it takes the text in the thread's UI language (SetThreadUILanguage), else in the same language of
    /// another country, else in English, else what the system chooses; a text that is empty counts as missing.
    int LoadString(unsigned id, HINSTANCE module = nullptr);
    /// The same, but a missing resource leaves the text as it is.
    int TryLoad(HINSTANCE module, unsigned id);

    // ---- Iteration ----

    /// The characters, for range-for and <algorithm>.
    const wchar_t* begin() const
    {
        return m_text;
    }
    const wchar_t* end() const
    {
        return m_text + Length();
    }

    // Cursors that remember their string; see striter.h.
    class const_iterator;
    class span_iterator;
    class line_iterator;
    class word_iterator;
    class parts_iterator;

    /// A hash of the characters; equal texts have equal hashes within one process.
    size_t Hash() const noexcept;

    /// Bytes that large texts (beyond the pools) hold in the heap, in the whole process.
    static unsigned long LargeBytes() noexcept;

protected:
    // ---- Internals, for derived classes ----
    // Where a member takes a text, it may lie inside the string itself.

    SStringData* GetData() const
    {
        return reinterpret_cast<SStringData*>(m_text) - 1;
    }
    /// The empty buffer, whose text nobody may write.
    static wchar_t* EmptyText()
    {
        return const_cast<wchar_t*>(&g_emptyString.nul);
    }

    /// For constructors: the string holds no buffer yet.
    void Init()
    {
        m_text = EmptyText();
    }
    void Init(const wchar_t* text, int n);
    void Init(const char* text);
    /// A private buffer of length `n`, text undefined but for the NULs at n and at the capacity; empty for 0 or less. The
    /// old buffer is NOT released: for constructors.
    void AllocBuffer(int n);
    /// A private buffer for a new text of `n`: the old text is lost.
    void AllocBeforeWrite(int n);
    /// A private buffer with the same text.
    void CopyBeforeWrite();
    /// The text becomes these `n` characters. An empty text only empties a locked buffer.
    void AssignCopy(int n, const wchar_t* text);
    /// `copy` becomes `n` characters from `start`, in a buffer with room for `extra` more.
    void AllocCopy(SString& copy, int n, int start, int extra) const;
    /// The text becomes the concatenation, in a new buffer.
    void ConcatCopy(int n1, const wchar_t* text1, int n2, const wchar_t* text2);
    /// Appends, in place when the buffer is private and large enough; a private heap block grows where it stands.
    void ConcatInPlace(int n, const wchar_t* text);
    /// Lets the buffer go; the string is empty afterwards.
    void Release() noexcept
    {
        if (m_text != EmptyText()) {
            SStringData* data = GetData();
            m_text = EmptyText();
            Release(data);
        }
    }
    /// Drops one reference of a buffer that is not the static one.
    static void Release(SStringData* data) noexcept;
    /// Gives a block back to its pool or the heap, whatever its count says.
    static void FreeData(SStringData* data) noexcept;
    void SetNull() noexcept
    {
        Release();
    }
    void SetNull_() noexcept
    {
        Release();
    }
    void Done() noexcept
    {
        Release();
    }
    /// Asks the eight pools for their unused chunks.
    static void FreeUnused() noexcept;

private:
    friend class SStringBuffer;
    friend struct SStaticText;

    /// What a variadic function is given for an argument.
    static const wchar_t* AsPlain(const SString& text)
    {
        return text.m_text;
    }
    template <class T>
    static T AsPlain(T value)
    {
        static_assert(std::is_scalar_v<T>, "Format takes numbers, characters, pointers and strings");
        return value;
    }

    /// A piece that Concat was given.
    struct Piece {
        const wchar_t* text;
        size_t length;
    };
    static Piece AsPiece(const SString& text)
    {
        return { text, static_cast<size_t>(text.Length()) };
    }
    static Piece AsPiece(std::wstring_view text)
    {
        return { text.data(), text.size() };
    }
    static Piece AsPiece(const wchar_t* text)
    {
        return { text, SSafeStrLen(text) };
    }
    static Piece AsPiece(const wchar_t& c)
    {
        return { &c, c ? 1u : 0u };
    }
    // What would first become a string: that one would be gone before its text is copied.
    template <class T, class = std::enable_if_t<std::is_arithmetic_v<T> && !std::is_same_v<T, wchar_t>>>
    static Piece AsPiece(const T&) = delete;
    static Piece AsPiece(const char*) = delete;
    static Piece AsPiece(const SStringBuffer&) = delete;
    static SString ConcatPieces(const Piece* pieces, int count);

    void CopySpecially(const SString& other);
    SString& AppendSlowly(wchar_t c);
    void GrowLarge(int n);
    void GrowAhead(int n);
    void ShrinkLarge() noexcept;
    void FinishUnlock(int n);
    SString& CutTo(int start, int length);
    void Splice(int position, int removed, const wchar_t* text, int n);
    typedef const wchar_t* (*FindInText)(const wchar_t*, size_t, const wchar_t*, size_t);
    int ReplaceFirst(const wchar_t* found, const wchar_t* from, const wchar_t* to);
    int ReplaceEvery(FindInText find, const wchar_t* from, const wchar_t* to);
    int FindPosNoCase(wchar_t c) const;
    const wchar_t* TextFrom(int start) const;
    int CompareNull() const;
    bool IsInside(const wchar_t* from) const;
    bool ClipRange(int& start, int& count) const;

    wchar_t* m_text;
};

// ---- Inline parts ----

inline SString::SString(const SString& other)
{
    SStringData* data = other.GetData();
    if (S_LIKELY(data->refs >= 0 && *other.m_text != L'\0')) {
        InterlockedIncrement(&data->refs);
        m_text = other.m_text;
    } else {
        CopySpecially(other);
    }
}

inline SString& SString::operator=(const SString& other)
{
    if (m_text != other.m_text) {
        SString copy(other);
        swap(copy);
    }
    return *this;
}

inline void swap(SString& a, SString& b) noexcept
{
    a.swap(b);
}

// ---- Operators beside the class ----

CVCORE_API SString operator+(const SString& left, const SString& right);
CVCORE_API SString operator+(const SString& left, const wchar_t* right);
CVCORE_API SString operator+(const wchar_t* left, const SString& right);
CVCORE_API SString operator+(const SString& left, wchar_t right);
CVCORE_API SString operator+(wchar_t left, const SString& right);
CVCORE_API SString operator+(const SString& left, char right);
CVCORE_API SString operator+(char left, const SString& right);
/// The narrow text is in the ANSI code page.
CVCORE_API SString operator+(const SString& left, const char* right);
CVCORE_API SString operator+(const char* left, const SString& right);

// A temporary on the left is appended to where it stands, so a chain of pieces copies each piece once.
inline SString operator+(SString&& left, const SString& right)
{
    left += right;
    return std::move(left);
}
inline SString operator+(SString&& left, const wchar_t* right)
{
    left += right;
    return std::move(left);
}
inline SString operator+(SString&& left, wchar_t right)
{
    left += right;
    return std::move(left);
}
inline SString operator+(SString&& left, char right)
{
    left += right;
    return std::move(left);
}
inline SString operator+(SString&& left, const char* right)
{
    left += SString(right);
    return std::move(left);
}

// Comparisons are Compare's: by code units, a null pointer equals the empty text.
inline bool operator==(const SString& a, const SString& b)
{
    return a.Length() == b.Length() && a.Compare(b) == 0; // most that differ do so in length
}
inline bool operator!=(const SString& a, const SString& b)
{
    return !(a == b);
}
inline bool operator<(const SString& a, const SString& b)
{
    return a.Compare(b) < 0;
}
inline bool operator>(const SString& a, const SString& b)
{
    return a.Compare(b) > 0;
}
inline bool operator<=(const SString& a, const SString& b)
{
    return a.Compare(b) <= 0;
}
inline bool operator>=(const SString& a, const SString& b)
{
    return a.Compare(b) >= 0;
}
inline bool operator==(const wchar_t* a, const SString& b)
{
    return b.Compare(a) == 0;
}
inline bool operator!=(const wchar_t* a, const SString& b)
{
    return b.Compare(a) != 0;
}
inline bool operator<(const wchar_t* a, const SString& b)
{
    return b.Compare(a) > 0;
}
inline bool operator>(const wchar_t* a, const SString& b)
{
    return b.Compare(a) < 0;
}
inline bool operator<=(const wchar_t* a, const SString& b)
{
    return b.Compare(a) >= 0;
}
inline bool operator>=(const wchar_t* a, const SString& b)
{
    return b.Compare(a) <= 0;
}
inline bool operator==(const SString& a, const wchar_t* b)
{
    return a.Compare(b) == 0;
}
inline bool operator!=(const SString& a, const wchar_t* b)
{
    return a.Compare(b) != 0;
}
inline bool operator<(const SString& a, const wchar_t* b)
{
    return a.Compare(b) < 0;
}
inline bool operator>(const SString& a, const wchar_t* b)
{
    return a.Compare(b) > 0;
}
inline bool operator<=(const SString& a, const wchar_t* b)
{
    return a.Compare(b) <= 0;
}
inline bool operator>=(const SString& a, const wchar_t* b)
{
    return a.Compare(b) >= 0;
}

/// 1 when a string buffer overflow has been detected in this process (see SString::PszStr), else 0. Never goes back.
CVCORE_API int SHasStringBufferOverflow() noexcept;

/// Writes the text.
CVCORE_API SDump& operator<<(SDump& dump, const SString& text);

/// Writes the text to a wide stream, with the stream's width and fill.
template <class Traits>
std::basic_ostream<wchar_t, Traits>& operator<<(std::basic_ostream<wchar_t, Traits>& stream,
                                                const SString& text)
{
    return stream << std::basic_string_view<wchar_t, Traits>(text, static_cast<size_t>(text.Length()));
}

/// A narrow stream would print the address: say SUtf8String or SAnsiString.
template <class Traits>
std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& stream,
                                             const SString& text) = delete;

template <>
struct std::hash<SString> {
    size_t operator()(const SString& text) const noexcept { return text.Hash(); }
};

// The cursors: a nested type must be complete where generic code asks for it.
#include "striter.h"

#endif
