// cfaceargs.cpp: arguments of the flat face, looked at before anything is done with them.
#include "cface.h"

#include "sexcept.h"

namespace {

bool IsKind(FaceKind mark)
{
    switch (mark) {
    case FaceKind::kString:
    case FaceKind::kBlob:
    case FaceKind::kList:
    case FaceKind::kTranslator:
    case FaceKind::kMerger: return true;
    default: return false;
    }
}

} // namespace

void FaceCheckHandle(const volatile FaceKind* mark, FaceKind wanted)
{
    if (!mark)
        FaceRefuse(CV_E_NULL, L"a handle is null");
    const FaceKind found = *mark;
    if (!IsKind(found))
        FaceRefuse(CV_E_HANDLE, L"this is no handle, or it was freed");
    if (found != wanted)
        FaceRefuse(CV_E_KIND, L"a handle of another kind");
}

SString FaceGiven(const cv_char* text, int32_t length)
{
    if (length < CV_NUL)
        FaceRefuse(CV_E_RANGE, L"a text's length is negative");
    if (length == CV_NUL)
        return SString(text);
    if (!text && length > 0)
        FaceRefuse(CV_E_NULL, L"a text is null and has a length");
    if (length > SString::kMaxLength)
        throw SEOutOfMemory(S_HERE); // as for every text that is too long
    return SString(text, text + length);
}

int FaceInRange(int32_t number, int32_t lowest, int32_t highest, const wchar_t* what)
{
    if (number < lowest || number > highest) {
        SString text;
        text.Format(L"%s is %d and must be %d to %d", what, number, lowest, highest);
        throw FaceRefusal{ CV_E_RANGE, nullptr, text };
    }
    return number;
}

SBlob& FaceFreeBlob(cv_blob* blob)
{
    if (FaceObject(blob).locks > 0)
        FaceRefuse(CV_E_STATE, L"the blob is locked");
    return blob->bytes;
}

bool FaceIgnoresCase(int32_t rule)
{
    return FaceInRange(rule, CV_EXACT, CV_NO_CASE, L"the rule") == CV_NO_CASE;
}
