// messages.cpp: windows, handlers and commands beside the bare calls of Windows and what is usually built on them.
#include "bench.h"

#include "cmdtarg.h"
#include "winapp.h"
#include "window.h"

#include <windows.h>

#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

const UINT kTest = WM_USER + 1;
const UINT kOtherMessages = 15; // with a handler each, behind kTest
const int kDispatched = 10000;
const int kWindows = 200;
const int kCommands = 41;
const UINT kFirstCommand = 100;

// ---- A window of ours, and one of the system alone ----

class Window : public SWnd {
public:
    LRESULT OnTest(WPARAM w, LPARAM l) { return static_cast<LRESULT>(w) + l; }
    using SWnd::OnWndMsg;
    S_DECLARE_MESSAGE_MAP()
};

S_BEGIN_MESSAGE_MAP(Window, SWnd)
S_ON_MESSAGE(kTest, OnTest)
S_ON_MESSAGE(kTest + 1, OnTest)
S_ON_MESSAGE(kTest + 2, OnTest)
S_ON_MESSAGE(kTest + 3, OnTest)
S_ON_MESSAGE(kTest + 4, OnTest)
S_ON_MESSAGE(kTest + 5, OnTest)
S_ON_MESSAGE(kTest + 6, OnTest)
S_ON_MESSAGE(kTest + 7, OnTest)
S_ON_MESSAGE(kTest + 8, OnTest)
S_ON_MESSAGE(kTest + 9, OnTest)
S_ON_MESSAGE(kTest + 10, OnTest)
S_ON_MESSAGE(kTest + 11, OnTest)
S_ON_MESSAGE(kTest + 12, OnTest)
S_ON_MESSAGE(kTest + 13, OnTest)
S_ON_MESSAGE(kTest + 14, OnTest)
S_ON_MESSAGE(kTest + 15, OnTest)
S_END_MESSAGE_MAP()

Window& OurWindow()
{
    static Window& window = *[] {
        static Window made;
        if (!made.CreateEx(0, SWnd::RegisterWindowClass(), L"", WS_POPUP, RECT{ 0, 0, 10, 10 }, nullptr, 0))
            throw std::runtime_error("no window: is there a display?");
        return &made;
    }();
    return window;
}

/// What a program without any library writes.
LRESULT CALLBACK BareProcedure(HWND window, UINT message, WPARAM w, LPARAM l)
{
    switch (message) {
    case kTest: return static_cast<LRESULT>(w) + l;
    default: return ::DefWindowProcW(window, message, w, l);
    }
}

HWND BareWindow()
{
    static const HWND window = [] {
        WNDCLASSW kind = {};
        kind.lpfnWndProc = BareProcedure;
        kind.hInstance = ::GetModuleHandleW(nullptr);
        kind.lpszClassName = L"bare window of the benchmark";
        ::RegisterClassW(&kind);
        return ::CreateWindowExW(0, kind.lpszClassName, L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                                 kind.hInstance, nullptr);
    }();
    return window;
}

// ---- Sending ----

unsigned long SendOurs(Run& run)
{
    Window& window = OurWindow();
    unsigned long sum = 0;
    for (long i = 0; i < run.n; ++i)
        sum += static_cast<unsigned long>(window.SendMessage(kTest, static_cast<WPARAM>(i), 1));
    return sum;
}

unsigned long SendBare(Run& run)
{
    const HWND window = BareWindow();
    unsigned long sum = 0;
    for (long i = 0; i < run.n; ++i)
        sum += static_cast<unsigned long>(::SendMessageW(window, kTest, static_cast<WPARAM>(i), 1));
    return sum;
}

// ---- From a message to its handler ----

/// Which message comes next: all of them, in an order that is not learnt.
const std::vector<UINT>& Messages()
{
    static const std::vector<UINT> messages = [] {
        Numbers numbers(1);
        std::vector<UINT> made;
        for (int i = 0; i < kDispatched; ++i)
            made.push_back(kTest + numbers.Below(kOtherMessages + 1));
        return made;
    }();
    return messages;
}

unsigned long DispatchOurs(Run& run)
{
    Window& window = *Hidden(&OurWindow());
    const std::vector<UINT>& messages = Messages();
    unsigned long sum = 0;
    for (long i = 0; i < run.n; ++i) {
        for (UINT message : messages) {
            LRESULT result;
            window.OnWndMsg(message, static_cast<WPARAM>(i), 1, &result);
            sum += static_cast<unsigned long>(result);
        }
    }
    return sum;
}

unsigned long DispatchFunctions(Run& run)
{
    typedef std::map<UINT, std::function<LRESULT(WPARAM, LPARAM)>> Handlers;
    static const Handlers handlers = [] {
        Handlers made;
        for (UINT i = 0; i <= kOtherMessages; ++i)
            made[kTest + i] = [](WPARAM w, LPARAM l) -> LRESULT { return static_cast<LRESULT>(w) + l; };
        return made;
    }();
    unsigned long sum = 0;
    for (long i = 0; i < run.n; ++i) {
        for (UINT message : Messages())
            sum += static_cast<unsigned long>(handlers.find(message)->second(static_cast<WPARAM>(i), 1));
    }
    return sum;
}

// ---- From a handle to its object ----

struct Attached {
    Attached()
    {
        for (int i = 0; i < kWindows; ++i) {
            const HWND handle =
                ::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
            windows.push_back(std::make_unique<SWnd>());
            windows.back()->Attach(handle);
            byHandle[handle] = windows.back().get();
            handles.push_back(handle);
        }
        // Many, in an order that is not learnt.
        const std::vector<HWND> all(handles);
        Numbers numbers(1);
        handles.clear();
        for (int i = 0; i < kDispatched; ++i)
            handles.push_back(all[numbers.Below(kWindows)]);
    }

    static const Attached& Get()
    {
        static const Attached& attached = *new Attached;
        return attached;
    }

    std::vector<std::unique_ptr<SWnd>> windows;
    std::map<HWND, SWnd*> byHandle;
    std::vector<HWND> handles;
};

unsigned long Sum(const void* object)
{
    return static_cast<unsigned long>(reinterpret_cast<UINT_PTR>(object));
}

template <bool same>
unsigned long HandleOurs(Run& run)
{
    const Attached& attached = Attached::Get();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        for (HWND handle : attached.handles)
            sum += Sum(SWnd::FromHandlePermanent(Hidden(same ? attached.handles[0] : handle)));
    }
    return sum;
}

template <bool same>
unsigned long HandleMap(Run& run)
{
    const Attached& attached = Attached::Get();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        for (HWND handle : attached.handles) {
            sum += Sum(attached.byHandle.find(Hidden(same ? attached.handles[0] : handle))->second);
        }
    }
    return sum;
}

// ---- Routing commands: the last of 41 entries ----

class Target : public SCmdTarget {
public:
    void OnOther() {}
    void OnLast() { ++m_calls; }
    unsigned long m_calls = 0;
    S_DECLARE_MESSAGE_MAP()
};

#define FOUR_ENTRIES(from)                                                                                   \
    S_ON_COMMAND(from, OnOther)                                                                              \
    S_ON_COMMAND(from + 1, OnOther) S_ON_COMMAND(from + 2, OnOther) S_ON_COMMAND(from + 3, OnOther)

S_BEGIN_MESSAGE_MAP(Target, SCmdTarget)
FOUR_ENTRIES(kFirstCommand)
FOUR_ENTRIES(kFirstCommand + 4)
FOUR_ENTRIES(kFirstCommand + 8)
FOUR_ENTRIES(kFirstCommand + 12)
FOUR_ENTRIES(kFirstCommand + 16)
FOUR_ENTRIES(kFirstCommand + 20)
FOUR_ENTRIES(kFirstCommand + 24)
FOUR_ENTRIES(kFirstCommand + 28)
FOUR_ENTRIES(kFirstCommand + 32)
FOUR_ENTRIES(kFirstCommand + 36)
S_ON_COMMAND(kFirstCommand + kCommands - 1, OnLast)
S_END_MESSAGE_MAP()

unsigned long CommandOurs(Run& run)
{
    static Target target;
    target.m_calls = 0;
    for (long i = run.n; i > 0; --i)
        Hidden(&target)->OnCmdMsg(kFirstCommand + kCommands - 1, 0, nullptr, nullptr);
    return target.m_calls;
}

struct PlainEntry {
    UINT message, code, firstId, lastId;
    void (*handler)(unsigned long& calls);
};

unsigned long CommandScan(Run& run)
{
    static const std::vector<PlainEntry> entries = [] {
        std::vector<PlainEntry> made;
        for (UINT i = 0; i < kCommands; ++i) {
            made.push_back({ WM_COMMAND, 0, kFirstCommand + i, kFirstCommand + i, [](unsigned long&) {} });
        }
        made.back().handler = [](unsigned long& calls) { ++calls; };
        return made;
    }();
    unsigned long calls = 0;
    for (long i = run.n; i > 0; --i) {
        const UINT id = Hidden(kFirstCommand + kCommands - 1);
        for (const PlainEntry& entry : entries) {
            if (entry.message == WM_COMMAND && entry.code == 0 && id >= entry.firstId && id <= entry.lastId) {
                entry.handler(calls);
                break;
            }
        }
    }
    return calls;
}

// ---- The loop: a posted message fetched and dispatched ----

unsigned long PumpOurs(Run& run)
{
    static SWinApp& app = *[] {
        static SWinApp made;
        made.Init(nullptr, nullptr, nullptr, SW_HIDE);
        return &made;
    }();
    const HWND window = OurWindow().GetHandle();
    unsigned long handled = 0;
    for (long i = run.n; i > 0; --i) {
        ::PostMessageW(window, kTest, 1, 1);
        handled += static_cast<unsigned long>(app.PumpMessage());
    }
    return handled;
}

/// The calls that a loop with idle work makes: it must know whether the mouse is captured.
unsigned long PumpBare(Run& run)
{
    const HWND window = BareWindow();
    unsigned long handled = 0;
    for (long i = run.n; i > 0; --i) {
        ::PostMessageW(window, kTest, 1, 1);
        MSG message;
        handled += ::GetMessageW(&message, nullptr, 0, 0) != 0 && !::GetCapture();
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
    return handled;
}

const Row kRows[] = {
    { "win.send", Nanoseconds(1), AtMost(1.06), SendOurs, { { "SendMessageW", SendBare } } },
    { "win.dispatch",
      Nanoseconds(kDispatched),
      AtMost(0.8),
      DispatchOurs,
      { { "std::map + function", DispatchFunctions } } },
    { "win.handle",
      Nanoseconds(kDispatched),
      AtMost(1.0),
      HandleOurs<false>,
      { { "std::map", HandleMap<false> } } },
    { "win.handle.same",
      Nanoseconds(kDispatched),
      AtMost(0.3),
      HandleOurs<true>,
      { { "std::map", HandleMap<true> } } },
    { "win.command", Nanoseconds(1), AtMost(1.0), CommandOurs, { { "scan of 41 entries", CommandScan } } },
    { "win.pump", Nanoseconds(1), AtMost(1.02), PumpOurs, { { "the same Win32 calls", PumpBare } } },
};

} // namespace

extern const Subject kMessages;
const Subject kMessages = { "messages", [](Bench& bench) { bench.Compare(kRows); } };
