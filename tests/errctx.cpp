// The counting sink: counts, prefixes, the cascade of outputs, words and formats from resources.
#include "errctx.h"

#include "modstate.h"
#include "sexcept.h"

#include "support/allocfail.h"
#include "support/stringhelp.h"
#include "support/uilanguage.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

/// Keeps what arrives at each output.
class Sink : public SDErrorContext {
public:
    using SDErrorContext::AddMessageContext;

    explicit Sink(int overridden = 1) : m_overridden(overridden) {}
    SString RawMessageOutput(SString text) override { return Keep(0, text); }
    SString RawWarningOutput(SString text) override
    {
        return m_overridden >= 2 ? Keep(1, text) : SDErrorContext::RawWarningOutput(text);
    }
    SString RawErrorOutput(SString text) override
    {
        return m_overridden >= 3 ? Keep(2, text) : SDErrorContext::RawErrorOutput(text);
    }

    SString RawFatalOutput(SString text) override
    {
        return m_overridden >= 4 ? Keep(3, text) : SDErrorContext::RawFatalOutput(text);
    }

    std::vector<std::wstring> got[4];

private:
    SString Keep(int where, const SString& text)
    {
        got[where].push_back(Wide(text));
        return L"<" + text + L">";
    }

    int m_overridden;
};

/// Computes where it stands.
class InPage : public Sink {
public:
    SString GetContextText() const override { return L"page"; }
    int GetLineNo() const override { return 9; }
};

} // namespace

TEST(ErrorContext, IsEmptyWhenNewAndAfterClearing)
{
    Sink sink;
    EXPECT_EQ(0, sink.LastErrorCode());
    EXPECT_EQ(0, sink.LastWarningCode());
    EXPECT_EQ(-1, sink.GetLineNo());
    EXPECT_EQ(0, sink.FailureCount());
    EXPECT_EQ(nullptr, sink.GetResInstance());
    EXPECT_STREQ(L"", sink.SetContextText(L"a.txt"));
    EXPECT_EQ(-1, sink.SetLineNo(4));
    EXPECT_EQ(5, sink.IncLineNo());
    sink.LogCodedError(7, L"x");
    sink.LogCodedWarning(8, L"y");
    sink.SetResInstance(::GetModuleHandleW(L"kernel32.dll"));
    sink.ClearContext();
    EXPECT_EQ(0, sink.LastErrorCode());
    EXPECT_EQ(0, sink.LastWarningCode());
    EXPECT_STREQ(L"", sink.LastErrorText());
    EXPECT_STREQ(L"", sink.LastWarningText());
    EXPECT_EQ(0, sink.FailureCount());
    EXPECT_EQ(-1, sink.GetLineNo());
    EXPECT_STREQ(L"a.txt", sink.SetContextText(L"b.txt")) << "the context stays";
    EXPECT_EQ(::GetModuleHandleW(L"kernel32.dll"), sink.GetResInstance());
}

TEST(ErrorContext, PutsThePlaceInFrontOfTheText)
{
    const struct {
        int line;
        const wchar_t* context;
        const wchar_t* word;
        long code;
        const wchar_t* prefix;
    } kCases[] = {
        { -1, L"", nullptr, 7, L"" },
        { -1, L"", L"", -1, L"" },
        { -1, L"", L"Word", -1, L"Word: " },
        { -1, L"", L"Word", 0, L"Word : 0: " },
        { -1, L"c", L"", 7, L"c : " },
        { -1, L"c", L"Word", -1, L"c : Word: " },
        { -1, L"c", L"Word", -7, L"c : Word -7: " },
        { 5, L"", L"", 7, L"" },
        { 5, L"", L"Word", -1, L"(5) Word : " },
        { 0, L"", L"Word", 7, L"(0) Word : 7: " },
        { 5, L"c", nullptr, 7, L"c(5) : " },
        { 5, L"c", L"Word", -1, L"c(5) : Word: " },
        { -2, L"%s", L"Word", 7, L"%s(-2) : Word 7: " },
    };
    for (const auto& c : kCases) {
        Sink sink;
        sink.SetLineNo(c.line);
        sink.SetContextText(c.context);
        EXPECT_STREQ(SString(c.prefix) + L"100 %d", sink.AddMessageContext(L"100 %d", c.word, c.code));
    }
    EXPECT_STREQ(L"page(9) : Error: x",
                 (InPage().LogError(L"x"), InPage().AddMessageContext(L"x", L"Error", -1)));
}

TEST(ErrorContext, CountsAndRemembersEachKindOfProblem)
{
    Sink sink;
    sink.SetContextText(L"a.txt");
    EXPECT_STREQ(L"<7 of nine>", sink.LogMessage(L"%d of %s", 7, SString(L"nine")));
    EXPECT_EQ(0, sink.FailureCount());

    EXPECT_STREQ(L"<a.txt : Warning: w1>", sink.LogWarning(L"w%d", 1));
    EXPECT_EQ(-1, sink.LastWarningCode());
    EXPECT_STREQ(L"<a.txt : Warning 3: w2>", sink.LogCodedWarning(3, L"w2"));
    EXPECT_EQ(3, sink.LastWarningCode());
    EXPECT_STREQ(L"a.txt : Warning 3: w2", sink.LastWarningText());
    EXPECT_EQ(2, sink.WarningCount());
    EXPECT_EQ(0, sink.ErrorCount());

    sink.SetLineNo(5);
    EXPECT_STREQ(L"<a.txt(5) : Error: e1>", sink.LogError(L"e1"));
    EXPECT_EQ(-1, sink.LastErrorCode());
    EXPECT_STREQ(L"<a.txt(5) : Error 7: x>", sink.LogCodedError(7, L"x"));
    EXPECT_STREQ(L"a.txt(5) : Fatal Error: f", sink.LogFatal(L"f"))
        << "the text, not what the output returned";
    EXPECT_EQ(-1, sink.LastErrorCode());
    EXPECT_STREQ(L"a.txt(5) : Fatal Error -2147024882: f", sink.LogCodedFatal(E_OUTOFMEMORY, L"f"));
    EXPECT_EQ(E_OUTOFMEMORY, sink.LastErrorCode());
    EXPECT_EQ(4, sink.ErrorCount());
    EXPECT_EQ(6, sink.FailureCount());
    EXPECT_EQ(7u, sink.got[0].size());

    sink.SetResInstance(::GetModuleHandleW(nullptr));
    Sink copy;
    copy = sink;
    EXPECT_EQ(5, copy.GetLineNo());
    EXPECT_EQ(4, copy.ErrorCount());
    EXPECT_EQ(2, copy.WarningCount());
    EXPECT_EQ(E_OUTOFMEMORY, copy.LastErrorCode());
    EXPECT_EQ(3, copy.LastWarningCode());
    EXPECT_STREQ(sink.LastErrorText(), copy.LastErrorText());
    EXPECT_STREQ(L"a.txt : Warning 3: w2", copy.LastWarningText());
    EXPECT_STREQ(L"a.txt", copy.GetContextText());
    EXPECT_EQ(::GetModuleHandleW(nullptr), copy.GetResInstance());
}

TEST(ErrorContext, OutputsNotOverriddenPassDownTheCascade)
{
    const size_t kExpected[4][4] = { { 4, 0, 0, 0 }, { 1, 3, 0, 0 }, { 1, 1, 2, 0 }, { 1, 1, 1, 1 } };
    for (int overridden = 1; overridden <= 4; ++overridden) {
        Sink sink(overridden);
        sink.LogMessage(L"m");
        sink.LogWarning(L"w");
        sink.LogError(L"e");
        sink.LogFatal(L"f");
        for (int where = 0; where < 4; ++where)
            EXPECT_EQ(kExpected[overridden - 1][where], sink.got[where].size())
                << overridden << " at " << where;
    }
    EXPECT_STREQ(L"m", SDErrorContext().LogMessage(L"m")) << "the last one returns the text";
}

TEST(ErrorContext, TakesFormatsFromResourcesAndCountsWhatIsMissing)
{
    const HINSTANCE library = ::GetModuleHandleW(L"CVCore16.dll");
    Sink sink;
    EXPECT_EQ(nullptr, sink.SetResInstance(library));
    EXPECT_STREQ(L"<Fatal Error>", sink.LogMessage(284));
    EXPECT_STREQ(L"<Error: Warning>", sink.LogError(282));
    EXPECT_EQ(-1, sink.LastErrorCode()) << "a format's number is a code only where codes are logged";
    EXPECT_STREQ(L"<Warning: Error>", sink.LogWarning(283));
    EXPECT_EQ(-1, sink.LastWarningCode());
    EXPECT_STREQ(L"Fatal Error: Error", sink.LogFatal(283));
    EXPECT_EQ(-1, sink.LastErrorCode());
    EXPECT_STREQ(L"<Error : 282: Warning>", sink.LogCodedError(282));
    EXPECT_EQ(282, sink.LastErrorCode());
    EXPECT_STREQ(L"<Warning : 283: Error>", sink.LogCodedWarning(283u, L"unused")) << "unsigned: a number";
    EXPECT_STREQ(L"Fatal Error : 283: Error", sink.LogCodedFatal(283));
    EXPECT_STREQ(L"<Warning : 9999: >", sink.LogCodedWarning(9999));
    EXPECT_STREQ(L"<Error: >", sink.LogError(static_cast<const wchar_t*>(nullptr)));
    EXPECT_STREQ(L"<Error: >", sink.LogError(nullptr));
    EXPECT_EQ(9, sink.FailureCount());

    SModuleState state(::GetModuleHandleW(nullptr));
    EXPECT_EQ(library, sink.SetResInstance(&state));
    EXPECT_EQ(::GetModuleHandleW(nullptr), sink.GetResInstance());
    state.SetResourceHandle(library);
    sink.SetResInstance(&state);
    EXPECT_EQ(library, sink.GetResInstance());
    EXPECT_EQ(library, sink.SetResInstance(static_cast<SModuleState*>(nullptr)));
    EXPECT_EQ(nullptr, sink.GetResInstance());
}

TEST(ErrorContext, LoadsTheClassWordsFromWhereTheyAre)
{
    struct Restore {
        SString words[3] = { SDErrorContext::sClassWarning, SDErrorContext::sClassError,
                             SDErrorContext::sClassFatal };
        HINSTANCE resources = SModuleState::Core().GetResourceHandle();
        ~Restore()
        {
            SDErrorContext::sClassWarning = words[0];
            SDErrorContext::sClassError = words[1];
            SDErrorContext::sClassFatal = words[2];
            SModuleState::Core().SetResourceHandle(resources);
        }
    } restore;
    const auto load = [] {
        SDErrorContext::sClassWarning.Empty();
        SDErrorContext();
        return SString::Concat(SDErrorContext::sClassWarning, L",", SDErrorContext::sClassError, L",",
                               SDErrorContext::sClassFatal);
    };
    EXPECT_STREQ(L"Warning,Error,Fatal Error", load());
    SModuleState::Core().SetResourceHandle(
        ::GetModuleHandleW(nullptr)); // this program has a table of its own
    EXPECT_STREQ(L"Avertissement,Erreur,Fatal Error", load())
        << "what it does not have comes from the library";
    EXPECT_STREQ(L"Avertissement: x", SDErrorContext().LogWarning(L"x"));

    SModuleState::Core().SetResourceHandle(restore.resources);
    for (const WORD language : { SUBLANG_FRENCH, SUBLANG_FRENCH_BELGIAN }) {
        const UiLanguage french(MAKELANGID(LANG_FRENCH, language));
        EXPECT_STREQ(L"Avertissement,Erreur,Erreur fatale", load()) << "French, as spoken in " << language;
    }
    const UiLanguage german(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN));
    EXPECT_STREQ(L"Warning,Error,Fatal Error", load()) << "a language that the library does not speak";
}

TEST(ErrorContext, GeneralOutputIsTheInstalledOneOrTheFirst)
{
    SDErrorContext& first = GeneralOutput();
    EXPECT_EQ(&first, &GeneralOutput());
    Sink sink;
    SetGeneralOutput(&sink);
    EXPECT_EQ(&sink, &GeneralOutput());
    GeneralOutput().LogError(L"x");
    EXPECT_EQ(1, sink.ErrorCount());
    SetGeneralOutput(nullptr);
    EXPECT_EQ(&first, &GeneralOutput());
    EXPECT_EQ(0, first.ErrorCount());
}

TEST(ErrorContext, OutOfMemoryPassesThroughAndTheSinkStaysWhole)
{
    SDErrorContext sink;
    SString longText;
    WalkAllocationFailures(
        [&] {
            sink.ClearContext();
            sink.LogCodedError(6, L"before");
            longText = SString(L'x', 3000);
        },
        [&] { sink.LogCodedError(7, L"%s", longText); },
        [&](const AllocationTrial& trial) {
            // Counted or not: never a code without its count.
            EXPECT_EQ(sink.ErrorCount() == 2 ? 7 : 6, sink.LastErrorCode());
            if (trial.error) {
                EXPECT_TRUE(Threw<SEOutOfMemory>(trial));
            } else {
                EXPECT_EQ(2, sink.ErrorCount());
            }
        });
}
