// Files, paths, searches and streams without memory.
#include "curdir.h"
#include "safefile.h"
#include "sbufstream.h"
#include "sfile.h"
#include "sfilestream.h"
#include "sfind.h"
#include "smemstream.h"
#include "sstream.h"
#include "stextin.h"
#include "strmap.h"
#include "strtab.h"
#include "szipstream.h"

#include "hard/allocwalk.h"
#include "support/tempfolder.h"

namespace {

// One folder for all, made when it is first asked for; the names are long enough for the heap's attention.
const std::wstring& Folder()
{
    static const TempFolder folder;
    static const std::wstring path = [] {
        folder.File(L"plan.txt", std::string(5000, 'p'));
        folder.Folder(L"inner");
        folder.File(L"inner\\deep.txt", "d");
        return folder.Path();
    }();
    return path;
}

// Made last, so that a short text of the scenario needs a chunk.
struct FilledPools {
    std::vector<SString> hoard;

    FilledPools() { FillPools(hoard); }
};

struct Paths {
    SString path = (Folder() + L"\\plan.txt").c_str(), dotted = (Folder() + L"\\inner\\..\\plan.txt").c_str();
    SString folder = Folder().c_str(), out = L"old", head, tail;
    FilledPools filled;

    std::wstring Look() const
    {
        return Wide(path) + L'|' + Wide(out) + L'|' + Wide(head) + L'|' + Wide(tail);
    }
};

const Row<Paths> kPaths[] = {
    { "SFile::SplitPath",
      [](Paths& p) { return SFile::SplitPath(p.path, nullptr, &p.head, &p.tail, &p.out) != 0; },
      kKeepsSome }, // the parts before the one that failed
    { "SFile::ConcatPath", [](Paths& p) { return p.out = SFile::ConcatPath(p.folder, L"x"), true; } },
    { "SFile::NormalizeDirectoryName",
      [](Paths& p) { return p.out = SFile::NormalizeDirectoryName(p.folder), true; } },
    { "SFile::NormalizeFileName", [](Paths& p) { return p.out = SFile::NormalizeFileName(p.dotted), true; } },
    { "SFile::SimplifyPath", [](Paths& p) { return p.out = SFile::SimplifyPath(p.dotted), true; } },
    { "SFile::ToLongNames", [](Paths& p) { return p.out = SFile::ToLongNames(p.path), true; } },
    { "SFile::ToShortNames", [](Paths& p) { return p.out = SFile::ToShortNames(p.path), true; } },
    { "SFile::GetParentFolder", [](Paths& p) { return p.out = SFile::GetParentFolder(p.path), true; } },
    { "SFile::CheckSplitValidPath",
      [](Paths& p) { return SFile::CheckSplitValidPath(p.path, &p.head, &p.tail) != 0; }, kKeepsSome },
    { "SFile::PathToURL", [](Paths& p) { return p.out = SFile::PathToURL(p.path), true; } },
    { "SFile::URLToPath",
      [](Paths& p) {
          return p.out = SFile::URLToPath(L"file:///c:/a%20file%20of%20some%20length.txt"), true;
      } },
    { "SFile::GetCurrentDirectoryW SCurrentDirectory::Get",
      [](Paths& p) { return p.out = SFile::GetCurrentDirectoryW(), true; } },
    { "SFile::GetCurrentDrive", [](Paths& p) { return p.out = SFile::GetCurrentDrive(), true; } },
    { "SFile::GetSystemDirectoryW", [](Paths& p) { return p.out = SFile::GetSystemDirectoryW(), true; } },
    { "SFile::GetWindowsDirectoryW", [](Paths& p) { return p.out = SFile::GetWindowsDirectoryW(), true; } },
    { "SFile::GetTempDirectory SCurrentDirectory::GetDefaultTemporaryDirectory",
      [](Paths& p) { return p.out = SFile::GetTempDirectory(), true; } },
    { "SFile::GetTempFileNameW",
      [](Paths& p) { return p.out = SFile::GetTempFileNameW(p.folder, L"cv", 77), true; } },
    { "SFile::GetFolderPath", [](Paths& p) { return p.out = SFile::GetFolderPath(0x24), true; } },
    { "SFile::GetFolderPathAndSubDir",
      [](Paths& p) { return p.out = SFile::GetFolderPathAndSubDir(0x24, L"a sub folder"), true; } },
    { "SFile::CreateFilePath",
      [](Paths& p) { return SFile::CreateFilePath(p.folder + L"\\inner\\new\\x", &p.out, 1) != 0; },
      kKeepsSome }, // folders that were made stay
    { "SFile::CompareBinaryFiles",
      [](Paths& p) { return SFile::CompareBinaryFiles(p.path, p.dotted) == 0; } },
    { "SCurrentDirectory::Assign SCurrentDirectory::Restore SCurrentDirectory::Set",
      [](Paths& p) {
          SCurrentDirectory there;
          return there.Assign(p.folder, 1) == 1 && there.Restore(0) == 1;
      } },
};

struct Files {
    SFile file;
    SString path = (Folder() + L"\\plan.txt").c_str(), copy = (Folder() + L"\\copy.txt").c_str();
    FilledPools filled;

    Files() { file.Init(L"c:\\before.txt"); }
    ~Files()
    {
        ::DeleteFileW(copy);
        ::DeleteFileW((Wide(copy) + L".new").c_str());
    }
    std::wstring Look() const
    {
        return Wide(file.GetFullName()) + L'|' + Wide(file.GetName()) +
               (file.IsOpen() ? L"open" : L"closed") +
               std::to_wstring(::GetFileAttributesW(copy) != INVALID_FILE_ATTRIBUTES);
    }
};

// SFile names itself part by part: a failure may leave some of the new parts.
const Row<Files> kFiles[] = {
    { "SFile::Init SFile::SplitFilename", [](Files& f) { return f.file.Init(f.path) >= 0; }, kKeepsSome },
    { "SFile::MakeFilename SFile::JoinParts",
      [](Files& f) { return f.file.Init(L"c:", Long(L'd'), L"n", L".e") >= 0; }, kKeepsSome },
    { "SFile::OpenExisting SFile::OpenWith",
      [](Files& f) { return f.file.Init(f.path) >= 0 && f.file.OpenExisting() >= 0; }, kKeepsSome },
    { "SFile::Copy", [](Files& f) { return f.file.Init(f.path) >= 0 && f.file.Copy(f.copy, 1) >= 0; },
      kKeepsSome },
    { "SFile::FindFirst SFile::TakeFoundName SFile::FindNext",
      [](Files& f) {
          const bool found = f.file.FindFirst(SString(Folder().c_str()) + L"\\*.txt") >= 0;
          return f.file.FindClose(), found;
      },
      kKeepsSome },
    { "SFile::Rename",
      [](Files& f) {
          if (f.file.Init(f.path) < 0 || f.file.Copy(f.copy, 1) < 0 || f.file.Init(f.copy) < 0)
              return false;
          return f.file.Rename(f.copy + L".new") >= 0 && f.file.Rename(f.copy) >= 0;
      },
      kKeepsSome },
    { "SSafeFile::Begin SSafeFile::Replace",
      [](Files& f) { return SSafeFile::Replace(f.copy, "x", 1) == 0; } },
    { "SBlob::SaveToFile", [](Files& f) { return SBlob().SaveToFile(f.copy) >= 0; } },
    { "SBlob::ReadFromFile",
      [](Files& f) {
          SBlob blob;
          return blob.ReadFromFile(f.path) >= 0 && blob.GetSize() == 5000;
      } },
};

struct Finds {
    SFileRecurseFind all;
    SFileFind one;
    SString out = L"old";
    FilledPools filled;

    std::wstring Look() const { return Wide(out); }
};

const Row<Finds> kFinds[] = {
    { "SFileFind::FindFile SBaseFind::Start SBaseFind::GetFileName SBaseFind::GetFilePath SBaseFind::GetRoot",
      [](Finds& f) {
          if (!f.one.FindFile(SString(Folder().c_str()) + L"\\plan.*"))
              return false;
          f.out = f.one.GetFileName() + f.one.GetFilePath();
          return f.one.FindFile(SString(Folder().c_str()) + L"\\none.*") == 0; // and the first search is over
      } },
    { "SBaseFind::GetFileTitleW SBaseFind::GetFileURL",
      [](Finds& f) {
          if (!f.one.FindFile(SString(Folder().c_str()) + L"\\plan.*"))
              return false;
          return f.out = f.one.GetFileTitleW() + f.one.GetFileURL(), true;
      } },
    { "SFileRecurseFind::FindFile SFileRecurseFind::FindInNextFolder SFileRecurseFind::ListFolders "
      "SFileRecurseFind::TakeNextFolder SFileRecurseFind::IsNewFolder SFileRecurseFind::AddIfFolder "
      "SFileRecurseFind::Take SFileRecurseFind::StartIn SFileRecurseFind::PutFirstOnTop SBaseFind::Open",
      [](Finds& f) {
          if (!f.all.FindFile(SString(Folder().c_str()) + L"\\deep.*", SBaseFind::kFollowLinks))
              return false;
          return f.out = f.all.GetFileName(), true;
      } },
};

// ---- Streams: what reads or writes a part before it fails has done that part ----

const std::string kBytes(20000, 's');

struct Streams {
    SInputGlobal source{ kBytes.data(), static_cast<unsigned long>(kBytes.size()) };
    SOutputGlobal target;
    SString text = Long(L't'), path = (Folder() + L"\\out.txt").c_str();
    std::wstring plan = Folder() + L"\\plan.txt";
    unsigned long done = 0;
    char buffer[64];
    FilledPools filled;

    std::wstring Look() const { return std::to_wstring(done); }
};

struct Bytes {
    std::string all;

    Bytes()
    {
        SOutputGlobal memory;
        SOutputBinaryStream out(memory);
        SStringMap map;
        map.Set(L"k", Long(L'v'));
        SBlob blob;
        blob.Alloc(100);
        out << Long(L'x') << SStringTable{ L"a", Long(L'b') } << map << blob;
        all.assign(static_cast<const char*>(memory.GetBytes()), memory.GetSize());
    }
};

const std::string& Written()
{
    static const Bytes bytes;
    return bytes.all;
}

std::string Packed()
{
    SOutputGlobal memory;
    SDeflaterOutputStream out(memory);
    out.Write(kBytes.data(), static_cast<unsigned long>(kBytes.size()));
    out.Close();
    return std::string(static_cast<const char*>(memory.GetBytes()), memory.GetSize());
}
const std::string kPacked = Packed();

const Row<Streams> kStreams[] = {
    { "SOutputGlobal::Write SOutputGlobal::Grow SOutputGlobal::GetBlob",
      [](Streams& s) {
          s.target.Write(kBytes.data(), 3000);
          s.done = s.target.GetBlob().GetSize();
          return s.done == 3000;
      } },
    { "SOutputStringStream::GetString",
      [](Streams& s) {
          SOutputStringStream out;
          out.Write(kBytes.data(), 3000);
          return s.done = static_cast<unsigned long>(out.GetString().Length()), true;
      } },
    { "SInputBufferStream::SInputBufferStream SInputBufferStream::Read",
      [](Streams& s) {
          SInputBufferStream in(s.source, 100);
          return s.done = in.Read(s.buffer, 10, 1), s.done == 10;
      } },
    { "SOutputBufferStream::SOutputBufferStream SOutputBufferStream::Write SOutputBufferStream::PassOn",
      [](Streams& s) {
          SOutputBufferStream out(s.target, 100);
          out.Write(kBytes.data(), 3000);
          out.Close();
          return s.done = s.target.GetSize(), true;
      } },
    { "SInputPushbackStream::Unread",
      [](Streams& s) {
          SInputPushbackStream in(s.source);
          in.Unread(kBytes.data(), 3000);
          return s.done = in.Available(), true;
      } },
    { "SInflaterInputStream::SInflaterInputStream SInflaterInputStream::Read SInflaterInputStream::TakeMore",
      [](Streams& s) {
          SInputGlobal packed(kPacked.data(), static_cast<unsigned long>(kPacked.size()));
          SInflaterInputStream in(packed);
          return s.done = in.Read(s.buffer, 10, 1), s.done == 10;
      } },
    { "SDeflaterOutputStream::SDeflaterOutputStream SDeflaterOutputStream::Run SDeflaterOutputStream::Write",
      [](Streams& s) {
          SDeflaterOutputStream out(s.target);
          out.Write(kBytes.data(), 3000);
          out.Close();
          return s.done = s.target.GetSize(), true;
      } },
    { "SInputTextStream::SInputTextStream SInputTextStream::ReadLine",
      [](Streams& s) {
          SInputTextStream in(s.source);
          SString line;
          const bool read = in.ReadLine(line);
          return s.done = static_cast<unsigned long>(line.Length()), read;
      } },
    { "operator>>",
      [](Streams& s) {
          SInputGlobal memory(Written().data(), static_cast<unsigned long>(Written().size()));
          SInputBinaryStream in(memory);
          SString text;
          SStringTable table;
          SStringMap map;
          SBlob blob;
          in >> text >> table >> map >> blob;
          return s.done = static_cast<unsigned long>(table.Count()) + blob.GetSize(), true;
      } },
    { "operator<<",
      [](Streams& s) {
          SOutputBinaryStream out(s.target);
          out << s.text << SStringTable{ L"a", L"b" };
          return s.done = s.target.GetSize(), true;
      } },
    { "SInputFile::SInputFile",
      [](Streams& s) {
          SInputFile in(s.plan.c_str());
          return s.done = in.Available(), s.done == 5000;
      } },
    { "SOutputFileOnChange::SOutputFileOnChange SOutputFileOnChange::Begin SOutputFileOnChange::WriteNew "
      "SOutputFileOnChange::Write SOutputFileOnChange::Close",
      [](Streams& s) {
          ::DeleteFileW(s.path);
          SOutputFileOnChange out(s.path);
          out.Write(kBytes.data(), 30);
          return out.Close(), s.done = 30, true;
      } },
};

const int g_rows = AddRows("Paths", kPaths) + AddRows("Files", kFiles) + AddRows("Finds", kFinds) +
                   AddRows("Streams", kStreams);

} // namespace
