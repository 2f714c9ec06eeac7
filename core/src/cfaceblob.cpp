// cfaceblob.cpp: blobs of the flat face.
#include "cface.h"

#include "base64.h"
#include "bloblock.h"
#include "sexcept.h"

#include <cstring>

namespace {

SBlob Filled(const void* bytes, uint32_t size)
{
    SBlob fresh;
    const bool held = FillBlob(fresh, size, [&](unsigned char* to) {
        if (bytes)
            std::memcpy(to, bytes, size);
    });
    if (!held)
        throw SEOutOfMemory(S_HERE);
    return fresh;
}

SString Encoded(const SBlob& bytes, int32_t form)
{
    if (form == CV_HEX)
        return bytes.GetAsHex();
    if (form == CV_UU)
        return bytes.GetAsUUElike();
    SString text;
    Base64Tools::Base64Encode(bytes, text);
    return text;
}

// The decoder of Base64 takes what it can read; only a text that it reads whole is written back as it was.
bool Decode(SBlob& bytes, const SString& text, int32_t form)
{
    if (form == CV_HEX)
        return bytes.SetAsHex(text) != 0;
    if (form == CV_UU)
        return bytes.SetAsUUElike(text) != 0;
    Base64Tools::Base64Decode(text, bytes);
    return Encoded(bytes, CV_BASE64) == text;
}

// The decoders answer a wrong text and the want of memory alike; so whether there is memory for as much decides.
[[noreturn]] void FailToDecode(const SString& text)
{
    if (!SBlob().Alloc(static_cast<unsigned long>(text.Length())))
        throw SEOutOfMemory(S_HERE);
    FaceRefuse(CV_E_FORMAT, L"the text is not in that form");
}

void CheckForm(int32_t form)
{
    FaceInRange(form, CV_BASE64, CV_UU, L"the form");
}

} // namespace

cv_result CVCORE_CALL cv_blob_create(cv_blob** blob, const void* bytes, uint32_t size)
{
    return FaceCreate(__func__, blob, [&](cv_blob& fresh) { fresh.bytes = Filled(bytes, size); });
}

cv_result CVCORE_CALL cv_blob_copy(const cv_blob* blob, cv_blob** copy)
{
    return FaceCreate(__func__, copy, [&](cv_blob& fresh) { fresh.bytes = FaceObject(blob).bytes; });
}

cv_result CVCORE_CALL cv_blob_free(cv_blob* blob)
{
    return FaceFree(__func__, blob, [](cv_blob& ended) { FaceFreeBlob(&ended); });
}

cv_result CVCORE_CALL cv_blob_size(const cv_blob* blob, uint32_t* size)
{
    return FaceCall(__func__, [&] {
        const SBlob& from = FaceObject(blob).bytes;
        FaceOutput(size) = from.GetSize();
    });
}

cv_result CVCORE_CALL cv_blob_lock(cv_blob* blob, const void** bytes, uint32_t* size)
{
    return FaceCall(__func__, [&] {
        cv_blob& own = FaceObject(blob);
        const void*& result = FaceOutput(bytes);
        const bool any = own.bytes.GetSize() > 0;
        const void* const locked = any ? own.bytes.LockForRead() : nullptr;
        if (any && !locked)
            throw SEOutOfMemory(S_HERE);
        ++own.locks;
        result = locked;
        if (size)
            *size = own.bytes.GetSize();
    });
}

cv_result CVCORE_CALL cv_blob_unlock(cv_blob* blob)
{
    return FaceCall(__func__, [&] {
        cv_blob& own = FaceObject(blob);
        if (own.locks == 0)
            FaceRefuse(CV_E_STATE, L"the blob is not locked");
        if (own.bytes.GetSize() > 0)
            own.bytes.Unlock();
        --own.locks;
    });
}

cv_result CVCORE_CALL cv_blob_set(cv_blob* blob, const void* bytes, uint32_t size)
{
    return FaceCall(__func__, [&] {
        SBlob& own = FaceFreeBlob(blob);
        own = Filled(bytes, size);
    });
}

cv_result CVCORE_CALL cv_blob_compare(const cv_blob* a, const cv_blob* b, int32_t* order)
{
    return FaceCall(__func__, [&] {
        const SBlob &left = FaceObject(a).bytes, &right = FaceObject(b).bytes;
        FaceOutput(order) = left.Compare(right);
    });
}

cv_result CVCORE_CALL cv_blob_encode(const cv_blob* blob, int32_t form, cv_string* text)
{
    return FaceCall(__func__, [&] {
        const SBlob& own = FaceObject(blob).bytes;
        SString& to = FaceText(text);
        CheckForm(form);
        to = Encoded(own, form);
    });
}

cv_result CVCORE_CALL cv_blob_decode(cv_blob* blob, int32_t form, const cv_char* text, int32_t length)
{
    return FaceCall(__func__, [&] {
        SBlob& own = FaceFreeBlob(blob);
        CheckForm(form);
        SBlob fresh;
        const SString given = FaceGiven(text, length);
        if (!Decode(fresh, given, form))
            FailToDecode(given);
        own.swap(fresh);
    });
}
