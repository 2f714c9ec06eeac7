// systempath.cpp: a path in the form in which the system takes it.
#include "systempath.h"

#include <cwchar>

namespace {

constexpr wchar_t kLong[] = L"\\\\?\\";
constexpr wchar_t kLongServer[] = L"\\\\?\\UNC\\";
constexpr wchar_t kNoPath[] = L"|";
constexpr int kLongLength = 4, kLongServerLength = 8;
// Folders must leave room for a name of eight characters and three.
constexpr int kLongestPlain = MAX_PATH - 12 - 1;

} // namespace

SystemPath::SystemPath(const SString& path) : m_path(path)
{
    const int length = path.Length();
    if (length > kLongestSystemPath || static_cast<int>(std::wcslen(path)) != length) {
        m_path = kNoPath;
        return;
    }
    if (length <= kLongestPlain || path.Compare(kLong, kLongLength) == 0)
        return;
    // The long form is taken literally, so everything that the system does to a path is to be done before.
    const SString full =
        TextOfSystem(static_cast<DWORD>(length) + MAX_PATH, [&](wchar_t* buffer, DWORD room) {
            return ::GetFullPathNameW(path, room, buffer, nullptr);
        });
    if (full.IsEmpty())
        return;
    m_path = full.Compare(L"\\\\", 2) == 0 ? kLongServer + full.Mid(2) : kLong + full;
}

SString FullPath(const SString& path)
{
    if (path.Length() > kLongestSystemPath)
        return SString();
    return TextOfSystem(static_cast<DWORD>(path.Length()) + MAX_PATH, [&](wchar_t* buffer, DWORD room) {
        return ::GetFullPathNameW(path, room, buffer, nullptr);
    });
}

SString WithoutLongPrefix(const SString& path)
{
    if (path.CompareNoCase(kLongServer, kLongServerLength) == 0)
        return L"\\\\" + path.Mid(kLongServerLength);
    return path.Compare(kLong, kLongLength) == 0 ? path.Mid(kLongLength) : path;
}
