// cfacestring.cpp: strings of the flat face.
#include "cface.h"

#include "safemem.h"

#include <iterator>

namespace {

constexpr wchar_t kUsualBlanks[] = L" \t\r\n";

// How many of the units from `position` on are meant.
int CountFrom(int position, int32_t count, int length)
{
    FaceInRange(count, CV_TO_END, SString::kMaxLength, L"a count");
    const int left = length - position;
    return count == CV_TO_END || count > left ? left : count;
}

size_t Units(const SString& text)
{
    return static_cast<size_t>(text.Length());
}

int Compare(const SString& a, const SString& b, int rule)
{
    switch (rule) {
    case CV_EXACT: return a.Compare(b);
    case CV_NO_CASE: return a.CompareNoCase(b);
    case CV_NUMBERED: return a.CompareNb(b);
    case CV_NUMBERED_NO_CASE: return a.CompareNbNoCase(b);
    default: return a.Collate(b);
    }
}

// Whether ToLONG finds a number; its 0 does not tell.
bool BeginsWithDigit(const SString& text, int base)
{
    const wchar_t* at = text;
    while (*at == L' ' || (*at >= L'\t' && *at <= L'\r'))
        ++at;
    if (*at == L'-' || *at == L'+')
        ++at;
    if ((base == 0 || base == 16) && at[0] == L'0' && (at[1] == L'x' || at[1] == L'X')) {
        at += 2;
        base = 16;
    }
    if (base == 0)
        base = 10;
    const int digit = *at >= L'0' && *at <= L'9'   ? *at - L'0'
                      : *at >= L'a' && *at <= L'f' ? *at - L'a' + 10
                      : *at >= L'A' && *at <= L'F' ? *at - L'A' + 10
                                                   : base;
    return digit < base;
}

} // namespace

// ---- Making ----

cv_result CVCORE_CALL cv_string_create(cv_string** string, const cv_char* text, int32_t length)
{
    return FaceCreate(__func__, string, [&](cv_string& fresh) { fresh.text = FaceGiven(text, length); });
}

cv_result CVCORE_CALL cv_string_copy(const cv_string* string, cv_string** copy)
{
    return FaceCreate(__func__, copy, [&](cv_string& fresh) { fresh.text = FaceText(string); });
}

cv_result CVCORE_CALL cv_string_free(cv_string* string)
{
    return FaceFree(__func__, string, [](const cv_string& ended) {
        if (ended.lent)
            FaceRefuse(CV_E_STATE, L"the string is only lent");
    });
}

// ---- Looking ----

cv_result CVCORE_CALL cv_string_length(const cv_string* string, int32_t* length)
{
    return FaceCall(__func__, [&] {
        const SString& text = FaceText(string);
        FaceOutput(length) = text.Length();
    });
}

cv_result CVCORE_CALL cv_string_text(const cv_string* string, const cv_char** text, int32_t* length)
{
    return FaceCall(__func__, [&] {
        const SString& from = FaceText(string);
        FaceOutput(text) = from.PszStr();
        if (length)
            *length = from.Length();
    });
}

// ---- Editing ----

cv_result CVCORE_CALL cv_string_set(cv_string* string, const cv_char* text, int32_t length)
{
    return FaceCall(__func__, [&] {
        SString& to = FaceText(string);
        to = FaceGiven(text, length);
    });
}

cv_result CVCORE_CALL cv_string_append(cv_string* string, const cv_char* text, int32_t length)
{
    return FaceCall(__func__, [&] {
        SString& to = FaceText(string);
        const SString added = FaceGiven(text, length);
        to.Append(added, added.Length());
    });
}

cv_result CVCORE_CALL cv_string_insert(cv_string* string, int32_t position, const cv_char* text,
                                       int32_t length)
{
    return FaceCall(__func__, [&] {
        SString& to = FaceText(string);
        const int at = FacePosition(position, to.Length());
        const SString added = FaceGiven(text, length);
        to = SString::Concat(to.Left(at), added, to.Mid(at)); // Insert would stop at a NUL
    });
}

cv_result CVCORE_CALL cv_string_erase(cv_string* string, int32_t position, int32_t count)
{
    return FaceCall(__func__, [&] {
        SString& text = FaceText(string);
        const int at = FacePosition(position, text.Length());
        const int gone = CountFrom(at, count, text.Length());
        if (gone > 0)
            text.Delete(at, gone);
    });
}

cv_result CVCORE_CALL cv_string_part(const cv_string* string, int32_t position, int32_t count,
                                     cv_string* part)
{
    return FaceCall(__func__, [&] {
        const SString& text = FaceText(string);
        SString& to = FaceText(part);
        const int at = FacePosition(position, text.Length());
        to = text.Mid(at, CountFrom(at, count, text.Length()));
    });
}

// ---- Comparing and searching ----

cv_result CVCORE_CALL cv_string_compare(const cv_string* string, const cv_char* text, int32_t length,
                                        int32_t rule, int32_t* order)
{
    return FaceCall(__func__, [&] {
        const SString& own = FaceText(string);
        int32_t& result = FaceOutput(order);
        FaceInRange(rule, CV_EXACT, CV_LOCALE, L"the rule");
        result = Compare(own, FaceGiven(text, length), rule);
    });
}

cv_result CVCORE_CALL cv_string_find(const cv_string* string, const cv_char* text, int32_t length,
                                     int32_t position, int32_t rule, int32_t* found)
{
    return FaceCall(__func__, [&] {
        const SString& own = FaceText(string);
        int32_t& result = FaceOutput(found);
        const auto search = FaceIgnoresCase(rule) ? SSafeMemIStr : SSafeMemStr;
        const wchar_t* const from = own.GetPointerAt(FacePosition(position, own.Length()));
        const SString wanted = FaceGiven(text, length);
        const wchar_t* const at =
            search(from, Units(own) - static_cast<size_t>(position), wanted, Units(wanted));
        result = at ? static_cast<int32_t>(at - own) : -1;
    });
}

cv_result CVCORE_CALL cv_string_find_last(const cv_string* string, const cv_char* text, int32_t length,
                                          int32_t rule, int32_t* found)
{
    return FaceCall(__func__, [&] {
        const SString& own = FaceText(string);
        int32_t& result = FaceOutput(found);
        const bool ignoresCase = FaceIgnoresCase(rule);
        const SString wanted = FaceGiven(text, length);
        const wchar_t* const at = ignoresCase ? own.ReverseFindNoCase(wanted) : own.ReverseFind(wanted);
        result = at ? static_cast<int32_t>(at - own) : -1;
    });
}

cv_result CVCORE_CALL cv_string_replace(cv_string* string, const cv_char* from, int32_t from_length,
                                        const cv_char* to, int32_t to_length, int32_t rule, int32_t* count)
{
    return FaceCall(__func__, [&] {
        SString& text = FaceText(string);
        const bool ignoresCase = FaceIgnoresCase(rule);
        const SString old = FaceGiven(from, from_length), fresh = FaceGiven(to, to_length);
        const int done = ignoresCase ? text.ReplaceAllNoCase(old, fresh) : text.ReplaceAll(old, fresh);
        if (count)
            *count = done;
    });
}

cv_result CVCORE_CALL cv_string_match(const cv_string* string, const cv_char* pattern, int32_t length,
                                      int32_t rule, int32_t* matches)
{
    return FaceCall(__func__, [&] {
        const SString& text = FaceText(string);
        int32_t& result = FaceOutput(matches);
        const bool ignoresCase = FaceIgnoresCase(rule);
        const SString wanted = FaceGiven(pattern, length);
        result = ignoresCase ? text.MatchNoCase(wanted) : text.Match(wanted);
    });
}

// ---- Case and ends ----

cv_result CVCORE_CALL cv_string_upper(cv_string* string)
{
    return FaceCall(__func__, [&] { FaceText(string).ToUpper(); });
}

cv_result CVCORE_CALL cv_string_lower(cv_string* string)
{
    return FaceCall(__func__, [&] { FaceText(string).ToLower(); });
}

cv_result CVCORE_CALL cv_string_trim(cv_string* string, const cv_char* set, int32_t length, int32_t ends)
{
    return FaceCall(__func__, [&] {
        SString& text = FaceText(string);
        FaceInRange(ends, CV_LEFT, CV_BOTH, L"the ends");
        const SString given = FaceGiven(set, length);
        const wchar_t* const blanks = given.IsEmpty() ? kUsualBlanks : given.PszStr();
        SString cut = text; // a second cut that fails must not leave the first one
        if (ends & CV_LEFT)
            cut.TrimLeft(blanks);
        if (ends & CV_RIGHT)
            cut.TrimRight(blanks);
        text.swap(cut);
    });
}

// ---- Numbers ----

cv_result CVCORE_CALL cv_string_set_integer(cv_string* string, int64_t value)
{
    return FaceCall(__func__, [&] {
        SString& text = FaceText(string);
        text = SString(static_cast<long long>(value));
    });
}

cv_result CVCORE_CALL cv_string_set_decimal(cv_string* string, double value)
{
    return FaceCall(__func__, [&] {
        SString& text = FaceText(string);
        text = SString(value);
    });
}

cv_result CVCORE_CALL cv_string_number_kind(const cv_string* string, int32_t* kind)
{
    return FaceCall(__func__, [&] {
        const SString& text = FaceText(string);
        FaceOutput(kind) = text.IsInteger() ? CV_INTEGER : text.IsNumber() ? CV_DECIMAL : CV_NO_NUMBER;
    });
}

cv_result CVCORE_CALL cv_string_integer(const cv_string* string, int32_t base, int32_t* value)
{
    return FaceCall(__func__, [&] {
        const SString& text = FaceText(string);
        int32_t& result = FaceOutput(value);
        if (base != 0)
            FaceInRange(base, 2, 16, L"the base");
        if (!BeginsWithDigit(text, base))
            FaceRefuse(CV_E_FORMAT, L"the text begins with no number");
        result = text.ToLONG(base);
    });
}

cv_result CVCORE_CALL cv_string_decimal(const cv_string* string, double* value)
{
    return FaceCall(__func__, [&] {
        const SString& text = FaceText(string);
        double& result = FaceOutput(value);
        if (!text.IsNumber())
            FaceRefuse(CV_E_FORMAT, L"the text is no number");
        result = text.ToDouble();
    });
}
