// sgdi.h: device contexts, GDI objects, fonts and image lists as objects.
//
// Each is a value of the system's with an owner: attached to a handle it ends that handle with itself, made by FromHandle it is
// temporary and does not. Threads: the user-interface thread.
#ifndef SGDI_H
#define SGDI_H

#include "swrap.h"

#include <commctrl.h>

/// A device context, ended by DeleteDC; one from GetDC is to be detached and released. What is painted goes to its handle; what
/// is asked may go to another one, as when a preview paints on the screen with the metrics of a printer.
class CVCORE_API SDC : public SWrapped<SDC, HDC> {
    S_DECLARE_DYNCREATE(SDC)
public:
    static void End(HDC handle) noexcept;
    static SHandleMap<HDC, SDC>& Map();

    /// The handle that is asked; the one that is painted on unless there was set another.
    HDC GetAttribHandle() const { return m_attrib ? m_attrib : GetHandle(); }
    /// Stays the caller's; null for none of its own.
    void SetAttribHandle(HDC handle) { m_attrib = handle; }

    /// Whether what is painted is recorded: a metafile of either kind.
    virtual int IsMetafile() const;
    int IsPrinting() const { return m_printing; }
    /// How large a pixel of the screen is on the printer, in percent; 100 when nothing is printed.
    double GetPrinterScaleFactor() const { return m_printing ? m_printerScale : 100.0; }
    /// From now on this prints, at that scale.
    void SetPrinting(double scalePercent);
    void EndPrinting() { m_printing = 0; }

    /// Saves the state of both handles. Returns what RestoreDC takes, 0 when the system refused.
    int SaveDC();
    /// Restores what SaveDC saved, and drops what was saved since. 0 when there is no such state.
    int RestoreDC(int saved);
    /// Combines the clipping of both handles with a region of the caller's (RGN_AND, ...). Returns the kind of the clipping, ERROR
    /// when it was left as it was.
    int SelectClipRgn(HRGN region, int mode);
    /// The same with the path of the handle that is painted on, which uses it up.
    int SelectClipPath(int mode);

private:
    bool HasOwnAttrib() const { return m_attrib && m_attrib != GetHandle(); }

    HDC m_attrib = nullptr;
    int m_printing = 0;
    double m_printerScale = 100.0;
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
