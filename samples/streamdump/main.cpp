// streamdump: shows what is in a file that was written in the binary form.
//
//     streamdump FILE TYPE...
//
// The types are those of the values in their order: byte, short, long, ulong, string, blob, table, map; the last one may have
// a "*" behind it, for as many as there are. Each value is shown with the place where it begins; those in tables and maps
// below their count.
//
// Ends with 0, or with 2 and one line on standard error: bad input, or a file that does not hold those types.
#include "../console.h"

#include "sbufstream.h"
#include "sfilestream.h"
#include "sioexcept.h"

#include <cwchar>

namespace {

constexpr int kDone = 0, kBadInput = 2;
constexpr int kMostShown = 60;

/// Knows how far it has been read.
class CountingStream : public SInputFilter {
public:
    using SInputFilter::SInputFilter;

    unsigned long Read(void* data, unsigned long bytes, unsigned long unit) override
    {
        const unsigned long got = SInputFilter::Read(data, bytes, unit);
        m_at += got;
        return got;
    }
    unsigned long At() const { return m_at; }

private:
    unsigned long m_at = 0;
};

/// A file that is being shown.
struct Dump {
    CountingStream bytes;
    SInputBinaryStream in;

    explicit Dump(SInputStream& file) : bytes(file), in(bytes) {}

    void Line(unsigned long at, const wchar_t* type, const SString& value) const
    {
        Print(stdout, SString().Format(L"%08lX  %-8s %s\n", at, type, value));
    }
    template <class T>
    void Number(const wchar_t* type, const wchar_t* format)
    {
        const unsigned long at = bytes.At();
        T value;
        in >> value;
        Line(at, type, SString().Format(format, value));
    }
};

SString Quoted(SString text)
{
    const int length = text.Length();
    text = text.Left(kMostShown);
    text.ReplaceAll(L"\\", L"\\\\");
    text.ReplaceAll(L"\n", L"\\n");
    text.ReplaceAll(L"\r", L"\\r");
    text.ReplaceAll(L"\t", L"\\t");
    text = SString::Concat(L"\"", text, L"\"");
    return length > kMostShown ? text + SString().Format(L"... (%d characters)", length) : text;
}

SString ReadText(Dump& dump)
{
    SString text;
    dump.in >> text;
    return Quoted(text);
}

void ShowString(Dump& dump)
{
    const unsigned long at = dump.bytes.At();
    dump.Line(at, L"string", ReadText(dump));
}

void ShowBlob(Dump& dump)
{
    const unsigned long at = dump.bytes.At();
    SBlob blob;
    dump.in >> blob;
    constexpr unsigned long kBytesShown = 16;
    const void* const bytes = blob.LockForRead();
    const unsigned long size = blob.GetSize();
    const SString hex = SBlob::BytesToHex(bytes, size < kBytesShown ? size : kBytesShown, 0, L" ", nullptr);
    if (bytes)
        blob.Unlock();
    dump.Line(at, L"blob",
              SString().Format(L"%lu bytes: %s%s", size, hex, size > kBytesShown ? L" ..." : L""));
}

// The entries of a table, or with pairs those of a map.
void ShowEntries(Dump& dump, const wchar_t* type, bool pairs)
{
    const unsigned long at = dump.bytes.At();
    unsigned long count;
    dump.in >> count;
    dump.Line(at, type, SString().Format(pairs ? L"%lu pairs" : L"%lu strings", count));
    for (unsigned long i = 0; i < count; ++i) {
        const unsigned long place = dump.bytes.At();
        SString text = ReadText(dump);
        if (pairs)
            text += L" = " + ReadText(dump);
        dump.Line(place, L"", SString().Format(L"[%lu] %s", i, text));
    }
}

const struct Type {
    const wchar_t* name;
    void (*show)(Dump&);
} kTypes[] = {
    { L"byte", [](Dump& dump) { dump.Number<unsigned char>(L"byte", L"%u"); } },
    { L"short", [](Dump& dump) { dump.Number<unsigned short>(L"short", L"%u"); } },
    { L"long", [](Dump& dump) { dump.Number<long>(L"long", L"%ld"); } },
    { L"ulong", [](Dump& dump) { dump.Number<unsigned long>(L"ulong", L"%lu"); } },
    { L"string", ShowString },
    { L"blob", ShowBlob },
    { L"table", [](Dump& dump) { ShowEntries(dump, L"table", false); } },
    { L"map", [](Dump& dump) { ShowEntries(dump, L"map", true); } },
};

const Type& FindType(SString name)
{
    name.TrimRight(L'*');
    for (const Type& type : kTypes) {
        if (name == type.name)
            return type;
    }
    throw BadInput{ name + L": not one of byte, short, long, ulong, string, blob, table, map" };
}

void Show(Dump& dump, int count, wchar_t** types)
{
    for (int i = 0; i < count; ++i)
        FindType(types[i]); // all of them before the first line is printed
    for (int i = 0; i < count; ++i) {
        const Type& type = FindType(types[i]);
        const bool repeats = types[i][std::wcslen(types[i]) - 1] == L'*';
        while (!repeats || dump.in.Available() > 0) {
            type.show(dump);
            if (!repeats)
                break;
        }
    }
    if (dump.in.Available() > 0)
        Print(stdout, SString().Format(L"%08lX  %lu bytes more\n", dump.bytes.At(), dump.in.Available()));
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    unsigned long place = 0;
    try {
        if (count < 3)
            throw BadInput{ L"usage: streamdump FILE TYPE..." };
        SInputBufferStream file(new SInputFile(Typed(arguments[1])), true);
        Dump dump(file);
        try {
            Show(dump, count - 2, arguments + 2);
            return kDone;
        }
        catch (const SEEOFException&) {
            place = dump.bytes.At();
        }
        throw BadInput{ SString().Format(L"%s ends at %lu, within a value", arguments[1], place) };
    }
    catch (const BadInput& bad) {
        Print(stderr, SString::Concat(L"streamdump: ", bad.message, L"\n"));
    }
    catch (const SException& e) {
        Print(stderr, SString::Concat(L"streamdump: ", e.GetText(), L"\n"));
    }
    return kBadInput;
}
