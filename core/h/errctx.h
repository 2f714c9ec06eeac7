// errctx.h: SDErrorContext, a counting sink for messages, warnings and errors that knows where the work stands.
//
//     class ImportLog : public SDErrorContext {
//         SString RawMessageOutput(SString text) override { m_pane.Add(text); return text; }
//     };
//
//     log.SetContextText(L"plan.txt");
//     for (const SString& line : SLines(text)) {
//         log.SetLineNo(++number);
//         if (!Parse(line))
//             log.LogError(L"unknown word \"%s\"", line);       // plan.txt(12) : Error: unknown word "plam"
//     }
//     if (log.ErrorCount() > 0) ...
//
// The texts end in four outputs that a derived class may override. Those not overridden pass on: fatal errors to errors,
// errors to warnings, warnings to messages; messages go nowhere. So one override of RawMessageOutput hears all.
//
// Value    assignment takes everything over: context, counts, last texts and codes, resource module.
// Threads  a context belongs to one thread at a time. The class words and GeneralOutput are the process's, without a lock:
//          set them up on the main thread.
// Failure  countable problems are counted, not thrown. Texts throw SEOutOfMemory, which is a failure of its own: then the
//          problem is not counted, or counted with the last text still that of the one before. What an override throws passes through, with the problem counted.
// Formats  as in SString::Format; strings may be given as they are. A null format, and an id that the resource module does
//          not have, give an empty message, which is counted and prefixed like any other.
#ifndef ERRCTX_H
#define ERRCTX_H

#include "cvbase.h"
#include "strclss.h"

#include <type_traits>

class SModuleState;

class CVCORE_API SDErrorContext {
public:
    /// No context, no line (-1), all counts and last codes 0. The first one of the process loads the class words.
    SDErrorContext();
    SDErrorContext& operator=(const SDErrorContext& other);
    virtual ~SDErrorContext();

    // ---- Outputs: take a finished text and return what the logging call is to return ----

    /// Does nothing and returns the text.
    virtual SString RawMessageOutput(SString text);
    virtual SString RawWarningOutput(SString text);
    virtual SString RawErrorOutput(SString text);
    virtual SString RawFatalOutput(SString text);

    // ---- Context: where the work stands. A derived class may compute it ----

    /// The name of what is being processed (a file, an object); empty: nothing. Returns the one before.
    virtual SString SetContextText(SString text);
    virtual SString GetContextText() const;
    /// The line in it; -1: none. Returns the one before.
    virtual int SetLineNo(int line);
    /// Adds one and returns the new number.
    virtual int IncLineNo();
    virtual int GetLineNo() const;
    /// Starts a new run: counts and last codes become 0, the last texts empty, the line -1. Context text and resource
    /// module stay.
    virtual void ClearContext();

    // ---- Logging ----
    // The form with a number takes the format from a string resource of the resource module. Each returns what the output
    // returned.

    /// Passes a text on: no count, no prefix, no record.
    template <class... Arguments>
    SString LogMessage(const wchar_t* format, Arguments... arguments)
    {
        return EmitMessage(Text(format, arguments...));
    }
    template <class... Arguments>
    SString LogMessage(unsigned formatId, Arguments... arguments)
    {
        return EmitMessage(Text(formatId, arguments...));
    }

    /// Counts a warning; the last warning code becomes -1.
    template <class... Arguments>
    SString LogWarning(const wchar_t* format, Arguments... arguments)
    {
        return Log(kWarning, kNoCode, format, arguments...);
    }
    template <class... Arguments>
    SString LogWarning(unsigned formatId, Arguments... arguments)
    {
        return Log(kWarning, kNoCode, formatId, arguments...);
    }

    /// Counts an error; the last error code becomes -1.
    template <class... Arguments>
    SString LogError(const wchar_t* format, Arguments... arguments)
    {
        return Log(kError, kNoCode, format, arguments...);
    }
    template <class... Arguments>
    SString LogError(unsigned formatId, Arguments... arguments)
    {
        return Log(kError, kNoCode, formatId, arguments...);
    }

    /// Counts as an error. Returns the last error text whatever the output returned. Neither throws nor ends the program:
    /// the output decides about that.
    template <class... Arguments>
    SString LogFatal(const wchar_t* format, Arguments... arguments)
    {
        return Log(kFatal, kNoCode, format, arguments...);
    }
    template <class... Arguments>
    SString LogFatal(unsigned formatId, Arguments... arguments)
    {
        return Log(kFatal, kNoCode, formatId, arguments...);
    }

    // The same with a code that is recorded and put into the prefix. An `unsigned` first argument is the number of the
    // format, and serves as the code too; any other number before a text is a code. -1 as a code means none.

    template <class Code, class... Arguments, std::enable_if_t<!std::is_same_v<Code, unsigned>, int> = 0>
    SString LogCodedWarning(Code code, const wchar_t* format, Arguments... arguments)
    {
        return Log(kWarning, static_cast<long>(code), format, arguments...);
    }
    template <class... Arguments>
    SString LogCodedWarning(unsigned formatId, Arguments... arguments)
    {
        return Log(kWarning, static_cast<long>(formatId), formatId, arguments...);
    }
    template <class Code, class... Arguments, std::enable_if_t<!std::is_same_v<Code, unsigned>, int> = 0>
    SString LogCodedError(Code code, const wchar_t* format, Arguments... arguments)
    {
        return Log(kError, static_cast<long>(code), format, arguments...);
    }
    template <class... Arguments>
    SString LogCodedError(unsigned formatId, Arguments... arguments)
    {
        return Log(kError, static_cast<long>(formatId), formatId, arguments...);
    }
    template <class Code, class... Arguments, std::enable_if_t<!std::is_same_v<Code, unsigned>, int> = 0>
    SString LogCodedFatal(Code code, const wchar_t* format, Arguments... arguments)
    {
        return Log(kFatal, static_cast<long>(code), format, arguments...);
    }
    template <class... Arguments>
    SString LogCodedFatal(unsigned formatId, Arguments... arguments)
    {
        return Log(kFatal, static_cast<long>(formatId), formatId, arguments...);
    }

    // ---- What was logged since the last ClearContext ----

    /// Errors and fatal errors.
    int ErrorCount() const { return m_errors; }
    int WarningCount() const { return m_warnings; }
    /// Both together.
    int FailureCount() const { return m_warnings + m_errors; }
    /// The code of the last error or fatal error: -1 when it had none, 0 when there was no error at all.
    long LastErrorCode() const { return m_lastErrorCode; }
    /// Its text with the prefix.
    SString LastErrorText() const { return m_lastErrorText; }
    long LastWarningCode() const { return m_lastWarningCode; }
    SString LastWarningText() const { return m_lastWarningText; }

    // ---- Resources ----

    /// The module that has the formats given by number; null: the program. Each returns the one before.
    HINSTANCE SetResInstance(HINSTANCE instance);
    /// The state's resource handle, or its instance handle when it has no other; null for a null state.
    HINSTANCE SetResInstance(SModuleState* state);
    HINSTANCE GetResInstance() const { return m_resources; }

    /// The words in front of messages: string resources 282, 283 and 284 of the library ("Warning", "Error" and
    /// "Fatal Error" where it has none), loaded by the first context, in the UI language of its thread (English and
    /// French come with the library). Once sClassWarning is emptied the next context loads them again.
    static SString sClassWarning;
    static SString sClassError;
    static SString sClassFatal;

protected:
    /// Puts what is known of the place in front of a text:
    ///
    ///     line  context  word   code     prefix
    ///     -1    -        -      any
    ///     -1    -        given  -1       "word: "
    ///     -1    -        given  other    "word : code: "
    ///     -1    given    -      any      "context : "
    ///     -1    given    given  -1       "context : word: "
    ///     -1    given    given  other    "context : word code: "
    ///     set   -        -      any
    ///     set   -        given  -1       "(line) word : "
    ///     set   -        given  other    "(line) word : code: "
    ///     set   given    -      any      "context(line) : "
    ///     set   given    given  -1       "context(line) : word: "
    ///     set   given    given  other    "context(line) : word code: "
    ///
    /// A line alone says nothing, so it is dropped when there is neither context nor word. A null word is no word.
    SString AddMessageContext(SString text, const wchar_t* classWord, long code);
    /// What the constructor does: ClearContext, and the class words on first use.
    void Init();

private:
    enum Kind { kWarning, kError, kFatal };
    static constexpr long kNoCode = -1;

    /// For classes that are never copied: only the texts are made, empty.
    SDErrorContext(const SDErrorContext&);

    template <class Format, class... Arguments>
    SString Log(Kind kind, long code, Format format, const Arguments&... arguments)
    {
        return Emit(kind, code, Text(format, arguments...));
    }
    template <class... Arguments>
    SString Text(const wchar_t* format, const Arguments&... arguments)
    {
        return SString().Format(format, arguments...);
    }
    template <class... Arguments>
    SString Text(unsigned formatId, const Arguments&... arguments)
    {
        return SString().Format(LoadFormat(formatId).PszStr(), arguments...);
    }
    SString LoadFormat(unsigned formatId) const;
    void Count(Kind kind, long code);
    SString EmitMessage(const SString& text);
    SString Emit(Kind kind, long code, const SString& text);

    int m_line;
    SString m_context;
    int m_errors;
    long m_lastErrorCode;
    SString m_lastErrorText;
    int m_warnings;
    long m_lastWarningCode;
    SString m_lastWarningText;
    HINSTANCE m_resources;
};

/// The process's sink: the one that SetGeneralOutput installed, else one that says nothing and lives from the first call
/// to the end of the process.
CVCORE_API SDErrorContext& GeneralOutput();
/// Installs a sink, which stays the caller's; null brings the first one back.
CVCORE_API void SetGeneralOutput(SDErrorContext* output);

#endif
