// errctx.cpp: the counting sink for messages, warnings and errors.
#include "errctx.h"

#include "compiler.h"
#include "modstate.h"

#include <utility>

namespace {

constexpr unsigned kWarningWordId = 282;
constexpr unsigned kErrorWordId = 283;
constexpr unsigned kFatalWordId = 284;
constexpr wchar_t kWarningWord[] = L"Warning";
constexpr wchar_t kErrorWord[] = L"Error";
constexpr wchar_t kFatalWord[] = L"Fatal Error";

} // namespace

// Before the static objects of clients and of the other sources, some of which are contexts.
SString SDErrorContext::sClassWarning S_INIT_PRIORITY(104);
SString SDErrorContext::sClassError S_INIT_PRIORITY(104);
SString SDErrorContext::sClassFatal S_INIT_PRIORITY(104);

static_assert(!S_TARGET_32BIT || sizeof(SDErrorContext) == 40, "ten words, in their order");

SDErrorContext::SDErrorContext()
    : m_line(-1), m_errors(0), m_lastErrorCode(0), m_warnings(0), m_lastWarningCode(0), m_resources(nullptr)
{
    Init();
}

SDErrorContext::SDErrorContext(const SDErrorContext&) {}

SDErrorContext& SDErrorContext::operator=(const SDErrorContext& other) = default;

SDErrorContext::~SDErrorContext() = default;

void SDErrorContext::Init()
{
    // Named, not virtual: this runs in the constructor.
    SDErrorContext::ClearContext();
    if (!sClassWarning.IsEmpty())
        return;
    const SModuleState& core = SModuleState::Core();
    core.TryLoadString(kWarningWordId, sClassWarning);
    core.TryLoadString(kErrorWordId, sClassError);
    core.TryLoadString(kFatalWordId, sClassFatal);
    if (sClassWarning.IsEmpty()) {
        sClassWarning = kWarningWord;
        sClassError = kErrorWord;
        sClassFatal = kFatalWord;
    }
}

// ---- Outputs ----

SString SDErrorContext::RawMessageOutput(SString text)
{
    return text;
}

SString SDErrorContext::RawWarningOutput(SString text)
{
    return RawMessageOutput(std::move(text));
}

SString SDErrorContext::RawErrorOutput(SString text)
{
    return RawWarningOutput(std::move(text));
}

SString SDErrorContext::RawFatalOutput(SString text)
{
    return RawErrorOutput(std::move(text));
}

// ---- Context ----

SString SDErrorContext::SetContextText(SString text)
{
    return std::exchange(m_context, std::move(text));
}

SString SDErrorContext::GetContextText() const
{
    return m_context;
}

int SDErrorContext::SetLineNo(int line)
{
    return std::exchange(m_line, line);
}

int SDErrorContext::IncLineNo()
{
    return ++m_line;
}

int SDErrorContext::GetLineNo() const
{
    return m_line;
}

void SDErrorContext::ClearContext()
{
    m_errors = m_warnings = 0;
    m_lastErrorCode = m_lastWarningCode = 0;
    m_lastErrorText.Empty();
    m_lastWarningText.Empty();
    SetLineNo(-1);
}

// ---- Logging ----

SString SDErrorContext::AddMessageContext(SString text, const wchar_t* classWord, long code)
{
    const SString context = GetContextText();
    const int line = GetLineNo();
    const bool hasWord = classWord && *classWord != L'\0';
    const bool hasLine = line != -1;
    const bool hasCode = code != kNoCode;

    SString prefix;
    if (context.IsEmpty() && !hasWord)
        return text;
    if (context.IsEmpty()) {
        if (hasLine)
            prefix.Format(hasCode ? L"(%d) %s : %d: " : L"(%d) %s : ", line, classWord, code);
        else
            prefix.Format(hasCode ? L"%s : %d: " : L"%s: ", classWord, code);
    } else {
        prefix.Format(hasLine ? L"%s(%d) : " : L"%s : ", context, line);
        if (hasWord)
            prefix += SString().Format(hasCode ? L"%s %d: " : L"%s: ", classWord, code);
    }
    return prefix += text;
}

SString SDErrorContext::LoadFormat(unsigned formatId) const
{
    SString format;
    format.LoadString(formatId, m_resources);
    return format;
}

void SDErrorContext::Count(Kind kind, long code)
{
    if (kind == kWarning) {
        ++m_warnings;
        m_lastWarningCode = code;
    } else {
        ++m_errors;
        m_lastErrorCode = code;
    }
}

SString SDErrorContext::EmitMessage(const SString& text)
{
    return RawMessageOutput(text);
}

SString SDErrorContext::Emit(Kind kind, long code, const SString& text)
{
    Count(kind, code);
    switch (kind) {
    case kWarning:
        m_lastWarningText = AddMessageContext(text, sClassWarning, code);
        return RawWarningOutput(m_lastWarningText);
    case kError:
        m_lastErrorText = AddMessageContext(text, sClassError, code);
        return RawErrorOutput(m_lastErrorText);
    default:
        m_lastErrorText = AddMessageContext(text, sClassFatal, code);
        RawFatalOutput(m_lastErrorText);
        return m_lastErrorText;
    }
}

// ---- Resources ----

HINSTANCE SDErrorContext::SetResInstance(HINSTANCE instance)
{
    return std::exchange(m_resources, instance);
}

HINSTANCE SDErrorContext::SetResInstance(SModuleState* state)
{
    return SetResInstance(state ? state->GetResourceModule() : nullptr);
}

// ---- The process's sink ----

namespace {

SDErrorContext* g_output = nullptr;

SDErrorContext& UsualOutput()
{
    static SDErrorContext output;
    return output;
}

} // namespace

SDErrorContext& GeneralOutput()
{
    SDErrorContext& usual = UsualOutput();
    return g_output ? *g_output : usual;
}

void SetGeneralOutput(SDErrorContext* output)
{
    UsualOutput();
    g_output = output;
}
