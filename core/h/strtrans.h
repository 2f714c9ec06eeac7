// strtrans.h: SStringTranslator, variables in a text replaced by their values.
//
//     SSymbolTable symbols;
//     symbols.Set(L"NAME", 0, L"ab");
//     SStringTranslator translator;
//     translator.SetSymbolTable(&symbols);
//     int status;
//     translator.Translate(L"<%-6:NAME%>", status, SSymbolTable::kAnyId);   // "<    ab>"
//
// A reference stands between two delimiters ("%", or a start and an end text) in one line:
//
//     reference  = [options ":"] name
//     options    = ["?"] ["-"] [width] ["." {digits | "-" | letter}]
//
//     ?       may be missing      %?:NOTE%      nothing when NOTE is missing or empty, and that is no problem
//     width   at least so long    %6:N%         "ab    "
//     -       right-aligned       %-6:N%        "    ab"
//     .n      the first n         %.2:N%        "ab" of "abcdef"
//     .n-     the last n          %.2-:N%       "ef"
//     .nM     n from width on     %3.2M:N%      "cd"
//     .U .L   upper, lower case   %.U:N%        with F (%.UF:N%) only the first character
//     .c      capital             %.c:N%        "Abcdef" of "aBCDEF"
//     .T      no blanks around    %.T:N%
//     .q .Q   quotes              %.q:N%        'it''s' of it's; Q the same with double quotes; both: q
//     .H      hexadecimal         %.H:N%        "ff" of "255"; what is no number stays
//
// Options are taken only where a colon stands in the reference. Other letters count for nothing. The order in which they are
// applied: T, quotes inside doubled, the part, U, L, c, H, width; then the quotes around it all. A value that has quotes around
// it already gets them again (q first takes double quotes off and doubles the single ones).
//
// A doubled delimiter is one delimiter, and as meant, the text in front of it back to the reference before is lost: "a%%b"
// gives "%b", "50%% done" gives "% done". What begins like a reference and has no end in its line stays as it stands, and so
// does all that follows.
//
// Threads  one translator belongs to one thread at a time.
// Failure  SEOutOfMemory, also for a width that no text can have.
// Cost     linear in the template and the result.
#ifndef STRTRANS_H
#define STRTRANS_H

#include "strclss.h"
#include "symtab.h"

class CVCORE_API SStringTranslator {
public:
    SStringTranslator() = default;
    SStringTranslator(const SStringTranslator&) = default;
    SStringTranslator& operator=(const SStringTranslator&) = default;
    virtual ~SStringTranslator();

    /// One character opens and closes references; "%" at first.
    void ChangeDelimiter(wchar_t delimiter);
    /// One text opens them, another one closes them. Neither may be empty: an empty start finds nothing.
    void ChangeDelimiter(SString start, SString end);
    /// Where values are looked up; null: nowhere. The table stays the caller's.
    void SetSymbolTable(const SSymbolTable* symbols) { m_symbols = symbols; }

    /// What became of a reference.
    enum Status {
        kReplaced = 1, ///< by its value
        kOmitted = 0,  ///< optional and missing: nothing stands in its place
        kMissing = -1, ///< missing: nothing stands in its place
        kAbandon = -2  ///< ends the translation; the result is empty. Only a derived class answers that
    };

    /// The text with its references replaced. `id` says which symbols qualify (SSymbolTable::kAnyId: all); `status` becomes
    /// that of the last reference and stays as it is when there was none. A null text is an empty one.
    SString Translate(const wchar_t* text, int& status, long id);

    /// The options of a reference.
    struct OPTIONS {
        enum Flags : unsigned long {
            kOptional = 0x001,
            kFirstOnly = 0x002,
            kUpper = 0x004,
            kLower = 0x008,
            kTrim = 0x010,
            kPadLeft = 0x020,
            kSingleQuotes = 0x040,
            kDoubleQuotes = 0x080,
            kCapital = 0x100,
            kHexadecimal = 0x200,
            kSubstring = 0x400
        };
        unsigned long flags = 0;
        long width = 0;
        long precision = 0;
    };

protected:
    /// Where the text between references goes, up to, not including, `to`.
    virtual void CopyText(SString& out, const wchar_t* from, const wchar_t* to);
    /// Where values and the rest of the text go.
    virtual void AppendText(SString& out, const wchar_t* text);
    /// Where values come from: 1 with the value in `*value`, or 0. `*missing` becomes 1 where the options allow that the symbol
    /// is missing or empty. A symbol qualifies when its id is `id`, or when `id` is SSymbolTable::kAnyId.
    /// kAbandon ends the translation.
    virtual int LookupVariable(const SString& name, OPTIONS& options, long id, SString* value, int* missing);

    /// Where the next reference begins, with its delimiter; null when there is none.
    const wchar_t* FindVariableStart(const wchar_t* text) const;
    /// Where the delimiter stands that ends a reference; null when there is none in this line.
    const wchar_t* FindVariableEnd(const wchar_t* text) const;
    /// Appends the value of the reference between `start` and `end`. Returns a Status, which is also left in `status`.
    int ReplaceVariable(const wchar_t* start, const wchar_t* end, SString& out, int& status, long id);
    /// A value in the form that the options ask for.
    SString FormatOptions(SString value, OPTIONS& options) const;
    /// Reads the options of a reference and returns where its name begins.
    static const wchar_t* GetOptions(OPTIONS* options, const wchar_t* start, const wchar_t* end);

private:
    int StartLength() const { return m_stringMode ? m_start.Length() : 1; }
    int EndLength() const { return m_stringMode ? m_end.Length() : 1; }
    bool IsStartAt(const wchar_t* text) const;

    wchar_t m_delimiter = L'%';
    int m_stringMode = 0;
    SString m_start;
    SString m_end;
    SString m_name; // for the next variable's name
    const SSymbolTable* m_symbols = nullptr;
};

#endif
