// Texts from string tables and for codes, and who hears of events, without memory.
#include "errctx.h"
#include "filecodes.h"
#include "modstate.h"
#include "notifmgr.h"
#include "sgraphics.h"

#include "hard/allocwalk.h"

namespace {

// In errctx.rc.
constexpr unsigned kWord = 282;

HINSTANCE Program()
{
    return ::GetModuleHandleW(nullptr);
}

struct Loaded {
    SString out = L"old", sharer = out;
    SDErrorContext context;
    NoSpareBlocks none;

    Loaded() { context.SetResInstance(Program()); }
    std::wstring Look() const { return Wide(out) + L'|' + Wide(sharer); }
};

const Row<Loaded> kLoaded[] = {
    { "SString::TryLoad", [](Loaded& l) { return l.out.TryLoad(Program(), kWord) != 0; } },
    { "SString::LoadStringW", [](Loaded& l) { return l.out.LoadString(kWord, Program()) != 0; } },
    { "SModuleState::TryLoadString",
      [](Loaded& l) { return SModuleState(Program()).TryLoadString(kWord, l.out) != 0; } },
    { "SDErrorContext::LoadFormat", [](Loaded& l) { return l.out = l.context.LogMessage(kWord), true; } },
    { "GetResultFormat", [](Loaded& l) { return GetResultFormat(SFileCode::kMissing, &l.out) != 0; } },
    { "GetResultFormat", [](Loaded& l) { return GetResultFormat(E_ACCESSDENIED, &l.out) != 0; } },
};

// ---- Events ----

constexpr int kOwnKind = 1000;

void Hear(int, WPARAM, LPARAM, void*) {}

struct Subscribers {
    Subscribers() { SGraphics::Shutdown(); } // which is one, once it runs
    ~Subscribers() { SNotificationManager::Unsubscribe(kOwnKind, Hear, nullptr); }
    std::wstring Look() const { return std::to_wstring(SNotificationManager::Notify(kOwnKind, 0, 0)); }
};

const Row<Subscribers> kSubscribers[] = {
    { "SNotificationManager::Subscribe",
      [](Subscribers&) { return SNotificationManager::Subscribe(kOwnKind, Hear, nullptr), true; } },
};

const int g_rows = AddRows("Loaded", kLoaded) + AddRows("Subscribers", kSubscribers);

} // namespace
