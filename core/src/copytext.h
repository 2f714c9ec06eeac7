// copytext.h: copying characters. Most texts are short, and for those a call of the run-time's function costs more than the
// copying.
#ifndef COPYTEXT_H
#define COPYTEXT_H

#include <cstddef>

namespace TextKern {

/// Copies `n` characters that do not overlap.
void CopyText(wchar_t* to, const wchar_t* from, size_t n);

/// The same for characters that may overlap, as when a part of a text becomes all of it.
void MoveText(wchar_t* to, const wchar_t* from, size_t n);

} // namespace TextKern

#endif
