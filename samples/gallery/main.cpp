// gallery: pages through the kinds of gradients and their frames, with zoom and colours to play with.
//
//     gallery [--script FILE] [--shot FILE.png]    pages with the keys left and right: kind; up and down: frame;
//                                                  + and -: zoom; space: colours
//     gallery --sheet FILE.png                     saves the contact sheet and shows no window
//
// A script drives the window by messages, one line each: "key NAME" (left, right, up, down, plus, minus,
// space), "report", "quit"; what it reports goes to standard output. --shot saves what the window shows
// before it closes.
#include "../console.h"
#include "../picture.h"

#include "sheet.h"
#include "specimen.h"

#include "crash.h"
#include "notifmgr.h"
#include "sfilestream.h"
#include "stextin.h"
#include "strtab.h"
#include "winapp.h"

namespace {

constexpr UINT kScriptStep = WM_APP + 1;
constexpr int kTileWidth = 160, kTileHeight = 96, kGap = 20, kCaption = 24, kHead = 56, kMargin = 24;
constexpr int kZoomStep = 25, kLeastZoom = 25, kLargestZoom = 400;
constexpr COLORREF kPaper = RGB(0xFF, 0xFF, 0xFF), kInk = RGB(0x22, 0x2B, 0x36),
                   kFaint = RGB(0x6B, 0x76, 0x84);

class Gallery : public SWnd {
public:
    bool Make(int show);
    void SetScript(const SString& text) { m_script.AddFromList(text, L"\n", L'\0'); }
    void SetShot(const SString& path) { m_shot = path; }
    /// Does the next line of the script when everything of the one before is done; false at its end.
    bool StepScript();

private:
    void OnPaint();
    LRESULT OnEraseBkgnd(WPARAM) { return 1; } // OnPaint covers everything
    LRESULT OnKey(WPARAM key, LPARAM);
    LRESULT OnScriptStep(WPARAM, LPARAM);
    void OnClose();
    void PaintPage(SDC& dc, int width, int height);
    SString Status() const;
    static void OnIdleDone(int, WPARAM, LPARAM, void* gallery)
    {
        static_cast<Gallery*>(gallery)->StepScript();
    }

    int m_kind = 0, m_frame = 0, m_colours = 0, m_zoom = 100;
    int m_paints = 0;
    SFontOld m_headFont, m_captionFont;
    SStringTable m_script;
    SString m_shot;
    S_DECLARE_MESSAGE_MAP()
};
S_BEGIN_MESSAGE_MAP(Gallery, SWnd)
S_ON_WM_PAINT()
S_ON_WM_ERASEBKGND()
S_ON_WM_CLOSE()
S_ON_MESSAGE(WM_KEYDOWN, OnKey)
S_ON_MESSAGE(kScriptStep, OnScriptStep)
S_END_MESSAGE_MAP()

bool Gallery::Make(int show)
{
    const RECT place = { 40, 40, 880, 480 };
    if (!CreateEx(0, RegisterWindowClass(CS_HREDRAW | CS_VREDRAW), L"gallery", WS_OVERLAPPEDWINDOW, place,
                  nullptr, 0))
        return false;
    m_headFont.Attach(MakeFont(20, FW_BOLD));
    m_captionFont.Attach(MakeFont(12, FW_NORMAL));
    SNotificationManager::Subscribe(SNotificationManager::kIdleDone, OnIdleDone, this);
    ::ShowWindow(GetHandle(), show);
    return true;
}

void Gallery::OnPaint()
{
    PAINTSTRUCT paint;
    RECT client;
    ::BeginPaint(GetHandle(), &paint);
    ::GetClientRect(GetHandle(), &client);
    if (client.right > 0 && client.bottom > 0) {
        Picture page(client.right, client.bottom); // painted aside, so that nothing flickers
        PaintPage(page.Dc(), client.right, client.bottom);
        ::BitBlt(paint.hdc, 0, 0, client.right, client.bottom, page.Dc().GetHandle(), 0, 0, SRCCOPY);
    }
    ::EndPaint(GetHandle(), &paint);
    ++m_paints;
}

void Gallery::PaintPage(SDC& dc, int width, int height)
{
    const SRect all(0, 0, width, height);
    ::SetDCBrushColor(dc.GetHandle(), kPaper);
    ::FillRect(dc.GetHandle(), &all, static_cast<HBRUSH>(::GetStockObject(DC_BRUSH)));
    const HFONT headFont = static_cast<HFONT>(m_headFont.GetHandle());
    const HFONT captionFont = static_cast<HFONT>(m_captionFont.GetHandle());
    const Kind& kind = kKinds[m_kind];
    PaintText(dc, SRect(kMargin, 0, width - kMargin, kHead), kind.name, headFont, kInk, DT_LEFT);
    PaintText(dc, SRect(kMargin, 0, width - kMargin, kHead), Status(), captionFont, kFaint, DT_RIGHT);

    const int tileWidth = kTileWidth * m_zoom / 100, tileHeight = kTileHeight * m_zoom / 100;
    int x = kMargin, y = kHead;
    for (int i = 0; i < kind.count; ++i) {
        if (i > 0 && x + tileWidth > width - kMargin) {
            x = kMargin;
            y += tileHeight + kCaption + kGap;
        }
        const SRect tile(SPoint(x, y), SSize(tileWidth, tileHeight));
        PaintSpecimen(dc, tile, kind.variants[i].mode, kFrames[m_frame].type, kColours[m_colours], m_zoom);
        PaintText(dc, SRect(tile.left, tile.bottom, tile.right, tile.bottom + kCaption),
                  kind.variants[i].caption, captionFont, kFaint, DT_CENTER);
        x += tileWidth + kGap;
    }
}

SString Gallery::Status() const
{
    return SString().Format(L"%s, %s, %d %%", kFrames[m_frame].caption, kColours[m_colours].name, m_zoom);
}

// The number before or after another of `count`, round and round.
int Turned(int number, int by, int count)
{
    return (number + by + count) % count;
}

LRESULT Gallery::OnKey(WPARAM key, LPARAM)
{
    switch (key) {
    case VK_LEFT: m_kind = Turned(m_kind, -1, kKindCount); break;
    case VK_RIGHT: m_kind = Turned(m_kind, 1, kKindCount); break;
    case VK_UP: m_frame = Turned(m_frame, -1, kFrameCount); break;
    case VK_DOWN: m_frame = Turned(m_frame, 1, kFrameCount); break;
    case VK_SPACE: m_colours = Turned(m_colours, 1, kColoursCount); break;
    case VK_ADD:
    case VK_OEM_PLUS: m_zoom += m_zoom < kLargestZoom ? kZoomStep : 0; break;
    case VK_SUBTRACT:
    case VK_OEM_MINUS: m_zoom -= m_zoom > kLeastZoom ? kZoomStep : 0; break;
    default: return 0;
    }
    ::InvalidateRect(GetHandle(), nullptr, FALSE);
    return 0;
}

void Gallery::OnClose()
{
    if (!m_shot.IsEmpty()) {
        ::RedrawWindow(GetHandle(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        SaveWindowAsPng(GetHandle(), m_shot);
    }
    SNotificationManager::Unsubscribe(SNotificationManager::kIdleDone, OnIdleDone, this);
    DestroyWindow();
}

// ---- The script ----

bool Gallery::StepScript()
{
    if (m_script.IsEmpty())
        return false;
    ::PostMessageW(GetHandle(), kScriptStep, 0, 0);
    return true;
}

LRESULT Gallery::OnScriptStep(WPARAM, LPARAM)
{
    static constexpr struct {
        const wchar_t* name;
        WPARAM key;
    } kKeys[] = { { L"left", VK_LEFT },  { L"right", VK_RIGHT }, { L"up", VK_UP },
                  { L"down", VK_DOWN },  { L"plus", VK_ADD },    { L"minus", VK_SUBTRACT },
                  { L"space", VK_SPACE } };
    SString word, rest;
    m_script[0].Split(&word, &rest, L' ');
    m_script.Remove(0);
    word.TrimRight(L'\r');
    rest.TrimRight(L'\r');
    if (word == L"key") {
        for (const auto& key : kKeys)
            if (rest == key.name)
                ::PostMessageW(GetHandle(), WM_KEYDOWN, key.key, 0);
    } else if (word == L"report") {
        ::UpdateWindow(GetHandle());
        Print(stdout, SString().Format(L"%s: %s, painted %s\n", kKinds[m_kind].name, Status(),
                                       m_paints > 0 ? L"yes" : L"no"));
    } else if (word == L"quit") {
        ::PostMessageW(GetHandle(), WM_CLOSE, 0, 0);
    }
    return 0;
}

// ---- The application ----

class App : public SWinApp {
public:
    explicit App(Gallery& gallery) : m_gallery(gallery) {}
    int Init(HINSTANCE instance, HINSTANCE previous, char* commandLine, int show) override
    {
        if (!SWinApp::Init(instance, previous, commandLine, show) || !m_gallery.Make(show))
            return 0;
        SetMainWnd(&m_gallery);
        return 1;
    }

private:
    Gallery& m_gallery;
};

int RunWindow(const SString& script, const SString& shot)
{
    Gallery gallery;
    App app(gallery);
    if (!app.Init(nullptr, nullptr, nullptr, SW_SHOW))
        throw BadInput{ L"no window: " + LastErrorText() };
    gallery.SetScript(script);
    gallery.SetShot(shot);
    gallery.StepScript();
    return app.Run();
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    constexpr int kBadInput = 2, kFailed = 3;
    VectoredExceptionHook::Install();
    try {
        SString script, shot;
        for (int i = 1; i < count; i += 2) {
            const SString option(arguments[i]);
            if (i + 1 == count || (option != L"--sheet" && option != L"--script" && option != L"--shot"))
                throw BadInput{ L"usage: gallery [--script FILE] [--shot FILE.png] | --sheet FILE.png" };
            const SString path = Typed(arguments[i + 1]);
            if (option == L"--sheet") {
                SaveSheet(path);
                SGraphics::Shutdown(); // there is no application object that would
                return 0;
            }
            if (option == L"--shot") {
                shot = path;
            } else {
                SInputFile file(path);
                script = SInputTextStream(file).GetText();
            }
        }
        return RunWindow(script, shot);
    }
    catch (const BadInput& bad) {
        Print(stderr, SString::Concat(L"gallery: ", bad.message, L"\n"));
        return kBadInput;
    }
    catch (const SException& e) {
        Print(stderr, SString::Concat(L"gallery: ", e.GetFullText(), L"\n"));
        return kFailed;
    }
}
