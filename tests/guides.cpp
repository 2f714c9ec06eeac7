// guides.cpp: code of the guides in docs/ that no sample has, letter by letter (docs_check.sh compares), and that it does what
// they say.
#include <cvcore.h>

#include <gtest/gtest.h>

#include <string>

// ---- docs/bytes.md ----

namespace {

SBlob Blob(const char* text)
{
    SBlob blob;
    blob.SetAsText(SString(text));
    return blob;
}

std::string Bytes(const SBlob& blob)
{
    const char* const bytes = static_cast<const char*>(blob.LockForRead());
    const std::string copy(bytes, blob.GetSize());
    blob.Unlock();
    return copy;
}

// ---- docs/classes.md ----

class Pane : public SObject {
    S_DECLARE_DYNCREATE(Pane)
};
S_IMPLEMENT_DYNCREATE(Pane, SObject)

// ---- docs/failures.md ----

void OpenPlan(const SString& message)
{
    const STargetedException e(S_HERE, L"Load", message, 17);
    if (e.HasTarget())
        throw e;
}

} // namespace

TEST(Guides, TargetedExceptionsAreThrownWhereSomebodyIsReady)
{
    SString seen;
    EXPECT_NO_THROW(OpenPlan(L"nobody is ready"));
    SActiveThrowTarget here(L"Load,Import");
    try {
        OpenPlan(L"no such plan");
    }
    catch (const STargetedException& e) {
        if (!e.Match(here))
            throw;
        seen = e.GetText();
    }
    EXPECT_STREQ(L"no such plan", seen);
}

TEST(Guides, BlobsShareUntilOneIsLocked)
{
    SBlob a = Blob("abc"), b(a);
    static_cast<char*>(b.Lock())[0] = 'X';
    b.Unlock();
    EXPECT_EQ("abc", Bytes(a));
    EXPECT_EQ("Xbc", Bytes(b));
}

TEST(Guides, ClassesAreFoundAndMadeByName)
{
    SClassInfo* info = SClassInfo::Find("Pane");
    ASSERT_EQ(S_RUNTIME_CLASS(Pane), info);
    SObject* object = info->CreateObject();
    EXPECT_EQ(1, object->IsA(S_RUNTIME_CLASS(Pane)));
    delete object;
}

// ---- docs/containers.md, docs/strings.md ----

TEST(Guides, SettingsFitIntoOneLine)
{
    SStringUnsortedMap map;
    map.AddFromList(L"a=1;,b=2,", L";,", L'\\');
    SString line = map.GetAsList(L';', L'\\');
    EXPECT_STREQ(L"a=1;b=2", line);
}

TEST(Guides, ATextIsReadLineByLine)
{
    const SString text(L"; colours\r\nwidth = 100\r\n\r\ntitle = a = b");
    SStringMap settings;
    for (SString line : SLines(text)) {
        line.Trim(L" \t");
        const int sign = line.FindPos(L'=');
        if (sign < 0 || line[0] == L';')
            continue;
        settings.Set(line.Left(sign).TrimRight(L' '), line.Mid(sign + 1).TrimLeft(L' '));
    }
    EXPECT_EQ(2, settings.Count());
    EXPECT_STREQ(L"100", settings[L"width"]);
    EXPECT_STREQ(L"a = b", settings[L"title"]);
}

// ---- docs/files.md ----

TEST(Guides, AFileIsMadeWrittenAndClosed)
{
    wchar_t folder[MAX_PATH];
    ASSERT_NE(0u, ::GetTempPathW(MAX_PATH, folder));
    const SString path = SFile::ConcatPath(folder, L"guides_test.tmp");
    {
        SFile file;
        ASSERT_EQ(0, file.Init(path));
        ASSERT_EQ(0, file.Create());
        DWORD count = 3;
        EXPECT_EQ(0, file.Write("abc", &count));
        EXPECT_EQ(0, file.Close());
    }
    SBlob bytes;
    EXPECT_LE(0, bytes.ReadFromFile(path));
    EXPECT_EQ("abc", Bytes(bytes));
    ::DeleteFileW(path);
}

// ---- docs/plainpointers.md ----

TEST(Guides, PlainPointersAreComparedSearchedAndCopied)
{
    const auto titleOf = [](const wchar_t* file, wchar_t(&title)[16]) {
        const wchar_t* extension = SSafeStrRChr(file, L'.');
        if (SSafeStrICmp(extension, L".rtf") != 0)
            return false;
        if (!SSafeStrCpy(title, 16, file))
            SSafeStrCpy(title + 12, 4, L"...");
        return true;
    };
    wchar_t title[16];
    EXPECT_TRUE(titleOf(L"letter.RTF", title));
    EXPECT_STREQ(L"letter.RTF", title);
    EXPECT_TRUE(titleOf(L"minutes of the round.rtf", title));
    EXPECT_STREQ(L"minutes of t...", title);
    EXPECT_FALSE(titleOf(L"no extension", title));
    EXPECT_FALSE(titleOf(nullptr, title));
}

// ---- docs/resources.md: strclss.rc has the strings ----

TEST(Guides, TextsComeFromTheProgramsResources)
{
    SString text;
    if (!text.LoadString(1001))
        text = L"second";
    SString line;
    line.Format(1000u, L"it", 3);
    EXPECT_STREQ(L"second", text);
    EXPECT_STREQ(L"it has 3 parts", line);
}

TEST(Guides, AModuleOfTextsComesBeforeTheProgramsOwn)
{
    HINSTANCE texts = ::GetModuleHandleW(nullptr);
    SModuleState own(nullptr);
    own.SetResourceHandle(texts);
    SModuleState::SetCurrent(&own);
    SString text;
    const int found = SModuleState::Current().TryLoadString(1001, text);
    SModuleState::SetCurrent(nullptr);
    EXPECT_EQ(1, found);
    EXPECT_STREQ(L"second", text);
}

// ---- docs/rtf.md ----

TEST(Guides, LettersBecomeOneDocument)
{
    STable<SString> letters{ L"{\\rtf1 Dear Ann}", L"{\\rtf1 {\\b cut}", L"{\\rtf1 Dear Bo}" };
    SDErrorContext log;
    SRtfMerger merger;
    for (const SString& letter : letters) {
        SString why;
        if (!merger.AddFragment(letter, SRtfMerger::kPageBreak, &why))
            log.LogError(L"%s", why);
    }
    SString document = merger.GetDocument();
    EXPECT_EQ(2, merger.Count());
    EXPECT_EQ(1, log.ErrorCount());
    EXPECT_NE(nullptr, document.Find(L"Dear Bo"));
}

// ---- docs/streams.md ----

TEST(Guides, ATemplateIsFilled)
{
    SSymbolTable symbols;
    symbols.Set(L"NAME", 0, L"ab");
    SStringTranslator translator;
    translator.SetSymbolTable(&symbols);
    int status;
    SString text = translator.Translate(L"<%-6:NAME%>", status, SSymbolTable::kAnyId);
    EXPECT_STREQ(L"<    ab>", text);
}

// ---- docs/gradients.md ----

namespace {

class Window : public SWnd {
public:
    bool Make()
    {
        const RECT place = { 0, 0, 60, 80 };
        return CreateEx(WS_EX_TOPMOST, RegisterWindowClass(), L"sky", WS_POPUP | WS_VISIBLE, place, nullptr,
                        0) != 0;
    }

private:
    void OnPaint();
    S_DECLARE_MESSAGE_MAP()
};

S_BEGIN_MESSAGE_MAP(Window, SWnd)
S_ON_WM_PAINT()
S_END_MESSAGE_MAP()

void Window::OnPaint()
{
    PAINTSTRUCT paint;
    RECT client;
    ::BeginPaint(GetHandle(), &paint);
    ::GetClientRect(GetHandle(), &client);
    SDrawGradient sky;
    sky.SetGradient(client, RGB(20, 60, 160), RGB(200, 225, 255), SDrawGradient::GRADIENT_HORZ,
                    SDrawGradient::FRAME_RECT);
    sky.DrawGradient(*SDC::FromHandle(paint.hdc));
    ::EndPaint(GetHandle(), &paint);
}

} // namespace

TEST(Guides, ABackgroundRunsFromOneColourToTheOther)
{
    Window window;
    ASSERT_TRUE(window.Make());
    ::RedrawWindow(window.GetHandle(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    EXPECT_FALSE(::GetUpdateRect(window.GetHandle(), nullptr, FALSE)) << "all is painted";
    const HDC dc = ::GetDC(window.GetHandle());
    const COLORREF top = ::GetPixel(dc, 30, 2), bottom = ::GetPixel(dc, 30, 77);
    ::ReleaseDC(window.GetHandle(), dc);
    EXPECT_LT(GetRValue(top), 60);
    EXPECT_GT(GetRValue(bottom), 160);
    window.DestroyWindow();
    SGraphics::Shutdown();
}
