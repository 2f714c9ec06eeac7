// location.h: the "Thrown from" text of exceptions.
#ifndef LOCATION_H
#define LOCATION_H

#include "cvbase.h"

inline constexpr wchar_t kThrownFrom[] = L"\nThrown from:\n ";
inline constexpr int kLocationRoom = 1074; // characters of a location with its NUL

/// Formats a location into a buffer of kLocationRoom characters, cut at its last one, and returns its length. Allocates
/// nothing. Null texts are empty.
int FormatLocation(wchar_t* buffer, const char* function, const char* file, unsigned long line) noexcept;

#endif
