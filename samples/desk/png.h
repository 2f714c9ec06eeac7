// png.h: what a window shows, as a PNG file.
#ifndef DESK_PNG_H
#define DESK_PNG_H

#include "strclss.h"

/// Throws SException when there is nothing to see or the file cannot be written.
void SaveWindowAsPng(HWND window, const SString& path);

#endif
