// gradientshape.cpp: what a gradient is painted into.
#include "gradientshape.h"

#include "gdiowner.h"

using namespace Gdiplus;

namespace {

typedef SDrawGradient G;

constexpr int kOutlineWidth = 2;

// Regions with curved edges hold a rectangle for each row, and there are systems that never finish one of a
// million rows.
constexpr int kCurvedRegionLimit = 1 << 18;

// GDI+ has its own name for the same two numbers.
static_assert(sizeof(Gdiplus::Point) == sizeof(POINT));
const Gdiplus::Point* ToPoints(const POINT* points) noexcept
{
    return reinterpret_cast<const Gdiplus::Point*>(points);
}

// Systems differ in what they make of corners with a sign or near the limits of a long.
long Corner(long size) noexcept
{
    if (size < -kPaintableLimit || size > kPaintableLimit)
        return kPaintableLimit;
    return size < 0 ? -size : size;
}

bool IsPolygon(const SDrawGradient& fields) noexcept
{
    if (!fields.m_polyPoints || fields.m_polyCount < 3)
        return false;
    for (long i = 0; i < fields.m_polyCount; ++i) {
        const POINT& corner = fields.m_polyPoints[i];
        if (!IsPaintable(corner.x) || !IsPaintable(corner.y))
            return false;
    }
    return true;
}

} // namespace

bool IsPaintable(const RECT& rect) noexcept
{
    return IsPaintable(rect.left) && IsPaintable(rect.top) && IsPaintable(rect.right) &&
           IsPaintable(rect.bottom);
}

GradientShape::GradientShape(const SDrawGradient& fields, const SRect& rect, SDrawGradient::FRAME_TYPE frame,
                             HDC dc)
    : m_frame(frame >= G::FRAME_ELLIPSE && frame <= G::FRAME_PATH ? frame : G::FRAME_RECT),
      m_fields(fields),
      m_rect(rect.Normalized()),
      m_whole(m_rect),
      m_dc(dc)
{}

GradientShape GradientShape::FittedTo(const SRect& rect) const
{
    GradientShape fitted(*this);
    fitted.m_rect = rect.Normalized();
    return fitted;
}

bool GradientShape::CanBePainted() const
{
    if (!IsPaintable(m_rect) || m_rect.IsEmpty())
        return false;
    if (m_frame == G::FRAME_POLYGON)
        return IsPolygon(m_fields);
    return m_frame != G::FRAME_PATH || ::GetPath(m_dc, nullptr, nullptr, 0) > 0;
}

void GradientShape::Fill(SGraphics& graphics, const Brush& brush) const
{
    const bool fitted = m_rect != m_whole;
    if (fitted && (m_frame == G::FRAME_POLYGON || m_frame == G::FRAME_PATH)) {
        SGraphicsPath path;
        if (AddTo(path))
            graphics.FillPath(&brush, &path);
        return;
    }
    const Gdiplus::Rect rect = ToRect(m_rect);
    switch (m_frame) {
    case G::FRAME_ELLIPSE: graphics.FillEllipse(&brush, rect); break;
    case G::FRAME_ROUNDRECT: graphics.FillRoundRect(brush, rect, CornerWidth(), CornerHeight()); break;
    case G::FRAME_PIE: graphics.FillPie(brush, rect, m_fields.m_pieStart, m_fields.m_pieEnd); break;
    case G::FRAME_POLYGON:
        graphics.FillPolygon(&brush, ToPoints(m_fields.m_polyPoints), m_fields.m_polyCount,
                             FillModeAlternate);
        break;
    case G::FRAME_PATH: graphics.FillDCPath(brush, m_dc); break;
    default: graphics.FillRectangle(&brush, rect); break;
    }
}

bool GradientShape::AddTo(SGraphicsPath& path) const
{
    const Gdiplus::Rect rect = ToRect(m_rect);
    Status added;
    switch (m_frame) {
    case G::FRAME_ELLIPSE: return path.AddEllipse(rect) == Ok;
    case G::FRAME_ROUNDRECT: return path.AddRoundRect(rect, CornerWidth(), CornerHeight()) == Ok;
    case G::FRAME_PIE: return path.AddPie(rect, m_fields.m_pieStart, m_fields.m_pieEnd) == Ok;
    case G::FRAME_POLYGON:
        added = path.AddPolygon(ToPoints(m_fields.m_polyPoints), m_fields.m_polyCount);
        break;
    case G::FRAME_PATH: added = path.AddDCPath(m_dc); break;
    default: return path.AddRectangle(rect) == Ok;
    }
    return added == Ok && (m_rect == m_whole || path.Fit(m_whole, m_rect) == Ok);
}

void GradientShape::DrawPlain(COLORREF color) const
{
    const bool outlined = m_frame == G::FRAME_RECT || m_frame == G::FRAME_ELLIPSE;
    if (m_frame == G::FRAME_RECT) {
        DrawBox(color);
    } else if (m_frame != G::FRAME_PATH) {
        const GdiOwner<HPEN> pen(outlined ? ::CreatePen(PS_SOLID, kOutlineWidth, color) : nullptr);
        const GdiOwner<HBRUSH> brush(outlined ? nullptr : ::CreateSolidBrush(color));
        if (!pen.Get() && !brush.Get())
            return;
        const GdiSelection drawn(m_dc, outlined ? pen.Get() : ::GetStockObject(NULL_PEN));
        const GdiSelection filled(m_dc, outlined ? ::GetStockObject(NULL_BRUSH) : brush.Get());
        const SRect& r = m_rect;
        const POINT &from = m_fields.m_pieStart, &to = m_fields.m_pieEnd;
        if (m_frame == G::FRAME_ELLIPSE)
            ::Ellipse(m_dc, r.left + 1, r.top + 1, r.right, r.bottom);
        else if (m_frame == G::FRAME_ROUNDRECT)
            ::RoundRect(m_dc, r.left, r.top, r.right, r.bottom, CornerWidth(), CornerHeight());
        else if (m_frame == G::FRAME_PIE)
            ::Pie(m_dc, r.left, r.top, r.right, r.bottom, from.x, from.y, to.x, to.y);
        else
            ::Polygon(m_dc, m_fields.m_polyPoints, m_fields.m_polyCount);
    }
}

void GradientShape::DrawBox(COLORREF color) const
{
    const GdiOwner<HPEN> pen(::CreatePen(PS_SOLID, kOutlineWidth, color));
    if (!pen.Get())
        return;
    const GdiSelection drawn(m_dc, pen.Get());
    const GdiSelection filled(m_dc, ::GetStockObject(NULL_BRUSH));
    ::Rectangle(m_dc, m_rect.left + 1, m_rect.top + 1, m_rect.right, m_rect.bottom);
}

long GradientShape::CornerWidth() const
{
    return Corner(m_fields.m_roundWidth);
}

long GradientShape::CornerHeight() const
{
    return Corner(m_fields.m_roundHeight);
}

HRGN GradientShape::MakeRegion() const
{
    const SRect& r = m_rect;
    const bool curved =
        m_frame == G::FRAME_ELLIPSE || m_frame == G::FRAME_ROUNDRECT || m_frame == G::FRAME_PIE;
    if (curved && (r.Width() > kCurvedRegionLimit || r.Height() > kCurvedRegionLimit))
        return nullptr;
    switch (m_frame) {
    case G::FRAME_ELLIPSE:
    case G::FRAME_PIE: return ::CreateEllipticRgn(r.left, r.top, r.right + 1, r.bottom + 1);
    case G::FRAME_ROUNDRECT:
        return ::CreateRoundRectRgn(r.left, r.top, r.right + 1, r.bottom + 1, CornerWidth(), CornerHeight());
    case G::FRAME_POLYGON:
        return ::CreatePolygonRgn(m_fields.m_polyPoints, m_fields.m_polyCount, m_fields.m_polyFillMode);
    default: return ::CreateRectRgn(r.left, r.top, r.right, r.bottom);
    }
}

void GradientShape::Clip(SDC& dc) const
{
    bool clipped = false;
    if (CanBePainted()) {
        if (m_frame == G::FRAME_PATH) {
            clipped = dc.SelectClipPath(RGN_AND) != 0;
        } else {
            const GdiOwner<HRGN> region(MakeRegion());
            clipped = region.Get() && dc.SelectClipRgn(region.Get(), RGN_AND) != ERROR;
        }
        if (clipped && m_frame == G::FRAME_PIE) {
            const POINT &a = m_fields.m_pieStart, &b = m_fields.m_pieEnd;
            const GdiOwner<HRGN> box(::CreateRectRgn(a.x, a.y, b.x, b.y));
            clipped = box.Get() && dc.SelectClipRgn(box.Get(), RGN_AND) != ERROR;
        }
    }
    if (!clipped)
        ::IntersectClipRect(dc.GetHandle(), 0, 0, 0, 0);
}

void FillShape(SDC& dc, const GradientShape& shape, const Brush& brush, BrushCover cover, COLORREF outline,
               int kind)
{
    if (!shape.CanBePainted())
        return;
    constexpr int kOutlined = G::GRADIENT_DIAGUP | G::GRADIENT_DIAGDOWN | G::GRADIENT_CORNER |
                              G::GRADIENT_CENTER | G::GRADIENT_BUTTON;
    const bool oneKind = (kind & (kind - 1)) == 0;
    const bool recorded = dc.IsMetafile();
    if (oneKind && (kind & kOutlined) && recorded)
        shape.DrawBox(outline);
    SGraphics graphics(dc);
    if (graphics.GetLastStatus() != Ok)
        return;
    // The same picture, in a tenth less time: what is below is not asked for.
    if (cover == BrushCover::Opaque && !recorded)
        graphics.SetCompositingMode(CompositingModeSourceCopy);
    shape.Fill(graphics, brush);
}
