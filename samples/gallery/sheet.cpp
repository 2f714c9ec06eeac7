// sheet.cpp: the contact sheet.
#include "sheet.h"

#include "specimen.h"

#include "../picture.h"

#include <iterator>

namespace {

constexpr int kColumns = 8, kTileWidth = 128, kTileHeight = 76, kCaption = 18, kGap = 16, kMargin = 28,
              kHeading = 40;
constexpr int kCell = kTileWidth + kGap, kRow = kTileHeight + kCaption + 8;
constexpr COLORREF kPaper = RGB(0xFF, 0xFF, 0xFF), kInk = RGB(0x22, 0x2B, 0x36),
                   kFaint = RGB(0x6B, 0x76, 0x84);

// A line of the sheet: a heading, and kinds side by side, each with a frame; or one variant in every frame.
struct Part {
    int kind, frame, colours;
};
struct Line {
    const wchar_t* heading;
    Part left, right; // right.kind -1: none, the left one has the whole line
};
constexpr int kNone = -1;
enum { kSea, kEmber, kMeadow, kPlum, kSky, kLeaf, kSlate };
constexpr Line kLines[] = {
    { L"Linear: HORZ, VERT, DIAGUP, DIAGDOWN", { 0, 0, kSea }, { 1, 0, kSea } },
    { nullptr, { 2, 0, kSea }, { 3, 0, kSea } },
    { L"Around a point: CORNER, CENTER", { 4, 0, kEmber }, { 5, 0, kEmber } },
    { L"Spheres: 3D", { 6, 1, kPlum }, { 6, 2, kPlum } },
    { L"Buttons: bevelled and of glass", { 7, 0, kSky }, { 8, 2, kSky } },
    { nullptr, { 7, 2, kLeaf }, { 8, 1, kLeaf } },
    { L"Gradient buttons", { 9, 0, kSlate }, { kNone, 0, 0 } },
};
// The same picture in each frame.
struct FrameLine {
    int kind, variant, colours;
};
constexpr int kGlassKind = 8;
constexpr FrameLine kFrameLines[] = {
    { 1, 0, kEmber },
    { 5, 0, kPlum },
    { 9, 0, kMeadow },
    { kGlassKind, 2, kSky },
};

class Sheet {
public:
    Sheet() : m_picture(2 * kMargin + kColumns * kCell - kGap, Height()), m_y(kMargin)
    {
        m_heading.Attach(MakeFont(17, FW_BOLD));
        m_caption.Attach(MakeFont(11, FW_NORMAL));
        const SRect all(0, 0, m_picture.Width(), m_picture.Height());
        SGdiObject paper;
        paper.Attach(::CreateSolidBrush(kPaper));
        ::FillRect(m_picture.Dc().GetHandle(), &all, static_cast<HBRUSH>(paper.GetHandle()));
    }

    void Paint()
    {
        for (const Line& line : kLines) {
            Heading(line.heading);
            PaintKind(line.left, 0);
            if (line.right.kind != kNone)
                PaintKind(line.right, kColumns / 2);
            m_y += kRow;
        }
        Heading(L"Frames: VERT, CENTER, GRADBUTTON + 1, BUTTON + 6");
        for (const FrameLine& line : kFrameLines) {
            const Variant& variant = kKinds[line.kind].variants[line.variant];
            for (int i = 0; i < kFrameCount; ++i) {
                // Glass clips a pie to the box between its points, and this pie lies outside of it.
                if (line.kind == kGlassKind && kFrames[i].type == SDrawGradient::FRAME_PIE)
                    continue;
                PaintTile(i, variant.mode, kFrames[i].type, kColours[line.colours], kFrames[i].caption);
            }
            m_y += kRow;
        }
    }

    void Save(const SString& path) const { m_picture.SaveAsPng(path); }

private:
    static int Height()
    {
        int height =
            2 * kMargin + kHeading + kRow * static_cast<int>(std::size(kLines) + std::size(kFrameLines));
        for (const Line& line : kLines)
            height += line.heading ? kHeading : 0;
        return height;
    }
    void Heading(const wchar_t* text)
    {
        if (!text)
            return;
        const SRect place(kMargin, m_y, m_picture.Width() - kMargin, m_y + kHeading - 8);
        PaintText(m_picture.Dc(), place, text, static_cast<HFONT>(m_heading.GetHandle()), kInk, DT_LEFT);
        m_y += kHeading;
    }
    void PaintKind(const Part& part, int column)
    {
        const Kind& kind = kKinds[part.kind];
        for (int i = 0; i < kind.count; ++i)
            PaintTile(column + i, kind.variants[i].mode, kFrames[part.frame].type, kColours[part.colours],
                      kind.variants[i].caption);
    }
    void PaintTile(int column, SDrawGradient::GRADIENT_MODE mode, SDrawGradient::FRAME_TYPE frame,
                   const Colours& colours, const SString& caption)
    {
        constexpr double kFullZoom = 100.0;
        const SRect tile(SPoint(kMargin + column * kCell, m_y), SSize(kTileWidth, kTileHeight));
        PaintSpecimen(m_picture.Dc(), tile, mode, frame, colours, kFullZoom);
        const SRect below(tile.left - kGap / 2, tile.bottom, tile.right + kGap / 2, tile.bottom + kCaption);
        PaintText(m_picture.Dc(), below, caption, static_cast<HFONT>(m_caption.GetHandle()), kFaint,
                  DT_CENTER);
    }

    Picture m_picture;
    SFontOld m_heading, m_caption;
    int m_y;
};

} // namespace

void SaveSheet(const SString& path)
{
    Sheet sheet;
    sheet.Paint();
    sheet.Save(path);
}
