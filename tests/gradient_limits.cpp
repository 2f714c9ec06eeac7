// Gradients at their limits: senseless input, calls that fail, faults, metafiles, the life of GDI+.
#include "gradient.h"

#include "crash.h"
#include "winapp.h"

#include "support/canvas.h"
#include "support/counters.h"
#include "support/gdiplusrecord.h"
#include "support/templog.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>

namespace {

typedef SDrawGradient G;

constexpr COLORREF kFirst = RGB(0x11, 0x22, 0x33), kSecond = RGB(0xF4, 0xE5, 0xD6);
const SRect kRect(10, 20, 110, 60);
const POINT kTriangle[] = { { 10, 20 }, { 110, 20 }, { 60, 60 } };
// One of each kind, and both looks of buttons.
constexpr int kModes[] = { 16, 34, 64, 130, 257, 512, 1024, 1030, 1031, 2048, 4097, 4101 };

void MakePath(HDC dc)
{
    ::BeginPath(dc);
    ::Ellipse(dc, 10, 20, 110, 60);
    ::EndPath(dc);
}

SDrawGradient Make(int mode, int frame = G::FRAME_RECT, const SRect& rect = kRect)
{
    SDrawGradient gradient;
    gradient.SetGradient(rect, kFirst, kSecond, static_cast<G::GRADIENT_MODE>(mode),
                         static_cast<G::FRAME_TYPE>(frame));
    gradient.m_roundWidth = gradient.m_roundHeight = 16;
    gradient.m_pieStart = SPoint(110, 40);
    gradient.m_pieEnd = SPoint(60, 20);
    gradient.m_polyPoints = kTriangle;
    gradient.m_polyCount = 3;
    return gradient;
}

// Paints every kind in every frame once.
void PaintAll(SDC& dc)
{
    for (int frame = G::FRAME_RECT; frame <= G::FRAME_PATH; ++frame)
        for (int mode : kModes) {
            if (frame == G::FRAME_PATH)
                MakePath(dc.GetHandle());
            Make(mode, frame).DrawGradient(dc);
        }
    ::AbortPath(dc.GetHandle());
}

} // namespace

TEST(GradientLimits, PaintNothingWhereThereIsNothingToPaint)
{
    const struct {
        const char* what;
        void (*spoil)(SDrawGradient&);
    } kCases[] = {
        { "no width", [](SDrawGradient& g) { g.m_rect = SRect(10, 20, 10, 60); } },
        { "no height", [](SDrawGradient& g) { g.m_rect = SRect(10, 20, 110, 20); } },
        { "all of 32 bits", [](SDrawGradient& g) { g.m_rect = SRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX); } },
        { "at the end",
          [](SDrawGradient& g) { g.m_rect = SRect(INT_MAX - 9, INT_MAX - 9, INT_MAX, INT_MAX); } },
        { "at the start",
          [](SDrawGradient& g) { g.m_rect = SRect(INT_MIN, INT_MIN, INT_MIN + 9, INT_MIN + 9); } },
        { "no points", [](SDrawGradient& g) { g.m_frameType = G::FRAME_POLYGON, g.m_polyCount = 0; } },
        { "one point", [](SDrawGradient& g) { g.m_frameType = G::FRAME_POLYGON, g.m_polyCount = 1; } },
        { "two points", [](SDrawGradient& g) { g.m_frameType = G::FRAME_POLYGON, g.m_polyCount = 2; } },
        { "fewer than none", [](SDrawGradient& g) { g.m_frameType = G::FRAME_POLYGON, g.m_polyCount = -1; } },
        { "points nowhere",
          [](SDrawGradient& g) { g.m_frameType = G::FRAME_POLYGON, g.m_polyPoints = nullptr; } },
        { "points far off",
          [](SDrawGradient& g) {
              static const POINT kFar[] = { { INT_MIN, 0 }, { INT_MAX, 0 }, { 0, INT_MAX } };
              g.m_frameType = G::FRAME_POLYGON, g.m_polyPoints = kFar;
          } },
        { "no path", [](SDrawGradient& g) { g.m_frameType = G::FRAME_PATH; } },
    };
    Canvas canvas;
    PaintAll(canvas.dc); // what is made on first use
    canvas.Clear();
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.what);
        const ResourceCount before = CountResources();
        for (int mode : kModes) {
            SDrawGradient gradient = Make(mode);
            c.spoil(gradient);
            gradient.DrawGradient(canvas.dc);
        }
        EXPECT_EQ(before, CountResources());
        EXPECT_EQ(0, canvas.CountPainted());
        const HRGN clip = ::CreateRectRgn(0, 0, 0, 0);
        EXPECT_EQ(0, ::GetClipRgn(canvas.dc.GetHandle(), clip));
        ::DeleteObject(clip);
    }
}

TEST(GradientLimits, PaintKindsWithBordersOnlyAtAScaleThatHasOne)
{
    const double kNoScale[] = {
        0, -100, 1e7, 1e300, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()
    };
    Canvas canvas;
    for (double zoom : kNoScale)
        for (int mode : kModes) {
            SCOPED_TRACE(testing::Message() << "mode " << mode << " at " << zoom);
            SDrawGradient gradient = Make(mode);
            gradient.m_zoom = zoom;
            canvas.Clear();
            gradient.DrawGradient(canvas.dc);
            EXPECT_EQ(mode < 1024 ? 4000 : 0, canvas.CountPainted());
        }
}

TEST(GradientLimits, LeaveLargeShapesAndOddDeviceContextsAlone)
{
    SDC none, bare;
    bare.Attach(::CreateCompatibleDC(nullptr)); // one pixel in two colours
    Canvas canvas;
    const SRect large(-500000, -500000, 500000, 500000);
    // Wine's 64-bit GDI+ computes with too few digits to ever be done with the curves of a large path: it recurses until the
    // stack is used up, in a program without us too.
    for (int mode : kModes) {
        Make(mode).DrawGradient(none);
        EXPECT_EQ(0, Make(mode).SetClipping(none, kRect));
        for (int frame = G::FRAME_RECT; frame <= G::FRAME_PIE; ++frame) {
            Make(mode, frame).DrawGradient(bare);
            if (S_TARGET_32BIT || mode < G::GRADIENT_CORNER) // the linear ones need no path
                Make(mode, frame, large).DrawGradient(canvas.dc);
        }
    }
    SDrawGradient gradient = Make(1030, G::FRAME_ROUNDRECT);
    gradient.m_roundWidth = LONG_MIN;
    gradient.m_roundHeight = LONG_MAX;
    canvas.Clear();
    gradient.DrawGradient(canvas.dc);
    gradient.m_mode = G::GRADIENT_VERT;
    gradient.DrawGradient(canvas.dc);
    EXPECT_NE(Canvas::kPaper, canvas.At(60, 40));
    EXPECT_EQ(Canvas::kPaper, canvas.At(10, 20));
}

TEST(GradientLimits, GiveEverythingBackAlsoWhenACallFails)
{
    Canvas canvas;
    GdiplusRecord record;
    record.Restart(0, false);
    PaintAll(canvas.dc);
    const ResourceCount before = CountResources();
    for (int frame = G::FRAME_RECT; frame <= G::FRAME_PATH; ++frame)
        for (int mode : kModes) {
            const SDrawGradient gradient = Make(mode, frame);
            for (size_t failing = 1;; ++failing) {
                if (frame == G::FRAME_PATH)
                    MakePath(canvas.dc.GetHandle());
                record.Restart(failing, false);
                gradient.DrawGradient(canvas.dc);
                if (record.Calls() < failing)
                    break;
            }
            ::AbortPath(canvas.dc.GetHandle());
            ASSERT_EQ(before, CountResources()) << "mode " << mode << ", frame " << frame;
        }
    // A region that cannot be made clips everything away.
    const ImportPatch patch(
        "CVCore16.dll", "GDI32.dll", "CreateEllipticRgn",
        +[](int, int, int, int) -> HRGN __stdcall { return nullptr; });
    ASSERT_TRUE(patch.Found());
    canvas.Clear();
    Make(1028, G::FRAME_ELLIPSE).DrawGradient(canvas.dc);
    EXPECT_EQ(0, canvas.CountPainted());
}

TEST(GradientLimits, PaintThousandsOfTimesWithWhatTheyHadAtFirst)
{
    Canvas canvas;
    PaintAll(canvas.dc);
    const ResourceCount before = CountResources();
    for (int i = 0; i < 140; ++i) // 72 pictures each
        PaintAll(canvas.dc);
    EXPECT_EQ(before, CountResources());
}

TEST(GradientLimits, KeepAFaultInsideAButtonAndTheClippingInOrder)
{
    Canvas canvas;
    TempLog log;
    GdiplusRecord record;
    record.InsteadOfFillPath([] {
        volatile int* nowhere = nullptr;
        *nowhere = 1;
    });
    Make(1024).DrawGradient(canvas.dc);
    EXPECT_EQ(0, canvas.CountPainted());
    EXPECT_NE(std::string::npos, log.Text().find("access violation")) << "it is in the log";
    Make(1031, G::FRAME_ELLIPSE).DrawGradient(canvas.dc); // fails in its glow
    const HRGN clip = ::CreateRectRgn(0, 0, 0, 0);
    EXPECT_EQ(0, ::GetClipRgn(canvas.dc.GetHandle(), clip));
    ::DeleteObject(clip);
}

// ---- Metafiles ----

namespace {

const RECT kPlace = { 0, 0, 100, 100 };

int CALLBACK SeeRecord(HDC, HANDLETABLE*, const ENHMETARECORD* record, int, LPARAM context)
{
    static constexpr struct {
        DWORD type;
        const char* name;
    } kNames[] = { { EMR_RECTANGLE, "rectangle" }, { EMR_ELLIPSE, "ellipse" },
                   { EMR_ROUNDRECT, "roundrect" }, { EMR_PIE, "pie" },
                   { EMR_POLYGON16, "polygon" },   { EMR_POLYGON, "polygon" },
                   { EMR_ALPHABLEND, "gdiplus" },  { EMR_STRETCHDIBITS, "gdiplus" },
                   { EMR_BITBLT, "gdiplus" },      { EMR_FILLRGN, "gdiplus" },
                   { EMR_GDICOMMENT, "gdiplus" },  { EMR_GRADIENTFILL, "gdiplus" },
                   { EMR_FILLPATH, "gdiplus" } };
    std::string& seen = *reinterpret_cast<std::string*>(context);
    for (const auto& known : kNames)
        if (record->iType == known.type)
            seen += std::string(seen.empty() ? "" : " ") + known.name;
    if (record->iType == EMR_RECTANGLE) {
        const RECTL& box = reinterpret_cast<const EMRRECTANGLE*>(record)->rclBox;
        seen += " " + std::to_string(box.left) + "," + std::to_string(box.top) + "," +
                std::to_string(box.right) + "," + std::to_string(box.bottom);
    }
    if (record->iType == EMR_CREATEPEN) {
        const LOGPEN& pen = reinterpret_cast<const EMRCREATEPEN*>(record)->lopn;
        char text[60];
        std::snprintf(text, sizeof text, "%spen%ld#%06lX", seen.empty() ? "" : " ", pen.lopnWidth.x,
                      pen.lopnColor);
        seen += text;
    }
    if (record->iType == EMR_CREATEBRUSHINDIRECT) {
        char text[60];
        std::snprintf(text, sizeof text, "%sbrush#%06lX", seen.empty() ? "" : " ",
                      reinterpret_cast<const EMRCREATEBRUSHINDIRECT*>(record)->lb.lbColor);
        seen += text;
    }
    return 1;
}

// What a metafile holds after one picture, in its order; plays it back, too.
std::string Recorded(const SDrawGradient& gradient, Canvas& canvas)
{
    SDC dc;
    dc.Attach(::CreateEnhMetaFileW(nullptr, nullptr, nullptr, nullptr));
    EXPECT_TRUE(dc.IsMetafile());
    gradient.DrawGradient(dc);
    const HENHMETAFILE file = ::CloseEnhMetaFile(dc.Detach());
    std::string seen;
    ::EnumEnhMetaFile(nullptr, file, SeeRecord, &seen, nullptr);
    canvas.Clear();
    EXPECT_TRUE(::PlayEnhMetaFile(canvas.dc.GetHandle(), file, &kPlace));
    ::DeleteEnhMetaFile(file);
    return seen;
}

} // namespace

TEST(GradientInAMetafile, HasItsOutlineBeforeWhatGdiPlusRecords)
{
    const std::string inSecond = "pen2#D6E5F4 rectangle 11,21,109,59",
                      inFirst = "pen2#332211 rectangle 11,21,109,59";
    const struct {
        int mode, frame;
        std::string first;
    } kCases[] = {
        { 64, G::FRAME_RECT, inSecond },
        { 65, G::FRAME_RECT, inFirst }, // the end colour is the other one
        { 128, G::FRAME_ELLIPSE, inSecond },
        { 256, G::FRAME_RECT, inFirst },
        { 513, G::FRAME_RECT, inSecond },
        { 512, G::FRAME_ELLIPSE, "pen2#332211 ellipse" },
        { 512, G::FRAME_ROUNDRECT, "brush#332211 roundrect" },
        { 512, G::FRAME_PIE, "brush#332211 pie" },
        { 512, G::FRAME_POLYGON, "brush#332211 polygon" },
        { 1028, G::FRAME_RECT, inFirst },
        { 16, G::FRAME_RECT, "" },
        { 32, G::FRAME_RECT, "" },
        { 4097, G::FRAME_RECT, "" },
    };
    Canvas canvas;
    EXPECT_FALSE(canvas.dc.IsMetafile());
    for (const auto& c : kCases) {
        const std::string seen = Recorded(Make(c.mode, c.frame), canvas);
        SCOPED_TRACE(testing::Message() << "mode " << c.mode << ", frame " << c.frame << ": " << seen);
        const size_t renderer = seen.find("gdiplus");
        ASSERT_NE(std::string::npos, renderer) << "GDI+ recorded nothing";
        if (c.first.empty())
            EXPECT_EQ(0u, renderer) << "these kinds have no outline";
        else
            EXPECT_EQ(c.first, seen.substr(0, c.first.size()));
        EXPECT_GT(canvas.CountPainted(), 1000) << "played back";
    }
}

// ---- The life of GDI+ ----

TEST(GdiPlus, IsStartedOnceAndEndsWithTheApplication)
{
    Canvas canvas;
    GdiplusRecord record;
    SGraphics::Shutdown();
    record.Restart();
    {
        SWinApp app;
        for (int i = 0; i < 3; ++i)
            Make(64).DrawGradient(canvas.dc);
        EXPECT_EQ("gdiplus starts", record.Find("gdiplus"));
    }
    EXPECT_EQ("gdiplus starts; gdiplus stops", record.Find("gdiplus"));
    Make(64).DrawGradient(canvas.dc);
    EXPECT_EQ("gdiplus starts; gdiplus stops; gdiplus starts", record.Find("gdiplus"))
        << "a second application";

    SGraphics::Shutdown();
    SGraphics::Shutdown();
    canvas.Clear();
    record.Restart(1);
    Make(64).DrawGradient(canvas.dc);
    EXPECT_EQ("gdiplus starts", record.Find("gdiplus"));
    EXPECT_EQ(0, canvas.CountPainted()) << "GDI+ did not start";
}
