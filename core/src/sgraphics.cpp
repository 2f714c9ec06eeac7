// sgraphics.cpp: GDI+ on a device context, and the life of GDI+ itself.
#include "sgraphics.h"

#include "notifmgr.h"

#include <cmath>
#include <memory>
#include <new>

using namespace Gdiplus;

namespace {

// What Startup got; 0 while GDI+ is not ours to stop.
ULONG_PTR g_token = 0;

void StopWithApplication(int, WPARAM, LPARAM, void*)
{
    SGraphics::Shutdown();
}

// Makes sure that GDI+ runs before the base classes are made.
template <class Argument>
Argument Started(Argument argument) noexcept
{
    SGraphics::Startup();
    return argument;
}

// GDI+ counts angles clockwise in degrees from the x axis.
struct PieAngles {
    REAL start, sweep;

    PieAngles(const Rect& rect, const POINT& from, const POINT& to)
    {
        const double x = rect.X + rect.Width / 2.0, y = rect.Y + rect.Height / 2.0;
        const double degrees = 180 / 3.14159265358979323846;
        const double first = std::atan2(from.y - y, from.x - x) * degrees;
        const double last = std::atan2(to.y - y, to.x - x) * degrees;
        constexpr double kFullTurn = 360;
        start = static_cast<REAL>(first);
        sweep = static_cast<REAL>(last < first ? last - first : last - first - kFullTurn);
    }
};

long CornerSize(long asked, int room) noexcept
{
    const long long size = asked < 0 ? -static_cast<long long>(asked) : asked;
    return static_cast<long>(size < room ? size : room);
}

} // namespace

// ---- SGraphics ----

SGraphics::SGraphics(HDC dc) : Graphics(Started(dc))
{
    SetPageUnit(UnitPixel);
}

SGraphics::~SGraphics() {}

int SGraphics::Startup() noexcept
{
    if (g_token)
        return 1;
    try {
        SNotificationManager::Subscribe(SNotificationManager::kAppEnds, StopWithApplication, nullptr);
    }
    catch (...) { // without it nobody would stop GDI+
        return 0;
    }
    const GdiplusStartupInput input;
    if (GdiplusStartup(&g_token, &input, nullptr) != Ok)
        g_token = 0;
    return g_token != 0;
}

void SGraphics::Shutdown() noexcept
{
    SNotificationManager::Unsubscribe(SNotificationManager::kAppEnds, StopWithApplication, nullptr);
    if (g_token)
        GdiplusShutdown(g_token);
    g_token = 0;
}

Status SGraphics::FillRoundRect(const Brush& brush, const Rect& rect, long cornerWidth, long cornerHeight)
{
    SGraphicsPath path;
    const Status added = path.AddRoundRect(rect, cornerWidth, cornerHeight);
    return added == Ok ? FillPath(&brush, &path) : added;
}

Status SGraphics::FillPie(const Brush& brush, const Rect& rect, const POINT& start, const POINT& end)
{
    const PieAngles angles(rect, start, end);
    return FillPie(&brush, rect, angles.start, angles.sweep);
}

Status SGraphics::FillDCPath(const Brush& brush, HDC dc)
{
    SGraphicsPath path;
    const Status added = path.AddDCPath(dc);
    return added == Ok ? FillPath(&brush, &path) : added;
}

// ---- SGraphicsPath ----

SGraphicsPath::SGraphicsPath(FillMode mode) : GraphicsPath(Started(mode)) {}

SGraphicsPath::~SGraphicsPath() {}

Status SGraphicsPath::AddRoundRect(const Rect& rect, long cornerWidth, long cornerHeight)
{
    const int width = CornerSize(cornerWidth, rect.Width), height = CornerSize(cornerHeight, rect.Height);
    if (width <= 0 || height <= 0)
        return AddRectangle(rect);
    const int right = rect.X + rect.Width - width, bottom = rect.Y + rect.Height - height;
    StartFigure();
    AddArc(rect.X, rect.Y, width, height, 180, 90);
    AddArc(right, rect.Y, width, height, 270, 90);
    AddArc(right, bottom, width, height, 0, 90);
    AddArc(rect.X, bottom, width, height, 90, 90);
    CloseFigure();
    return GetLastStatus();
}

Status SGraphicsPath::AddPie(const Rect& rect, const POINT& start, const POINT& end)
{
    const PieAngles angles(rect, start, end);
    return AddPie(rect, angles.start, angles.sweep);
}

Status SGraphicsPath::AddDCPath(HDC dc)
{
    const int count = ::GetPath(dc, nullptr, nullptr, 0);
    if (count <= 0)
        return InvalidParameter;
    const std::unique_ptr<POINT[]> corners(new (std::nothrow) POINT[static_cast<size_t>(count)]);
    const std::unique_ptr<Point[]> points(new (std::nothrow) Point[static_cast<size_t>(count)]);
    const std::unique_ptr<BYTE[]> types(new (std::nothrow) BYTE[static_cast<size_t>(count)]);
    if (!corners || !points || !types)
        return OutOfMemory;
    if (::GetPath(dc, corners.get(), types.get(), count) != count)
        return GenericError;
    for (int i = 0; i < count; ++i) {
        points[i] = Point(corners[i].x, corners[i].y);
        const BYTE kind = types[i] & ~PT_CLOSEFIGURE;
        const BYTE closes = types[i] & PT_CLOSEFIGURE ? PathPointTypeCloseSubpath : 0;
        types[i] = static_cast<BYTE>(closes | (kind == PT_MOVETO     ? PathPointTypeStart
                                               : kind == PT_BEZIERTO ? PathPointTypeBezier
                                                                     : PathPointTypeLine));
    }
    const GraphicsPath converted(points.get(), types.get(), count);
    SetFillMode(::GetPolyFillMode(dc) == WINDING ? FillModeWinding : FillModeAlternate);
    return AddPath(&converted, FALSE);
}

Status SGraphicsPath::Fit(const SRect& from, const SRect& to)
{
    const REAL x = static_cast<REAL>(to.Width()) / static_cast<REAL>(from.Width());
    const REAL y = static_cast<REAL>(to.Height()) / static_cast<REAL>(from.Height());
    const Matrix matrix(x, 0, 0, y, static_cast<REAL>(to.left) - static_cast<REAL>(from.left) * x,
                        static_cast<REAL>(to.top) - static_cast<REAL>(from.top) * y);
    return Transform(&matrix);
}
