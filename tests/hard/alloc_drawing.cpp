// Wrappers of GDI's handles, GDI+ and gradients without memory.
#include "gradient.h"

#include "hard/allocwalk.h"
#include "support/canvas.h"

namespace {

// ---- Wrappers: a temporary object, then a permanent one ----

template <class Object, class Handle, Handle (*make)(), void (*end)(Handle)>
struct Wrapped {
    Handle handle = make();
    Object object;
    NoSpareBlocks none;

    ~Wrapped()
    {
        Object::DeleteTempMap();
        object.Detach();
        end(handle);
    }
    std::wstring Look() const
    {
        return !object.GetHandle()                              ? L"free"
               : Object::FromHandlePermanent(handle) == &object ? L"attached"
                                                                : L"unknown";
    }
    bool Work() { return Object::FromHandle(handle)->GetHandle() == handle && object.Attach(handle) != 0; }
};

HDC MakeContext()
{
    return ::CreateCompatibleDC(nullptr);
}
void EndContext(HDC dc)
{
    ::DeleteDC(dc);
}
HGDIOBJ MakePen()
{
    return ::CreatePen(PS_SOLID, 1, RGB(1, 2, 3));
}
void EndPen(HGDIOBJ pen)
{
    ::DeleteObject(pen);
}
HFONT MakeFont()
{
    const LOGFONTW wanted = {};
    return ::CreateFontIndirectW(&wanted);
}
void EndFont(HFONT font)
{
    ::DeleteObject(font);
}
HIMAGELIST MakeList()
{
    return ::ImageList_Create(4, 4, ILC_COLOR, 1, 0);
}
void EndList(HIMAGELIST list)
{
    ::ImageList_Destroy(list);
}

typedef Wrapped<SDC, HDC, MakeContext, EndContext> Contexts;
typedef Wrapped<SGdiObject, HGDIOBJ, MakePen, EndPen> Objects;
typedef Wrapped<SFontOld, HFONT, MakeFont, EndFont> Fonts;
typedef Wrapped<SImageList, HIMAGELIST, MakeList, EndList> Lists;

const Row<Contexts> kContexts[] = { { "SDC::Map", [](Contexts& w) { return w.Work(); } } };
const Row<Objects> kObjects[] = { { "SGdiObject::Map", [](Objects& w) { return w.Work(); } } };
const Row<Fonts> kFonts[] = { { "SFontOld::Map", [](Fonts& w) { return w.Work(); } } };
const Row<Lists> kLists[] = { { "SImageList::Map", [](Lists& w) { return w.Work(); } } };

// ---- GDI+ ----

// Whoever comes first starts it; who could not leaves that to the next one.
struct Stopped {
    Canvas canvas{ 10, 10 };

    Stopped() { SGraphics::Shutdown(); }
    ~Stopped() { SGraphics::Shutdown(); }
    std::wstring Look() const { return SGraphics::Startup() ? L"it can be started" : L"never again"; }
};

const Row<Stopped> kStopped[] = {
    { "SGraphics::Startup SGraphics::Shutdown", [](Stopped&) { return SGraphics::Startup() != 0; } },
    { "SGraphics::SGraphics",
      [](Stopped& s) { return SGraphics(s.canvas.dc).GetLastStatus() == Gdiplus::Ok; } },
    { "SGraphicsPath::SGraphicsPath",
      [](Stopped&) { return SGraphicsPath().GetLastStatus() == Gdiplus::Ok; } },
};

// ---- Shapes that are a path: what the library makes of the device context's ----

typedef SDrawGradient G;

const SRect kWhole(10, 10, 90, 60);

struct Pictures {
    Canvas canvas{ 100, 70 };
    G gradient;

    Pictures()
    {
        SGraphics::Startup();
        const HDC dc = canvas.dc.GetHandle();
        ::BeginPath(dc);
        ::Rectangle(dc, kWhole.left, kWhole.top, kWhole.right, kWhole.bottom);
        ::EndPath(dc);
    }
    ~Pictures() { SGraphics::Shutdown(); }
    // All pixels in a number.
    std::wstring Look() const
    {
        unsigned hash = 0;
        for (int y = 0; y < 70; ++y)
            for (int x = 0; x < 100; ++x)
                hash = hash * 31 + canvas.At(x, y);
        return std::to_wstring(hash);
    }
    // Nothing is reported, so the picture tells.
    bool Draw(int mode)
    {
        gradient.SetGradient(kWhole, RGB(200, 0, 0), RGB(0, 0, 200), static_cast<G::GRADIENT_MODE>(mode),
                             G::FRAME_PATH);
        gradient.DrawGradient(canvas.dc);
        return canvas.CountPainted() > 0;
    }
};

const Row<Pictures> kPictures[] = {
    { "SGraphicsPath::AddDCPath",
      [](Pictures& p) { return SGraphicsPath().AddDCPath(p.canvas.dc.GetHandle()) == Gdiplus::Ok; } },
    { "SGraphics::FillDCPath",
      [](Pictures& p) {
          SGraphics graphics(p.canvas.dc);
          const Gdiplus::SolidBrush brush(Gdiplus::Color(255, 0, 0));
          return graphics.FillDCPath(brush, p.canvas.dc.GetHandle()) == Gdiplus::Ok;
      } },
    { "SDrawGradient::FillGradient",
      [](Pictures& p) {
          const Gdiplus::SolidBrush brush(Gdiplus::Color(255, 0, 0));
          p.gradient.m_frameType = G::FRAME_PATH;
          p.gradient.FillGradient(p.canvas.dc, brush, Gdiplus::Rect(10, 10, 80, 50), Gdiplus::Color(),
                                  Gdiplus::Color());
          return p.canvas.CountPainted() > 0;
      } },
    { "SDrawGradient::DrawHorzGradient SDrawGradient::DrawGradient",
      [](Pictures& p) { return p.Draw(G::GRADIENT_HORZ); } },
    { "SDrawGradient::DrawVertGradient", [](Pictures& p) { return p.Draw(G::GRADIENT_VERT); } },
    { "SDrawGradient::DrawDiagUpGradient", [](Pictures& p) { return p.Draw(G::GRADIENT_DIAGUP); } },
    { "SDrawGradient::DrawDiagDownGradient", [](Pictures& p) { return p.Draw(G::GRADIENT_DIAGDOWN); } },
    { "SDrawGradient::DrawCornerGradient", [](Pictures& p) { return p.Draw(G::GRADIENT_CORNER); } },
    { "SDrawGradient::DrawCenterGradient SDrawGradient::DrawCenterGradientEx",
      [](Pictures& p) { return p.Draw(G::GRADIENT_CENTER); } },
    { "SDrawGradient::Draw3DGradient", [](Pictures& p) { return p.Draw(G::GRADIENT_3D); } },
    { "SDrawGradient::DrawButtonGradient", [](Pictures& p) { return p.Draw(G::GRADIENT_BUTTON); } },
    { "SDrawGradient::DrawGradButtonGradient SGraphicsPath::Fit",
      [](Pictures& p) {
          p.Draw(G::GRADIENT_GRADBUTTON + 1);
          const bool framed = p.canvas.At(11, 35) != Canvas::kPaper;
          return framed && GetBValue(p.canvas.At(18, 35)) > GetRValue(p.canvas.At(18, 35));
      },
      kKeepsSome }, // frame and face are two layers, and one may be left out
};

const int g_rows = AddRows("Contexts", kContexts) + AddRows("Objects", kObjects) + AddRows("Fonts", kFonts) +
                   AddRows("Lists", kLists) + AddRows("Stopped", kStopped) + AddRows("Pictures", kPictures);

} // namespace
