// Gradients: what GDI+ is told, and pixels where it cannot matter how it draws edges.
#include "gradient.h"

#include "support/canvas.h"
#include "support/gdiplusrecord.h"
#include "support/seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

typedef SDrawGradient G;

constexpr COLORREF kFirst = RGB(0x11, 0x22, 0x33), kSecond = RGB(0xF4, 0xE5, 0xD6);
const std::string kOne = "FF112233", kTwo = "FFF4E5D6";
const SRect kRect(10, 20, 110, 60);

G::GRADIENT_MODE Mode(int mode)
{
    return static_cast<G::GRADIENT_MODE>(mode);
}

class Gradient : public testing::Test {
protected:
    Gradient() { EXPECT_EQ("", record.Missing()); }

    /// Paints one afresh.
    void Draw(int mode, int frame = G::FRAME_RECT, const SRect& rect = kRect)
    {
        canvas.Clear();
        record.Restart();
        gradient.SetGradient(rect, kFirst, kSecond, Mode(mode), static_cast<G::FRAME_TYPE>(frame));
        gradient.DrawGradient(canvas.dc);
    }
    void SetPolygon(const POINT* points, int count)
    {
        gradient.m_polyPoints = points;
        gradient.m_polyCount = count;
    }

    Canvas canvas;
    GdiplusRecord record;
    SDrawGradient gradient;
};

typedef Gradient LinearGradient;
typedef Gradient RadialGradient;
typedef Gradient GradientButton;
typedef Gradient GradientFrame;

// EqualRgn may tell two regions apart that are cut into different rectangles.
bool SamePlaces(HRGN a, HRGN b)
{
    const HRGN difference = ::CreateRectRgn(0, 0, 0, 0);
    const int kind = ::CombineRgn(difference, a, b, RGN_XOR);
    ::DeleteObject(difference);
    return kind == NULLREGION;
}

int Lightness(COLORREF color)
{
    return GetRValue(color) + GetGValue(color) + GetBValue(color);
}

} // namespace

TEST(GradientColours, OnTheWayHaveTheBiasThatPicturesRelyOn)
{
    const struct {
        COLORREF from, to;
        int pos, total;
        COLORREF wanted;
    } kCases[] = {
        { 0x000000, 0xFFFFFF, 1, 2, 0x7F7F7F }, // rising: cut
        { 0xFFFFFF, 0x000000, 1, 2, 0x818181 }, // falling: one higher than cut
        { 0x123456, 0x654321, 0, 5, 0x123456 },
        { 0x123456, 0x654321, 5, 5, 0x654321 },
        { 0x123456, 0x654321, 3, 0, 0x123456 },
        { 0x123456, 0x123456, 2, 5, 0x123456 },
        { 0x0A0A0A, 0x000000, 60, 100, 0x050505 },
        { 0x0000FF, 0xFF0000, 1, 4, 0x3F00C1 },
        { 0x000000, 0x030303, 1, 4, 0x000000 },
        { 0x030303, 0x000000, 1, 4, 0x030303 },
        { 0x000000, 0xFF0000, 2, 1, 0xFE0000 }, // past the end: kept to eight bits
        { 0x000000, 0x0000FF, 0x7FFFFFFE, 0x7FFFFFFF, 0x0000FE },
    };
    for (const auto& c : kCases)
        EXPECT_EQ(c.wanted, G::GetMediumColor(c.from, c.to, c.pos, c.total))
            << std::hex << c.from << " to " << c.to << std::dec << ", " << c.pos << "/" << c.total;
}

TEST(GradientFields, StartAsAWhiteToGreyNothing)
{
    const SDrawGradient fresh;
    EXPECT_EQ(0, fresh.m_mode);
    EXPECT_EQ(G::FRAME_RECT, fresh.m_frameType);
    EXPECT_EQ(0xFFFFFFu, fresh.m_color1);
    EXPECT_EQ(0x767676u, fresh.m_color2);
    EXPECT_TRUE(fresh.m_rect == SRect() && fresh.m_rectInner == SRect() && !fresh.m_polyPoints);
    EXPECT_EQ(100.0, fresh.m_zoom);
    EXPECT_EQ(ALTERNATE, fresh.m_polyFillMode);
    const SDrawGradient made(kRect, SRect(1, 2, 3, 4), kFirst, kSecond, G::GRADIENT_VERT | G::GRADIENT_MIRROR,
                             G::FRAME_PIE);
    EXPECT_TRUE(made.m_rect == kRect && made.m_rectInner == SRect(1, 2, 3, 4));
    EXPECT_EQ(34, made.m_mode);
    SDrawGradient set;
    set.SetGradient(kRect, kFirst, kSecond, G::GRADIENT_VERT, G::FRAME_PIE);
    EXPECT_EQ(kRect, set.m_rectInner);
}

// ---- Along a line ----

TEST_F(LinearGradient, RunsOnePixelBeyondTheShapeOnEverySide)
{
    const struct {
        int mode;
        SRect rect;
        std::string line, wrap;
    } kCases[] = {
        { 16, kRect, "line 9,19 102x42 down " + kOne + " " + kTwo, "" },
        { 17, kRect, "line 9,19 102x42 down " + kTwo + " " + kOne, "" },
        { 18, kRect, "line 9,19 102x21 down " + kOne + " " + kTwo, "wrap flipX" },
        { 19, kRect, "line 9,19 102x21 down " + kTwo + " " + kOne, "wrap flipX" },
        { 32, kRect, "line 9,19 102x42 right " + kOne + " " + kTwo, "" },
        { 35, kRect, "line 9,19 51x42 right " + kTwo + " " + kOne, "wrap flipX" },
        { 34, SRect(0, 0, 5, 4), "line -1,-1 3x6 right " + kOne + " " + kTwo, "wrap flipX" },
        { 16, SRect(110, 60, 10, 20), "line 9,19 102x42 down " + kOne + " " + kTwo, "" },
        { 64, kRect, "line 9,19 to 38,90 " + kOne + " " + kTwo, "" },
        { 65, kRect, "line 9,19 to 38,90 " + kTwo + " " + kOne, "" },
        { 66, kRect, "line 9,19 to 23,54 " + kOne + " " + kTwo, "wrap flipX" },
        { 128, kRect, "line 9,61 to 38,-10 " + kOne + " " + kTwo, "" },
        { 130, kRect, "line 9,61 to 23,25 " + kOne + " " + kTwo, "wrap flipX" },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.mode);
        Draw(c.mode, G::FRAME_RECT, c.rect);
        EXPECT_EQ(c.line, record.Find("line"));
        EXPECT_EQ(c.wrap, record.Find("wrap"));
        EXPECT_EQ("blend 0@0 0.25@0.25 0.55@0.5 0.83@0.75 1@1", record.Find("blend"));
        const SRect r = c.rect.Normalized();
        char fill[80];
        std::snprintf(fill, sizeof fill, "fill rect %ld,%ld %dx%d", r.left, r.top, r.Width(), r.Height());
        EXPECT_EQ(fill, record.Find("fill"));
        EXPECT_EQ("unit pixel", record.Find("unit"));
        EXPECT_EQ(0, canvas.CountPainted(r)) << "painted beyond its rectangle";
    }
}

TEST_F(LinearGradient, EndsADiagonalWhereTheFarCornerFallsOnItsNormal)
{
    std::mt19937 random(TestSeed());
    for (int i = 0; i < 200; ++i) {
        const SRect r(SPoint(static_cast<int>(random() % 50), static_cast<int>(random() % 50)),
                      SSize(1 + static_cast<int>(random() % 140), 1 + static_cast<int>(random() % 140)));
        const bool up = random() % 2 == 0;
        SCOPED_TRACE(testing::Message() << r.left << "," << r.top << " " << r.Width() << "x" << r.Height());
        Draw(up ? 64 : 128, G::FRAME_RECT, r);
        int x1, y1, x2, y2;
        ASSERT_EQ(4, std::sscanf(record.Find("line").c_str(), "line %d,%d to %d,%d", &x1, &y1, &x2, &y2));
        const double width = r.Width() + 2, height = r.Height() + 2;
        EXPECT_EQ(r.left - 1, x1);
        EXPECT_EQ(up ? r.top - 1 : r.bottom + 1, y1);
        const double dx = x2 - x1, dy = std::abs(y2 - y1);
        const double length = std::hypot(dx, dy);
        const double projected = (width * height + height * width) / std::hypot(width, height);
        EXPECT_NEAR(projected, length, 1.5) << "as long as the corner is far";
        EXPECT_NEAR(0, (dx * width - dy * height) / std::hypot(width, height), 1.5) << "across the diagonal";
    }
}

TEST_F(LinearGradient, ShowsItsColoursAtTheEndsAndChangesOneWay)
{
    const auto nearTo = [](COLORREF wanted, COLORREF seen) {
        return std::abs(Lightness(wanted) - Lightness(seen)) < 60;
    };
    Draw(16);
    EXPECT_TRUE(nearTo(kFirst, canvas.At(50, 20)) && nearTo(kSecond, canvas.At(50, 59)));
    for (int y = 21; y < 60; ++y)
        EXPECT_GE(Lightness(canvas.At(50, y)), Lightness(canvas.At(50, y - 1))) << y;
    EXPECT_EQ(canvas.At(10, 40), canvas.At(109, 40));
    Draw(17);
    EXPECT_TRUE(nearTo(kSecond, canvas.At(50, 20)) && nearTo(kFirst, canvas.At(50, 59)));
    Draw(34);
    EXPECT_TRUE(nearTo(kFirst, canvas.At(10, 40)) && nearTo(kSecond, canvas.At(60, 40)) &&
                nearTo(kFirst, canvas.At(109, 40)));
    Draw(64);
    EXPECT_TRUE(nearTo(kFirst, canvas.At(10, 20)) && nearTo(kSecond, canvas.At(109, 59)));
    Draw(128);
    EXPECT_TRUE(nearTo(kFirst, canvas.At(10, 59)) && nearTo(kSecond, canvas.At(109, 20)));
}

TEST_F(LinearGradient, IsThePictureOfABrushThatWasPreparedByHand)
{
    const float factors[] = { 0, 0.25f, 0.55f, 0.83f, 1 }, positions[] = { 0, 0.25f, 0.5f, 0.75f, 1 };
    for (int frame : { G::FRAME_RECT, G::FRAME_ELLIPSE }) {
        Draw(32, frame);
        Canvas other;
        {
            Gdiplus::LinearGradientBrush brush(
                Gdiplus::Rect(9, 19, 102, 42), Gdiplus::Color(0x11, 0x22, 0x33),
                Gdiplus::Color(0xF4, 0xE5, 0xD6), Gdiplus::LinearGradientModeHorizontal);
            brush.SetBlend(factors, positions, 5);
            Gdiplus::Graphics graphics(other.dc.GetHandle());
            if (frame == G::FRAME_RECT)
                graphics.FillRectangle(&brush, 10, 20, 100, 40);
            else
                graphics.FillEllipse(&brush, 10, 20, 100, 40);
        }
        for (int y = 0; y < 120; ++y)
            for (int x = 0; x < 200; ++x)
                ASSERT_EQ(other.At(x, y), canvas.At(x, y)) << x << "," << y << " in frame " << frame;
    }
}

TEST_F(LinearGradient, IsNotPaintedInAModeOfAnotherKind)
{
    gradient.DrawHorzGradient(canvas.dc, kRect, kFirst, kSecond, G::GRADIENT_VERT);
    gradient.DrawDiagUpGradient(canvas.dc, kRect, kFirst, kSecond, G::GRADIENT_DIAGDOWN);
    gradient.DrawCornerGradient(canvas.dc, kRect, kFirst, kSecond, Mode(260));
    gradient.Draw3DGradient(canvas.dc, kRect, kFirst, kSecond, Mode(2052));
    gradient.DrawButtonGradient(canvas.dc, kRect, kFirst, Mode(1032));
    gradient.DrawGradButtonGradient(canvas.dc, kRect, kFirst, kSecond, Mode(4105));
    EXPECT_EQ(0u, record.Calls());
    for (int mode : { 0, 1, 2, 8, 48, 16 | 64, 260, 1032, 2052, 4096, 4105, 8192 })
        Draw(mode);
    EXPECT_EQ(0u, record.Calls());
}

// ---- Around a point ----

TEST_F(RadialGradient, HasItsCentreAndColoursFromItsMode)
{
    const struct {
        int mode;
        const char* center;
        bool swapped;
        const char* focus;
    } kCases[] = {
        { 512, "center 60,40", false, "" },
        { 513, "center 60,40", true, "" },
        { 514, "center 60,40", false, "" },
        { 256, "center 110,60", false, "" },
        { 257, "center 10,60", false, "" },
        { 258, "center 10,20", false, "" },
        { 259, "center 110,20", false, "" },
        // A twentieth of the size to either side of the point.
        { 2048, "center 35,30", false, "focus 0.1 0.1" },
        { 2049, "center 85,30", false, "focus 0.1 0.1" },
        { 2050, "center 85,50", false, "focus 0.1 0.1" },
        { 2051, "center 35,50", false, "focus 0.1 0.1" },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.mode);
        Draw(c.mode);
        EXPECT_EQ("radial 10,20 100x40", record.Find("radial"));
        EXPECT_EQ(c.center, record.Find("center"));
        EXPECT_EQ("inside " + (c.swapped ? kOne : kTwo), record.Find("inside"));
        EXPECT_EQ("surround 1 " + (c.swapped ? kTwo : kOne), record.Find("surround"));
        EXPECT_EQ(c.focus, record.Find("focus"));
        EXPECT_EQ("fill path 10,20 100x40", record.Find("fill"));
        EXPECT_EQ(0, canvas.CountPainted(kRect));
    }
}

TEST_F(RadialGradient, TakesItsFocusFromTheInnerRectangleTurnedRoundOrNot)
{
    for (const SRect& inner : { SRect(20, 30, 70, 40), SRect(70, 40, 20, 30) }) {
        record.Restart();
        gradient.DrawCenterGradientEx(canvas.dc, SRect(110, 20, 10, 60), inner, kFirst, kSecond, Mode(512),
                                      G::FRAME_ELLIPSE);
        EXPECT_EQ("center 45,35", record.Find("center"));
        EXPECT_EQ("focus 0.5 0.25", record.Find("focus"));
        EXPECT_EQ("radial 10,20 100x40", record.Find("radial"));
    }
}

TEST_F(RadialGradient, ScalesItsHighlightWithZoomOrPrinter)
{
    gradient.m_zoom = 250; // 5 x 2.5, cut: 12; 2 x 2.5: 5
    Draw(2048);
    EXPECT_EQ("focus 0.24 0.25", record.Find("focus"));
    canvas.dc.SetPrinting(300);
    Draw(2048);
    EXPECT_EQ("focus 0.3 0.3", record.Find("focus"));
    canvas.dc.EndPrinting();
    Draw(2048);
    EXPECT_EQ("focus 0.24 0.25", record.Find("focus"));
}

// ---- Buttons ----

TEST_F(GradientButton, LeavesABorderAsWideAsItsVariantAndSizeSay)
{
    const SRect small(0, 0, 6, 40), large(0, 0, 200, 100);
    const struct {
        int mode;
        SRect rect;
        double zoom;
        const char* focus;
    } kCases[] = {
        { 1024, large, 100, "focus 0.96 0.92" },
        { 1025, large, 100, "focus 0.94 0.88" },
        { 1026, large, 100, "focus 0.92 0.84" },
        { 1027, large, 100, "focus 0.9 0.8" },
        { 1024, SRect(0, 0, 100, 40), 200, "focus 0.84 0.6" },
        { 1024, small, 100, "focus 0.8" },      // 3 a side leaves no width, so no focus
        { 1024, small, 200, "focus 1 0.6" },    // limited first, scaled then: 6 a side, turned round
        { 1024, large, 130, "focus 0.95 0.9" }, // 5.2, cut
        { 1024, SRect(200, 100, 0, 0), 100, "focus 0.96 0.92" },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.focus);
        gradient.m_zoom = c.zoom;
        Draw(c.mode, G::FRAME_RECT, c.rect);
        EXPECT_EQ(c.rect == small && c.zoom == 100 ? "" : c.focus, record.Find("focus"));
        EXPECT_EQ("surround 1 FF080F16", record.Find("surround")) << "60 % of the way to black";
        EXPECT_EQ("inside " + kOne, record.Find("inside"));
    }
}

TEST_F(GradientButton, KeepsTheProportionsOfPolygonsAndPaths)
{
    const POINT wide[] = { { 0, 0 }, { 100, 0 }, { 100, 40 }, { 0, 40 } };
    SetPolygon(wide, 4);
    Draw(1024, G::FRAME_POLYGON, SRect(0, 0, 100, 40)); // 4 high, so 10 wide
    EXPECT_EQ("focus 0.8 0.8", record.Find("focus"));
    const POINT high[] = { { 0, 0 }, { 40, 0 }, { 40, 100 }, { 0, 100 } };
    SetPolygon(high, 4);
    Draw(1024, G::FRAME_POLYGON, SRect(0, 0, 40, 100));
    EXPECT_EQ("focus 0.8 0.8", record.Find("focus"));
}

TEST_F(GradientButton, OfGlassHasASheenAboveAndALightBelow)
{
    for (int variant = 4; variant < 8; ++variant) {
        SCOPED_TRACE(variant);
        Draw(1024 + variant, G::FRAME_ROUNDRECT, SRect(20, 10, 180, 110));
        EXPECT_EQ("solid " + kOne, record.Find("solid"));
        EXPECT_NE(std::string::npos, record.Find("line").find("down C0FFFFFF 20E0F5FF"));
        EXPECT_EQ(variant == 7 ? "center 100,110" : "", record.Find("center"));
        const int x = 100, body = Lightness(kFirst);
        EXPECT_GT(Lightness(canvas.At(x, 10)), 3 * 0x90) << "the sheen begins near white";
        for (int y = 11; y < 60; ++y)
            EXPECT_LE(Lightness(canvas.At(x, y)), Lightness(canvas.At(x, y - 1))) << "and fades: " << y;
        EXPECT_EQ(kFirst, canvas.At(x, 70)) << "the body shows";
        EXPECT_GT(Lightness(canvas.At(x, 108)), body + 30) << "the light";
        EXPECT_GE(Lightness(canvas.At(x, 108)), Lightness(canvas.At(x, 104)));
        EXPECT_EQ(0, canvas.CountPainted(SRect(20, 10, 180, 110)));
    }
    // Too low for the glow of the last variant: it has the band of the others.
    Draw(1031, G::FRAME_RECT, SRect(0, 0, 100, 21));
    EXPECT_EQ("", record.Find("radial"));
    Draw(1031, G::FRAME_RECT, SRect(0, 0, 100, 22));
    EXPECT_EQ("radial 0,12 100x10", record.Find("radial"));
}

TEST_F(GradientButton, WithAFrameRunsTheOtherWayInside)
{
    const struct {
        int mode;
        const char *outer, *inner;
        bool swapped;
    } kCases[] = {
        { 4097, "line 9,19 102x42 right ", "line 13,23 94x34 right ", false },
        { 4098, "line 9,19 102x42 right ", "line 13,23 94x34 right ", true },
        { 4099, "line 9,19 102x42 down ", "line 13,23 94x34 down ", false },
        { 4100, "line 9,19 102x42 down ", "line 13,23 94x34 down ", true },
        { 4101, "line 9,19 to 38,90 ", "line 13,23 to 34,83 ", false },
        { 4102, "line 9,19 to 38,90 ", "line 13,23 to 34,83 ", true },
        { 4103, "line 9,61 to 38,-10 ", "line 13,57 to 34,-3 ", false },
        { 4104, "line 9,61 to 38,-10 ", "line 13,57 to 34,-3 ", true },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.mode);
        Draw(c.mode);
        const std::string there = kOne + " " + kTwo, back = kTwo + " " + kOne;
        EXPECT_EQ(c.outer + (c.swapped ? back : there) + "; " + c.inner + (c.swapped ? there : back),
                  record.Find("line"));
        EXPECT_EQ("fill rect 10,20 100x40; fill rect 14,24 92x32", record.Find("fill"));
    }
    // Scaled first, limited then; nothing is left inside.
    gradient.m_zoom = 1000;
    Draw(4097, G::FRAME_RECT, SRect(0, 0, 100, 60));
    EXPECT_EQ("fill rect 0,0 100x60", record.Find("fill"));
    // The inner polygon is the outer one, smaller.
    gradient.m_zoom = 100;
    const POINT corners[] = { { 50, 0 }, { 100, 100 }, { 0, 100 } };
    SetPolygon(corners, 3);
    Draw(4097, G::FRAME_POLYGON, SRect(0, 0, 100, 100));
    EXPECT_EQ("fill polygon 3 alternate; fill path 4,4 92x92", record.Find("fill"));
    EXPECT_EQ("fit 0.92 0 0 0.92 4 4", record.Find("fit"));
}

// ---- Frames ----

TEST_F(GradientFrame, IsFilledAsWhatItIs)
{
    const POINT corners[] = { { 10, 20 }, { 110, 20 }, { 60, 60 } };
    SetPolygon(corners, 3);
    gradient.m_roundWidth = gradient.m_roundHeight = 20;
    gradient.m_pieStart = SPoint(60, 0); // up
    gradient.m_pieEnd = SPoint(200, 40); // right: counter-clockwise over left and bottom
    ::BeginPath(canvas.dc.GetHandle());
    ::MoveToEx(canvas.dc.GetHandle(), 10, 20, nullptr);
    ::LineTo(canvas.dc.GetHandle(), 110, 20);
    ::LineTo(canvas.dc.GetHandle(), 60, 60);
    ::CloseFigure(canvas.dc.GetHandle());
    ::EndPath(canvas.dc.GetHandle());
    const struct {
        int frame;
        const char* fill;
    } kCases[] = {
        { G::FRAME_RECT, "fill rect 10,20 100x40" },
        { G::FRAME_ELLIPSE, "fill ellipse 10,20 100x40" },
        { G::FRAME_ROUNDRECT, "fill path 10,20 100x40" },
        { G::FRAME_PIE, "fill pie 10,20 100x40 -90 -270" },
        { G::FRAME_POLYGON, "fill polygon 3 alternate" },
        { G::FRAME_PATH, "fill path 10,20 100x40" },
        { 0, "fill rect 10,20 100x40" },
        { 7, "fill rect 10,20 100x40" },
        { -1, "fill rect 10,20 100x40" },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.frame);
        Draw(32, c.frame);
        EXPECT_EQ(c.fill, record.Find("fill"));
        const bool whole = c.frame < 2 || c.frame > 6;
        EXPECT_EQ(!whole, canvas.At(12, 58) == Canvas::kPaper) << "the corner is outside of most";
        EXPECT_NE(Canvas::kPaper, canvas.At(60, 42)) << "the middle is inside of all";
        EXPECT_EQ(c.frame == G::FRAME_PIE, canvas.At(70, 35) == Canvas::kPaper)
            << "the piece that is cut out";
        // The painters take a frame of their own.
        record.Restart();
        SDrawGradient other(gradient);
        other.m_frameType = G::FRAME_RECT;
        other.DrawVertGradient(canvas.dc, kRect, kFirst, kSecond, G::GRADIENT_VERT, gradient.m_frameType);
        EXPECT_EQ(c.fill, record.Find("fill"));
    }
    Draw(32, G::FRAME_PATH);
    EXPECT_EQ("pathof 10,20#0 110,20#1 60,60#129", record.Find("pathof"));
}

TEST_F(GradientFrame, ClipsTheDeviceContextUntilItIsRestored)
{
    const POINT corners[] = { { 10, 20 }, { 110, 20 }, { 60, 60 } };
    SetPolygon(corners, 3);
    gradient.m_roundWidth = 20;
    gradient.m_roundHeight = 10;
    gradient.m_pieStart = SPoint(110, 40);
    gradient.m_pieEnd = SPoint(60, 20);
    const HDC dc = canvas.dc.GetHandle();
    const HRGN seen = ::CreateRectRgn(0, 0, 0, 0), quarter = ::CreateRectRgn(110, 40, 60, 20),
               pie = ::CreateEllipticRgn(10, 20, 111, 61);
    ::CombineRgn(pie, pie, quarter, RGN_AND);
    const struct {
        G::FRAME_TYPE frame;
        HRGN wanted;
    } kCases[] = {
        { G::FRAME_RECT, ::CreateRectRgn(10, 20, 110, 60) },
        { G::FRAME_ELLIPSE, ::CreateEllipticRgn(10, 20, 111, 61) },
        { G::FRAME_ROUNDRECT, ::CreateRoundRectRgn(10, 20, 111, 61, 20, 10) },
        { G::FRAME_PIE, pie },
        { G::FRAME_POLYGON, ::CreatePolygonRgn(corners, 3, ALTERNATE) },
        { G::FRAME_PATH, ::CreateRectRgn(30, 30, 50, 50) },
    };
    Canvas asked;
    for (HDC attrib : { static_cast<HDC>(nullptr), asked.dc.GetHandle() }) {
        canvas.dc.SetAttribHandle(attrib);
        for (const auto& c : kCases) {
            SCOPED_TRACE(c.frame);
            if (c.frame == G::FRAME_PATH) {
                ::BeginPath(dc);
                ::Rectangle(dc, 30, 30, 51, 51);
                ::EndPath(dc);
            }
            gradient.m_frameType = c.frame;
            const int saved = gradient.SetClipping(canvas.dc, SRect(110, 60, 10, 20));
            EXPECT_NE(0, saved);
            ASSERT_EQ(1, ::GetClipRgn(dc, seen));
            EXPECT_TRUE(SamePlaces(seen, c.wanted));
            if (attrib) {
                ASSERT_EQ(1, ::GetClipRgn(attrib, seen));
                EXPECT_TRUE(SamePlaces(seen, c.wanted)) << "the handle that is asked";
            }
            EXPECT_TRUE(canvas.dc.RestoreDC(saved));
            EXPECT_EQ(0, ::GetClipRgn(dc, seen));
            EXPECT_EQ(0, ::GetClipRgn(attrib ? attrib : dc, seen));
        }
    }
    for (const auto& c : kCases)
        ::DeleteObject(c.wanted);
    ::DeleteObject(seen);
    ::DeleteObject(quarter);
}

TEST_F(GradientFrame, TakesABrushOfTheCallers)
{
    const Gdiplus::SolidBrush red(Gdiplus::Color(255, 0, 0));
    gradient.m_frameType = G::FRAME_ELLIPSE;
    gradient.FillGradient(canvas.dc, red, Gdiplus::Rect(10, 20, 100, 40), Gdiplus::Color(), Gdiplus::Color());
    EXPECT_EQ(RGB(255, 0, 0), canvas.At(60, 40));
    EXPECT_EQ("fill ellipse 10,20 100x40", record.Find("fill"));
    const Gdiplus::SolidBrush halfGreen(Gdiplus::Color(128, 0, 255, 0));
    gradient.FillGradient(canvas.dc, halfGreen, Gdiplus::Rect(10, 20, 100, 40), Gdiplus::Color(),
                          Gdiplus::Color());
    EXPECT_NEAR(127, GetRValue(canvas.At(60, 40)), 2) << "red shines through";
}
