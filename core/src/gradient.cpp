// gradient.cpp: the fields of a gradient, which painter they call, and the tools.
#include "gradientshape.h"

namespace {

constexpr double kFullScale = 100.0;
// Beyond 10,000-fold a border has no picture to be in.
constexpr double kLargestScale = 10000 * kFullScale;

BYTE MediumChannel(BYTE from, BYTE to, int pos, int total) noexcept
{
    const long long step = static_cast<long long>(to - from) * pos / total;
    // The half comes too late to round: it changes steps below zero only. That bias is promised.
    return static_cast<BYTE>(from + static_cast<long long>(static_cast<double>(step) + 0.5));
}

} // namespace

SDrawGradient::SDrawGradient()
    : m_mode(),
      m_frameType(FRAME_RECT),
      m_color1(RGB(0xFF, 0xFF, 0xFF)),
      m_color2(RGB(0x76, 0x76, 0x76)),
      m_roundWidth(0),
      m_roundHeight(0),
      m_zoom(kFullScale),
      m_polyCount(0),
      m_polyPoints(nullptr),
      m_polyFillMode(ALTERNATE)
{}

SDrawGradient::SDrawGradient(const SRect& rect, const SRect& inner, COLORREF c1, COLORREF c2,
                             GRADIENT_MODE mode, FRAME_TYPE frame)
    : SDrawGradient()
{
    SetGradient(rect, inner, c1, c2, mode, frame);
}

void SDrawGradient::SetGradient(const SRect& rect, const SRect& inner, COLORREF c1, COLORREF c2,
                                GRADIENT_MODE mode, FRAME_TYPE frame)
{
    m_rect = rect;
    m_rectInner = inner;
    m_color1 = c1;
    m_color2 = c2;
    m_mode = mode;
    m_frameType = frame;
}

void SDrawGradient::SetGradient(const SRect& rect, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                                FRAME_TYPE frame)
{
    SetGradient(rect, rect, c1, c2, mode, frame);
}

void SDrawGradient::DrawGradient(SDC& dc) const
{
    switch (KindOf(m_mode)) {
    case GRADIENT_HORZ: DrawHorzGradient(dc, m_rect, m_color1, m_color2, m_mode); break;
    case GRADIENT_VERT: DrawVertGradient(dc, m_rect, m_color1, m_color2, m_mode); break;
    case GRADIENT_DIAGUP: DrawDiagUpGradient(dc, m_rect, m_color1, m_color2, m_mode); break;
    case GRADIENT_DIAGDOWN: DrawDiagDownGradient(dc, m_rect, m_color1, m_color2, m_mode); break;
    case GRADIENT_CORNER: DrawCornerGradient(dc, m_rect, m_color1, m_color2, m_mode); break;
    case GRADIENT_CENTER: DrawCenterGradient(dc, m_rect, m_color1, m_color2, m_mode); break;
    case GRADIENT_BUTTON: DrawButtonGradient(dc, m_rect, m_color1, m_mode); break;
    case GRADIENT_3D: Draw3DGradient(dc, m_rect, m_color1, m_color2, m_mode); break;
    case GRADIENT_GRADBUTTON: DrawGradButtonGradient(dc, m_rect, m_color1, m_color2, m_mode); break;
    default: break;
    }
}

void SDrawGradient::FillGradient(SDC& dc, const Gdiplus::Brush& brush, const Gdiplus::Rect& rect,
                                 const Gdiplus::Color&, const Gdiplus::Color& end) const
{
    const long long right = static_cast<long long>(rect.X) + rect.Width;
    const long long bottom = static_cast<long long>(rect.Y) + rect.Height;
    if (!IsPaintable(right) || !IsPaintable(bottom))
        return;
    const SRect edges(rect.X, rect.Y, static_cast<int>(right), static_cast<int>(bottom));
    FillShape(dc, GradientShape(*this, edges, m_frameType, dc.GetHandle()), brush, BrushCover::Unknown,
              end.ToCOLORREF(), KindOf(m_mode));
}

int SDrawGradient::SetClipping(SDC& dc, const SRect& rect) const
{
    return Clip(dc, rect, m_frameType);
}

COLORREF SDrawGradient::GetMediumColor(COLORREF c1, COLORREF c2, int pos, int total)
{
    if (total == 0 || pos == 0 || c1 == c2)
        return c1;
    if (pos == total)
        return c2;
    return RGB(MediumChannel(GetRValue(c1), GetRValue(c2), pos, total),
               MediumChannel(GetGValue(c1), GetGValue(c2), pos, total),
               MediumChannel(GetBValue(c1), GetBValue(c2), pos, total));
}

// ---- What the painters share ----

double SDrawGradient::ScaleFor(const SDC& dc) const
{
    return dc.IsPrinting() ? dc.GetPrinterScaleFactor() : m_zoom;
}

// Scales a size in pixels; false when there is no sense in the scale or the result.
bool SDrawGradient::ScaleSize(const SDC& dc, long& size) const
{
    const double scale = ScaleFor(dc);
    if (!(scale > 0 && scale <= kLargestScale))
        return false;
    const double scaled = size * scale / kFullScale;
    if (!(scaled >= -kPaintableLimit && scaled <= kPaintableLimit))
        return false;
    size = static_cast<long>(scaled);
    return true;
}

SDrawGradient::FRAME_TYPE SDrawGradient::Resolved(FRAME_TYPE frame) const
{
    return frame == FRAME_OWN ? m_frameType : frame;
}

int SDrawGradient::Clip(SDC& dc, const SRect& rect, FRAME_TYPE frame) const
{
    const int saved = dc.SaveDC();
    if (saved != 0)
        GradientShape(*this, rect, frame, dc.GetHandle()).Clip(dc);
    return saved;
}
