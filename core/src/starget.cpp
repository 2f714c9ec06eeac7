// starget.cpp: exceptions for certain targets, and the register of active targets.
#include "starget.h"

#include "excdlg.h"
#include "location.h"
#include "smap.h"

#include <cwchar>
#include <string_view>

namespace {

// The register's order, in which a piece of a list is looked for without being made a string: Done must not fail.
struct ByName {
    typedef std::wstring_view Other;
    typedef std::wstring_view Probe;
    static int Compare(const SString& a, const SString& b) { return SAsc<SString>::Compare(a, b); }
    static int Compare(const Probe& a, const SString& b)
    {
        return SSafeMemCmp(a.data(), a.size(), b, static_cast<size_t>(b.Length()));
    }
};
typedef SMap<SString, long, ByName> ActiveTargets;

ActiveTargets& Register()
{
    static ActiveTargets active;
    return active;
}

// Calls `visit` with each name of the list until it answers true; whether one did.
template <class Visit>
bool AnyName(const wchar_t* names, Visit visit)
{
    for (const wchar_t* at = names ? names : L""; *at != L'\0';) {
        const size_t length = std::wcscspn(at, L",");
        if (length > 0 && visit(std::wstring_view(at, length)))
            return true;
        at += length;
        at += *at == L',';
    }
    return false;
}

} // namespace

// ---- SThrowTarget ----

void SThrowTarget::Activate()
{
    if (m_active)
        return;
    ActiveTargets& active = Register();
    // What can fail comes first: an entry for each name.
    AnyName(m_names, [&active](std::wstring_view name) {
        if (!active.Find(name))
            active.Set(SString(name), 0);
        return false;
    });
    m_active = 1;
    AnyName(m_names, [&active](std::wstring_view name) {
        ++*active.Find(name);
        return false;
    });
}

void SThrowTarget::Done() noexcept
{
    if (!m_active)
        return;
    m_active = 0;
    AnyName(m_names, [](std::wstring_view name) {
        if (long* const count = Register().Find(name))
            --*count;
        return false;
    });
}

// ---- STargetedException ----

STargetedException::STargetedException(const char* function, const char* file, unsigned long line,
                                       const SString& targets, const SString& message, int value)
    : m_targets(targets), m_message(message), m_value(value)
{
    static_assert(!S_TARGET_32BIT || sizeof(STargetedException) == 20, "five words, in their order");
    FmtDbgFileLine(function, file, line);
}

STargetedException::~STargetedException() = default;

SString STargetedException::GetDisplayText() const
{
    return SExceptionHasDialog() ? m_message + m_location : m_message;
}

int STargetedException::GetValue() const
{
    return m_value;
}

const wchar_t* STargetedException::GetLocation() const
{
    return m_location;
}

int STargetedException::Match(const SThrowTarget& target) const noexcept
{
    const std::wstring_view names(target.GetNames() ? target.GetNames() : L"");
    return AnyName(m_targets, [names](std::wstring_view name) {
        const size_t found = names.find(name);
        if (found == names.npos)
            return false;
        const size_t end = found + name.size();
        return end == names.size() || names[end] == L',';
    });
}

int STargetedException::HasTarget() const noexcept
{
    return AnyName(m_targets, [](std::wstring_view name) {
        const long* const count = Register().Find(name);
        return count && *count > 0;
    });
}

void STargetedException::FmtDbgFileLine(const char* function, const char* file, unsigned long line)
{
    wchar_t location[kLocationRoom];
    FormatLocation(location, function, file, line);
    m_location = location;
}
