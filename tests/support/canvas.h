// canvas.h: an off-screen picture whose pixels tests look at.
#ifndef TESTS_CANVAS_H
#define TESTS_CANVAS_H

#include "sgdi.h"

#include <algorithm>
#include <stdexcept>

/// 32 bits a pixel, all kPaper at first.
class Canvas {
public:
    static constexpr COLORREF kPaper = RGB(1, 2, 3);

    explicit Canvas(int width = 200, int height = 120) : m_width(width), m_height(height)
    {
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof info.bmiHeader;
        info.bmiHeader.biWidth = width;
        info.bmiHeader.biHeight = -height;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        dc.Attach(::CreateCompatibleDC(nullptr));
        m_bitmap.Attach(::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &m_bits, nullptr, 0));
        if (!m_bits)
            throw std::runtime_error("no bitmap to test on");
        m_before = ::SelectObject(dc.GetHandle(), m_bitmap.GetHandle());
        Clear();
    }
    ~Canvas() { ::SelectObject(dc.GetHandle(), m_before); }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    void Clear()
    {
        ::GdiFlush();
        std::fill_n(static_cast<DWORD*>(m_bits), m_width * m_height, 0x010203u);
    }
    COLORREF At(int x, int y) const
    {
        ::GdiFlush();
        const DWORD pixel = static_cast<const DWORD*>(m_bits)[y * m_width + x];
        return RGB(pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF);
    }
    /// How many pixels are no paper, outside of a rectangle or, with an empty one, at all.
    int CountPainted(const RECT& except = {}) const
    {
        int count = 0;
        for (int y = 0; y < m_height; ++y)
            for (int x = 0; x < m_width; ++x)
                count += !::PtInRect(&except, POINT{ x, y }) && At(x, y) != kPaper;
        return count;
    }

    SDC dc;

private:
    int m_width, m_height;
    void* m_bits = nullptr;
    SGdiObject m_bitmap;
    HGDIOBJ m_before;
};

#endif
