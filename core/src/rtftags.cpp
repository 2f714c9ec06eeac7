// rtftags.cpp: what can be asked of a tag.
#include "rtftags.h"

namespace RtfTags {

bool Tag::IsControl() const
{
    if (First() != L'\\')
        return false;
    const wchar_t second = Length() > 1 ? start[1] : L'\0';
    return second != L'\'' && !(second == L'u' && Length() > 2 && IsDigit(start[2]));
}

Tag Tag::TrimRight() const
{
    Tag trimmed(*this);
    while (trimmed.end != trimmed.start && IsSpace(trimmed.end[-1]))
        --trimmed.end;
    return trimmed;
}

int NumberOf(std::wstring_view text)
{
    return static_cast<int>(SString(text).ToLONG());
}

} // namespace RtfTags
