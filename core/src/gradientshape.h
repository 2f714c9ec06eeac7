// gradientshape.h: what a gradient is painted into, for all that is done with it: filled, made a path of,
// clipped to, outlined.
#ifndef GRADIENTSHAPE_H
#define GRADIENTSHAPE_H

#include "gradient.h"

class GradientShape {
public:
    /// The shape of a frame type over a rectangle; corners, points and so on are those of `fields`. A path is
    /// the device context's. Any edges will do.
    GradientShape(const SDrawGradient& fields, const SRect& rect, SDrawGradient::FRAME_TYPE frame, HDC dc);

    /// The same over another rectangle; polygons and paths are moved and scaled to it.
    GradientShape FittedTo(const SRect& rect) const;

    /// Whether there is something to paint, in numbers that GDI+ can calculate with.
    bool CanBePainted() const;

    const SRect& Rect() const { return m_rect; }
    SDrawGradient::FRAME_TYPE Frame() const { return m_frame; }

    /// Fills it through GDI+.
    void Fill(SGraphics& graphics, const Gdiplus::Brush& brush) const;
    /// Adds it to a path; false when that failed.
    bool AddTo(SGraphicsPath& path) const;

    /// What stands for it where only records of GDI are read: rectangle and ellipse as an outline, the others
    /// filled, paths not.
    void DrawPlain(COLORREF color) const;
    /// The outline of the rectangle, whatever the shape.
    void DrawBox(COLORREF color) const;

    /// Clips to it; leaves nothing to paint on when it cannot be made.
    void Clip(SDC& dc) const;

private:
    HRGN MakeRegion() const;
    long CornerWidth() const;
    long CornerHeight() const;

    SDrawGradient::FRAME_TYPE m_frame;
    const SDrawGradient& m_fields;
    SRect m_rect;  // of the shape
    SRect m_whole; // what polygon and path were made for
    HDC m_dc;
};

/// GDI+ calculates with floats, which know each pixel up to here; and no sum of such numbers overflows.
constexpr long kPaintableLimit = 1L << 24;

inline bool IsPaintable(long long coordinate) noexcept
{
    return coordinate >= -kPaintableLimit && coordinate <= kPaintableLimit;
}
bool IsPaintable(const RECT& rect) noexcept;

inline Gdiplus::Color ToColor(COLORREF color) noexcept
{
    return Gdiplus::Color(GetRValue(color), GetGValue(color), GetBValue(color));
}
inline Gdiplus::Rect ToRect(const SRect& rect) noexcept
{
    return Gdiplus::Rect(rect.left, rect.top, rect.Width(), rect.Height());
}

constexpr int KindOf(int mode) noexcept
{
    return mode & 0xFFF0;
}

/// Whether all of a brush's colours are known to be opaque.
enum class BrushCover { Unknown, Opaque };

/// Fills a shape with a brush, behind its outline where the device context is a metafile and the kind has
/// one.
void FillShape(SDC& dc, const GradientShape& shape, const Gdiplus::Brush& brush, BrushCover cover,
               COLORREF outline, int kind);

/// A linear gradient: laid out over the shape's rectangle in one of the four directions, with GRADIENT_MIRROR
/// or not. `kind` is that of the whole picture.
void PaintLinear(SDC& dc, const GradientShape& shape, COLORREF start, COLORREF end, int direction,
                 bool mirror, int kind);

#endif
