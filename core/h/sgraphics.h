// sgraphics.h: SGraphics and SGraphicsPath, GDI+ on a device context, with the shapes that GDI has and GDI+
// has not.
//
//     SGraphics graphics(dc);
//     Gdiplus::SolidBrush red(Gdiplus::Color(255, 0, 0));
//     graphics.FillRoundRect(red, Gdiplus::Rect(10, 10, 100, 40), 16, 16);
//
// Both are the platform's own classes, so that everything of GDI+ can be done with them; a client that calls
// more than what stands here links gdiplus itself. The first one that is made starts GDI+. It is stopped when
// the application object goes, or by Shutdown, and started again by the next use.
//
// Value    neither is copied; each owns its GDI+ object. The device context stays its owner's and must
//          outlive the SGraphics.
// Threads  the user-interface thread.
// Failure  nothing throws. As usual with GDI+ each call returns a status; on an object that could not be made
//          all calls fail.
// Cost     that of GDI+; a path with arcs or from a device context allocates once.
#ifndef SGRAPHICS_H
#define SGRAPHICS_H

#include "sgdi.h"
#include "sgeom.h"

#include <windows.h>
#include <objidl.h>

#include <gdiplus.h>

/// A surface of GDI+ over a device context, measured in pixels.
class CVCORE_API SGraphics : public Gdiplus::Graphics {
public:
    explicit SGraphics(HDC dc);
    explicit SGraphics(const SDC& dc) : SGraphics(dc.GetHandle()) {}
    ~SGraphics();
    SGraphics(const SGraphics&) = delete;
    SGraphics& operator=(const SGraphics&) = delete;

    /// Starts GDI+ unless it runs, for whoever uses the platform's classes directly. 1 when it runs
    /// afterwards.
    static int Startup() noexcept;
    /// Stops GDI+ when Startup had started it. No object of GDI+ may live any more. Never call it from
    /// DllMain.
    static void Shutdown() noexcept;

    using Gdiplus::Graphics::FillPie;
    /// A rectangle whose corners are quarters of an ellipse of that size, cut to that of the rectangle, signs
    /// ignored.
    Gdiplus::Status FillRoundRect(const Gdiplus::Brush& brush, const Gdiplus::Rect& rect, long cornerWidth,
                                  long cornerHeight);
    /// What GDI's Pie outlines: counter-clockwise from the line through `start` to that through `end`; the
    /// whole ellipse when they are one.
    Gdiplus::Status FillPie(const Gdiplus::Brush& brush, const Gdiplus::Rect& rect, const POINT& start,
                            const POINT& end);
    /// The closed path that a device context holds; it keeps it. InvalidParameter when there is none.
    Gdiplus::Status FillDCPath(const Gdiplus::Brush& brush, HDC dc);
};

/// A path of GDI+.
class CVCORE_API SGraphicsPath : public Gdiplus::GraphicsPath {
public:
    explicit SGraphicsPath(Gdiplus::FillMode mode = Gdiplus::FillModeAlternate);
    ~SGraphicsPath();
    SGraphicsPath(const SGraphicsPath&) = delete;
    SGraphicsPath& operator=(const SGraphicsPath&) = delete;

    using Gdiplus::GraphicsPath::AddPie;
    /// The three shapes of SGraphics as figures.
    Gdiplus::Status AddRoundRect(const Gdiplus::Rect& rect, long cornerWidth, long cornerHeight);
    Gdiplus::Status AddPie(const Gdiplus::Rect& rect, const POINT& start, const POINT& end);
    /// Also takes over how the device context fills polygons.
    Gdiplus::Status AddDCPath(HDC dc);
    /// Moves and scales what is in it as `from`, not empty, to `to`.
    Gdiplus::Status Fit(const SRect& from, const SRect& to);
};

#endif
