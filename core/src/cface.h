// cface.h: what stands behind every function of the flat face (cvcore_c.h): handles with their marks, arguments, and the border
// that no exception crosses.
//
//     cv_result CVCORE_CALL cv_string_upper(cv_string* string)
//     {
//         return FaceCall(__func__, [&] { FaceText(string).ToUpper(); });
//     }
//
// Work inside FaceCall throws whatever the library throws, and FaceRefusal for what only the face refuses.
#ifndef CFACE_H
#define CFACE_H

#include "cvcore_c.h"

#include "rtfmerge.h"
#include "shglobal.h"
#include "strclss.h"
#include "strtab.h"
#include "symtab.h"

#include <type_traits>

// ---- Handles ----

/// The mark in front of every handle. The numbers are unlikely to stand in memory by chance.
enum class FaceKind : uint32_t {
    kNone = 0,
    kString = 0xC7C05701,
    kBlob = 0xC7C05702,
    kList = 0xC7C05703,
    kTranslator = 0xC7C05704,
    kMerger = 0xC7C05705,
};

/// What a handle points to. A union, struct or class template would not do: the header declares plain structs.
template <FaceKind kKind>
struct FaceHandle {
    static constexpr FaceKind kOwnKind = kKind;

    FaceHandle() = default;
    FaceHandle(const FaceHandle&) = delete;
    FaceHandle& operator=(const FaceHandle&) = delete;
    ~FaceHandle() { kind = FaceKind::kNone; }

    // Volatile: the wiping store before the memory goes would be left out.
    volatile FaceKind kind = kKind;
};

struct cv_string : FaceHandle<FaceKind::kString> {
    SString text;
    bool lent = false; // to a callback, by the library, which owns it
};

struct cv_blob : FaceHandle<FaceKind::kBlob> {
    SBlob bytes;
    unsigned long locks = 0;
};

struct cv_list : FaceHandle<FaceKind::kList> {
    SStringTable strings;
};

struct cv_translator : FaceHandle<FaceKind::kTranslator> {
    SSymbolTable symbols;
    SString start = L"%";
    SString end = L"%";
    cv_lookup lookup = nullptr;
    void* context = nullptr;
    int running = 0; // expansions that are not done
};

struct cv_merger : FaceHandle<FaceKind::kMerger> {
    SRtfMerger merger;
};

// ---- Refusing ----

/// Thrown by the face's own checks; FaceCall makes the code and the thread's last error of it.
struct FaceRefusal {
    cv_result code;
    const wchar_t* fixed; // what is wrong; a fixed text, so that it is there without memory, or null:
    SString text;         // then a text that was made
    uint32_t system = 0;
};

[[noreturn]] void FaceRefuse(cv_result code, const wchar_t* text);
/// Refuses a handle that is null or does not have the mark.
void FaceCheckHandle(const volatile FaceKind* mark, FaceKind wanted);

/// Makes the thread's last error of the exception that is being handled, and returns its code. Throws nothing.
cv_result FaceFailure(const char* function) noexcept;

/// Runs the work of one function of the face.
template <class Work>
cv_result FaceCall(const char* function, Work work)
{
    try {
        work();
        return CV_OK;
    }
    catch (...) {
        return FaceFailure(function);
    }
}

// ---- Arguments ----

template <class Handle>
Handle& FaceObject(Handle* handle)
{
    FaceCheckHandle(handle ? &handle->kind : nullptr, std::remove_const_t<Handle>::kOwnKind);
    return *handle;
}
inline SString& FaceText(cv_string* string)
{
    return FaceObject(string).text;
}
inline const SString& FaceText(const cv_string* string)
{
    return FaceObject(string).text;
}

/// The target of an output pointer.
template <class T>
T& FaceOutput(T* pointer)
{
    if (!pointer)
        FaceRefuse(CV_E_NULL, L"an output pointer is null");
    return *pointer;
}

/// A text that goes in, with all its NULs.
SString FaceGiven(const cv_char* text, int32_t length);

/// A number that must lie in lowest..highest.
int FaceInRange(int32_t number, int32_t lowest, int32_t highest, const wchar_t* what);
/// A position in a text or list, its end too.
inline int FacePosition(int32_t position, int32_t length)
{
    return FaceInRange(position, 0, length, L"a position");
}

/// A blob that may be changed now.
SBlob& FaceFreeBlob(cv_blob* blob);

/// Whether a rule is CV_NO_CASE; refuses what is neither that nor CV_EXACT.
bool FaceIgnoresCase(int32_t rule);

// ---- Making and ending ----

/// Makes a handle where `*out` is; that is null until the work is done and when it fails. `fill` is given the new object.
template <class Handle, class Fill>
cv_result FaceCreate(const char* function, Handle** out, Fill fill)
{
    return FaceCall(function, [&] {
        FaceOutput(out) = nullptr;
        struct Owner {
            Handle* handle;
            ~Owner() { delete handle; }
        } owner{ new Handle };
        fill(*owner.handle);
        *out = owner.handle;
        owner.handle = nullptr;
    });
}

/// Ends a handle, unless it is null; `allow` refuses where that cannot be now.
template <class Handle, class Allow>
cv_result FaceFree(const char* function, Handle* handle, Allow allow)
{
    return FaceCall(function, [&] {
        if (!handle)
            return;
        allow(FaceObject(handle));
        delete handle;
    });
}

// ---- Encodings ----

/// See cv_text_decode and cv_text_encode. `used`, where not null, becomes the encoding that it was.
SString FaceDecoded(const void* bytes, uint32_t size, int32_t encoding, int32_t damage, int32_t* used);
SBlob FaceEncoded(const SString& text, int32_t encoding, int32_t damage, bool mark);

#endif
