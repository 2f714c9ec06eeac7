// gradients.cpp: SDrawGradient beside the bare calls of GDI+ that paint the same picture.
#include "bench.h"

#include "gradient.h"

#include <windows.h>

#include <stdexcept>

namespace {

/// A picture in memory to paint on.
template <int width, int height>
class Canvas {
public:
    Canvas() : dc(::CreateCompatibleDC(nullptr))
    {
        BITMAPINFO info = {};
        info.bmiHeader = { sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0 };
        void* bits = nullptr;
        m_bitmap = ::CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        if (!m_bitmap)
            throw std::runtime_error("no bitmap to paint on");
        pixels = static_cast<unsigned*>(bits);
        m_before = ::SelectObject(dc, m_bitmap);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;
    ~Canvas()
    {
        ::SelectObject(dc, m_before);
        ::DeleteObject(m_bitmap);
        ::DeleteDC(dc);
    }
    unsigned long Sum() const
    {
        ::GdiFlush();
        unsigned long sum = 0;
        for (int i = 0; i < width * height; ++i)
            sum = sum * 31 + (pixels[i] & 0xFFFFFF);
        return sum;
    }

    HDC dc;
    unsigned* pixels;

private:
    HBITMAP m_bitmap;
    HGDIOBJ m_before;
};

const COLORREF kFirst = RGB(20, 60, 160), kLast = RGB(200, 225, 255);

template <int width, int height>
unsigned long PaintOurs(Run& run)
{
    Canvas<width, height> canvas;
    SDC dc;
    dc.Attach(canvas.dc);
    SDrawGradient gradient;
    gradient.SetGradient(SRect(0, 0, width, height), kFirst, kLast, SDrawGradient::GRADIENT_HORZ,
                         SDrawGradient::FRAME_RECT);
    for (long i = run.n; i > 0; --i)
        gradient.DrawGradient(dc);
    dc.Detach();
    return canvas.Sum();
}

/// The same brush: it begins a pixel outside the shape, and its middle is brightened.
template <int width, int height>
unsigned long PaintBare(Run& run)
{
    SGraphics::Startup();
    Canvas<width, height> canvas;
    for (long i = run.n; i > 0; --i) {
        Gdiplus::Color first, last;
        first.SetFromCOLORREF(kFirst);
        last.SetFromCOLORREF(kLast);
        const Gdiplus::REAL factors[] = { 0.0f, 0.25f, 0.55f, 0.83f, 1.0f };
        const Gdiplus::REAL positions[] = { 0.0f, 0.25f, 0.5f, 0.75f, 1.0f };
        Gdiplus::LinearGradientBrush brush(Gdiplus::Rect(-1, -1, width + 2, height + 2), first, last,
                                           Gdiplus::LinearGradientModeVertical);
        brush.SetBlend(factors, positions, 5);
        Gdiplus::Graphics graphics(canvas.dc);
        graphics.FillRectangle(&brush, Gdiplus::Rect(0, 0, width, height));
    }
    return canvas.Sum();
}

template <int width, int height>
Row PaintRow(const char* key, double goal)
{
    return { key,
             Nanoseconds(width * height),
             AtMost(goal),
             PaintOurs<width, height>,
             { { "bare GDI+", PaintBare<width, height> } } };
}

const Row kRows[] = {
    // Where nothing shows through, the pixels need not be blended, which the bare calls do.
    PaintRow<800, 600>("grad.linear.800x600", 0.90),
    PaintRow<100, 24>("grad.linear.100x24", 1.01),
};

} // namespace

extern const Subject kGradients;
const Subject kGradients = { "gradients", [](Bench& bench) { bench.Compare(kRows); } };
