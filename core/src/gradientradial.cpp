// gradientradial.cpp: gradients around a point.
#include "gradientshape.h"

using namespace Gdiplus;

namespace {

typedef SDrawGradient G;

constexpr G::GRADIENT_MODE kSwappedCenter = static_cast<G::GRADIENT_MODE>(G::GRADIENT_CENTER + 1);

// Halfway between two coordinates; the sum of two of 32 bits may need more.
long Middle(long a, long b) noexcept
{
    return static_cast<long>((static_cast<long long>(a) + b) >> 1);
}

} // namespace

void SDrawGradient::DrawCenterGradientEx(SDC& dc, const SRect& outer, const SRect& inner, COLORREF c1,
                                         COLORREF c2, GRADIENT_MODE mode, FRAME_TYPE frame) const
{
    const GradientShape shape(*this, outer, Resolved(frame), dc.GetHandle());
    const SRect focus = inner.Normalized();
    if (!IsPaintable(focus) || !shape.CanBePainted())
        return;
    const bool swap = mode == kSwappedCenter;
    const COLORREF surround = swap ? c2 : c1;

    SGraphicsPath path;
    if (!shape.AddTo(path))
        return;
    PathGradientBrush brush(&path);
    if (brush.GetLastStatus() != Ok)
        return;
    const Color rim = ToColor(surround);
    INT one = 1;
    brush.SetSurroundColors(&rim, &one);
    brush.SetCenterColor(ToColor(swap ? c1 : c2));
    brush.SetCenterPoint(Gdiplus::Point(Middle(focus.left, focus.right), Middle(focus.top, focus.bottom)));
    if (!focus.IsEmpty())
        brush.SetFocusScales(static_cast<REAL>(focus.Width()) / static_cast<REAL>(shape.Rect().Width()),
                             static_cast<REAL>(focus.Height()) / static_cast<REAL>(shape.Rect().Height()));
    if (dc.IsMetafile())
        shape.DrawPlain(surround);
    SGraphics graphics(dc);
    if (graphics.GetLastStatus() == Ok)
        graphics.FillPath(&brush, &path);
}

void SDrawGradient::DrawCenterGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2,
                                       GRADIENT_MODE mode, FRAME_TYPE frame) const
{
    const long x = Middle(rect.left, rect.right), y = Middle(rect.top, rect.bottom);
    DrawCenterGradientEx(dc, rect, SRect(x, y, x, y), c1, c2, mode, frame);
}

void SDrawGradient::DrawCornerGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2,
                                       GRADIENT_MODE mode, FRAME_TYPE frame) const
{
    if (mode < GRADIENT_CORNER || mode > GRADIENT_CORNER + 3)
        return;
    const int corner = mode - GRADIENT_CORNER;
    const long x = corner == 0 || corner == 3 ? rect.right : rect.left;
    const long y = corner == 0 || corner == 1 ? rect.bottom : rect.top;
    DrawCenterGradientEx(dc, rect, SRect(x, y, x, y), c1, c2, GRADIENT_CENTER, frame);
}

void SDrawGradient::Draw3DGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                                   FRAME_TYPE frame) const
{
    if (mode < GRADIENT_3D || mode > GRADIENT_3D + 3 || !IsPaintable(rect))
        return;
    const int corner = mode - GRADIENT_3D;
    const long toX = corner == 1 || corner == 2 ? rect.right : rect.left;
    const long toY = corner == 2 || corner == 3 ? rect.bottom : rect.top;
    const long x = Middle(Middle(rect.left, rect.right), toX);
    const long y = Middle(Middle(rect.top, rect.bottom), toY);
    constexpr long kOfTheSize = 20;
    long width = rect.Width() / kOfTheSize, height = rect.Height() / kOfTheSize;
    if (ScaleSize(dc, width) && ScaleSize(dc, height))
        DrawCenterGradientEx(dc, rect, SRect(x - width, y - height, x + width, y + height), c1, c2,
                             GRADIENT_CENTER, frame);
}
