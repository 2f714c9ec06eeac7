// cfacefile.cpp: files of the flat face.
#include "cface.h"

#include "bloblock.h"
#include "filecodes.h"
#include "sexcept.h"
#include "sfile.h"

namespace {

const struct {
    long code;
    cv_result result;
} kResults[] = {
    { SFileCode::kName, CV_E_FILE_NAME },   { SFileCode::kMissing, CV_E_FILE_MISSING },
    { SFileCode::kOpen, CV_E_FILE_OPEN },   { SFileCode::kCreate, CV_E_FILE_OPEN },
    { SFileCode::kRead, CV_E_FILE_READ },   { SFileCode::kSeek, CV_E_FILE_READ },
    { SFileCode::kSize, CV_E_FILE_READ },   { SFileCode::kWrite, CV_E_FILE_WRITE },
    { SFileCode::kClose, CV_E_FILE_WRITE }, { SFileCode::kRename, CV_E_FILE_REPLACE },
    { E_OUTOFMEMORY, CV_E_MEMORY },
};

// Does the work on a file and throws what it answers; the system's reason stands behind the path.
template <class Work>
void Try(const SString& path, Work work)
{
    ::SetLastError(NO_ERROR);
    const long code = work();
    const DWORD why = ::GetLastError();
    if (code >= 0)
        return;
    SString words;
    if (why == NO_ERROR || !GetResultFormat(HRESULT_FROM_WIN32(why), &words))
        GetResultFormat(code, &words);
    cv_result result = CV_E_EXCEPTION;
    for (const auto& known : kResults) {
        if (known.code == code)
            result = known.result;
    }
    throw FaceRefusal{ result, nullptr, SString::Concat(path, L": ", words), why };
}

// No name can hold a slash, and half of the languages that this is for write paths with them.
SString Typed(const cv_char* path, int32_t length)
{
    SString text = FaceGiven(path, length);
    text.ReplaceAll(L'/', L'\\');
    return text;
}

SString Path(const cv_char* path, int32_t length)
{
    const SString text = Typed(path, length);
    if (text.IsEmpty() || text.FindPos(L'\0') >= 0)
        FaceRefuse(CV_E_FILE_NAME, L"a path is empty or holds a NUL");
    return text;
}

SBlob Read(const SString& path)
{
    SBlob bytes;
    Try(path, [&] { return bytes.ReadFromFile(path); });
    return bytes;
}

} // namespace

cv_result CVCORE_CALL cv_file_read_text(const cv_char* path, int32_t path_length, int32_t encoding,
                                        int32_t damage, cv_string* text, int32_t* used)
{
    return FaceCall(__func__, [&] {
        SString& to = FaceText(text);
        const SBlob content = Read(Path(path, path_length));
        const BlobBytes bytes(content);
        int32_t found = encoding;
        to = FaceDecoded(bytes.Data(), bytes.Size(), encoding, damage, &found);
        if (used)
            *used = found;
    });
}

cv_result CVCORE_CALL cv_file_write_text(const cv_char* path, int32_t path_length, const cv_char* text,
                                         int32_t length, int32_t encoding, int32_t mark)
{
    return FaceCall(__func__, [&] {
        const SString to = Path(path, path_length);
        const SBlob bytes = FaceEncoded(FaceGiven(text, length), encoding, CV_REFUSE, mark != 0);
        Try(to, [&] { return bytes.SaveToFile(to); });
    });
}

cv_result CVCORE_CALL cv_file_read(const cv_char* path, int32_t path_length, cv_blob* blob)
{
    return FaceCall(__func__, [&] {
        SBlob& to = FaceFreeBlob(blob);
        to = Read(Path(path, path_length));
    });
}

cv_result CVCORE_CALL cv_file_write(const cv_char* path, int32_t path_length, const cv_blob* blob)
{
    return FaceCall(__func__, [&] {
        const SBlob& from = FaceObject(blob).bytes;
        const SString to = Path(path, path_length);
        Try(to, [&] { return from.SaveToFile(to); });
    });
}

cv_result CVCORE_CALL cv_file_exists(const cv_char* path, int32_t path_length, int32_t* exists)
{
    return FaceCall(__func__, [&] {
        int32_t& result = FaceOutput(exists);
        result = SFile::IsFile(Typed(path, path_length));
    });
}
