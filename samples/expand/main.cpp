// expand: fills a template with values.
//
//     expand [--strict] [--delimiter CHARACTER] TEMPLATE VALUES OUTPUT
//
// VALUES has a "name = value" in each line, blank lines and lines that begin with "#" aside. The template's references are those
// of SStringTranslator: %NAME%, %-8:NAME%, %.q:NAME%, ... Both files may be in any encoding; the output is UTF-8, and keeps its
// time when nothing changes in it. Values that were read without a problem are kept beside their file ("VALUES.cache") and
// read from there the next time.
//
// Problems are printed as "file(line) : Warning: ...". Ends with 0 when there were none, 1 after warnings, 2 after errors or
// bad input, 3 when the work failed. A name that is unknown is a warning, with --strict an error.
#include "../console.h"

#include "errctx.h"
#include "sbufstream.h"
#include "sfile.h"
#include "sfilestream.h"
#include "sioexcept.h"
#include "stextin.h"
#include "strmap.h"
#include "strtrans.h"

namespace {

enum Ending { kDone = 0, kWarned = 1, kErrors = 2, kFailed = 3 };

struct Options {
    bool strict = false;
    wchar_t delimiter = L'%';
    SString files[3];
};

class ConsoleLog : public SDErrorContext {
public:
    SString RawMessageOutput(SString text) override
    {
        Print(stderr, text + L"\n");
        return text;
    }
};

// ---- Values, and their cache ----

constexpr wchar_t kCacheMark[] = L"expand values 1";

/// What tells whether a cache is that of the file as it is.
struct Stamp {
    unsigned long size = 0, low = 0, high = 0;

    explicit Stamp(const SString& path)
    {
        FILETIME time = {};
        SFile::GetSize(path, &size);
        SFile::GetDateTime(path, &time);
        low = time.dwLowDateTime;
        high = time.dwHighDateTime;
    }
    bool operator==(const Stamp& other) const
    {
        return size == other.size && low == other.low && high == other.high;
    }
};

bool ReadCache(const SString& path, const Stamp& stamp, SStringMap& values)
{
    if (!SFile::IsFile(path))
        return false;
    try {
        SInputBinaryStream in(new SInputBufferStream(new SInputFile(path), true), true);
        SString mark;
        Stamp then(stamp);
        in >> mark;
        if (mark != kCacheMark)
            return false;
        in >> then.size >> then.low >> then.high;
        if (!(then == stamp))
            return false;
        SStringMap read;
        in >> read;
        values.swap(read);
        return true;
    }
    catch (const SException&) {
        return false; // a damaged cache is none
    }
}

void WriteCache(const SString& path, const Stamp& stamp, const SStringMap& values)
{
    try {
        SOutputFileOnChange file(path);
        SOutputBufferStream buffer(file);
        SOutputBinaryStream out(buffer);
        out << SString(kCacheMark) << stamp.size << stamp.low << stamp.high << values;
        buffer.Flush();
        file.Close();
    }
    catch (const SException&) {
        // It would only have saved time.
    }
}

void ParseValues(const SString& path, SStringMap& values, SDErrorContext& log)
{
    SInputFile file(path);
    SInputTextStream text(file, SInputTextStream::kReplaceMalformed);
    for (SString line; text.ReadLine(line);) {
        log.SetLineNo(text.GetLineNo());
        line.Trim(L" \t");
        if (line.IsEmpty() || line[0] == L'#')
            continue;
        SString name, value;
        if (!line.Split(&name, &value, L'=')) {
            log.LogWarning(L"no \"=\" in this line");
            continue;
        }
        name.TrimRight(L" \t");
        if (name.IsEmpty())
            log.LogError(L"a value without a name");
        else if (!values.Set(name, value.TrimLeft(L" \t")))
            log.LogWarning(L"another value for %s", name);
    }
}

SStringMap ReadValues(const SString& path, SDErrorContext& log)
{
    SStringMap values;
    const Stamp stamp(path);
    const SString cache = path + L".cache";
    if (ReadCache(cache, stamp, values))
        return values;
    log.SetContextText(path);
    ParseValues(path, values, log);
    if (log.FailureCount() == 0)
        WriteCache(cache, stamp, values);
    return values;
}

// ---- Expanding ----

/// Logs what it does not find.
class Expander : public SStringTranslator {
public:
    Expander(const SStringMap& values, SDErrorContext& log, bool strict)
        : m_values(values), m_log(log), m_strict(strict)
    {}
    int LookupVariable(const SString& name, OPTIONS& options, long, SString* value, int* missing) override
    {
        const SString* const found = m_values.Find(name);
        if ((options.flags & OPTIONS::kOptional) && (!found || found->IsEmpty())) {
            *missing = 1;
            return 0;
        }
        if (found)
            *value = *found;
        else if (m_strict)
            m_log.LogError(L"%s is unknown", name);
        else
            m_log.LogWarning(L"%s is unknown", name);
        return found != nullptr;
    }

private:
    const SStringMap& m_values;
    SDErrorContext& m_log;
    bool m_strict;
};

void Expand(const Options& options, const SStringMap& values, SDErrorContext& log)
{
    SInputFile file(options.files[0]);
    SInputTextStream text(file, SInputTextStream::kReplaceMalformed);
    Expander expander(values, log, options.strict);
    expander.ChangeDelimiter(options.delimiter);
    log.SetContextText(options.files[0]);
    SOutputFileOnChange target(options.files[2]);
    SOutputBufferStream out(target);
    Progress progress(L"expand");
    for (SString line; text.ReadLine(line);) {
        log.SetLineNo(text.GetLineNo());
        int status = SStringTranslator::kReplaced;
        const SUtf8String narrow(expander.Translate(line, status, SSymbolTable::kAnyId) + L"\n");
        out.Write(narrow, static_cast<unsigned long>(narrow.LengthByte()));
        progress.Show(static_cast<unsigned long>(text.GetLineNo()), L"lines");
    }
    out.Flush();
    target.Close();
}

Options Parse(int count, wchar_t** arguments)
{
    Options options;
    int files = 0;
    for (int i = 1; i < count; ++i) {
        const SString argument(arguments[i]);
        if (argument == L"--strict")
            options.strict = true;
        else if (argument == L"--delimiter" && i + 1 < count && SString(arguments[i + 1]).Length() == 1)
            options.delimiter = *arguments[++i];
        else if (argument.Left(2) != L"--" && files < 3)
            options.files[files++] = Typed(argument);
        else
            files = 4;
    }
    if (files != 3)
        throw BadInput{ L"usage: expand [--strict] [--delimiter CHARACTER] TEMPLATE VALUES OUTPUT" };
    return options;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    try {
        const Options options = Parse(count, arguments);
        ConsoleLog log;
        const SStringMap values = ReadValues(options.files[1], log);
        Expand(options, values, log);
        return log.ErrorCount() > 0 ? kErrors : log.WarningCount() > 0 ? kWarned : kDone;
    }
    catch (const BadInput& bad) {
        Print(stderr, SString::Concat(L"expand: ", bad.message, L"\n"));
        return kErrors;
    }
    catch (const SEIOException& e) {
        Print(stderr, SString::Concat(L"expand: ", e.GetText(), L"\n"));
        return kErrors;
    }
    catch (const SException& e) {
        Print(stderr, SString::Concat(L"expand: ", e.GetFullText(), L"\n"));
        return kFailed;
    }
}
