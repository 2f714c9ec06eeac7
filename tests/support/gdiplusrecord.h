// gdiplusrecord.h: what the library asks of GDI+, as lines of text, while one lives. The calls go through,
// unless one is to fail.
//
//     GdiplusRecord record;
//     gradient.DrawGradient(dc);
//     EXPECT_EQ("line 9,19 102x42 down FF112233 FF445566", record.Find("line"));
//
// Renderers differ in what they make of a brush; what it was told is the same everywhere.
#ifndef TESTS_GDIPLUSRECORD_H
#define TESTS_GDIPLUSRECORD_H

#include "importpatch.h"

#include <windows.h>
#include <objidl.h>

#include <gdiplus.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

class GdiplusRecord {
public:
    GdiplusRecord()
    {
        s_current = this;
        Patch("GdipCreateFromHDC", CreateGraphics);
        Patch("GdipSetPageUnit", SetPageUnit);
        Patch("GdipCreateLineBrushFromRectI", CreateLineRect);
        Patch("GdipCreateLineBrushI", CreateLine);
        Patch("GdipSetLineBlend", SetLineBlend);
        Patch("GdipSetLineWrapMode", SetLineWrap);
        Patch("GdipCreateSolidFill", CreateSolid);
        Patch("GdipCreatePath", CreatePath);
        Patch("GdipAddPathPolygonI", AddPolygon);
        Patch("GdipCreatePath2I", CreatePathOf);
        Patch("GdipTransformPath", TransformPath);
        Patch("GdipCreatePathGradientFromPath", CreatePathGradient);
        Patch("GdipSetPathGradientCenterColor", SetCenterColor);
        Patch("GdipSetPathGradientSurroundColorsWithCount", SetSurround);
        Patch("GdipSetPathGradientCenterPointI", SetCenter);
        Patch("GdipSetPathGradientFocusScales", SetFocus);
        Patch("GdipFillRectangleI", FillRectangle);
        Patch("GdipFillEllipseI", FillEllipse);
        Patch("GdipFillPieI", FillPie);
        Patch("GdipFillPolygonI", FillPolygon);
        Patch("GdipFillPath", FillPath);
        Patch("GdiplusStartup", Startup);
        Patch("GdiplusShutdown", Shutdown);
    }
    ~GdiplusRecord() { s_current = nullptr; }
    GdiplusRecord(const GdiplusRecord&) = delete;
    GdiplusRecord& operator=(const GdiplusRecord&) = delete;

    /// Functions that the library does not import: a test that does not look may test nothing.
    const std::string& Missing() const { return m_missing; }

    /// The lines whose first word it is, with "; " between.
    std::string Find(const std::string& word) const
    {
        std::string found;
        for (const std::string& line : m_lines)
            if (line.compare(0, word.size() + 1, word + " ") == 0)
                found += (found.empty() ? "" : "; ") + line;
        return found;
    }
    size_t Calls() const { return m_calls; }
    /// Forgets everything; from now on call number `failing` (from 1) fails, 0 for none. Without `keep` it
    /// only counts.
    void Restart(size_t failing = 0, bool keep = true)
    {
        m_calls = 0;
        m_failing = failing;
        m_keep = keep;
        std::vector<std::string>().swap(m_lines);
    }
    /// Called instead of filling a path.
    void InsteadOfFillPath(void (*function)()) { m_insteadOfFillPath = function; }

private:
    typedef Gdiplus::GpStatus Status;
    typedef Gdiplus::ARGB Argb;

    template <class Function>
    void Patch(const char* name, Function* replacement)
    {
        m_patches.emplace_back("CVCore16.dll", "gdiplus.dll", name, replacement);
        if (!m_patches.back().Found())
            m_missing += std::string(name) + " ";
    }
    // Writes it down; false when the call has to fail.
    static bool Note(const char* format, ...)
    {
        GdiplusRecord& record = *s_current;
        if (record.m_keep) {
            char line[300];
            va_list arguments;
            va_start(arguments, format);
            std::vsnprintf(line, sizeof line, format, arguments);
            va_end(arguments);
            record.m_lines.push_back(line);
        }
        return ++record.m_calls != record.m_failing;
    }

#define CV_GO_ON(noted, call) return (noted) ? Gdiplus::DllExports::call : Gdiplus::OutOfMemory
    static Status WINAPI CreateGraphics(HDC dc, Gdiplus::GpGraphics** out)
    {
        CV_GO_ON(Note("graphics "), GdipCreateFromHDC(dc, out));
    }
    static Status WINAPI SetPageUnit(Gdiplus::GpGraphics* graphics, Gdiplus::GpUnit unit)
    {
        CV_GO_ON(Note("unit %s", unit == Gdiplus::UnitPixel ? "pixel" : "other"),
                 GdipSetPageUnit(graphics, unit));
    }
    static Status WINAPI CreateLineRect(const Gdiplus::GpRect* r, Argb a, Argb b,
                                        Gdiplus::GpLinearGradientMode mode, Gdiplus::GpWrapMode wrap,
                                        Gdiplus::GpLineGradient** out)
    {
        CV_GO_ON(Note("line %d,%d %dx%d %s %08X %08X", r->X, r->Y, r->Width, r->Height,
                      mode == Gdiplus::LinearGradientModeVertical ? "down" : "right", a, b),
                 GdipCreateLineBrushFromRectI(r, a, b, mode, wrap, out));
    }
    static Status WINAPI CreateLine(const Gdiplus::GpPoint* p, const Gdiplus::GpPoint* q, Argb a, Argb b,
                                    Gdiplus::GpWrapMode wrap, Gdiplus::GpLineGradient** out)
    {
        CV_GO_ON(Note("line %d,%d to %d,%d %08X %08X", p->X, p->Y, q->X, q->Y, a, b),
                 GdipCreateLineBrushI(p, q, a, b, wrap, out));
    }
    static Status WINAPI SetLineBlend(Gdiplus::GpLineGradient* brush, const float* f, const float* p,
                                      int count)
    {
        std::string text;
        for (int i = 0; i < count; ++i) {
            char pair[40];
            std::snprintf(pair, sizeof pair, " %g@%g", f[i], p[i]);
            text += pair;
        }
        CV_GO_ON(Note("blend%s", text.c_str()), GdipSetLineBlend(brush, f, p, count));
    }
    static Status WINAPI SetLineWrap(Gdiplus::GpLineGradient* brush, Gdiplus::GpWrapMode wrap)
    {
        CV_GO_ON(Note("wrap %s", wrap == Gdiplus::WrapModeTileFlipX ? "flipX" : "other"),
                 GdipSetLineWrapMode(brush, wrap));
    }
    static Status WINAPI CreateSolid(Argb color, Gdiplus::GpSolidFill** out)
    {
        CV_GO_ON(Note("solid %08X", color), GdipCreateSolidFill(color, out));
    }
    static Status WINAPI CreatePath(Gdiplus::GpFillMode mode, Gdiplus::GpPath** out)
    {
        CV_GO_ON(Note("path "), GdipCreatePath(mode, out));
    }
    static Status WINAPI AddPolygon(Gdiplus::GpPath* path, const Gdiplus::GpPoint* points, int count)
    {
        CV_GO_ON(Note("corners %d", count), GdipAddPathPolygonI(path, points, count));
    }
    static Status WINAPI CreatePathOf(const Gdiplus::GpPoint* points, const BYTE* types, int count,
                                      Gdiplus::GpFillMode mode, Gdiplus::GpPath** out)
    {
        std::string text;
        for (int i = 0; i < count; ++i)
            text += " " + std::to_string(points[i].X) + "," + std::to_string(points[i].Y) + "#" +
                    std::to_string(types[i]);
        CV_GO_ON(Note("pathof%s", text.c_str()), GdipCreatePath2I(points, types, count, mode, out));
    }
    static Status WINAPI TransformPath(Gdiplus::GpPath* path, Gdiplus::GpMatrix* matrix)
    {
        float m[6] = {};
        Gdiplus::DllExports::GdipGetMatrixElements(matrix, m);
        CV_GO_ON(Note("fit %g %g %g %g %g %g", m[0], m[1], m[2], m[3], m[4], m[5]),
                 GdipTransformPath(path, matrix));
    }
    static Status WINAPI CreatePathGradient(const Gdiplus::GpPath* path, Gdiplus::GpPathGradient** out)
    {
        Gdiplus::GpRectF r;
        Gdiplus::DllExports::GdipGetPathWorldBounds(const_cast<Gdiplus::GpPath*>(path), &r, nullptr, nullptr);
        CV_GO_ON(Note("radial %.0f,%.0f %.0fx%.0f", r.X, r.Y, r.Width, r.Height),
                 GdipCreatePathGradientFromPath(path, out));
    }
    static Status WINAPI SetCenterColor(Gdiplus::GpPathGradient* brush, Argb color)
    {
        CV_GO_ON(Note("inside %08X", color), GdipSetPathGradientCenterColor(brush, color));
    }
    static Status WINAPI SetSurround(Gdiplus::GpPathGradient* brush, const Argb* colors, int* count)
    {
        CV_GO_ON(Note("surround %d %08X", *count, colors[0]),
                 GdipSetPathGradientSurroundColorsWithCount(brush, colors, count));
    }
    static Status WINAPI SetCenter(Gdiplus::GpPathGradient* brush, Gdiplus::GpPoint* point)
    {
        CV_GO_ON(Note("center %d,%d", point->X, point->Y), GdipSetPathGradientCenterPointI(brush, point));
    }
    static Status WINAPI SetFocus(Gdiplus::GpPathGradient* brush, float x, float y)
    {
        CV_GO_ON(Note("focus %.4g %.4g", x, y), GdipSetPathGradientFocusScales(brush, x, y));
    }
    static Status WINAPI FillRectangle(Gdiplus::GpGraphics* g, Gdiplus::GpBrush* brush, int x, int y, int w,
                                       int h)
    {
        CV_GO_ON(Note("fill rect %d,%d %dx%d", x, y, w, h), GdipFillRectangleI(g, brush, x, y, w, h));
    }
    static Status WINAPI FillEllipse(Gdiplus::GpGraphics* g, Gdiplus::GpBrush* brush, int x, int y, int w,
                                     int h)
    {
        CV_GO_ON(Note("fill ellipse %d,%d %dx%d", x, y, w, h), GdipFillEllipseI(g, brush, x, y, w, h));
    }
    static Status WINAPI FillPie(Gdiplus::GpGraphics* g, Gdiplus::GpBrush* brush, int x, int y, int w, int h,
                                 float start, float sweep)
    {
        CV_GO_ON(Note("fill pie %d,%d %dx%d %.4g %.4g", x, y, w, h, start, sweep),
                 GdipFillPieI(g, brush, x, y, w, h, start, sweep));
    }
    static Status WINAPI FillPolygon(Gdiplus::GpGraphics* g, Gdiplus::GpBrush* brush,
                                     const Gdiplus::GpPoint* points, int count, Gdiplus::GpFillMode mode)
    {
        CV_GO_ON(
            Note("fill polygon %d %s", count, mode == Gdiplus::FillModeAlternate ? "alternate" : "winding"),
            GdipFillPolygonI(g, brush, points, count, mode));
    }
    static Status WINAPI FillPath(Gdiplus::GpGraphics* g, Gdiplus::GpBrush* brush, Gdiplus::GpPath* path)
    {
        Gdiplus::GpRectF r;
        Gdiplus::DllExports::GdipGetPathWorldBounds(path, &r, nullptr, nullptr);
        if (s_current->m_insteadOfFillPath)
            s_current->m_insteadOfFillPath();
        CV_GO_ON(Note("fill path %.0f,%.0f %.0fx%.0f", r.X, r.Y, r.Width, r.Height),
                 GdipFillPath(g, brush, path));
    }
#undef CV_GO_ON
    static Status WINAPI Startup(ULONG_PTR* token, const Gdiplus::GdiplusStartupInput* input,
                                 Gdiplus::GdiplusStartupOutput* output)
    {
        return Note("gdiplus starts") ? Gdiplus::GdiplusStartup(token, input, output) : Gdiplus::OutOfMemory;
    }
    static void WINAPI Shutdown(ULONG_PTR token)
    {
        Note("gdiplus stops");
        Gdiplus::GdiplusShutdown(token);
    }

    inline static GdiplusRecord* s_current = nullptr;
    std::vector<ImportPatch> m_patches;
    std::vector<std::string> m_lines;
    std::string m_missing;
    size_t m_calls = 0, m_failing = 0;
    bool m_keep = true;
    void (*m_insteadOfFillPath)() = nullptr;
};

#endif
