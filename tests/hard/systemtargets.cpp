// What comes from other programs and from files on the disk, and needs the system itself.
#include "targets.h"

#include "lane.h"

#include "sfile.h"
#include "winapp.h"

#include "support/tempfolder.h"

#include <algorithm>

namespace {

// ---- What a file is ----

// One file with always another content: to make one anew takes as long as all the rest.
class RewrittenFile {
public:
    RewrittenFile()
        : m_path(m_folder.Path(L"of any kind")),
          m_file(::CreateFileW(m_path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                               CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr))
    {}
    ~RewrittenFile() { ::CloseHandle(m_file); }
    RewrittenFile(const RewrittenFile&) = delete;
    RewrittenFile& operator=(const RewrittenFile&) = delete;

    SString Path() const { return SString(m_path.c_str()); }
    void Write(const std::string& bytes) const
    {
        DWORD written = 0;
        ::SetFilePointer(m_file, 0, nullptr, FILE_BEGIN);
        ::WriteFile(m_file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
        Require(::SetEndOfFile(m_file) && written == bytes.size(), "the test can write its file");
    }

private:
    const TempFolder m_folder;
    const std::wstring m_path;
    const HANDLE m_file;
};

size_t EatFile(const std::string& input)
{
    static const RewrittenFile written;
    written.Write(input);
    SFile file;
    file.Init(written.Path());
    short type = -1;
    Require(file.GetContentType(&type) == 0, "any file can be looked at");
    static const short kKinds[] = { 0, 1, 2, 4, 5, 6 };
    Require(std::find(std::begin(kKinds), std::end(kKinds), type) != std::end(kKinds),
            "and is of a known kind");
    return 0;
}

Inputs FileSeeds()
{
    std::string metafile("\x01\x00\x09\x00\x00\x03", 6), enhanced(44, '\0');
    enhanced[0] = '\x01';
    enhanced.replace(40, 4, " EMF");
    return { "BM" + std::string(52, '\0'),     std::string("\xD7\xCD\xC6\x9A\0\0", 6) + std::string(40, '\0'),
             metafile + std::string(20, '\0'), enhanced,
             "\xFF\xD8\xFF\xE0\x00\x10JFIF",   "GIF89a",
             "<?xml version=\"1.0\"?>" };
}

// ---- Commands from other programs ----

class App : public SWinApp {
public:
    void OnAsyncCommand(int kind, const SString& argument) override
    {
        ++m_runs;
        m_kind = kind;
        m_argument = argument;
    }
    int m_runs = 0;
    int m_kind = 0;
    SString m_argument;
};

void TakeMessages()
{
    MSG message;
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {}
}

size_t EatDdeCommand(const std::string& input)
{
    static App app;
    const SString text(UnitsOf(input).PszStr());
    const Walled walled(Raw(text) + std::string(sizeof(wchar_t), '\0'));
    const int runs = app.m_runs;
    const int known = app.OnDDECommand(walled.As<wchar_t>());
    Require(app.CountAsyncCommands() == known, "what is known waits, what is not does not");
    TakeMessages();
    app.DoIdle();
    TakeMessages();
    Require(app.m_runs == runs + known && app.CountAsyncCommands() == 0, "what waits is run once");
    if (!known)
        return 0;
    const SString& argument = app.m_argument;
    Require(argument.FindPos(L'"') < 0, "an argument ends at its quote");
    Require(argument.IsEmpty() || text.Find(argument) != nullptr, "and stood in the command");
    Require(app.m_kind >= SAssyncCommand::kOpen && app.m_kind <= SAssyncCommand::kQuit, "a kind of command");
    return 0;
}

Inputs DdeSeeds()
{
    return { Raw(L"open(\"C:\\a file.txt\")"),
             Raw(L"OpenWorkspace(\"x\")"),
             Raw(L"runscript(\"\")"),
             Raw(L"quit()"),
             Raw(L"open(\"no end"),
             Raw(L"print(\"x\")") };
}

// ---- The command line ----

size_t EatCommandLine(const std::string& input)
{
    static App app;
    constexpr size_t kLongest = 32767; // the system starts no program with more
    const Walled walled(input.substr(0, kLongest) + '\0');
    app.Init(nullptr, nullptr, walled.As<char>(), SW_HIDE);
    app.IsRegServerCmdLine();
    const int files = app.ProcessCommandLine();
    Require(app.CountAsyncCommands() == files, "a command for each file");
    Require(static_cast<size_t>(files) <= input.size(), "no more files than characters");
    TakeMessages();
    app.DoIdle();
    TakeMessages();
    Require(app.CountAsyncCommands() == 0, "all of them are run");
    return 4 * input.size();
}

Inputs CommandLineSeeds()
{
    return { "a.txt b.txt", "\"C:\\a b\\c.txt\" /option -x", "\"\"\"a\\\\\\\"b\" \\\\", "/regserver", "" };
}

} // namespace

const Target kFileKindTarget = { "filekind", FileSeeds, { "BM", "GIF8", " EMF", "\xFF\xD8" },
                                 EatFile,    1,         false };
const Target kDdeTarget = {
    "dde",         DdeSeeds, { Raw(L"\""), Raw(L"open(\""), Raw(L"(\""), Raw(L"\")"), Raw(L"quit(") },
    EatDdeCommand, 2,        false
};
const Target kCommandLineTarget = {
    "commandline", CommandLineSeeds, { "\"", " ", "\\\"", "\\", "/", "\t" }, EatCommandLine, 1, false
};
