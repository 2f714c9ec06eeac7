// baseobj.h: run-time classes. SObject is the root of every class that can be asked for its class at run time or created
// from a descriptor; SClassInfo is that descriptor, one static object a class.
//
//     class Pane : public SObject {                 // in a header
//         S_DECLARE_DYNCREATE(Pane)
//     };
//     S_IMPLEMENT_DYNCREATE(Pane, SObject)          // in one source
//
//     SObject* made = S_RUNTIME_CLASS(Pane)->CreateObject();
//     if (made->IsKindOf(S_RUNTIME_CLASS(Pane))) ...
//     delete made;
//
// Identity a descriptor stands for its class: compare addresses. Objects are not copied by this family.
// Threads  descriptors register during static initialisation and leave at unload, without a lock; all else only reads.
// Failure  only SObject::operator new fails (SEOutOfMemory).
// Cost     a test walks the base chain; an object pays for its virtual table pointer and nothing else.
#ifndef BASEOBJ_H
#define BASEOBJ_H

#include "cvbase.h"

#include <cstddef>

class SObject;
class SDump;

/// The descriptor of one class. Every descriptor constructed from its four values stands in the process's list, in the
/// order of construction, from g_pClassInfo on.
struct CVCORE_API SClassInfo {
    /// Creates an instance with `new`; the caller owns it.
    typedef SObject* (*Factory)();

    /// Stores the values and appends the descriptor to the list. `name` is not copied and must live as long; `base` is
    /// null only for SObject; `factory` is null for a class that cannot be created from its descriptor.
    SClassInfo(const char* name, unsigned size, SClassInfo* base, Factory factory);

    /// Copies all five fields, the link too; the copy does not stand in the list.
    SClassInfo(const SClassInfo& other);
    /// Same, for an assigned descriptor: it takes the other's link, so never assign to a descriptor that is in the list.
    SClassInfo& operator=(const SClassInfo& other);

    /// Takes the descriptor out of the list; a copy is not found there and changes nothing.
    virtual ~SClassInfo();

    /// A new object of the class, owned by the caller; null when the class has no factory.
    SObject* CreateObject();

    /// 1 when `other` is a proper ancestor of this class, else 0. A class is not derived from itself.
    int IsDerivedFrom(const SClassInfo* other) const;

    /// The first descriptor in the list with exactly this name; null when there is none or `name` is null.
    static SClassInfo* Find(const char* name);

    const char* name; ///< the class's name as written in the source
    unsigned size;    ///< bytes of an instance
    SClassInfo* base; ///< descriptor of the direct base class; null only for SObject
    SClassInfo* next; ///< next in the list; null for the last
    Factory factory;  ///< null when the class cannot be created from its descriptor
};

/// First descriptor of the process's list, in order of registration; null only before any was constructed.
extern CVCORE_API SClassInfo* g_pClassInfo;

/// Root of the run-time classes. Objects live in the C run-time's heap (malloc), never in that of the global new.
class CVCORE_API SObject {
public:
    /// Descriptor of SObject itself; it has no factory.
    static SClassInfo __clsinf;

    /// Descriptor of the object's most derived class. (<windows.h> makes this name GetClassInfoW, here and in clients.)
    virtual SClassInfo* GetClassInfo() const;
    virtual ~SObject();

    // ---- Tests. Each is 1 or 0, and 0 for a null object pointer. ----

    /// Is the object's class exactly `c`?
    int IsA(const SClassInfo* c) const;
    /// Is the object's class `c`, or derived from it?
    int IsKindOf(const SClassInfo* c) const;
    /// Is `c` a proper ancestor of the object's class? The object's own class does not count.
    int IsDerivedFrom(const SClassInfo* c) const;

    /// Throws SEOutOfMemory when malloc has nothing left.
    static void* operator new(size_t bytes);
    static void* operator new(size_t, void* where) noexcept { return where; }
    static void operator delete(void* object) noexcept;
    static void operator delete(void*, void*) noexcept {}

protected:
    SObject() = default;
    SObject(const SObject&) {}
    SObject& operator=(const SObject&) { return *this; }
};

/// Hook for assertion macros: source file and expression, line, and where an answer may be left. Looks at nothing and
/// returns 1; a program that wants objects checked replaces the macro that calls it.
CVCORE_API int SAssertValidObject(const SObject* object, const char* file, const char* expression,
                                  unsigned long line, int* result);

/// Where readable dumps of objects go: derive, and write the text wherever it is wanted.
class CVCORE_API SDump {
public:
    virtual ~SDump();
    /// Takes a NUL-terminated text, never null. Texts follow one another without separator.
    virtual void WriteString(const wchar_t* text) = 0;
};

CVCORE_API SDump& operator<<(SDump& dump, const wchar_t* text);
CVCORE_API SDump& operator<<(SDump& dump, long number);
/// "NULL Pointer" for null, "Dump not available" otherwise: a class that can be dumped has an operator of its own.
CVCORE_API SDump& operator<<(SDump& dump, const SObject* object);

/// In a class: gives it a descriptor, without a factory.
#define S_DECLARE_DYNAMIC(Class)                                                                             \
public:                                                                                                      \
    static SClassInfo __clsinf;                                                                              \
    SClassInfo* GetClassInfo() const override;

/// In a class with a default constructor: gives it a descriptor with a factory.
#define S_DECLARE_DYNCREATE(Class)                                                                           \
    S_DECLARE_DYNAMIC(Class)                                                                                 \
    static Class* CreateObject();

/// The descriptor and GetClassInfo, once a class and in its source; the other two macros use it.
#define S_IMPLEMENT_CLASSINFO(Class, Base, factory)                                                          \
    SClassInfo Class::__clsinf(#Class, sizeof(Class), &Base::__clsinf, factory);                             \
    SClassInfo* Class::GetClassInfo() const                                                                  \
    {                                                                                                        \
        return &Class::__clsinf;                                                                             \
    }

/// In a source: implements S_DECLARE_DYNAMIC.
#define S_IMPLEMENT_DYNAMIC(Class, Base) S_IMPLEMENT_CLASSINFO(Class, Base, nullptr)

/// In a source: implements S_DECLARE_DYNCREATE.
#define S_IMPLEMENT_DYNCREATE(Class, Base)                                                                   \
    S_IMPLEMENT_CLASSINFO(Class, Base, []() -> SObject* { return Class::CreateObject(); })                   \
    Class* Class::CreateObject()                                                                             \
    {                                                                                                        \
        return new Class;                                                                                    \
    }

/// The descriptor of a class, as SClassInfo*.
#define S_RUNTIME_CLASS(Class) (&Class::__clsinf)

#endif
