// Exceptions, reports, objects, and the text code of RTF without memory.
#include "crashlog.h"
#include "describe.h"
#include "errctx.h"
#include "rtfmerge.h"
#include "sexcept.h"
#include "sioexcept.h"
#include "starget.h"

#include "hard/allocwalk.h"
#include "support/templog.h"

#include <stdexcept>

namespace {

// ---- Exceptions and reports ----

struct Reports {
    SDErrorContext context;
    SString message = Long(L'm'), out = L"old";
    std::vector<SString> hoard;

    Reports()
    {
        context.LogCodedError(6, L"before");
        FillPools(hoard);
    }
    std::wstring Look() const
    {
        return std::to_wstring(context.ErrorCount()) + L'|' + std::to_wstring(context.LastErrorCode()) +
               L'|' + Wide(context.LastErrorText()) + L'|' + Wide(context.GetContextText()) + L'|' +
               Wide(out);
    }
};

template <class Make>
bool TextOf(Reports& r, Make make)
{
    const auto exception = make();
    return r.out = exception.GetFullText(), true;
}

const Row<Reports> kReports[] = {
    { "SException::SException SException::FmtDbgFileLine SException::GetFullText",
      [](Reports& r) { return TextOf(r, [&] { return SException("f", "file.cpp", 3, r.message); }); } },
    { "SECOMException::SECOMException",
      [](Reports& r) { return TextOf(r, [] { return SECOMException("f", "file.cpp", 3, E_FAIL); }); },
      kKeepsSome }, // a text that cannot be had is left out
    { "SEIOException::SEIOException",
      [](Reports& r) { return TextOf(r, [] { return SEIOException("f", "file.cpp", 3, 5); }); } },
    { "SEEncodingException::SEEncodingException",
      [](Reports& r) {
          return TextOf(r, [&] { return SEEncodingException("f", "file.cpp", 3, r.message); });
      } },
    { "SEZipException::SEZipException",
      [](Reports& r) { return TextOf(r, [&] { return SEZipException("f", "file.cpp", 3, r.message); }); } },
    { "SEEOFException::SEEOFException",
      [](Reports& r) { return TextOf(r, [] { return SEEOFException("f", "file.cpp", 3); }); } },
    { "SEIODiskFullException::SEIODiskFullException",
      [](Reports& r) { return TextOf(r, [] { return SEIODiskFullException("f", "file.cpp", 3); }); } },
    { "SEIOAbortedException::SEIOAbortedException",
      [](Reports& r) { return TextOf(r, [] { return SEIOAbortedException("f", "file.cpp", 3); }); } },
    { "STargetedException::STargetedException STargetedException::FmtDbgFileLine "
      "STargetedException::GetDisplayText",
      [](Reports& r) {
          const STargetedException exception("f", "file.cpp", 3, L"Load", r.message);
          return r.out = exception.GetDisplayText(), true;
      } },
    { "SDErrorContext::Emit SDErrorContext::Count SDErrorContext::AddMessageContext "
      "SDErrorContext::RawErrorOutput",
      [](Reports& r) { return r.context.LogCodedError(7, L"%s", r.message), true; },
      kKeepsSome }, // counted and not shown, or neither; never a code without its count
    { "SDErrorContext::EmitMessage SDErrorContext::RawMessageOutput",
      [](Reports& r) { return r.out = r.context.LogMessage(L"%s", r.message), true; } },
    { "SDErrorContext::RawWarningOutput",
      [](Reports& r) { return r.out = r.context.LogWarning(L"%s", r.message), true; }, kKeepsSome },
    { "SDErrorContext::RawFatalOutput",
      [](Reports& r) { return r.out = r.context.LogFatal(L"%s", r.message), true; }, kKeepsSome },
    { "SDErrorContext::SDErrorContext SDErrorContext::Init",
      [](Reports& r) {
          SDErrorContext other;
          other = r.context;
          return r.out = other.LogMessage(L"a message that is new"), true;
      } },
};

// These answer without throwing, whatever there is not.
struct Quiet {
    std::wstring Look() const { return L"still here"; }

    TempLog log;
};

const Row<Quiet> kQuiet[] = {
    { "SDescribeCurrentException",
      [](Quiet&) {
          static const std::runtime_error error("described");
          try {
              throw error;
          }
          catch (...) {
              SDescribeCurrentException();
          }
          return true;
      } },
    { "SExceptionLogPath", [](Quiet&) { return !SExceptionLogPath().IsEmpty(); } },
};

// ---- RTF ----

const wchar_t kLetter[] =
    L"{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0\\fswiss Arial;}{\\f1\\froman Times{\\*\\falt Serif};}}"
    L"{\\colortbl;\\red255\\green0\\blue0;}{\\stylesheet{\\s0 Normal;}{\\s3\\b Heading;}}"
    L"\\pard\\s3\\f1\\cf1 first\\par second \\f0 third\\par}";

struct Rtf {
    SString text = kLetter, out = L"old";
    SRtfFontTable fonts;
    SRtfColorTable colors;
    SRtfStyleTable styles;
    SRtfFontEntry font;
    SRtfColorEntry color;
    SRtfStyleEntry style;
    SRtfMerger merger;
    std::vector<SString> hoard;

    Rtf()
    {
        fonts.AddFontTable(L"{\\fonttbl{\\f0 Arial;}}");
        colors.AddColorTable(L"{\\colortbl;\\red1\\green2\\blue3;}");
        styles.AddStyleTable(L"{\\stylesheet{\\s0 Normal;}}");
        merger.AddFragment(kLetter);
        FillPools(hoard);
    }
    std::wstring Look() const
    {
        return Wide(text) + L'|' + Wide(out) + L'|' + std::to_wstring(fonts.Count()) +
               std::to_wstring(colors.Count()) + std::to_wstring(styles.Count()) + L'|' +
               Wide(font.m_strName) + Wide(style.m_strName) + Wide(color.m_strDefinition) + L'|' +
               std::to_wstring(merger.Count()) + Wide(merger.GetDocument());
    }
};

const SRtfNumberMap& NoNumbers()
{
    static const SRtfNumberMap map = [] {
        SRtfNumberMap made;
        made.Set(0, 5);
        made.Set(1, 17);
        return made;
    }();
    return map;
}

// The text members answer 0 where an exception stops them, and say so in a dialog; a table keeps what it took before.
const Row<Rtf> kRtf[] = {
    { "SRtfText::ExtractHeader", [](Rtf& r) { return SRtfText::ExtractHeader(r.out, r.text, 1) == 1; },
      kKeepsSome },
    { "SRtfText::ExtractFontTable", [](Rtf& r) { return SRtfText::ExtractFontTable(r.out, r.text, 1) == 1; },
      kKeepsSome },
    { "SRtfText::ExtractColorTable",
      [](Rtf& r) { return SRtfText::ExtractColorTable(r.out, r.text, 1) == 1; }, kKeepsSome },
    { "SRtfText::ExtractStyleTable",
      [](Rtf& r) { return SRtfText::ExtractStyleTable(r.out, r.text, 1) == 1; }, kKeepsSome },
    { "SRtfText::ChangeFontAndColor",
      [](Rtf& r) {
          return SRtfText::ChangeFontAndColor(r.out, r.text, NoNumbers(), NoNumbers(), NoNumbers()) == 1;
      },
      kKeepsSome },
    { "SRtfFontEntry::SetFontEntry SRtfFontEntry::GetFontEntry",
      [](Rtf& r) {
          return r.font.SetFontEntry(L"{\\f7\\fswiss A font of some length;}") == 1 &&
                 (r.out = r.font.GetFontEntry(), true);
      },
      kKeepsSome },
    { "SRtfColorEntry::SetColorEntry SRtfColorEntry::GetColorEntry",
      [](Rtf& r) {
          return r.color.SetColorEntry(L"\\red255\\green10\\blue0") == 1 &&
                 (r.out = r.color.GetColorEntry(), true);
      },
      kKeepsSome },
    { "SRtfStyleEntry::SetStyleEntry SRtfStyleEntry::GetStyleEntry",
      [](Rtf& r) {
          return r.style.SetStyleEntry(L"{\\s7\\b A style of some length;}") == 1 &&
                 (r.out = r.style.GetStyleEntry(), true);
      },
      kKeepsSome },
    { "SRtfFontTable::AddFontTable SRtfFontTable::GetFontTable",
      [](Rtf& r) {
          return r.fonts.AddFontTable(L"{\\fonttbl{\\f3 A font of some length;}}").Count() == 1 &&
                 (r.out = r.fonts.GetFontTable(), true);
      },
      kKeepsSome },
    { "SRtfColorTable::AddColorTable SRtfColorTable::GetColorTable",
      [](Rtf& r) {
          return r.colors.AddColorTable(L"{\\colortbl;\\red9\\green9\\blue9;}").Count() > 0 &&
                 (r.out = r.colors.GetColorTable(), true);
      },
      kKeepsSome },
    { "SRtfStyleTable::AddStyleTable SRtfStyleTable::GetStyleTable",
      [](Rtf& r) {
          return r.styles.AddStyleTable(L"{\\stylesheet{\\s5 A style of some length;}}").Count() > 0 &&
                 (r.out = r.styles.GetStyleTable(), true);
      },
      kKeepsSome },
    { "SRtfMerger::SRtfMerger",
      [](Rtf&) {
          const SRtfMerger another;
          return another.Count() == 0;
      } },
    { "SRtfMerger::AddFragment SRtfMerger::Check",
      [](Rtf& r) { return r.merger.AddFragment(kLetter) == 1; } },
    { "SRtfMerger::GetDocument", [](Rtf& r) { return r.out = r.merger.GetDocument(), true; } },
};

const int g_rows = AddRows("Reports", kReports) + AddRows("Quiet", kQuiet) + AddRows("Rtf", kRtf);

} // namespace
