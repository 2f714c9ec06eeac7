// handledesc.h: what windows were, for people who find their handles in a report.
#ifndef HANDLEDESC_H
#define HANDLEDESC_H

#include "baseobj.h"
#include "strclss.h"

/// Records class and title of a window and the class of its object, while the per-user value asks for that. A null title is
/// asked of the window.
void DescribeHandle(HWND window, const SClassInfo* object, const wchar_t* title) noexcept;
void ForgetHandle(HWND window) noexcept;
SString HandleDescription(HWND window);

#endif
