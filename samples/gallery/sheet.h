// sheet.h: the contact sheet, all kinds and variants with captions in one picture.
#ifndef GALLERY_SHEET_H
#define GALLERY_SHEET_H

#include "strclss.h"

/// Throws SException when the picture cannot be made or written.
void SaveSheet(const SString& path);

#endif
