// version.cpp: one version everywhere, from the macros of the headers to the properties of the file.
#include "version.h"

#include "strclss.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// What the build made of it: CV_PROJECT_VERSION comes from the variable that names packages too.
const wchar_t kProjectVersion[] = CV_PROJECT_VERSION;

// The version resource of the loaded DLL's file.
class FileProperties {
public:
    FileProperties() : m_library(::LoadLibraryW(L"version.dll"))
    {
        wchar_t file[MAX_PATH] = {};
        ::GetModuleFileNameW(::GetModuleHandleW(L"CVCore16.dll"), file, MAX_PATH);
        const auto size = Find<decltype(::GetFileVersionInfoSizeW)>("GetFileVersionInfoSizeW");
        const auto read = Find<decltype(::GetFileVersionInfoW)>("GetFileVersionInfoW");
        m_ask = Find<decltype(::VerQueryValueW)>("VerQueryValueW");
        DWORD ignored = 0;
        m_data.resize(size(file, &ignored));
        EXPECT_TRUE(!m_data.empty() && read(file, 0, static_cast<DWORD>(m_data.size()), m_data.data()));
    }
    ~FileProperties() { ::FreeLibrary(m_library); }

    template <class T>
    const T* Value(const wchar_t* path) const
    {
        void* found = nullptr;
        UINT size = 0;
        return m_ask(m_data.data(), path, &found, &size) && size > 0 ? static_cast<const T*>(found) : nullptr;
    }

private:
    template <class Function>
    Function* Find(const char* name) const
    {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(m_library, name)));
    }

    HMODULE m_library;
    decltype(::VerQueryValueW)* m_ask;
    std::vector<BYTE> m_data;
};

} // namespace

TEST(Version, HeadersAndDllAndBuildSayTheSame)
{
    EXPECT_EQ(CVCORE_VERSION, SGetVersion());
    EXPECT_STREQ(kProjectVersion, SGetVersionText());
    const SString text = SString(CVCORE_VERSION / 10000) + L"." + SString(CVCORE_VERSION / 100 % 100) + L"." +
                         SString(CVCORE_VERSION % 100);
    EXPECT_STREQ(kProjectVersion, text);
}

TEST(Version, ThePropertiesOfTheFileSayTheSame)
{
    const FileProperties properties;
    const auto* fixed = properties.Value<VS_FIXEDFILEINFO>(L"\\");
    ASSERT_NE(nullptr, fixed);
    const DWORD high = CVCORE_VERSION_MAJOR << 16 | CVCORE_VERSION_MINOR;
    const DWORD low = CVCORE_VERSION_PATCH << 16;
    EXPECT_EQ(high, fixed->dwFileVersionMS);
    EXPECT_EQ(low, fixed->dwFileVersionLS);
    EXPECT_EQ(high, fixed->dwProductVersionMS);
    EXPECT_EQ(low, fixed->dwProductVersionLS);

    // Explorer looks the texts up by the first translation.
    const auto* translation = properties.Value<WORD>(L"\\VarFileInfo\\Translation");
    ASSERT_NE(nullptr, translation);
    const struct {
        const wchar_t* name;
        const wchar_t* wanted;
    } kTexts[] = {
        { L"FileVersion", kProjectVersion },
        { L"ProductVersion", kProjectVersion },
        { L"OriginalFilename", L"CVCore16.dll" },
        { L"ProductName", L"CVCore16" },
    };
    for (const auto& t : kTexts) {
        SString path;
        path.Format(L"\\StringFileInfo\\%04X%04X\\%s", translation[0], translation[1], t.name);
        SCOPED_TRACE(t.name);
        const auto* text = properties.Value<wchar_t>(path);
        ASSERT_NE(nullptr, text);
        EXPECT_STREQ(t.wanted, text);
    }
}
