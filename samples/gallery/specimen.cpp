// specimen.cpp: what there is to be shown.
#include "specimen.h"

#include <iterator>

namespace {

typedef SDrawGradient G;

constexpr G::GRADIENT_MODE kBoth = G::GRADIENT_INVERT | G::GRADIENT_MIRROR;

constexpr Variant kHorizontal[] = {
    { G::GRADIENT_HORZ, L"HORZ" },
    { G::GRADIENT_HORZ | G::GRADIENT_INVERT, L"HORZ, INVERT" },
    { G::GRADIENT_HORZ | G::GRADIENT_MIRROR, L"HORZ, MIRROR" },
    { G::GRADIENT_HORZ | kBoth, L"HORZ, both" },
};
constexpr Variant kVertical[] = {
    { G::GRADIENT_VERT, L"VERT" },
    { G::GRADIENT_VERT | G::GRADIENT_INVERT, L"VERT, INVERT" },
    { G::GRADIENT_VERT | G::GRADIENT_MIRROR, L"VERT, MIRROR" },
    { G::GRADIENT_VERT | kBoth, L"VERT, both" },
};
constexpr Variant kDiagonalUp[] = {
    { G::GRADIENT_DIAGUP, L"DIAGUP" },
    { G::GRADIENT_DIAGUP | G::GRADIENT_INVERT, L"DIAGUP, INVERT" },
    { G::GRADIENT_DIAGUP | G::GRADIENT_MIRROR, L"DIAGUP, MIRROR" },
    { G::GRADIENT_DIAGUP | kBoth, L"DIAGUP, both" },
};
constexpr Variant kDiagonalDown[] = {
    { G::GRADIENT_DIAGDOWN, L"DIAGDOWN" },
    { G::GRADIENT_DIAGDOWN | G::GRADIENT_INVERT, L"DIAGDOWN, INVERT" },
    { G::GRADIENT_DIAGDOWN | G::GRADIENT_MIRROR, L"DIAGDOWN, MIRROR" },
    { G::GRADIENT_DIAGDOWN | kBoth, L"DIAGDOWN, both" },
};
constexpr Variant kCorner[] = {
    { G::GRADIENT_CORNER, L"CORNER" },
    { G::GRADIENT_CORNER + 1, L"CORNER + 1" },
    { G::GRADIENT_CORNER + 2, L"CORNER + 2" },
    { G::GRADIENT_CORNER + 3, L"CORNER + 3" },
};
constexpr Variant kCenter[] = {
    { G::GRADIENT_CENTER, L"CENTER" },
    { G::GRADIENT_CENTER + 1, L"CENTER + 1" },
};
constexpr Variant kSphere[] = {
    { G::GRADIENT_3D, L"3D" },
    { G::GRADIENT_3D + 1, L"3D + 1" },
    { G::GRADIENT_3D + 2, L"3D + 2" },
    { G::GRADIENT_3D + 3, L"3D + 3" },
};
constexpr Variant kBevel[] = {
    { G::GRADIENT_BUTTON, L"BUTTON" },
    { G::GRADIENT_BUTTON + 1, L"BUTTON + 1" },
    { G::GRADIENT_BUTTON + 2, L"BUTTON + 2" },
    { G::GRADIENT_BUTTON + 3, L"BUTTON + 3" },
};
constexpr Variant kGlass[] = {
    { G::GRADIENT_BUTTON + 4, L"BUTTON + 4" },
    { G::GRADIENT_BUTTON + 5, L"BUTTON + 5" },
    { G::GRADIENT_BUTTON + 6, L"BUTTON + 6" },
    { G::GRADIENT_BUTTON + 7, L"BUTTON + 7" },
};
constexpr Variant kGradButton[] = {
    { G::GRADIENT_GRADBUTTON + 1, L"GRADBUTTON + 1" }, { G::GRADIENT_GRADBUTTON + 2, L"GRADBUTTON + 2" },
    { G::GRADIENT_GRADBUTTON + 3, L"GRADBUTTON + 3" }, { G::GRADIENT_GRADBUTTON + 4, L"GRADBUTTON + 4" },
    { G::GRADIENT_GRADBUTTON + 5, L"GRADBUTTON + 5" }, { G::GRADIENT_GRADBUTTON + 6, L"GRADBUTTON + 6" },
    { G::GRADIENT_GRADBUTTON + 7, L"GRADBUTTON + 7" }, { G::GRADIENT_GRADBUTTON + 8, L"GRADBUTTON + 8" },
};

template <size_t count>
constexpr Kind Named(const wchar_t* name, const Variant (&variants)[count])
{
    return { name, variants, static_cast<int>(count) };
}

// The fraction `part` / 100 of the way from `from` to `to`.
int Along(int from, int to, int part)
{
    return from + (to - from) * part / 100;
}

SPoint In(const SRect& rect, int x, int y)
{
    return SPoint(Along(rect.left, rect.right, x), Along(rect.top, rect.bottom, y));
}

// A heart, as the path of the device context.
void MakeHeart(HDC dc, const SRect& r)
{
    const POINT outline[] = { In(r, 50, 100), In(r, 40, 80), In(r, 0, 62),   In(r, 0, 30),    In(r, 0, -10),
                              In(r, 40, -10), In(r, 50, 22), In(r, 60, -10), In(r, 100, -10), In(r, 100, 30),
                              In(r, 100, 62), In(r, 60, 80), In(r, 50, 100) };
    ::BeginPath(dc);
    ::PolyBezier(dc, outline, static_cast<DWORD>(std::size(outline)));
    ::CloseFigure(dc);
    ::EndPath(dc);
}

} // namespace

const Kind kKinds[] = {
    Named(L"From top to bottom", kHorizontal),
    Named(L"From left to right", kVertical),
    Named(L"Along a diagonal", kDiagonalUp),
    Named(L"Along the other diagonal", kDiagonalDown),
    Named(L"Around a corner", kCorner),
    Named(L"Around the centre", kCenter),
    Named(L"Spheres", kSphere),
    Named(L"Bevelled buttons", kBevel),
    Named(L"Glass buttons", kGlass),
    Named(L"Gradient buttons", kGradButton),
};
const int kKindCount = static_cast<int>(std::size(kKinds));

const Frame kFrames[] = {
    { G::FRAME_RECT, L"RECT" }, { G::FRAME_ELLIPSE, L"ELLIPSE" }, { G::FRAME_ROUNDRECT, L"ROUNDRECT" },
    { G::FRAME_PIE, L"PIE" },   { G::FRAME_POLYGON, L"POLYGON" }, { G::FRAME_PATH, L"PATH" },
};
const int kFrameCount = static_cast<int>(std::size(kFrames));

const Colours kColours[] = {
    { L"sea", RGB(0x0B, 0x4F, 0x8A), RGB(0xB8, 0xE6, 0xF5) },
    { L"ember", RGB(0x8E, 0x1B, 0x12), RGB(0xFF, 0xC8, 0x57) },
    { L"meadow", RGB(0x1F, 0x6B, 0x3A), RGB(0xE4, 0xF2, 0x9C) },
    { L"plum", RGB(0x4B, 0x1F, 0x6F), RGB(0xF3, 0xC6, 0xE3) },
    { L"sky", RGB(0x4A, 0x90, 0xD9), RGB(0xE6, 0xF2, 0xFF) },
    { L"leaf", RGB(0x5F, 0xB2, 0x4A), RGB(0xF0, 0xFA, 0xE4) },
    { L"slate", RGB(0x36, 0x41, 0x4F), RGB(0xE8, 0xEC, 0xF1) },
};
const int kColoursCount = static_cast<int>(std::size(kColours));

void PaintSpecimen(SDC& dc, const SRect& rect, SDrawGradient::GRADIENT_MODE mode,
                   SDrawGradient::FRAME_TYPE frame, const Colours& colours, double zoom)
{
    const POINT hexagon[] = { In(rect, 0, 50),   In(rect, 22, 0),   In(rect, 78, 0),
                              In(rect, 100, 50), In(rect, 78, 100), In(rect, 22, 100) };
    SDrawGradient gradient;
    gradient.SetGradient(rect, colours.first, colours.second, mode, frame);
    gradient.m_zoom = zoom;
    gradient.m_roundWidth = gradient.m_roundHeight = rect.Height() / 2;
    gradient.m_pieStart = In(rect, 50, 0);
    gradient.m_pieEnd = In(rect, 100, 50);
    gradient.m_polyPoints = hexagon;
    gradient.m_polyCount = static_cast<long>(std::size(hexagon));
    if (frame == G::FRAME_PATH)
        MakeHeart(dc.GetHandle(), rect);
    gradient.DrawGradient(dc);
    ::AbortPath(dc.GetHandle());
}

void PaintText(SDC& dc, const SRect& rect, const SString& text, HFONT font, COLORREF color, UINT align)
{
    const HGDIOBJ before = ::SelectObject(dc.GetHandle(), font);
    ::SetBkMode(dc.GetHandle(), TRANSPARENT);
    ::SetTextColor(dc.GetHandle(), color);
    SRect place(rect);
    ::DrawTextW(dc.GetHandle(), text, text.Length(), &place,
                align | DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
    ::SelectObject(dc.GetHandle(), before);
}

HFONT MakeFont(int pixels, int weight)
{
    return ::CreateFontW(-pixels, 0, 0, 0, weight, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                         CLIP_DEFAULT_PRECIS, ANTIALIASED_QUALITY, DEFAULT_PITCH | FF_SWISS, L"Tahoma");
}
