// filecodes.h: the codes in which file and path operations answer.
//
// 0 is success and a negative code a failure; test with >= 0, since a few successes are 1. SECOMException and
// GetResultFormat (sexcept.h) have a text for each.
#ifndef FILECODES_H
#define FILECODES_H

#include "cvbase.h"

namespace SFileCode {

inline constexpr long kName =
    static_cast<long>(0x80990001); ///< a name that cannot be split, or is not allowed
inline constexpr long kNoMoreFiles = static_cast<long>(0x80990005); ///< a search is at its end
inline constexpr long kFindClose = static_cast<long>(0x80990006);   ///< a search could not be closed
inline constexpr long kRename = static_cast<long>(0x80990007);      ///< renaming failed
inline constexpr long kCopy = static_cast<long>(0x80990008);        ///< copying failed
inline constexpr long kDelete = static_cast<long>(0x80990009);      ///< deleting failed
inline constexpr long kOpen = static_cast<long>(0x8099000A);        ///< opening failed
inline constexpr long kClose = static_cast<long>(0x8099000B);       ///< closing failed
inline constexpr long kCreate = static_cast<long>(0x8099000C);      ///< creating failed
inline constexpr long kWrite = static_cast<long>(0x8099000D);       ///< writing failed
inline constexpr long kRead = static_cast<long>(0x8099000E);        ///< reading failed
inline constexpr long kSeek = static_cast<long>(0x80990010);        ///< the position could not be set
inline constexpr long kSize = static_cast<long>(0x80990013);        ///< the size could not be read
inline constexpr long kTime = static_cast<long>(0x80990015);        ///< the times could not be read
inline constexpr long kMissing = static_cast<long>(0x80990016); ///< there is no such file, or nothing matches
inline constexpr long kNotOpen = static_cast<long>(0x80004005); ///< E_FAIL: no handle is open
inline constexpr long kNullPointer = static_cast<long>(0x80004003); ///< E_POINTER: a pointer is null

} // namespace SFileCode

#endif
