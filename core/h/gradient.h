// gradient.h: SDrawGradient, which paints a change of colour into a shape: along a line, around a point, or
// as a button.
//
//     SDrawGradient sky;
//     sky.SetGradient(client, RGB(20, 60, 160), RGB(200, 225, 255), SDrawGradient::GRADIENT_HORZ,
//                     SDrawGradient::FRAME_RECT);
//     sky.DrawGradient(dc);
//
// DrawGradient paints what the fields say. The painters behind it can be called with a rectangle, colours and
// a mode of their own; everything else (corners, pie, polygon, zoom) still comes from the fields.
//
// Value    copies freely and owns nothing: m_polyPoints stays the caller's.
// Threads  the user-interface thread, as everything that paints.
// Failure  nothing is reported. What cannot be painted stays as it was (of two layers the first may be there
//          without the second), nothing leaks: no GDI+, no memory, no such kind; an empty rectangle; one
//          beyond 2^24 pixels; fewer than three corners; a device context without a path; for the kinds with a
//          border or a highlight also a scale that is not above 0 and at most 10,000-fold. A rectangle may be
//          given with its edges turned round.
// Cost     one fill of GDI+ for each layer, however many colours: one layer for most kinds, two for the
//          gradient button and up to four for the glass ones.
//
// In a metafile, an outline in one colour is recorded with plain GDI before what GDI+ records (GRADIENT_HORZ,
// GRADIENT_VERT and GRADIENT_GRADBUTTON have none), so that readers which drop the latter show where the
// shape is.
#ifndef GRADIENT_H
#define GRADIENT_H

#include "sgraphics.h"

class CVCORE_API SDrawGradient {
public:
    /// A kind, and with it options (linear kinds) or the number of a variant (the others).
    enum GRADIENT_MODE : int {
        GRADIENT_INVERT = 1, ///< option of linear kinds: the colours change places
        GRADIENT_MIRROR = 2, ///< option of linear kinds: to the second colour in the middle, then back

        GRADIENT_HORZ = 16,      ///< from top to bottom: the lines of equal colour lie
        GRADIENT_VERT = 32,      ///< from left to right
        GRADIENT_DIAGUP = 64,    ///< from the top left; the lines of equal colour rise with the diagonal
        GRADIENT_DIAGDOWN = 128, ///< from the bottom left; they fall with the other one
        /// Around a corner: +0 bottom right, +1 bottom left, +2 top left, +3 top right.
        GRADIENT_CORNER = 256,
        GRADIENT_CENTER = 512, ///< around the centre, which has the second colour; +1 the first
        /// In the first colour alone: bevelled with +0 to +3, glass with +4 to +7, wider with each number.
        GRADIENT_BUTTON = 1024,
        /// A sphere, lit from +0 top left, +1 top right, +2 bottom right, +3 bottom left.
        GRADIENT_3D = 2048,
        /// A frame around a face that runs the other way, +1 to +8: vertical, horizontal, diagonal up and
        /// down; the even ones with the colours exchanged. Without a variant: nothing.
        GRADIENT_GRADBUTTON = 4096
    };

    /// The shape. What is not named here is a rectangle.
    enum FRAME_TYPE : int {
        FRAME_OWN = -1, ///< as an argument: that of m_frameType
        FRAME_RECT = 1,
        FRAME_ELLIPSE = 2,
        FRAME_ROUNDRECT = 3, ///< with corners of m_roundWidth and m_roundHeight
        FRAME_PIE = 4,       ///< of the ellipse, counter-clockwise from m_pieStart to m_pieEnd
        FRAME_POLYGON = 5,   ///< m_polyPoints; the rectangle only lays out the colours
        FRAME_PATH = 6       ///< the closed path that the device context holds; likewise
    };

    /// Nothing: no kind, an empty rectangle, white to grey.
    SDrawGradient();
    /// The other fields as above.
    SDrawGradient(const SRect& rect, const SRect& inner, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                  FRAME_TYPE frame);

    /// Sets these fields and leaves the others.
    void SetGradient(const SRect& rect, const SRect& inner, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                     FRAME_TYPE frame);
    /// Both rectangles the same.
    void SetGradient(const SRect& rect, COLORREF c1, COLORREF c2, GRADIENT_MODE mode, FRAME_TYPE frame);

    /// Paints what the fields say; nothing when m_mode names no kind.
    void DrawGradient(SDC& dc) const;

    // ---- The painters. Each paints only modes of its kind ----

    void DrawHorzGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                          FRAME_TYPE frame = FRAME_OWN) const;
    void DrawVertGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                          FRAME_TYPE frame = FRAME_OWN) const;
    void DrawDiagUpGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                            FRAME_TYPE frame = FRAME_OWN) const;
    void DrawDiagDownGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                              FRAME_TYPE frame = FRAME_OWN) const;
    /// The corner has c2 whatever the mode.
    void DrawCornerGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                            FRAME_TYPE frame = FRAME_OWN) const;
    /// Any mode; the colours change places for 513.
    void DrawCenterGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                            FRAME_TYPE frame = FRAME_OWN) const;
    /// c1 at the shape over `outer`, c2 in the middle of `inner` and, when that has an area, in a copy of the
    /// shape as large as it. Any mode; the colours change places for 513.
    void DrawCenterGradientEx(SDC& dc, const SRect& outer, const SRect& inner, COLORREF c1, COLORREF c2,
                              GRADIENT_MODE mode, FRAME_TYPE frame = FRAME_OWN) const;
    /// Also drops whatever is thrown while it paints, machine faults included; such a fault is in the
    /// exception log.
    void DrawButtonGradient(SDC& dc, const SRect& rect, COLORREF color, GRADIENT_MODE mode,
                            FRAME_TYPE frame = FRAME_OWN) const;
    void Draw3DGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                        FRAME_TYPE frame = FRAME_OWN) const;
    void DrawGradButtonGradient(SDC& dc, const SRect& rect, COLORREF c1, COLORREF c2, GRADIENT_MODE mode,
                                FRAME_TYPE frame = FRAME_OWN) const;

    // ---- Tools ----

    /// Fills the shape of m_frameType over `rect` with a brush of the caller's, which was laid out for it.
    /// `end` is the colour of the outline in a metafile; `start` is there for the pair's sake.
    void FillGradient(SDC& dc, const Gdiplus::Brush& brush, const Gdiplus::Rect& rect,
                      const Gdiplus::Color& start, const Gdiplus::Color& end) const;
    /// Saves the device context and clips it to the shape of m_frameType over `rect`; to nothing when there
    /// is no such shape, or a curved one is larger than 2^18 pixels. A pie is taken for the part of its
    /// ellipse that lies in the box between its two points. A path is used up. Returns what SDC::RestoreDC
    /// takes; 0, with nothing changed, when the state could not be saved.
    int SetClipping(SDC& dc, const SRect& rect) const;
    /// The colour at `pos` of `total` steps from c1 to c2. Known bias, which pictures rely on: channels that
    /// rise are cut, channels that fall come out one higher than cut.
    static COLORREF GetMediumColor(COLORREF c1, COLORREF c2, int pos, int total);

    GRADIENT_MODE m_mode;
    FRAME_TYPE m_frameType;
    COLORREF m_color1;
    COLORREF m_color2;
    SRect m_rect;
    SRect m_rectInner; ///< kept for callers of DrawCenterGradientEx; DrawGradient does not look at it
    long m_roundWidth;
    long m_roundHeight;
    /// Percent; scales borders and highlights, unless the device context prints at a scale of its own.
    double m_zoom;
    SPoint m_pieStart;
    SPoint m_pieEnd;
    long m_polyCount;
    const POINT* m_polyPoints;
    long m_polyFillMode; ///< ALTERNATE or WINDING, for clipping; fills are always alternate

private:
    double ScaleFor(const SDC& dc) const;
    bool ScaleSize(const SDC& dc, long& size) const;
    FRAME_TYPE Resolved(FRAME_TYPE frame) const;
    int Clip(SDC& dc, const SRect& rect, FRAME_TYPE frame) const;
    void DrawGlass(SDC& dc, const SRect& rect, COLORREF color, int variant, long band) const;
};

/// A kind with its options.
constexpr SDrawGradient::GRADIENT_MODE operator|(SDrawGradient::GRADIENT_MODE a,
                                                 SDrawGradient::GRADIENT_MODE b) noexcept
{
    return static_cast<SDrawGradient::GRADIENT_MODE>(static_cast<int>(a) | static_cast<int>(b));
}

/// A variant of a kind: GRADIENT_BUTTON + 4.
constexpr SDrawGradient::GRADIENT_MODE operator+(SDrawGradient::GRADIENT_MODE kind, int variant) noexcept
{
    return static_cast<SDrawGradient::GRADIENT_MODE>(static_cast<int>(kind) + variant);
}

#endif
