// gradientlinear.cpp: gradients along a line.
#include "gradientshape.h"

#include <cmath>
#include <iterator>
#include <memory>

using namespace Gdiplus;

namespace {

typedef SDrawGradient G;

// Brightens the middle of the run.
constexpr REAL kFactors[] = { 0.0f, 0.25f, 0.55f, 0.83f, 1.0f };
constexpr REAL kPositions[] = { 0.0f, 0.25f, 0.5f, 0.75f, 1.0f };
static_assert(std::size(kFactors) == std::size(kPositions));

// The two points between which the colours of a diagonal run, over a rectangle that lies one pixel outside
// the shape.
struct DiagonalRun {
    Gdiplus::Point from, to;

    DiagonalRun(const Gdiplus::Rect& over, bool up, bool mirror)
    {
        // The far corner, projected on the normal of the diagonal.
        const double angle = std::atan2(over.Height, over.Width);
        const double twice = 2.0 * over.Height * std::cos(angle);
        const int dx = static_cast<int>(twice * std::sin(angle));
        const int dy = static_cast<int>(twice * std::cos(angle));
        from = Gdiplus::Point(over.X, up ? over.Y : over.Y + over.Height);
        to = Gdiplus::Point(from.X + dx, up ? over.Y + dy : over.Y + over.Height - dy);
        if (!mirror)
            return;
        to.X = (dx + 2 * from.X) / 2;
        to.Y = up ? (dy + 2 * from.Y) / 2 : (to.Y + from.Y) / 2;
    }
};

// Fills with a brush that runs from start to end once, or to the middle and back.
void FillWith(LinearGradientBrush& brush, SDC& dc, const GradientShape& shape, COLORREF end, bool mirror,
              int kind)
{
    if (brush.GetLastStatus() != Ok)
        return;
    if (mirror)
        brush.SetWrapMode(WrapModeTileFlipX);
    brush.SetBlend(kFactors, kPositions, static_cast<INT>(std::size(kFactors)));
    FillShape(dc, shape, brush, BrushCover::Opaque, end, kind);
}

// What the four painters have in common.
void Paint(SDC& dc, const GradientShape& shape, COLORREF c1, COLORREF c2, int direction, int mode)
{
    if (!(mode & direction))
        return;
    const bool invert = mode & G::GRADIENT_INVERT;
    PaintLinear(dc, shape, invert ? c2 : c1, invert ? c1 : c2, direction, mode & G::GRADIENT_MIRROR,
                KindOf(mode));
}

} // namespace

void PaintLinear(SDC& dc, const GradientShape& shape, COLORREF start, COLORREF end, int direction,
                 bool mirror, int kind)
{
    if (!shape.CanBePainted() || !SGraphics::Startup())
        return;
    // One pixel outside the shape on every side: its edges show the end colours, not where the run begins
    // again.
    const SRect& rect = shape.Rect();
    Gdiplus::Rect over(rect.left - 1, rect.top - 1, rect.Width() + 2, rect.Height() + 2);
    const Color first = ToColor(start), last = ToColor(end);
    if (direction == G::GRADIENT_HORZ || direction == G::GRADIENT_VERT) {
        const bool down = direction == G::GRADIENT_HORZ;
        if (mirror)
            (down ? over.Height : over.Width) /= 2;
        LinearGradientBrush brush(over, first, last,
                                  down ? LinearGradientModeVertical : LinearGradientModeHorizontal);
        FillWith(brush, dc, shape, end, mirror, kind);
    } else {
        const DiagonalRun run(over, direction == G::GRADIENT_DIAGUP, mirror);
        LinearGradientBrush brush(run.from, run.to, first, last);
        FillWith(brush, dc, shape, end, mirror, kind);
    }
}

void SDrawGradient::DrawHorzGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                                     FRAME_TYPE frame) const
{
    Paint(dc, GradientShape(*this, rect, Resolved(frame), dc.GetHandle()), c1, c2, GRADIENT_HORZ, mode);
}

void SDrawGradient::DrawVertGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                                     FRAME_TYPE frame) const
{
    Paint(dc, GradientShape(*this, rect, Resolved(frame), dc.GetHandle()), c1, c2, GRADIENT_VERT, mode);
}

void SDrawGradient::DrawDiagUpGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2,
                                       GRADIENT_MODE mode, FRAME_TYPE frame) const
{
    Paint(dc, GradientShape(*this, rect, Resolved(frame), dc.GetHandle()), c1, c2, GRADIENT_DIAGUP, mode);
}

void SDrawGradient::DrawDiagDownGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2,
                                         GRADIENT_MODE mode, FRAME_TYPE frame) const
{
    Paint(dc, GradientShape(*this, rect, Resolved(frame), dc.GetHandle()), c1, c2, GRADIENT_DIAGDOWN, mode);
}
