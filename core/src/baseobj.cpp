// baseobj.cpp: class descriptors and the root class.
#include "baseobj.h"

#include "sexcept.h"

#include <cstdlib>
#include <cstring>

SClassInfo* g_pClassInfo = nullptr;

namespace {

// Both ends of the list are constant-initialised: descriptors of other sources may register before this one runs.
SClassInfo* g_lastClassInfo = nullptr;

constexpr wchar_t kNullObject[] = L"NULL Pointer";
constexpr wchar_t kNoDump[] = L"Dump not available";

// Where an object that cannot be allocated is reported from.
const char kNewSignature[] = "static void* SObject::operator new(size_t)";
const char kNewFile[] = "core/h/baseobj";
constexpr unsigned long kNewLine = 80;

} // namespace

// ---- SClassInfo ----

SClassInfo::SClassInfo(const char* className, unsigned classSize, SClassInfo* baseClass, Factory create)
    : name(className), size(classSize), base(baseClass), next(nullptr), factory(create)
{
    (g_pClassInfo ? g_lastClassInfo->next : g_pClassInfo) = this;
    g_lastClassInfo = this;
}

SClassInfo::SClassInfo(const SClassInfo& other) = default;
SClassInfo& SClassInfo::operator=(const SClassInfo& other) = default;

SClassInfo::~SClassInfo()
{
    SClassInfo* previous = nullptr;
    if (g_pClassInfo == this) {
        g_pClassInfo = next;
    } else {
        for (previous = g_pClassInfo; previous && previous->next != this;)
            previous = previous->next;
        if (previous)
            previous->next = next;
    }
    if (g_lastClassInfo == this)
        g_lastClassInfo = previous;
}

SObject* SClassInfo::CreateObject()
{
    return factory ? factory() : nullptr;
}

int SClassInfo::IsDerivedFrom(const SClassInfo* other) const
{
    for (const SClassInfo* ancestor = base; ancestor; ancestor = ancestor->base) {
        if (ancestor == other)
            return 1;
    }
    return 0;
}

SClassInfo* SClassInfo::Find(const char* className)
{
    if (!className)
        return nullptr;
    SClassInfo* info = g_pClassInfo;
    while (info && std::strcmp(info->name, className) != 0)
        info = info->next;
    return info;
}

// ---- SObject ----

SClassInfo SObject::__clsinf("SObject", sizeof(SObject), nullptr, nullptr);

SClassInfo* SObject::GetClassInfo() const
{
    return &SObject::__clsinf;
}

SObject::~SObject() = default;

// The three tests are promised to be safe on a null object. The library is compiled so that the test of `this` stays
// (-fno-delete-null-pointer-checks); it must not move into the header, where a client's compiler would drop it.

int SObject::IsA(const SClassInfo* c) const
{
    return this && GetClassInfo() == c;
}

int SObject::IsKindOf(const SClassInfo* c) const
{
    return IsA(c) || IsDerivedFrom(c);
}

int SObject::IsDerivedFrom(const SClassInfo* c) const
{
    return this ? GetClassInfo()->IsDerivedFrom(c) : 0;
}

void* SObject::operator new(size_t bytes)
{
    void* object = std::malloc(bytes);
    if (!object)
        throw SEOutOfMemory(kNewSignature, kNewFile, kNewLine);
    return object;
}

void SObject::operator delete(void* object) noexcept
{
    std::free(object);
}

// ---- Beside the classes ----

int SAssertValidObject(const SObject*, const char*, const char*, unsigned long, int*)
{
    return 1;
}

SDump::~SDump() = default;

SDump& operator<<(SDump& dump, const wchar_t* text)
{
    dump.WriteString(text ? text : kNullObject);
    return dump;
}

SDump& operator<<(SDump& dump, long number)
{
    return dump << SString(number).PszStr();
}

SDump& operator<<(SDump& dump, const SObject* object)
{
    return dump << (object ? kNoDump : kNullObject);
}
