// gradientbutton.cpp: buttons: bevelled, of glass, and with a gradient in a gradient's frame.
#include "gradientshape.h"

#include "crash.h"

#include <iterator>

using namespace Gdiplus;

namespace {

typedef SDrawGradient G;

constexpr COLORREF kBlack = RGB(0, 0, 0), kWhite = RGB(0xFF, 0xFF, 0xFF);

// Pixels, by variant.
constexpr long kBorders[] = { 4, 6, 8, 10, 12, 16, 20, 24 };
constexpr int kFirstGlass = 4;
constexpr int kRimToBlack = 60; // percent

// The sheen of glass, from the upper edge to the middle.
constexpr ARGB kSheenTop = 0xC0FFFFFF, kSheenEnd = 0x20E0F5FF;
// How far the light at the lower edge goes to white, in percent, by variant from the first glass one.
constexpr int kLightToWhite[] = { 20, 40, 60, 60 };
// The last variant's light is half an ellipse; it needs a band that is higher.
constexpr int kGlowVariant = 7;
constexpr long kGlowHeight = 20;

constexpr long kGradFrame = 4; // pixels

struct Borders {
    long width, height;

    void LimitTo(const SRect& rect)
    {
        const long halfWidth = rect.Width() >> 1, halfHeight = rect.Height() >> 1;
        width = width < halfWidth ? width : halfWidth;
        height = height < halfHeight ? height : halfHeight;
    }

    // The border of a polygon or path is the shape itself, smaller: it has to keep its proportions.
    void KeepAspect(const SRect& rect, G::FRAME_TYPE frame)
    {
        if (frame != G::FRAME_POLYGON && frame != G::FRAME_PATH)
            return;
        const long long x = rect.Width(), y = rect.Height();
        if (x < y && x > 0)
            height = static_cast<long>(y * width / x);
        else if (y > 0)
            width = static_cast<long>(x * height / y);
    }
};

// Fills a band from side to side, one pixel of the run on each side outside of it.
void FillBand(SGraphics& graphics, const SRect& band, const Color& top, const Color& bottom)
{
    if (band.IsEmpty())
        return;
    const Gdiplus::Rect over(band.left - 1, band.top - 1, band.Width() + 2, band.Height() + 2);
    LinearGradientBrush brush(over, top, bottom, LinearGradientModeVertical);
    graphics.FillRectangle(&brush, ToRect(band));
}

// A light that comes up from the middle of the lower edge.
void FillGlow(SGraphics& graphics, const SRect& rect, long height, COLORREF color, COLORREF light)
{
    SGraphicsPath dome;
    dome.AddPie(Gdiplus::Rect(rect.left, rect.bottom - height / 2, rect.Width(), height), -180, 180);
    PathGradientBrush brush(&dome);
    if (brush.GetLastStatus() != Ok)
        return;
    const Color rim = ToColor(color);
    INT one = 1;
    brush.SetSurroundColors(&rim, &one);
    brush.SetCenterColor(ToColor(light));
    brush.SetCenterPoint(Gdiplus::Point((rect.left + rect.right) >> 1, rect.bottom));
    graphics.FillPath(&brush, &dome);
}

} // namespace

void SDrawGradient::DrawButtonGradient(SDC& dc, const SRect& rect, COLORREF color, GRADIENT_MODE mode,
                                       FRAME_TYPE frame) const
{
    if (mode < GRADIENT_BUTTON || mode >= GRADIENT_BUTTON + static_cast<int>(std::size(kBorders)))
        return;
    const int variant = mode - GRADIENT_BUTTON;
    const GradientShape shape(*this, rect, Resolved(frame), dc.GetHandle());
    const SRect& whole = shape.Rect();
    if (!shape.CanBePainted())
        return;
    Borders border = { kBorders[variant], kBorders[variant] };
    border.LimitTo(whole);
    if (!ScaleSize(dc, border.width) || !ScaleSize(dc, border.height))
        return;
    border.KeepAspect(whole, shape.Frame());

    const bool clipped = variant >= kFirstGlass && shape.Frame() != FRAME_RECT;
    // A fault inside GDI+ skips destructors, so the clipping is undone out here.
    const int saved = clipped ? Clip(dc, whole, shape.Frame()) : 0;
    if (clipped && saved == 0)
        return;
    try {
        SRunGuarded([&] {
            if (variant >= kFirstGlass) {
                DrawGlass(dc, whole, color, variant, border.height);
                return;
            }
            SRect face = whole;
            face.Deflate(border.width, border.height);
            DrawCenterGradientEx(dc, whole, face, GetMediumColor(color, kBlack, kRimToBlack, 100), color,
                                 GRADIENT_CENTER, shape.Frame());
        });
    }
    catch (...) { // the guard has logged a fault; a picture is not worth more
    }
    if (saved != 0)
        dc.RestoreDC(saved);
}

void SDrawGradient::DrawGlass(SDC& dc, const SRect& rect, COLORREF color, int variant, long band) const
{
    if (!SGraphics::Startup())
        return;
    const SolidBrush body(ToColor(color));
    FillShape(dc, GradientShape(*this, rect, FRAME_RECT, dc.GetHandle()), body, BrushCover::Opaque, color,
              GRADIENT_BUTTON);
    SGraphics graphics(dc);
    if (graphics.GetLastStatus() != Ok)
        return;
    const long middle = rect.top + (rect.Height() + 1) / 2;
    FillBand(graphics, SRect(rect.left, rect.top, rect.right, middle), kSheenTop, kSheenEnd);

    const COLORREF light = GetMediumColor(color, kWhite, kLightToWhite[variant - kFirstGlass], 100);
    const long room = rect.bottom - middle;
    band = band < room ? band : room;
    long glow = kGlowHeight;
    if (variant == kGlowVariant && ScaleSize(dc, glow) && band > glow / 2)
        FillGlow(graphics, rect, glow, color, light);
    else
        FillBand(graphics, SRect(rect.left, rect.bottom - band, rect.right, rect.bottom), ToColor(color),
                 ToColor(light));
}

void SDrawGradient::DrawGradButtonGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2,
                                           GRADIENT_MODE mode, FRAME_TYPE frame) const
{
    constexpr GRADIENT_MODE kDirections[] = { GRADIENT_VERT, GRADIENT_HORZ, GRADIENT_DIAGUP,
                                              GRADIENT_DIAGDOWN };
    constexpr int kVariants = 2 * static_cast<int>(std::size(kDirections));
    if (mode <= GRADIENT_GRADBUTTON || mode > GRADIENT_GRADBUTTON + kVariants)
        return;
    const int variant = mode - GRADIENT_GRADBUTTON - 1;
    const GradientShape shape(*this, rect, Resolved(frame), dc.GetHandle());
    if (!shape.CanBePainted())
        return;
    Borders border = { kGradFrame, kGradFrame };
    if (!ScaleSize(dc, border.width) || !ScaleSize(dc, border.height))
        return;
    border.LimitTo(shape.Rect());
    border.KeepAspect(shape.Rect(), shape.Frame());

    const GRADIENT_MODE direction = kDirections[variant / 2];
    const bool exchanged = variant % 2 != 0;
    const COLORREF first = exchanged ? c2 : c1, last = exchanged ? c1 : c2;
    PaintLinear(dc, shape, first, last, direction, false, GRADIENT_GRADBUTTON);
    SRect face = shape.Rect();
    face.Deflate(border.width, border.height);
    PaintLinear(dc, shape.FittedTo(face), last, first, direction, false, GRADIENT_GRADBUTTON);
}
