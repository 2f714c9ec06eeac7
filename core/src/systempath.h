// systempath.h: a path in the form in which the system takes it.
#ifndef SYSTEMPATH_H
#define SYSTEMPATH_H

#include "strclss.h"

/// The most characters that a path can have for the system. Longer ones are not shown to it: it takes its time over those.
constexpr int kLongestSystemPath = 32767;

/// A path for a call of the system: itself where that will do; for a long one its full form behind "\\?\"; for one with a NUL
/// inside, and one that is too long for the system, a text that every call refuses with ERROR_INVALID_NAME.
class SystemPath {
public:
    explicit SystemPath(const SString& path);
    operator const wchar_t*() const { return m_path; }

private:
    SString m_path;
};

/// A path made full: from the current directory, without steps and slashes. Empty when the system refuses it.
SString FullPath(const SString& path);

/// A path without "\\?\" or "\\?\UNC" in front.
SString WithoutLongPrefix(const SString& path);

/// What a call of the kind of GetTempPathW gives: it takes room and buffer and returns the length, or the room that it needs.
/// Empty when it fails.
template <class Call>
SString TextOfSystem(DWORD room, Call call)
{
    SString text;
    for (int tries = 0; tries < 3; ++tries) {
        const DWORD length = call(text.GetBufferSetLength(static_cast<int>(room)), room);
        if (length > 0 && length < room) {
            text.UnlockTchar(static_cast<int>(length));
            return text;
        }
        text.UnlockTchar(0);
        if (length == 0)
            break;
        room = length + 1;
    }
    return SString();
}

#endif
