// filecodes.cpp: the texts of the file codes.
#include "filecodes.h"

#include "sexcept.h"

namespace {

const struct {
    long code;
    const wchar_t* text;
} kTexts[] = {
    { SFileCode::kName, L"The name is not that of a file." },
    { SFileCode::kNoMoreFiles, L"There are no more files." },
    { SFileCode::kFindClose, L"The search for files could not be closed." },
    { SFileCode::kRename, L"The file could not be renamed." },
    { SFileCode::kCopy, L"The file could not be copied." },
    { SFileCode::kDelete, L"The file could not be deleted." },
    { SFileCode::kOpen, L"The file could not be opened." },
    { SFileCode::kClose, L"The file could not be closed." },
    { SFileCode::kCreate, L"The file could not be created." },
    { SFileCode::kWrite, L"The file could not be written." },
    { SFileCode::kRead, L"The file could not be read." },
    { SFileCode::kSeek, L"The position in the file could not be set." },
    { SFileCode::kSize, L"The size of the file could not be read." },
    { SFileCode::kTime, L"The times of the file could not be read." },
    { SFileCode::kMissing, L"The file does not exist." },
};

int FormatFileCode(long code, SString* text)
{
    for (const auto& known : kTexts) {
        if (known.code == code) {
            *text = known.text;
            return 1;
        }
    }
    return 0;
}

const SRegisterGetResultFormat g_fileCodes(FormatFileCode);

} // namespace
