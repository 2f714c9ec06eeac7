// desk: a small windowed client: a frame with a menu, a field, a list of notes, a tree whose labels can be edited, and a line
// of status text.
//
//     desk [--script FILE] [--shot FILE.png] [COMMAND...]
//
// A COMMAND is what another program would send: open("a note"), quit(). It runs from the idle loop.
// A script drives the window by messages, one line each: "menu ID", "type TEXT", "select N", "label TEXT", "report", "quit"; what it
// reports goes to standard output. --shot saves what the window shows before it closes.
#include "../console.h"
#include "../picture.h"

#include "cmdui.h"
#include "crash.h"
#include "notifmgr.h"
#include "sfilestream.h"
#include "smenu.h"
#include "stextin.h"
#include "strtab.h"
#include "winapp.h"
#include "winctl.h"

#include <commctrl.h>

namespace {

enum Id : UINT {
    kAdd = 101,
    kClear = 102,
    kQuit = 103,
    kGrid = 201,
    kField = 1001,
    kNotes = 1002,
    kTree = 1003,
    kStatus = 1004
};
constexpr UINT kScriptStep = WM_APP + 1;
constexpr int kStatusHeight = 20, kFieldHeight = 24, kTreeWidth = 160;

/// The list of notes handles its own notifications.
class NoteList : public SWnd {
public:
    void Add(const SString& note)
    {
        ::SendMessageW(GetHandle(), LB_ADDSTRING, 0,
                       reinterpret_cast<LPARAM>(static_cast<const wchar_t*>(note)));
    }
    void Clear() { ::SendMessageW(GetHandle(), LB_RESETCONTENT, 0, 0); }
    int Count() const { return static_cast<int>(::SendMessageW(GetHandle(), LB_GETCOUNT, 0, 0)); }
    void Select(int i)
    {
        ::SendMessageW(GetHandle(), LB_SETCURSEL, static_cast<WPARAM>(i), 0);
        // The system tells the parent only of what a person does.
        ::SendMessageW(::GetParent(GetHandle()), WM_COMMAND, MAKEWPARAM(kNotes, LBN_SELCHANGE),
                       reinterpret_cast<LPARAM>(GetHandle()));
    }
    int Selections() const { return m_selections; }

private:
    void OnSelect() { ++m_selections; }

    int m_selections = 0;
    S_DECLARE_MESSAGE_MAP()
};
S_BEGIN_MESSAGE_MAP(NoteList, SWnd)
S_ON_CONTROL_REFLECT(LBN_SELCHANGE, OnSelect)
S_END_MESSAGE_MAP()

class Frame : public SWnd {
public:
    bool Make(int show);
    void AddNote(const SString& note) { m_notes.Add(note); }
    void SetScript(const SString& text) { m_script.AddFromList(text, L"\n", L'\0'); }
    void SetShot(const SString& path) { m_shot = path; }
    /// The next line of the script; false at its end.
    bool StepScript();

private:
    LRESULT OnSize(WPARAM, LPARAM size);
    void OnClose();
    void OnAdd();
    void OnClear() { m_notes.Clear(); }
    void OnQuit() { ::PostMessageW(GetHandle(), WM_CLOSE, 0, 0); }
    void OnGrid() { m_grid = !m_grid; }
    void OnUpdateClear(SCmdUI* ui) { ui->Enable(m_notes.Count() > 0); }
    void OnUpdateGrid(SCmdUI* ui)
    {
        ui->Enable(1);
        ui->SetCheck(m_grid);
    }
    LRESULT OnScriptStep(WPARAM, LPARAM);
    void Report() const;
    void EditLabel(const SString& text);
    static void OnIdleDone(int, WPARAM, LPARAM, void* frame);

    NoteList m_notes;
    SWnd m_field, m_status;
    STreeViewExCtrl m_tree;
    bool m_grid = false;
    int m_idle = 0;
    SStringTable m_script;
    SString m_shot;
    S_DECLARE_MESSAGE_MAP()
};
S_BEGIN_MESSAGE_MAP(Frame, SWnd)
S_ON_WM_SIZE()
S_ON_WM_CLOSE()
S_ON_MESSAGE(kScriptStep, OnScriptStep)
S_ON_COMMAND(kAdd, OnAdd)
S_ON_COMMAND(kClear, OnClear)
S_ON_COMMAND(kQuit, OnQuit)
S_ON_COMMAND(kGrid, OnGrid)
S_ON_UPDATE_COMMAND_UI(kClear, OnUpdateClear)
S_ON_UPDATE_COMMAND_UI(kGrid, OnUpdateGrid)
S_END_MESSAGE_MAP()

HMENU MakeMenu()
{
    const HMENU bar = ::CreateMenu(), notes = ::CreatePopupMenu(), view = ::CreatePopupMenu();
    ::AppendMenuW(notes, MF_STRING, kAdd, L"&Add");
    ::AppendMenuW(notes, MF_STRING, kClear, L"&Clear");
    ::AppendMenuW(notes, MF_SEPARATOR, 0, nullptr);
    ::AppendMenuW(notes, MF_STRING, kQuit, L"&Quit");
    ::AppendMenuW(view, MF_STRING, kGrid, L"&Grid");
    ::AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(notes), L"&Notes");
    ::AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(view), L"&View");
    return bar;
}

bool Frame::Make(int show)
{
    ::InitCommonControls();
    const HBRUSH background = reinterpret_cast<HBRUSH>(static_cast<ULONG_PTR>(COLOR_BTNFACE + 1));
    const RECT place = { 40, 40, 640, 440 }, none = {};
    constexpr DWORD kChild = WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS;
    if (!CreateEx(0, RegisterWindowClass(0, nullptr, background), L"desk",
                  WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, place, nullptr,
                  reinterpret_cast<UINT_PTR>(MakeMenu())) ||
        !m_field.CreateEx(WS_EX_CLIENTEDGE, L"edit", L"", kChild | ES_AUTOHSCROLL, none, this, kField) ||
        !m_notes.CreateEx(WS_EX_CLIENTEDGE, L"listbox", L"", kChild | LBS_NOTIFY | WS_VSCROLL, none, this,
                          kNotes) ||
        !m_tree.CreateEx(WS_EX_CLIENTEDGE, WC_TREEVIEWW, L"", kChild | TVS_EDITLABELS | TVS_HASLINES, none,
                         this, kTree) ||
        !m_status.CreateEx(0, L"static", L"", kChild, none, this, kStatus))
        return false;
    TVINSERTSTRUCTW item = {};
    item.hParent = TVI_ROOT;
    item.hInsertAfter = TVI_LAST;
    item.item.mask = TVIF_TEXT;
    for (const wchar_t* name : { L"Inbox", L"Archive" }) {
        item.item.pszText = const_cast<wchar_t*>(name);
        ::SendMessageW(m_tree.GetHandle(), TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    }
    SNotificationManager::Subscribe(SNotificationManager::kIdleDone, OnIdleDone, this);
    ::ShowWindow(GetHandle(), show);
    RECT client;
    ::GetClientRect(GetHandle(), &client);
    OnSize(0, MAKELPARAM(client.right, client.bottom));
    return true;
}

LRESULT Frame::OnSize(WPARAM, LPARAM size)
{
    const int width = LOWORD(size), height = HIWORD(size) - kStatusHeight;
    ::MoveWindow(m_tree.GetHandle(), 0, 0, kTreeWidth, height, TRUE);
    ::MoveWindow(m_field.GetHandle(), kTreeWidth, 0, width - kTreeWidth, kFieldHeight, TRUE);
    ::MoveWindow(m_notes.GetHandle(), kTreeWidth, kFieldHeight, width - kTreeWidth, height - kFieldHeight,
                 TRUE);
    ::MoveWindow(m_status.GetHandle(), 0, height, width, kStatusHeight, TRUE);
    return 0;
}

void Frame::OnClose()
{
    if (!m_shot.IsEmpty()) {
        ::RedrawWindow(GetHandle(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
        SaveWindowAsPng(GetHandle(), m_shot);
    }
    SNotificationManager::Unsubscribe(SNotificationManager::kIdleDone, OnIdleDone, this);
    DestroyWindow();
}

void Frame::OnAdd()
{
    wchar_t text[200];
    ::GetWindowTextW(m_field.GetHandle(), text, static_cast<int>(std::size(text)));
    if (*text != L'\0')
        AddNote(text);
    ::SetWindowTextW(m_field.GetHandle(), L"");
}

void Frame::OnIdleDone(int, WPARAM, LPARAM, void* context)
{
    Frame& frame = *static_cast<Frame*>(context);
    ++frame.m_idle;
    ::SetWindowTextW(frame.m_status.GetHandle(),
                     SString().Format(L" %d notes, idle %d times", frame.m_notes.Count(), frame.m_idle));
    frame.StepScript(); // each step when everything of the one before is done
}

// ---- The script ----

bool Frame::StepScript()
{
    if (m_script.IsEmpty())
        return false;
    ::PostMessageW(GetHandle(), kScriptStep, 0, 0);
    return true;
}

LRESULT Frame::OnScriptStep(WPARAM, LPARAM)
{
    SString word, rest;
    m_script[0].Split(&word, &rest, L' ');
    m_script.Remove(0);
    word.TrimRight(L'\r');
    rest.TrimRight(L'\r');
    if (word == L"menu") {
        // As a person would: the menu opens, and a command that is grey cannot be chosen.
        const HMENU bar = ::GetMenu(GetHandle());
        for (int i = 0; i < ::GetMenuItemCount(bar); ++i)
            SendMessage(WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(::GetSubMenu(bar, i)), i);
        if ((::GetMenuState(bar, rest.ToULONG(), MF_BYCOMMAND) & MF_GRAYED) == 0)
            SendMessage(WM_COMMAND, rest.ToULONG(), 0);
    } else if (word == L"type") {
        for (wchar_t c : rest)
            ::PostMessageW(m_field.GetHandle(), WM_CHAR, c, 0);
    } else if (word == L"select") {
        m_notes.Select(static_cast<int>(rest.ToLONG()));
    } else if (word == L"label") {
        EditLabel(rest);
    } else if (word == L"report") {
        Report();
    } else if (word == L"quit") {
        OnQuit();
    }
    return 0;
}

// Types into a label, Enter at its end: keys that would do something else if the label did not get them first.
void Frame::EditLabel(const SString& text)
{
    const HWND tree = m_tree.GetHandle();
    const LPARAM first = ::SendMessageW(tree, TVM_GETNEXTITEM, TVGN_ROOT, 0);
    ::SetFocus(tree);
    const HWND label = reinterpret_cast<HWND>(::SendMessageW(tree, TVM_EDITLABELW, 0, first));
    ::SetWindowTextW(label, L"");
    for (wchar_t c : text)
        ::PostMessageW(label, WM_CHAR, c, 0);
}

void Frame::Report() const
{
    const HMENU bar = ::GetMenu(GetHandle());
    const auto state = [bar](UINT id) { return ::GetMenuState(bar, id, MF_BYCOMMAND); };
    wchar_t label[100] = L"";
    if (const HWND edit =
            reinterpret_cast<HWND>(::SendMessageW(m_tree.GetHandle(), TVM_GETEDITCONTROL, 0, 0)))
        ::GetWindowTextW(edit, label, static_cast<int>(std::size(label)));
    Print(stdout, SString().Format(
                      L"notes %d, selections %d, clear %s, grid %s, label \"%s\", idle %s\n", m_notes.Count(),
                      m_notes.Selections(), state(kClear) & MF_GRAYED ? L"grey" : L"enabled",
                      state(kGrid) & MF_CHECKED ? L"on" : L"off", label, m_idle > 0 ? L"yes" : L"no"));
}

// ---- The application ----

class App : public SWinApp {
public:
    explicit App(Frame& frame) : m_frame(frame) {}
    int Init(HINSTANCE instance, HINSTANCE previous, char* commandLine, int show) override
    {
        if (!SWinApp::Init(instance, previous, commandLine, show) || !m_frame.Make(show))
            return 0;
        SetMainWnd(&m_frame);
        return 1;
    }
    void OnAsyncCommand(int kind, const SString& argument) override
    {
        if (kind == AssyncCommand::kOpen)
            m_frame.AddNote(argument);
        else
            SWinApp::OnAsyncCommand(kind, argument);
    }

private:
    Frame& m_frame;
};

} // namespace

int wmain(int count, wchar_t** arguments)
{
    constexpr int kBadInput = 2, kFailed = 3;
    VectoredExceptionHook::Install();
    try {
        Frame frame;
        App app(frame);
        if (!app.Init(nullptr, nullptr, nullptr, SW_SHOW))
            throw BadInput{ L"no window: " + LastErrorText() };
        for (int i = 1; i < count; ++i) {
            const SString argument(arguments[i]);
            if (argument == L"--script" && i + 1 < count) {
                SInputFile file(Typed(arguments[++i]));
                frame.SetScript(SInputTextStream(file).GetText());
            } else if (argument == L"--shot" && i + 1 < count) {
                frame.SetShot(Typed(arguments[++i]));
            } else if (!app.OnDDECommand(arguments[i])) {
                throw BadInput{ L"usage: desk [--script FILE] [--shot FILE.png] [COMMAND...]" };
            }
        }
        frame.StepScript();
        return app.Run();
    }
    catch (const BadInput& bad) {
        Print(stderr, SString::Concat(L"desk: ", bad.message, L"\n"));
        return kBadInput;
    }
    catch (const SException& e) {
        Print(stderr, SString::Concat(L"desk: ", e.GetFullText(), L"\n"));
        return kFailed;
    }
}
