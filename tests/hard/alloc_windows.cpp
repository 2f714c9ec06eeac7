// Windows, dialogs, the application, and the rich-edit control without memory. Nothing here is ever shown.
#include "excdlg.h"
#include "rtfdoc.h"
#include "sdlg.h"
#include "smenu.h"
#include "winapp.h"

#include "hard/allocwalk.h"
#include "support/importpatch.h"
#include "support/templog.h"
#include "support/testwindow.h"

namespace {

HWND MakePlain(HWND parent = nullptr)
{
    return ::CreateWindowExW(0, L"STATIC", L"plain", parent ? WS_CHILD : WS_POPUP, 0, 0, 10, 10, parent,
                             nullptr, ::GetModuleHandleW(nullptr), nullptr);
}

// ---- Windows and menus ----

class Frame : public SWnd {
public:
    bool Make(SWnd* parent = nullptr)
    {
        return CreateEx(0, RegisterWindowClass(), L"frame", parent ? WS_CHILD : WS_POPUP, kPlace, parent,
                        0) != 0;
    }
    void OnSetFocus(SWnd* before) { seen = before ? before->GetHandle() : nullptr; }
    LRESULT OnTest(WPARAM, LPARAM) { return ++heard; }
    void OnUpdate(SCmdUI* ui) { ui->SetText(L"renamed"); }

    HWND seen = nullptr;
    int heard = 0;
    S_DECLARE_MESSAGE_MAP()
};

S_BEGIN_MESSAGE_MAP(Frame, SWnd)
S_ON_WM_SETFOCUS()
S_ON_MESSAGE(kTest, OnTest)
S_ON_UPDATE_COMMAND_UI(1, OnUpdate)
S_END_MESSAGE_MAP()

struct Frames {
    Frame frame, child;
    SWnd attached, fresh;
    HWND plain, control;
    HMENU menu = ::CreatePopupMenu();
    const wchar_t* className = nullptr;
    std::unique_ptr<NoSpareBlocks> none;

    Frames()
    {
        frame.Make();
        child.Make(&frame);
        plain = MakePlain();
        control = MakePlain(frame.GetHandle());
        ::SetWindowLongPtrW(control, GWLP_ID, 5);
        attached.Attach(MakePlain());
        ::AppendMenuW(menu, MF_STRING, 1, L"item");
        ForgetTemporary();
        none = std::make_unique<NoSpareBlocks>();
    }
    ~Frames()
    {
        ForgetTemporary();
        ::DestroyMenu(menu);
        ::DestroyWindow(plain);
    }
    static void ForgetTemporary()
    {
        SWnd::DeleteTempMap();
        SMenu::DeleteTempMap();
    }
    static int Children(HWND window)
    {
        int count = 0;
        for (HWND at = ::GetTopWindow(window); at; at = ::GetWindow(at, GW_HWNDNEXT))
            ++count;
        return count;
    }
    std::wstring Look() const
    {
        wchar_t item[20] = {};
        ::GetMenuStringW(menu, 0, item, 20, MF_BYPOSITION);
        const HWND known[] = { plain, control };
        std::wstring look = std::to_wstring(Children(frame.GetHandle())) + L'|' +
                            std::to_wstring(child.heard) + L'|' +
                            (frame.seen == plain ? L"seen" : L"unseen") + L'|' + item + L'|' +
                            (className ? L"class" : L"none") + L'|';
        for (const SWnd* object : { &attached, &fresh }) {
            const HWND window = object->GetHandle();
            look += !window ? L'0' : window == known[0] ? L'p' : window == known[1] ? L'c' : L'o';
            look += window && SWnd::FromHandlePermanent(window) == object ? L'+' : L'-';
        }
        for (const HWND window : known) {
            look += ::GetWindowLongPtrW(window, GWLP_WNDPROC) ==
                            ::GetWindowLongPtrW(frame.GetHandle(), GWLP_WNDPROC)
                        ? L'o'
                        : L's';
        }
        return look;
    }
};

const Row<Frames> kFrames[] = {
    { "SWnd::FromHandle SWnd::MakeTemporary SWnd::EndTemporary",
      [](Frames& f) { return SWnd::FromHandle(f.plain)->GetHandle() == f.plain; } },
    { "SWnd::Attach SWnd::Enter", [](Frames& f) { return f.attached.Attach(f.plain) != 0; } },
    { "SWnd::SubclassWindow SWnd::PutProcedure",
      [](Frames& f) { return f.fresh.SubclassWindow(f.plain) != 0; } },
    { "SWnd::SubclassChild", [](Frames& f) { return f.fresh.SubclassChild(5, &f.frame) != 0; } },
    { "SWnd::RegisterWindowClass",
      [](Frames& f) { return (f.className = SWnd::RegisterWindowClass(CS_DBLCLKS)) != nullptr; } },
    { "SWnd::CreateEx",
      [](Frames& f) { return f.fresh.CreateEx(0, L"STATIC", L"made", WS_CHILD, kPlace, &f.frame, 7) != 0; } },
    { "SWnd::SendMessageW SWnd::Procedure SWnd::WindowProc SWnd::OnWndMsg SWnd::CallHandler",
      [](Frames& f) {
          f.frame.SendMessage(WM_SETFOCUS, reinterpret_cast<WPARAM>(f.plain));
          return f.frame.seen != nullptr;
      } },
    { "SWnd::SendMessageToDescendants",
      [](Frames& f) {
          SWnd::SendMessageToDescendants(f.frame.GetHandle(), kTest, 0, 0);
          return f.child.heard > 0;
      } },
    { "SWnd::OnInitMenuPopup SMenu::UpdateItems SMenu::Map",
      [](Frames& f) {
          f.frame.SendMessage(WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(f.menu));
          return true;
      } },
};

// A class that the system refuses, as the name of one that it takes stays for good.
ATOM WINAPI RefuseClass(const WNDCLASSW*)
{
    ::SetLastError(ERROR_NOT_SUPPORTED);
    return 0;
}

struct Refused {
    ImportPatch patch{ "CVCore16.dll", nullptr, "RegisterClassW", RefuseClass };
    NoSpareBlocks none;

    std::wstring Look() const { return patch.Found() ? L"refused" : L"not asked"; }
};

const Row<Refused> kRefused[] = {
    { "SWnd::RegisterWindowClass",
      [](Refused&) {
          return !SWnd::RegisterWindowClass(CS_NOCLOSE) && ::GetLastError() == ERROR_NOT_SUPPORTED;
      } },
};

// ---- Dialogs ----

class Brief : public SDlg {
    int OnInitDialog() override { return EndDialog(IDOK), SDlg::OnInitDialog(); }
};

// Below a hidden window, so that a modal one is not seen either.
struct Dialogs {
    Frame frame;
    MemoryTemplate below;
    SDlg modeless;
    Brief modal;
    std::unique_ptr<NoSpareBlocks> none;

    Dialogs()
    {
        frame.Make();
        below.dialog.style = WS_CHILD;
        none = std::make_unique<NoSpareBlocks>();
    }
    ~Dialogs()
    {
        for (MSG message; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {}
    }
    std::wstring Look() const
    {
        return std::wstring(modeless.GetHandle() ? L"made" : L"none") +
               (modal.GetHandle() ? L"made" : L"none");
    }
};

const Row<Dialogs> kDialogs[] = {
    { "SDlg::Create", [](Dialogs& d) { return d.modeless.Create(&d.below.dialog, &d.frame) != 0; } },
    { "SDlg::DoModal SDlg::RunModal SDlg::DialogProc SDlg::EndDialog SDlg::OnInitDialog",
      [](Dialogs& d) { return d.modal.DoModal(&d.below.dialog, &d.frame) == IDOK; } },
};

// ---- The application ----

struct Apps {
    SWinApp app;
    std::vector<wchar_t> open;
    std::string line = "-x " + std::string(3000, 'f');
    SString out = L"old";
    std::unique_ptr<NoSpareBlocks> none;

    Apps()
    {
        const std::wstring text = L"open(\"" + std::wstring(3000, L'o') + L"\")";
        open.assign(text.c_str(), text.c_str() + text.size() + 1);
        none = std::make_unique<NoSpareBlocks>();
    }
    ~Apps()
    {
        for (MSG message; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {}
    }
    std::wstring Look() const
    {
        return std::to_wstring(app.CountAsyncCommands()) + L'|' + Wide(app.GetCmdLineString()) + L'|' +
               Wide(app.GetAppName()) + L'|' + std::to_wstring(app.GetShowCommand()) + L'|' + Wide(out);
    }
};

const Row<Apps> kApps[] = {
    { "SWinApp::Init", [](Apps& a) { return a.app.Init(nullptr, nullptr, a.line.data(), SW_HIDE) != 0; } },
    { "SWinApp::GetExeName SWinApp::GetExeFileName",
      [](Apps& a) { return a.out = a.app.GetExeName(), true; } },
    { "SWinApp::OnDDECommand SWinApp::Queue",
      [](Apps& a) { return a.app.OnDDECommand(a.open.data()) != 0; } },
    { "SWinApp::ProcessCommandLine",
      [](Apps& a) {
          return a.app.Init(nullptr, nullptr, a.line.data(), SW_HIDE) && a.app.ProcessCommandLine() == 1;
      },
      kKeepsSome }, // the application has its command line by then
};

// ---- The rich-edit control ----

const wchar_t kRtf[] = L"{\\rtf1\\ansi 0123456789}";

struct Edits {
    Frame frame;
    SRichEditCtrl edit, fresh;
    SString rtf = SString(L"{\\rtf1 ") + Long(L'r') + L"}", out = L"old";
    std::unique_ptr<NoSpareBlocks> none;

    Edits()
    {
        frame.Make();
        edit.Create(WS_CHILD | ES_MULTILINE, kPlace, &frame, 1);
        edit.SetText(kRtf);
        edit.SetSel(2, 6);
        none = std::make_unique<NoSpareBlocks>();
    }
    std::wstring Look() const
    {
        return Wide(const_cast<SRichEditCtrl&>(edit).GetText()) + L'|' + Wide(out) + L'|' +
               (fresh.GetHandle() ? L"made" : L"none");
    }
};

const Row<Edits> kEdits[] = {
    { "SRichEditCtrl::Create",
      [](Edits& e) { return e.fresh.Create(WS_CHILD | ES_MULTILINE, kPlace, &e.frame, 2) != 0; } },
    { "SRichEditCtrl::SetText SRichEditCtrl::StreamIn", [](Edits& e) { return e.edit.SetText(e.rtf) != 0; } },
    { "SRichEditCtrl::GetText SRichEditCtrl::StreamOut",
      [](Edits& e) { return e.out = e.edit.GetText(), true; } },
    { "SRichEditCtrl::GetRtf", [](Edits& e) { return e.out = e.edit.GetRtf(), true; } },
    { "SRichEditCtrl::GetSelText SRichEditCtrl::GetSelRtf",
      [](Edits& e) { return e.out = e.edit.GetSelText(), true; } },
};

// ---- Documents ----

// The shared host stands, owned by the frame, and is free; the second document has a host of its own.
struct Documents {
    Frame frame;
    SRtfDocumentSharedDlgOwner owner;
    SRtfDocument first{ &frame }, second{ &frame }, third{ &frame };
    SString out = L"old", rtf = kRtf;
    std::unique_ptr<NoSpareBlocks> none;

    Documents()
    {
        frame.Make();
        owner.OnFrameCreated(&frame);
        first.SetRtfText(kRtf);
        second.SetRtfText(L"{\\rtf1\\ansi second}");
        first.DeleteEditCtrl();
        none = std::make_unique<NoSpareBlocks>();
    }
    std::wstring Look() const
    {
        // The next document gets the shared host unless one of these has it.
        SRtfDocument next(const_cast<Frame*>(&frame));
        const bool made = next.CreateEditCtrl();
        return Wide(const_cast<SRtfDocument&>(second).GetEditCtrl().GetText()) + L'|' + Wide(out) + L'|' +
               (first.GetEditCtrlHwnd() ? L"made" : L"none") + (third.GetEditCtrlHwnd() ? L"made" : L"none") +
               (!made              ? L"failed"
                : next.GetHandle() ? L"own"
                                   : L"shared");
    }
};

struct SecondHosts : Documents {
    SecondHosts()
    {
        none.reset();
        first.CreateEditCtrl();
        none = std::make_unique<NoSpareBlocks>();
    }
};

const Row<Documents> kDocuments[] = {
    { "SRtfDocument::CreateEditCtrl SRtfDocument::ChooseHost",
      [](Documents& d) { return d.first.CreateEditCtrl() != 0; } },
    { "SRtfDocument::SRtfDocument SRtfDocument::CopyContent SRtfDocument::~SRtfDocument",
      [](Documents& d) {
          SRtfDocument copy(d.second);
          return d.out = copy.GetEditCtrl().GetText(), true;
      },
      kKeepsAll,
      kKeptBySystem }, // there are controls that lose two blocks each time they load what one of them wrote
    { "SRtfDocument::SRtfDocument",
      [](Documents& d) {
          SRtfDocument made(d.rtf);
          return d.out = made.GetEditCtrl().GetText(), true;
      } },
    { "SRtfDocument::operator=", [](Documents& d) { return d.first = d.second, true; }, kKeepsSome,
      kKeptBySystem }, // the control is there, and empty; the same two blocks
    { "SRtfDocument::SetRtfText", [](Documents& d) { return d.first.SetRtfText(d.rtf) != 0; },
      kKeepsSome }, // the control is there, and empty
    { "SRtfDocument::RtfToText", [](Documents& d) { return d.second.RtfToText(&d.out, d.rtf) != 0; },
      kKeepsSome }, // the text is loaded by then
    { "SRtfDocument::TextToRtf", [](Documents& d) { return d.second.TextToRtf(&d.out, L"plain") != 0; },
      kKeepsSome }, // the same
    { "SRtfDocument::GetTextExtent", [](Documents& d) { return d.second.GetTextExtent(100, 0, 3).cy >= 0; } },
};

const Row<SecondHosts> kSecondHosts[] = {
    { "SRtfDocument::CreateHost", [](SecondHosts& d) { return d.third.CreateEditCtrl() != 0; } },
};

// A failure is told in the exception dialog.
struct Owners {
    TempLog log;
    Frame frame;
    SRtfDocumentSharedDlgOwner owner;
    bool made = false;
    std::unique_ptr<NoSpareBlocks> none;

    Owners()
    {
        DbgMessageBoxHook() = [](const wchar_t*, const wchar_t*, unsigned) { return IDOK; };
        frame.Make();
        none = std::make_unique<NoSpareBlocks>();
    }
    ~Owners() { DbgMessageBoxHook() = nullptr; }
    std::wstring Look() const { return made ? L"made" : L"none"; }
};

const Row<Owners> kOwners[] = {
    { "SRtfDocumentSharedDlgOwner::OnFrameCreated",
      [](Owners& o) { return o.made = o.owner.OnFrameCreated(&o.frame) != 0; } },
};

const int g_rows = AddRows("Frames", kFrames) + AddRows("Refused", kRefused) + AddRows("Dialogs", kDialogs) +
                   AddRows("Apps", kApps) + AddRows("Edits", kEdits) + AddRows("Documents", kDocuments) +
                   AddRows("SecondHosts", kSecondHosts) + AddRows("Owners", kOwners);

} // namespace
