// logfile.h: the exception log's file, and the right to write into it.
//
// Records are written when the heap may be broken and when locks may be held for ever, so what cannot be had in time is
// done without.
#ifndef LOGFILE_H
#define LOGFILE_H

#include "fixedtext.h"

#include "cvbase.h"

#include <atomic>

constexpr int kLongestLogPath = 1000;
constexpr int kLogPathRoom = kLongestLogPath + 40; // and what is put behind a path
typedef FixedText<kLogPathRoom> LogPathText;

/// The right to put a record together, which one thread at a time has. Tests false when another thread does not give it
/// back in two seconds, and when this one has it already. A turn is taken away from a thread that has ended, and from
/// calls of this thread that were left without being unwound.
class LogTurn {
public:
    LogTurn() noexcept;
    ~LogTurn();
    LogTurn(const LogTurn&) = delete;
    LogTurn& operator=(const LogTurn&) = delete;
    explicit operator bool() const { return m_mine; }

private:
    bool m_mine = false;
};

/// Gives back the turn of this thread, which left the log's code in the middle of a record, never to return there.
void AbandonLogTurn() noexcept;

/// The path in use. `makeFolder` makes the folder of the usual one. For the holder of the turn.
void GetLogPath(LogPathText& path, bool makeFolder) noexcept;

/// Chooses it; empty for the usual one. Not longer than kLongestLogPath. For the holder of the turn.
void ChooseLogPath(const wchar_t* path) noexcept;

/// Appends bytes in one write, under a lock of the file, and renames a file that grew too large. For the holder of the turn.
bool AppendToLogFile(const char* bytes, unsigned long size) noexcept;

#endif
