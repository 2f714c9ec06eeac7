// sgdi.h: device contexts, GDI objects, fonts and image lists as objects.
//
// Each is a value of the system's with an owner: attached to a handle it ends that handle with itself, made by FromHandle it is
// temporary and does not. Threads: the user-interface thread.
#ifndef SGDI_H
#define SGDI_H

#include "swrap.h"

#include <commctrl.h>

/// A device context, ended by DeleteDC; one from GetDC is to be detached and released.
class CVCORE_API SDC : public SWrapped<SDC, HDC> {
    S_DECLARE_DYNCREATE(SDC)
public:
    static void End(HDC handle) noexcept;
    static SHandleMap<HDC, SDC>& Map();
};

/// A pen, brush, bitmap, region or palette.
class CVCORE_API SGdiObject : public SWrapped<SGdiObject, HGDIOBJ> {
    S_DECLARE_DYNCREATE(SGdiObject)
public:
    static void End(HGDIOBJ handle) noexcept;
    static SHandleMap<HGDIOBJ, SGdiObject>& Map();
};

/// A font.
class CVCORE_API SFontOld : public SWrapped<SFontOld, HFONT> {
    S_DECLARE_DYNCREATE(SFontOld)
public:
    static void End(HFONT handle) noexcept;
    static SHandleMap<HFONT, SFontOld>& Map();
};

/// A list of pictures of one size.
class CVCORE_API SImageList : public SWrapped<SImageList, HIMAGELIST> {
    S_DECLARE_DYNCREATE(SImageList)
public:
    static void End(HIMAGELIST handle) noexcept;
    static SHandleMap<HIMAGELIST, SImageList>& Map();
};

#endif
