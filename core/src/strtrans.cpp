// strtrans.cpp: variables in a text replaced by their values.
#include "strtrans.h"

#include "copytext.h"
#include "madetext.h"
#include "sexcept.h"
#include "textkern.h"

#include <algorithm>
#include <cwchar>

namespace {

typedef SStringTranslator::OPTIONS OPTIONS;

// Up to here the pools of strings double by themselves.
constexpr int kSmall = 2048;

// Appending grows a string by a fixed step, which makes many small pieces quadratic; doubling keeps them linear.
void AppendGrowing(SString& out, const wchar_t* text, size_t length)
{
    const int before = out.Length();
    if (length > static_cast<size_t>(SString::kMaxLength - before))
        throw SEOutOfMemory(S_HERE);
    const int needed = before + static_cast<int>(length);
    SString old;
    if (needed > out.Capacity() && needed > kSmall && before > 0) {
        if (text >= out.begin() && text <= out.end())
            old = out; // a piece of the text itself must outlive the buffer that it stands in
        out.LockTchar(needed > SString::kMaxLength / 2 ? SString::kMaxLength : 2 * needed);
        out.UnlockTchar(before);
    }
    out.Append(text, static_cast<int>(length));
}

// Room for the rest of a template and an eighth more; values mostly take about as much as their references. Each step on the way
// there would move what is done into fresh memory.
void GiveRoom(SString& result, const wchar_t* rest)
{
    const int before = result.Length(), most = SString::kMaxLength / 2 - before;
    const int length = static_cast<int>(TextKern::Length(rest, static_cast<size_t>(std::max(most, 0))));
    const int needed = before + length + length / 8;
    if (needed > kSmall && needed > result.Capacity()) {
        result.LockTchar(needed);
        result.UnlockTchar(before);
    }
}

const struct {
    wchar_t letter;
    unsigned long flag;
} kLetters[] = {
    { L'F', OPTIONS::kFirstOnly }, { L'U', OPTIONS::kUpper },        { L'L', OPTIONS::kLower },
    { L'T', OPTIONS::kTrim },      { L'q', OPTIONS::kSingleQuotes }, { L'Q', OPTIONS::kDoubleQuotes },
    { L'c', OPTIONS::kCapital },   { L'H', OPTIONS::kHexadecimal },  { L'M', OPTIONS::kSubstring },
};

unsigned long FlagOf(wchar_t letter)
{
    for (const auto& known : kLetters) {
        if (known.letter == letter)
            return known.flag;
    }
    return 0;
}

bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

// The decimal number at a place, which is moved behind it; 0 without digits, the largest number for too many.
long ReadNumber(const wchar_t*& at, const wchar_t* end)
{
    constexpr long kLargest = 0x7FFFFFFF;
    long number = 0;
    for (; at < end && IsDigit(*at); ++at) {
        const long digit = *at - L'0';
        number = number > (kLargest - digit) / 10 ? kLargest : number * 10 + digit;
    }
    return number;
}

SString& ToUpper(SString& text, bool firstOnly)
{
    return firstOnly ? text.ToUpper(0, 1) : text.ToUpper();
}
SString& ToLower(SString& text, bool firstOnly)
{
    return firstOnly ? text.ToLower(0, 1) : text.ToLower();
}

void DoubleQuotes(SString& value, unsigned long flags)
{
    if (flags & OPTIONS::kDoubleQuotes) {
        value.ReplaceAll(L"\"", L"\"\"");
        return;
    }
    const int length = value.Length();
    if (length >= 2 && value[0] == L'"' && value[length - 1] == L'"') {
        value = value.Mid(1, length - 2);
        value.ReplaceAll(L"\"\"", L"\"");
    }
    value.ReplaceAll(L"'", L"''");
}

bool IsPlain(const OPTIONS& options)
{
    return options.flags == 0 && options.width == 0 && options.precision == 0;
}

SString TakePart(const SString& value, const OPTIONS& options)
{
    const int precision = static_cast<int>(options.precision);
    if (options.flags & OPTIONS::kSubstring) {
        const bool isGiven = options.width >= 1 && precision >= 1;
        return isGiven ? value.Mid(static_cast<int>(options.width) - 1, precision) : value;
    }
    return precision > 0 ? value.Left(precision) : precision < 0 ? value.Right(-precision) : value;
}

} // namespace

SStringTranslator::~SStringTranslator() = default;

void SStringTranslator::ChangeDelimiter(wchar_t delimiter)
{
    m_delimiter = delimiter;
    m_stringMode = 0;
}

void SStringTranslator::ChangeDelimiter(SString start, SString end)
{
    m_start = std::move(start);
    m_end = std::move(end);
    m_stringMode = 1;
}

// ---- Emitting ----

void SStringTranslator::CopyText(SString& out, const wchar_t* from, const wchar_t* to)
{
    AppendGrowing(out, from, static_cast<size_t>(to - from));
}

void SStringTranslator::AppendText(SString& out, const wchar_t* text)
{
    AppendGrowing(out, text, TextKern::Length(text, static_cast<size_t>(-1)));
}

// ---- Finding ----

bool SStringTranslator::IsStartAt(const wchar_t* text) const
{
    return m_stringMode
               ? !m_start.IsEmpty() && std::wcsncmp(text, m_start, static_cast<size_t>(m_start.Length())) == 0
               : *text == m_delimiter && m_delimiter != L'\0';
}

const wchar_t* SStringTranslator::FindVariableStart(const wchar_t* text) const
{
    if (m_stringMode)
        return m_start.IsEmpty() ? nullptr : std::wcsstr(text, m_start);
    if (m_delimiter == L'\0')
        return nullptr;
    const wchar_t* const start = TextKern::FindCharOrEnd(text, m_delimiter);
    return *start == L'\0' ? nullptr : start;
}

const wchar_t* SStringTranslator::FindVariableEnd(const wchar_t* text) const
{
    // Only as far as the line goes, and no farther than to the end that is looked for: neither many unfinished references nor
    // many in one line may make each look at the rest.
    const wchar_t first = m_stringMode ? *m_end.PszStr() : m_delimiter;
    if (first == L'\0')
        return nullptr;
    for (;; ++text) {
        if (*text == first &&
            (!m_stringMode || std::wcsncmp(text, m_end, static_cast<size_t>(m_end.Length())) == 0))
            return text;
        if (*text == L'\0' || *text == L'\n')
            return nullptr;
    }
}

// ---- Translating ----

SString SStringTranslator::Translate(const wchar_t* text, int& status, long id)
{
    SString result;
    bool hasRoom = false;
    const wchar_t* at = text ? text : L"";
    while (*at != L'\0') {
        const wchar_t* const start = FindVariableStart(at);
        if (!start)
            break;
        const wchar_t* const variable = start + StartLength();
        if (IsStartAt(variable)) {
            // The text in front of a doubled delimiter is not copied; templates have been written with that in mind.
            CopyText(result, variable, variable + StartLength());
            at = variable + StartLength();
            continue;
        }
        const wchar_t* const end = FindVariableEnd(variable);
        if (!end)
            break;
        CopyText(result, at, start);
        if (!hasRoom && !result.IsEmpty()) {
            GiveRoom(result, start);
            hasRoom = true;
        }
        status = ReplaceVariable(variable, end, result, status, id);
        if (status == kAbandon)
            return SString();
        at = end + EndLength();
    }
    AppendText(result, at);
    return result;
}

int SStringTranslator::ReplaceVariable(const wchar_t* start, const wchar_t* end, SString& out, int& status,
                                       long id)
{
    OPTIONS options;
    const wchar_t* const nameStart = GetOptions(&options, start, end);
    // The last variable's buffer once more. Taken out meanwhile: a look-up may translate, too.
    MadeText name;
    name.swap(m_name);
    if (nameStart == end)
        name.Empty();
    else
        TextKern::CopyText(name.Make(static_cast<int>(end - nameStart)), nameStart,
                           static_cast<size_t>(end - nameStart));
    SString value;
    int missing = 0;
    const int found = LookupVariable(name, options, id, &value, &missing);
    m_name.swap(name);
    if (found == kAbandon)
        return status = kAbandon;
    if (!found)
        return status = missing ? kOmitted : kMissing;
    if (!IsPlain(options))
        value = FormatOptions(std::move(value), options);
    AppendText(out, value);
    return status = kReplaced;
}

const wchar_t* SStringTranslator::GetOptions(OPTIONS* options, const wchar_t* start, const wchar_t* end)
{
    *options = OPTIONS();
    const wchar_t* at = start;
    if (std::find(at, end, L':') == end)
        return at;
    if (at < end && *at == L'?') {
        options->flags |= OPTIONS::kOptional;
        ++at;
    }
    if (at < end && *at == L'-') {
        options->flags |= OPTIONS::kPadLeft;
        ++at;
    }
    options->width = ReadNumber(at, end);
    if (at == end || *at == L':')
        return at == end ? at : at + 1;
    if (*at != L'.')
        return at;
    bool fromEnd = false;
    for (++at; at < end && *at != L':';) {
        if (IsDigit(*at)) {
            options->precision = ReadNumber(at, end);
            continue;
        }
        fromEnd = fromEnd || *at == L'-';
        options->flags |= FlagOf(*at);
        ++at;
    }
    if (fromEnd)
        options->precision = -options->precision;
    return at < end ? at + 1 : at;
}

int SStringTranslator::LookupVariable(const SString& name, OPTIONS& options, long id, SString* value,
                                      int* missing)
{
    const SSymbol* const symbol = m_symbols ? m_symbols->Find(name, id) : nullptr;
    if ((options.flags & OPTIONS::kOptional) && (!symbol || symbol->value.IsEmpty())) {
        *missing = 1;
        return 0;
    }
    if (!symbol)
        return 0;
    if (id != SSymbolTable::kAnyId && (symbol->id != id || symbol->id == SSymbolTable::kAnyId))
        return 0;
    *value = symbol->value;
    return 1;
}

SString SStringTranslator::FormatOptions(SString value, OPTIONS& options) const
{
    if (IsPlain(options))
        return value;
    if (options.flags & OPTIONS::kTrim)
        value.Trim(L' ');
    if (options.flags & OPTIONS::kSingleQuotes)
        options.flags &= ~OPTIONS::kDoubleQuotes;
    const unsigned long flags = options.flags;
    const wchar_t* const quote = flags & OPTIONS::kDoubleQuotes   ? L"\""
                                 : flags & OPTIONS::kSingleQuotes ? L"'"
                                                                  : L"";
    if (*quote != L'\0')
        DoubleQuotes(value, flags);
    value = TakePart(value, options);
    const bool firstOnly = (flags & OPTIONS::kFirstOnly) != 0;
    if (flags & OPTIONS::kUpper)
        ToUpper(value, firstOnly);
    if (flags & OPTIONS::kLower)
        ToLower(value, firstOnly);
    if (flags & OPTIONS::kCapital)
        ToUpper(value.ToLower(), true);
    if ((flags & OPTIONS::kHexadecimal) && value.IsNumber())
        value.Format(L"%x", value.ToLONG());
    SString padding;
    if (!(flags & OPTIONS::kSubstring) && options.width > value.Length())
        padding = SString(L' ', static_cast<int>(options.width) - value.Length());
    const bool isLeft = (flags & OPTIONS::kPadLeft) != 0;
    return SString::Concat(quote, isLeft ? padding : value, isLeft ? value : padding, quote);
}
