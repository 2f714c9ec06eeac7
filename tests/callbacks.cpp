// What client code throws inside a call of the library is received outside that call, with its type, its words and
// the place where it was thrown, whatever lies between, a window procedure and the system too. And the library goes
// on, with nothing lost.
//
// Kinds that are not here, because what they promise is more and stands with the rest of it:
//
//     comparison of SDList::QuickSort, at each of its calls      sdlist.cpp
//     elements of STable while they are copied                   table.cpp
//     keys and payloads of trees                                 stree.cpp, hard/planted.cpp
//     hook of the message box, query for unattended operation    excdlg.cpp: swallowed, as stated
//     OnCreate, and the end of a window during it                window.cpp, window_ends.cpp
//     callbacks of the flat face, whose exceptions become codes  cface.cpp
//     the stream-out of a rich-edit control                      rtfdoc.cpp: the callback is the library's own
//     reporter of damage                                         sexcept.cpp: swallowed, as stated
//
// The library starts no threads, so it has no entry function to offer.
#include "baseobj.h"
#include "crash.h"
#include "errctx.h"
#include "salloc.h"
#include "sbufstream.h"
#include "sfind.h"
#include "smap.h"
#include "sstream.h"
#include "stextin.h"
#include "strtrans.h"
#include "szipstream.h"

#include "support/callbackcase.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

// ---- Text and data ----

class Translator : public SStringTranslator {
    void CopyText(SString& out, const wchar_t* from, const wchar_t* to) override
    {
        Called("SStringTranslator::CopyText");
        SStringTranslator::CopyText(out, from, to);
    }
    void AppendText(SString& out, const wchar_t* text) override
    {
        Called("SStringTranslator::AppendText");
        SStringTranslator::AppendText(out, text);
    }
    int LookupVariable(const SString&, OPTIONS&, long, SString* value, int*) override
    {
        Called("SStringTranslator::LookupVariable");
        *value = L"value";
        return 1;
    }
};
void Translate()
{
    int status = 0;
    Translator().Translate(L"a %b% c", status, SSymbolTable::kAnyId);
}

struct Filter : SFindFilter {
    int Accepts(const WIN32_FIND_DATAW&) const override
    {
        Called("SFindFilter::Accepts");
        return 1;
    }
};
template <class Find>
struct RootedFind : Find {
    SString GetRoot() const override
    {
        Called("SBaseFind::GetRoot");
        return Find::GetRoot();
    }
};
template <class Find>
void FindFirst()
{
    wchar_t folder[MAX_PATH];
    ::GetWindowsDirectoryW(folder, MAX_PATH);
    const Filter filter;
    RootedFind<Find> find;
    find.SetFilter(&filter);
    ASSERT_TRUE(find.FindFile(SString(folder) + L"\\*"));
    find.GetFilePath();
}

class Context : public SDErrorContext {
public:
    SString RawMessageOutput(SString text) override { return Out("SDErrorContext::RawMessageOutput", text); }
    SString RawWarningOutput(SString text) override { return Out("SDErrorContext::RawWarningOutput", text); }
    SString RawErrorOutput(SString text) override { return Out("SDErrorContext::RawErrorOutput", text); }
    SString RawFatalOutput(SString text) override { return Out("SDErrorContext::RawFatalOutput", text); }
    SString GetContextText() const override { return Out("SDErrorContext::GetContextText", L"plan.txt"); }
    int GetLineNo() const override
    {
        Called("SDErrorContext::GetLineNo");
        return 7;
    }

private:
    static SString Out(const char* callback, const SString& text)
    {
        Called(callback);
        return text;
    }
};
void LogAll()
{
    Context context;
    context.LogMessage(L"a");
    context.LogWarning(L"b");
    context.LogError(L"c");
    context.LogFatal(L"d");
}

int FormatResult(long, SString* text)
{
    Called("SResultFormat");
    *text = L"known";
    return 1;
}
void FormatOne()
{
    const SRegisterGetResultFormat known(FormatResult);
    SString text;
    GetResultFormat(0x20001234, &text);
}

struct Order {
    static int Compare(const int& a, const int& b)
    {
        Called("comparator of SMap");
        return a - b;
    }
};
struct Value {
    Value() { Called("constructor of a map's value"); }
    Value(const Value&) { Called("copy of a map's value"); }
    Value& operator=(const Value&)
    {
        Called("assignment of a map's value");
        return *this;
    }
};
void FillMap()
{
    SMap<int, Value, Order> map;
    map[1];
    map[2];
    map.Set(2, Value());
    map.Set(3, Value());
    const SMap<int, Value, Order> copy(map);
}

// ---- Streams ----

class Source : public SInputStream {
public:
    unsigned long Read(void* data, unsigned long bytes, unsigned long) override
    {
        Called("SInputStream::Read");
        const unsigned long count = bytes < m_left ? bytes : m_left;
        std::memset(data, 0, count);
        if (m_left == kBytes && count > 0)
            *static_cast<char*>(data) = 3; // deflated data without content
        m_left -= count;
        return count;
    }
    unsigned long Skip(unsigned long bytes) override
    {
        Called("SInputStream::Skip");
        return bytes;
    }
    unsigned long Available() override
    {
        Called("SInputStream::Available");
        return m_left;
    }
    void Close() override { Called("SInputStream::Close"); }

private:
    static constexpr unsigned long kBytes = 16;
    unsigned long m_left = kBytes;
};
class Sink : public SOutputStream {
public:
    unsigned long Write(const void*, unsigned long bytes, unsigned long) override
    {
        Called("SOutputStream::Write");
        return bytes;
    }
    void Flush() override { Called("SOutputStream::Flush"); }
    void Close() override { Called("SOutputStream::Close"); }
};

/// What a filter can be asked, of one that reads from a Source.
template <class Stream>
void ReadThrough()
{
    Source* const inner = new Source;
    Stream stream(inner, true);
    char bytes[8];
    stream.Available();
    stream.Read(bytes, sizeof bytes);
    stream.Skip(100000);
    stream.Close();
}
template <class Stream>
void WriteThrough()
{
    Sink* const inner = new Sink;
    Stream stream(inner, true);
    stream.Write("bytes", 5);
    stream.Flush();
    stream.Close();
}
void ReadBinary()
{
    Source source;
    SInputBinaryStream in(source);
    long value;
    in >> value >> value;
}
void WriteBinary()
{
    Sink sink;
    SOutputBinaryStream out(sink);
    out << SString(L"text");
}
void ReadText()
{
    Source source;
    SInputTextStream in(source);
}

// ---- Foundation ----

class Object : public SObject {
public:
    static SClassInfo info;
    Object() { Called("constructor of an object made by its descriptor"); }
    SClassInfo* GetClassInfo() const override
    {
        Called("SObject::GetClassInfo");
        return &info;
    }
};
SClassInfo Object::info("callbacks::Object", sizeof(Object), &SObject::__clsinf,
                        []() -> SObject* { return new Object; });
void MakeObject()
{
    SObject* const object = Object::info.CreateObject();
    struct Ender {
        SObject* object;
        ~Ender() { delete object; }
    } const ender{ object };
    object->IsKindOf(&Object::info);
}

struct Dump : SDump {
    void WriteString(const wchar_t*) override { Called("SDump::WriteString"); }
};
template <class Dumped>
void DumpTo(Dumped dumped)
{
    Dump dump;
    static_cast<SDump&>(dump) << dumped;
}
struct Consumer : SIdleConsumer {
    using SIdleConsumer::SIdleConsumer;
    int OnIdle(int) override
    {
        Called("SIdleConsumer::OnIdle");
        return 0;
    }
};
void BeIdle()
{
    SIdleConsumerList list;
    Consumer consumer(&list);
    list.OnIdle(0);
}
void VisitPools()
{
    SPoolCounters::ForEach(
        [](const SPoolCounter&, void*) {
            Called("visitor of SPoolCounters");
            return 0;
        },
        nullptr);
}

struct WordyException : SException {
    using SException::SException;
    const wchar_t* GetText() const override
    {
        Called("SException::GetText");
        return L"words";
    }
    const wchar_t* GetExceptionName() const override
    {
        Called("SException::GetExceptionName");
        return L"WordyException";
    }
};

} // namespace

TEST(Callbacks, OfTextDataAndStreamsThrowOutOfTheCallAroundThem)
{
    const CallbackCase kCases[] = {
        { "SStringTranslator::CopyText", Translate },
        { "SStringTranslator::AppendText", Translate },
        { "SStringTranslator::LookupVariable", Translate },
        { "SFindFilter::Accepts", FindFirst<SFileFind>, "in a folder" },
        { "SFindFilter::Accepts", FindFirst<SFileRecurseFind>, "in a tree" },
        { "SBaseFind::GetRoot", FindFirst<SFileFind> },
        { "SDErrorContext::RawMessageOutput", LogAll },
        { "SDErrorContext::RawWarningOutput", LogAll },
        { "SDErrorContext::RawErrorOutput", LogAll },
        { "SDErrorContext::RawFatalOutput", LogAll },
        { "SDErrorContext::GetContextText", LogAll },
        { "SDErrorContext::GetLineNo", LogAll },
        { "SResultFormat", FormatOne },
        { "comparator of SMap", FillMap },
        { "constructor of a map's value", FillMap },
        { "copy of a map's value", FillMap },
        { "assignment of a map's value", FillMap },
        { "SInputStream::Read", ReadThrough<SInputFilter>, "SInputFilter" },
        { "SInputStream::Read", ReadThrough<SInputBufferStream>, "SInputBufferStream" },
        { "SInputStream::Read", ReadThrough<SInputPushbackStream>, "SInputPushbackStream" },
        { "SInputStream::Read", ReadThrough<SInflaterInputStream>, "SInflaterInputStream" },
        { "SInputStream::Read", ReadBinary, "SInputBinaryStream" },
        { "SInputStream::Read", ReadText, "SInputTextStream" },
        { "SInputStream::Skip", ReadThrough<SInputFilter>, "SInputFilter" },
        { "SInputStream::Skip", ReadThrough<SInputBufferStream>, "SInputBufferStream" },
        { "SInputStream::Available", ReadThrough<SInputFilter>, "SInputFilter" },
        { "SInputStream::Available", ReadThrough<SInputBufferStream>, "SInputBufferStream" },
        { "SInputStream::Close", ReadThrough<SInputFilter>, "SInputFilter" },
        { "SInputStream::Close", ReadThrough<SInputBufferStream>, "SInputBufferStream" },
        { "SInputStream::Close", ReadThrough<SInputPushbackStream>, "SInputPushbackStream" },
        { "SInputStream::Close", ReadThrough<SInflaterInputStream>, "SInflaterInputStream" },
        { "SOutputStream::Write", WriteThrough<SOutputFilter>, "SOutputFilter" },
        { "SOutputStream::Write", WriteThrough<SOutputBufferStream>, "SOutputBufferStream" },
        { "SOutputStream::Write", WriteThrough<SDeflaterOutputStream>, "SDeflaterOutputStream" },
        { "SOutputStream::Write", WriteBinary, "SOutputBinaryStream" },
        { "SOutputStream::Flush", WriteThrough<SOutputFilter>, "SOutputFilter" },
        { "SOutputStream::Flush", WriteThrough<SOutputBufferStream>, "SOutputBufferStream" },
        { "SOutputStream::Flush", WriteThrough<SDeflaterOutputStream>, "SDeflaterOutputStream" },
        { "SOutputStream::Close", WriteThrough<SOutputFilter>, "SOutputFilter" },
        { "SOutputStream::Close", WriteThrough<SOutputBufferStream>, "SOutputBufferStream" },
        { "SOutputStream::Close", WriteThrough<SDeflaterOutputStream>, "SDeflaterOutputStream" },
    };
    for (const CallbackCase& c : kCases)
        ExpectThrownOut(c);
}

TEST(Callbacks, OfTheFoundationThrowOutOfTheCallAroundThem)
{
    const CallbackCase kCases[] = {
        { "constructor of an object made by its descriptor", MakeObject },
        { "SObject::GetClassInfo", MakeObject },
        { "SDump::WriteString", [] { DumpTo(L"text"); }, "a text" },
        { "SDump::WriteString", [] { DumpTo(7L); }, "a number" },
        { "SIdleConsumer::OnIdle", BeIdle },
        { "visitor of SPoolCounters", VisitPools },
        { "SException::GetText", [] { WordyException(S_HERE).GetFullText(); } },
        { "SException::GetExceptionName", [] { WordyException(S_HERE).GetFullText(); } },
        { "SNotificationManager::Subscriber",
          [] {
              const Subscription subscription(100);
              SNotificationManager::Notify(100, 0, 0);
          } },
        { "work of SRunGuarded", [] { SRunGuarded([] { Called("work of SRunGuarded"); }); } },
        { "work of SCallGuarded",
          [] { SCallGuarded([](void*) { Called("work of SCallGuarded"); }, nullptr); } },
        { "body of SRunCallback",
          [] {
              SRunCallback(0, [] {
                  Called("body of SRunCallback");
                  return 1;
              });
              SRethrowParked();
          } },
    };
    for (const CallbackCase& c : kCases)
        ExpectThrownOut(c);
}
