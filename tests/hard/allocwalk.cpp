// The table of scenarios against the library's own export list: what is exported is walked, or there is a reason why it
// needs no walk.
#include "callback.h"

#include "hard/allocwalk.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <set>

namespace {

struct Sums {
    int scenarios = 0;
    int points = 0;
    std::vector<std::string> covers;
};

Sums& TheSums()
{
    static Sums sums;
    return sums;
}

class Walk : public testing::Test {
public:
    explicit Walk(const std::function<int()>& walk) : m_walk(walk) {}
    void TestBody() override
    {
        TheSums().points += m_walk();
        ++TheSums().scenarios;
    }

private:
    const std::function<int()>& m_walk;
};

class PrintSums : public testing::Environment {
public:
    void SetUp() override
    {
        // What the first exception allocates stays, and what the first one does that is parked.
        WalkAllocationFailures([] {}, [] { Long(L'w'); }, [](const AllocationTrial&) {});
        SRunCallback(0, []() -> int { throw SEOutOfMemory("f", "file.cpp", 1); });
        EXPECT_THROW(SRethrowParked(), SEOutOfMemory);
    }
    void TearDown() override
    {
        std::printf("%d scenarios, %d allocations failed once and for good\n", TheSums().scenarios,
                    TheSums().points);
    }
};

const testing::Environment* const g_printSums = testing::AddGlobalTestEnvironment(new PrintSums);

} // namespace

namespace {

struct Reason {
    const char* names; // with * for anything, ? for a character, [ab] for either
    const char* reason;
};

const Reason kCannot[] = {
    { "vtable?for?* typeinfo?for?* *::__clsinf g_pClassInfo g_emptyString *::k* SDErrorContext::sClass*",
      "data" },
    { "*::GetClassInfoW *::GetMessageMap *::GetThisMessageMap SGetVersion*", "answers a constant" },
    { "*::~* *::End *::Close SFile::Done SFile::FindClose *::operator?delete *::Free *::Release *::Unlock "
      "*::FreeChain *::FreeAll* *::FreeUnused* *::FreeTree *::FreeData *::Clear *::Cancel *::CancelRestore "
      "SDropParked SThrowTarget::Done",
      "only gives back" },
    { "*::GetText *::GetExceptionName *::GetLocation *::GetValue SEOutOfMemory::* "
      "SEMachineFault::SEMachineFault",
      "keeps what it has; a text that cannot be made is left out" },
    { "AppendToExceptionLogPrefixed SExceptionDialog SExceptionDialog_ ShowDbgMessageBox SReportDamage "
      "IsInNewShell SCallGuarded SHandlerGuard::* SSuspendExceptionHook::* VectoredExceptionHook::*",
      "works on the stack, for the heap may be broken" },
    { "SSet* SIs* SExceptionActivateDialog SExceptionHasDialog SHasStringBufferOverflow *Query *Hook "
      "GeneralOutput "
      "SetGeneralOutput SGetOleCommandContext SRegisterGetResultFormat::* SModuleState::[CS]* SModalState::* "
      "SParkException SRethrowParked",
      "a switch or a register of links" },
    { "SSafeMem* SSafeStr* SUpperChar SLowerChar *::AnsiToWideChar SNarrowText::LengthByte",
      "works in the caller's memory" },
    { "SString::Compare* SString::Collate* SString::Match* SString::Find* SString::ReverseFind* SString::Is* "
      "SString::To[LUDB]* SString::Hash SString::LengthByte SString::CanConvertToMBCS "
      "SString::VerifiedLength "
      "SString::GetPointerAt SString::TextFrom SString::ClipRange SString::_ToAnsi SString::LargeBytes "
      "*::Compare *::Count *::GetSize *::IsEmpty *::IsNull *::IsOwn *::IsValid SAssertValidObject "
      "SObject::Is* "
      "STargetedException::HasTarget STargetedException::Match SSymbolTable::Find SSymbolTable::Remove "
      "SStringTranslator::FindVariable* SStringTranslator::IsStartAt SRtfStyleTable::HasStyle "
      "SRtfMerger::Get[FCS]* "
      "SDErrorContext::GetLineNo SDErrorContext::*LineNo SPoolCounters::ForEach SClassInfo::Find "
      "*::IsDerivedFrom",
      "looks" },
    { "SString::*_iterator::* SStringCopyIterator::* SBlob::LockForRead SBlob::ShareDataOf SBlob::NullData "
      "SHGlobal::Lock "
      "*::operator= SRtfStyleTable::GetStyleAttribute SDErrorContext::[GS]etContextText "
      "SDErrorContext::SetResInstance "
      "SDErrorContext::ClearContext SOutputFile::SOutputFile SInputGlobal::SInputGlobal "
      "SInputPushbackStream::SInputPushbackStream",
      "shares what it walks or keeps" },
    { "SFixedAlloc::* SPoolLock::* SPlex::ThrowOutOfMemory SIdleConsumerList::*", "works in its own blocks" },
    { "SClassInfo::* SDList::* STextHint::* STree::* STreeItem::* __STree::Abandon __STree::DeleteFixup "
      "__STree::Descend __STree::Get* "
      "__STree::LinkTo __STree::RemoveEntry __STree::Rotate* __STree::SwapPosition __STree::Turn "
      "__STree::Unlink",
      "links items that are there" },
    { "SRtfText::GetNextTag SRtfText::RemoveTag SRtfText::SkipSpace", "works in the caller's text" },
    { "*Stream::Available *Stream::Skip *Stream::Read *Stream::Flush *Stream::operator?? "
      "SInputBinaryStream::ThrowEnd SInputFile::* "
      "SOutputFile::* "
      "*Filter::* SInputGlobal::* SInflaterInputStream::* SOutputFileOnChange::Require",
      "moves bytes between buffers that are there" },
    { "SFile::SFile SFile::Can* SFile::Check* SFile::Compare* SFile::Create SFile::CreateDirectoryW "
      "SFile::Delete "
      "SFile::Exists SFile::Flush SFile::GetAttributes SFile::GetContentType SFile::GetDateTime "
      "SFile::Get*DiskSpace "
      "SFile::Is* SFile::Open SFile::OpenOrMake SFile::Read SFile::RemoveDirectoryW SFile::Rename "
      "SFile::*Position "
      "SFile::Seek SFile::Set* SFile::Valid* SFile::Write SSafeFile::* SBaseFind::* SFileFind::* "
      "SFileRecurseFind::CountSkipped SFileRecurseFind::FindNextFileW "
      "SAttrMatchFindFilter::*",
      "asks the system with a path that is there; a path beyond MAX_PATH is made where it is walked" },
    { "SCmdTarget::OnCmdMsg SCmdTarget::CallHandler SCmdUI::* SWnd::OnCommand SWnd::OnNotify "
      "SWnd::OnChildNotify "
      "SWnd::Reflect* SWnd::SendChildNotifyLastMsg SWnd::OnReflected SWnd::WalkPreTranslateTree "
      "*::PreTranslateMessage SWnd::Default SWnd::DefWindowProcW SDlg::OnOK SDlg::OnCancel SWinApp::Run "
      "SWinApp::PumpMessage SWinApp::HandleMessage SWinApp::DoIdle SWinApp::OnIdle SWinApp::RunAsyncCommands "
      "SWinApp::OnAsyncCommand SNotificationManager::Notify",
      "finds who is to be called, and calls; what a handler allocates is its own" },
    { "SWnd::DestroyWindow SWnd::OnNcDestroy SWnd::Detach SWnd::UnsubclassWindow",
      "keeps a procedure, if any, in the room of the entry that it has just given back" },
    { "SWnd::PostNcDestroy SWnd::GetSuperWndProc SWnd::GetDefaultMBReturn SWinApp::ExitInstance",
      "answers a constant or a field" },
    { "SWnd::LeaveMainWindow SWnd::GetLastMessage SWnd::SearchPermanent SWnd::s_lastFound SWnd::Map "
      "SWinApp::SWinApp SWinApp::Get "
      "SWinApp::GetOwnerWnd SWinApp::GetFrameWnd SWinApp::Is* SWinApp::SetExiting SWinApp::SetNeedOnIdle "
      "SWinApp::IdleStep STempMapLock::Count SDC::SetPrinting SRichEditCtrl::IsRtf",
      "looks, or sets fields" },
    { "SWnd::GetHandleDescription", "shares what it keeps" },
    { "SWnd::DeleteTempMap SMenu::DestroyMenu SNotificationManager::Unsubscribe SRtfDocument::DeleteEditCtrl "
      "SRtfDocumentSharedDlgOwner::OnFrameDestroyed",
      "only gives back" },
    { "SCmdTarget::*WaitCursor SWinApp::DoWaitCursor SWinApp::AskPrintDialog SWinApp::DoPrintDialog "
      "SWinApp::GetPrinterDeviceDefaults SWinApp::UpdatePrinterSelection SRichEditCtrl::ControlClass "
      "SRichEditCtrl::GetSel SRichEditCtrl::SetSel SRichEditCtrl::GetRtfTextSize "
      "SRichEditCtrl::OnRequestResize "
      "SRtfDocument::GetLength SDC::IsMetafile SDC::SaveDC SDC::RestoreDC SDC::SelectClip*",
      "asks the system or its control with what is there" },
    { "SGraphics::FillPie SGraphics::FillRoundRect SGraphicsPath::AddPie SGraphicsPath::AddRoundRect "
      "SDrawGradient::SDrawGradient SDrawGradient::SetGradient SDrawGradient::GetMediumColor "
      "SDrawGradient::Resolved SDrawGradient::Scale* SDrawGradient::Clip SDrawGradient::SetClipping "
      "SDrawGradient::DrawGlass",
      "calculates, and has GDI or GDI+ do the rest; only paths of a device context need room of ours" },
};

// What is walked in a program of its own.
const Reason kElsewhere[] = {
    { "SThrowTarget::Activate", "starget: the register keeps each name it sees" },
    { "SObject::operator?new *::CreateObject", "baseobj: throws SECOMException" },
    { "cv_*", "cface: one function for each way in which the flat face allocates" },
    { "SRtfDocument::Extract* SRtfDocument::ChangeFontAndColor SRtfDocument::GetNextTag "
      "SRtfDocument::RemoveTag "
      "SRtfDocument::SkipSpace",
      "here, as SRtfText: the same functions by their older names" },
};

bool Fits(const char* name, const char* pattern, const char* end)
{
    for (; pattern != end; ++pattern, ++name) {
        if (*pattern == '*') {
            for (++pattern; *name; ++name) {
                if (Fits(name, pattern, end))
                    return true;
            }
            return pattern == end;
        }
        if (*pattern == '[') {
            const char* const close = std::strchr(pattern, ']');
            if (std::find(pattern, close, *name) == close)
                return false;
            pattern = close;
        } else if (*pattern == '?' ? *name == '\0' : *pattern != *name) {
            return false;
        }
    }
    return *name == '\0';
}

} // namespace

std::wstring Shortened(const std::wstring& text)
{
    const size_t kWorth = 8;
    std::wstring result;
    for (size_t at = 0; at < text.size();) {
        const size_t run = std::min(text.find_first_not_of(text[at], at), text.size()) - at;
        result +=
            run < kWorth ? text.substr(at, run) : L'{' + (text[at] + (L"*" + std::to_wstring(run))) + L'}';
        at += run;
    }
    return result;
}

void AddWalk(const char* state, const char* covers, std::function<int()> walk)
{
    const std::string all(covers);
    std::string name = std::string(state) + "_" + all.substr(0, all.find(' '));
    for (char& c : name)
        c = c == ':' ? '_' : c;
    for (size_t at = 0; at < all.size();) {
        const size_t end = std::min(all.find(' ', at), all.size());
        TheSums().covers.push_back(all.substr(at, end - at));
        at = end + 1;
    }
    const auto* kept = new std::function<int()>(std::move(walk)); // as long as the tests
    testing::RegisterTest("WithoutMemory", name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                          [kept]() -> testing::Test* { return new Walk(*kept); });
}

namespace {

// The exported names without their parameters, from the library's own table.
std::set<std::string> Exports()
{
    const char* const base = reinterpret_cast<const char*>(::GetModuleHandleW(L"CVCore16.dll"));
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const auto* table = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(
        base + headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
    const auto* names = reinterpret_cast<const DWORD*>(base + table->AddressOfNames);
    std::set<std::string> found;
    for (DWORD i = 0; i < table->NumberOfNames; ++i) {
        std::string mangled = base + names[i];
        mangled.erase(
            std::min(mangled.find('@'), mangled.size())); // the bytes of arguments of what the system calls
        char* plain = abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, nullptr);
        const std::string name(plain ? plain : mangled);
        std::free(plain);
        found.insert(name.substr(0, name.find('(')));
    }
    return found;
}

bool IsNamed(const std::string& name, const char* patterns)
{
    for (const char* at = patterns;; ++at) {
        const char* const end = std::strchr(at, ' ');
        if (Fits(name.c_str(), at, end ? end : at + std::strlen(at)))
            return true;
        if (!end)
            return false;
        at = end;
    }
}

template <size_t count>
bool HasReason(const std::string& name, const Reason (&reasons)[count])
{
    return std::any_of(reasons, reasons + count, [&](const Reason& r) { return IsNamed(name, r.names); });
}

} // namespace

TEST(ExportList, IsWalkedOrNeedsNoWalk)
{
    const std::set<std::string> exports = Exports();
    int walked = 0, elsewhere = 0, unable = 0;
    const auto& covers = TheSums().covers;
    for (const std::string& name : exports) {
        if (std::find(covers.begin(), covers.end(), name) != covers.end())
            ++walked;
        else if (HasReason(name, kElsewhere))
            ++elsewhere;
        else if (HasReason(name, kCannot))
            ++unable;
        else
            ADD_FAILURE() << name << " is in no scenario and in no list";
    }
    for (const std::string& name : covers)
        EXPECT_TRUE(exports.count(name)) << "a scenario covers " << name << ", which is not exported";
    std::printf("%d exported names: %d walked here, %d in their own programs, %d need no walk\n",
                static_cast<int>(exports.size()), walked, elsewhere, unable);
}
