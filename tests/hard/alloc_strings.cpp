// Strings, builders, narrow texts and blobs without memory.
#include "base64.h"
#include "narrow.h"
#include "shglobal.h"
#include "strbuffer.h"
#include "strclss.h"

#include "hard/allocwalk.h"

#include <cstdarg>

namespace {

// The standard library's own texts are made before anything fails.
const std::string kNarrow(3000, 'n');
const std::wstring kWide(3000, L'w');

// A derived class may call these.
struct Inner : SString {
    using SString::SString;
    using SString::operator=;
    using SString::AllocBeforeWrite;
    using SString::AllocCopy;
    using SString::AssignCopy;
    using SString::ConcatCopy;
    using SString::ConcatInPlace;
    using SString::CopyBeforeWrite;
};

// The pools are full, so a short text asks for a chunk; a long one asks the heap.
template <int length>
struct Strings {
    std::vector<SString> hoard;
    Inner text, other;
    SString sharer, result = L"old";

    Strings()
    {
        text = L"f" + SString(L'x', length) + L" =\xE9l";
        sharer = text;
        other = SString(L'o', length) + L"=";
        FillPools(hoard);
    }
    std::wstring Look() const
    {
        return Wide(text) + L'|' + Wide(sharer) + L'|' + Wide(other) + L'|' + Wide(result);
    }
};

void FormatAll(SString& text, const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    struct End {
        va_list& list;
        ~End() { va_end(list); }
    } const end{ arguments };
    text.FormatV(format, arguments);
}

template <int length>
int AddStrings(const char* name)
{
    typedef Strings<length> S;
    static const Row<S> kRows[] = {
        { "SString::SString SString::Init SString::AllocBuffer",
          [](S& s) { return s.result = SString(s.text.begin(), s.text.end()), true; } },
        { "SString::operator=", [](S& s) { return s.result = s.text.begin(), true; } },
        { "SString::_ToUnicode", [](S& s) { return s.result._ToUnicode(kNarrow.c_str(), length), true; } },
        { "SString::CopySpecially",
          [](S& s) {
              s.other.Lock();
              s.result = SString(s.other);
              s.other.Unlock();
              return true;
          },
          kKeepsSome }, // the other text stays locked
        { "SString::operator+=", [](S& s) { return s.text += L"-more", true; } },
        { "SString::Append", [](S& s) { return s.text.Append(s.other, s.other.Length()), true; } },
        { "SString::AppendSlowly", [](S& s) { return s.text += L'c', true; } },
        { "SString::ConcatPieces",
          [](S& s) { return s.result = SString::Concat(s.text, L'-', s.other), true; } },
        { "operator+", [](S& s) { return s.result = s.text + s.other, true; } },
        { "SString::Insert SString::Splice", [](S& s) { return s.text.Insert(L"in", 1), true; } },
        { "SString::Delete", [](S& s) { return s.text.Delete(0, 1), true; } },
        { "SString::SetAt", [](S& s) { return s.text.SetAt(0, L'S'), true; } },
        { "SString::Replace SString::ReplaceFirst", [](S& s) { return s.text.Replace(L"x", L"yy") == 1; } },
        { "SString::ReplaceNoCase", [](S& s) { return s.text.ReplaceNoCase(L'X', L'y') == 1; } },
        { "SString::ReplaceAll SString::ReplaceEvery",
          [](S& s) { return s.text.ReplaceAll(L"x", L"yy") == length; } },
        { "SString::ReplaceAllNoCase", [](S& s) { return s.text.ReplaceAllNoCase(L"X", L"") == length; } },
        { "SString::Trim SString::CutTo", [](S& s) { return s.text.Trim(L"f"), true; } },
        { "SString::TrimLeft", [](S& s) { return s.text.TrimLeft(L'f'), true; } },
        { "SString::TrimRight", [](S& s) { return s.text.TrimRight(L"l\xE9"), true; } },
        { "SString::ToUpper", [](S& s) { return s.text.ToUpper(), true; } },
        { "SString::ToLower", [](S& s) { return s.text.SetAt(0, L'F'), s.text.ToLower(), true; } },
        { "SString::MakeReverse", [](S& s) { return s.text.MakeReverse(), true; } },
        { "SString::NoAccent", [](S& s) { return s.text.NoAccent(), true; } },
        { "SString::Translate", [](S& s) { return s.text.Translate(L"x", L"z"), true; } },
        { "SString::Randomize", [](S& s) { return s.text.Randomize(length, L"r"), true; } },
        { "SString::Left", [](S& s) { return s.result = s.text.Left(length), true; } },
        { "SString::Right", [](S& s) { return s.result = s.text.Right(length), true; } },
        { "SString::Mid", [](S& s) { return s.result = s.text.Mid(1, length), true; } },
        { "SString::Split", [](S& s) { return s.text.Split(&s.result, &s.other, L'=') == 1; } },
        { "SString::LockTchar SString::FinishUnlock SString::UnlockTchar",
          [](S& s) {
              s.text.LockTchar(s.text.Length() + 1)[0] = L'L';
              s.text.UnlockTchar();
              return true;
          } },
        { "SString::LockBuffer SString::UnlockBuffer",
          [](S& s) {
              s.text.LockBuffer()[0] = L'L';
              s.text.UnlockBuffer();
              return true;
          } },
        { "SString::GetBufferSetLength",
          [](S& s) {
              s.text.GetBufferSetLength(length)[0] = L'L';
              s.text.UnlockTchar();
              return true;
          } },
        { "SString::PszStr", [](S& s) { return s.text.PszStr()[0] = L'P', true; } },
        { "SString::FormatPlain",
          [](S& s) { return s.text.Format(L"%s%s", s.text.PszStr(), s.other.PszStr()), true; } },
        { "SString::FormatV", [](S& s) { return FormatAll(s.text, L"%*d", length, 1), true; } },
        { "SString::AllocBeforeWrite SString::FreeData SString::Release",
          [](S& s) {
              s.other.AllocBeforeWrite(length + 100);
              return s.other = L"new", true;
          } },
        { "SString::AllocCopy",
          [](S& s) {
              SString copy;
              s.text.AllocCopy(copy, length, 0, 10);
              return s.result = copy, true;
          } },
        { "SString::AssignCopy", [](S& s) { return s.text.AssignCopy(length, s.other), true; } },
        { "SString::ConcatCopy", [](S& s) { return s.text.ConcatCopy(length, s.other, 1, L"c"), true; } },
        { "SString::ConcatInPlace", [](S& s) { return s.text.ConcatInPlace(length, s.other), true; } },
        { "SString::CopyBeforeWrite", [](S& s) { return s.text.CopyBeforeWrite(), true; } },
        { "SString::span_iterator::span_iterator SString::parts_iterator::AdvanceNext",
          [](S& s) {
              SString::parts_iterator part(s.text, L' ');
              return s.result = *part, true;
          } },
        { "SStringBuffer::Append SStringBuffer::operator<< SStringBuffer::MakeRoom SStringBuffer::Detach "
          "SString::GrowAhead",
          [](S& s) {
              SStringBuffer buffer;
              buffer << s.text << 1l << 2ul << -3ll << 4ull << s.other;
              return s.result = buffer.Detach(), true;
          } },
        { "SStringBuffer::Reserve SStringBuffer::Truncate",
          [](S& s) {
              SStringBuffer buffer(length);
              buffer << s.other;
              SStringBuffer copy(buffer);
              copy.Truncate(1);
              return s.result = copy.Detach(), true;
          } },
    };
    return AddRows(name, kRows);
}

// Private heap blocks grow and shrink where they stand.
struct LargeStrings {
    SString text = Long(L'x');

    std::wstring Look() const { return Wide(text); }
};

const Row<LargeStrings> kLarge[] = {
    { "SString::GrowLarge", [](LargeStrings& s) { return s.text.Append(kWide.c_str(), 3000), true; },
      kKeepsAll },
    { "SString::ShrinkLarge",
      [](LargeStrings& s) { return s.text += Long(L'z'), s.text.Delete(1, 5000), true; },
      kKeepsSome }, // shrinking never fails: only the growing before it does
};

struct Narrow {
    SUtf8String utf8{ "before" };
    SAnsiString ansi{ "before" };
    SString wide = Long(L'w'), back = L"before";

    std::wstring Look() const
    {
        const std::string all = std::string(utf8) + '|' + std::string(ansi);
        return std::wstring(all.begin(), all.end()) + L'|' + Wide(back);
    }
};

const Row<Narrow> kNarrowRows[] = {
    { "SNarrowText::Convert SUtf8String::WideCharToUTF8", [](Narrow& n) { return n.utf8 = n.wide, true; } },
    { "SNarrowText::Copy", [](Narrow& n) { return n.ansi = kNarrow.c_str(), true; } },
    { "SAnsiString::WideCharToAnsi", [](Narrow& n) { return n.ansi = n.wide, true; } },
    { "SUtf8String::ToUnicode SUtf8String::UTF8ToWideChar",
      [](Narrow& n) { return n.back = SUtf8String::ToUnicode(kNarrow.c_str()), true; } },
};

SBlob BlobOf(const std::string& bytes)
{
    SBlob blob;
    blob.Alloc(static_cast<unsigned long>(bytes.size()));
    std::memcpy(blob.Lock(), bytes.data(), bytes.size());
    blob.Unlock();
    return blob;
}

std::wstring BytesOf(const SBlob& blob)
{
    const unsigned char* bytes = static_cast<const unsigned char*>(blob.LockForRead());
    std::wstring text(bytes, bytes + (bytes ? blob.GetSize() : 0));
    if (bytes)
        blob.Unlock();
    return text;
}

struct Blobs {
    SBlob blob = BlobOf("first bytes " + kNarrow), sharer = blob;
    SString text = L"old";

    std::wstring Look() const { return BytesOf(blob) + L'|' + BytesOf(sharer) + L'|' + Wide(text); }
};

const Row<Blobs> kBlobs[] = {
    { "SBlob::Alloc SBlob::NewData", [](Blobs& b) { return b.blob.Alloc(5000) == 1; },
      kKeepsSome }, // its bytes are gone, as its page says
    { "SBlob::Realloc", [](Blobs& b) { return b.blob.Realloc(20) == 1; } },
    { "SBlob::Lock",
      [](Blobs& b) {
          unsigned char* bytes = static_cast<unsigned char*>(b.blob.Lock());
          if (!bytes)
              return false;
          bytes[0] = 'L';
          return b.blob.Unlock(), true;
      } },
    { "SBlob::ShareDataOf",
      [](Blobs& b) {
          SBlob other;
          const bool made = other.Alloc(5) == 1;
          return other = b.blob, made;
      } },
    { "SBlob::Attach SBlob::Detach",
      [](Blobs& b) {
          const HGLOBAL memory = static_cast<HGLOBAL>(b.blob.Detach());
          if (!memory)
              return false;
          SHGlobal keep(memory);
          SBlob again;
          again.Alloc(5);
          again.Attach(memory, 12);
          keep.Detach();
          return b.text = again.GetAsHex(), true;
      },
      kKeepsSome }, // what was detached is no longer the blob's
    { "SBlob::CreateStream",
      [](Blobs& b) {
          IStream* stream = b.blob.CreateStream();
          if (!stream)
              return false;
          return stream->Release() == 0 && (b.text = L"made", true);
      } },
    { "SBlob::GetAsHex SBlob::BytesToHex", [](Blobs& b) { return b.text = b.blob.GetAsHex(), true; } },
    { "SBlob::SetAsHex", [](Blobs& b) { return b.blob.SetAsHex(L"0A0B0C") == 1; } },
    { "SBlob::GetAsText", [](Blobs& b) { return b.text = b.blob.GetAsText(), true; } },
    { "SBlob::SetAsText", [](Blobs& b) { return b.blob.SetAsText(L"new text") == 1; } },
    { "SBlob::GetAsUUElike", [](Blobs& b) { return b.text = b.blob.GetAsUUElike(), true; } },
    { "SBlob::SetAsUUElike", [](Blobs& b) { return b.blob.SetAsUUElike(L"#86)C\n`\n") == 1; } },
    { "Base64Tools::Base64Encode",
      [](Blobs& b) { return Base64Tools::Base64Encode(kNarrow.data(), 3000, b.text) >= 0; },
      kKeepsSome }, // leaves the target empty; so does Decode
    { "Base64Tools::Base64Decode",
      [](Blobs& b) { return Base64Tools::Base64Decode(L"Zmlyc3Q=", b.blob) >= 0; }, kKeepsSome },
};

struct Globals {
    SHGlobal memory;
    std::wstring seen = L"before";

    Globals() { memory.Alloc(16); }
    std::wstring Look() const { return std::to_wstring(memory.GetSize()); }
};

const Row<Globals> kGlobals[] = {
    { "SHGlobal::Alloc", [](Globals& g) { return g.memory.Alloc(5000) == 1; },
      kKeepsSome }, // the old memory goes first
    { "SHGlobal::Realloc", [](Globals& g) { return g.memory.Realloc(5000) == 1; } },
    { "SHGlobal::SHGlobal",
      [](Globals& g) {
          const SHGlobal copy(g.memory);
          return !copy.IsNull() && copy.GetSize() == g.memory.GetSize();
      } },
};

const int g_rows = AddStrings<20>("ShortStrings") + AddStrings<3000>("LongStrings") +
                   AddRows("LargeStrings", kLarge) + AddRows("Narrow", kNarrowRows) +
                   AddRows("Blobs", kBlobs) + AddRows("Globals", kGlobals);

} // namespace
