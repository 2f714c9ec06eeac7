// swrap.h: SWrapped, what all wrappers of handles but windows have in common.
#ifndef SWRAP_H
#define SWRAP_H

#include "baseobj.h"
#include "winhand.h"

#include <utility>

/// A base of a class `Object` that wraps handles of one kind. The class defines Map() in its source, so that there is one map
/// in the process, and End(handle), which gives a handle back to the system.
template <class Object, class Handle>
class SWrapped : public SObject {
public:
    SWrapped(const SWrapped&) = delete;
    SWrapped& operator=(const SWrapped&) = delete;

    Handle GetHandle() const { return m_handle; }
    /// Enters the object as the handle's permanent one and owns the handle. 0 for a null one. A handle that the object had is
    /// ended, one that another object had is taken over from it. A temporary object becomes a permanent one, which is the
    /// caller's to delete; the handle that it stood for is left alone. Throws SEOutOfMemory, with nothing changed.
    int Attach(Handle handle)
    {
        if (!handle)
            return 0;
        Object* const owner = Object::Map().FindPermanent(handle);
        if (owner == this)
            return 1;
        Object::Map().SetPermanent(handle, static_cast<Object*>(this));
        if (owner)
            owner->SWrapped::m_handle = Handle();
        if (!Object::Map().ReleaseTemporary(m_handle, static_cast<Object*>(this))) {
            if (const Handle before = Detach())
                Object::End(before);
        }
        m_handle = handle;
        return 1;
    }
    /// Gives the handle up; it is the caller's.
    Handle Detach() noexcept
    {
        if (m_handle && Object::Map().FindPermanent(m_handle) == this)
            Object::Map().RemovePermanent(m_handle);
        return std::exchange(m_handle, Handle());
    }

    /// The handle's permanent object, its temporary one, or a new temporary one; null for a null handle.
    static Object* FromHandle(Handle handle) { return Object::Map().FindOrMake(handle); }
    static Object* FromHandlePermanent(Handle handle) { return Object::Map().FindPermanent(handle); }
    /// Ends all temporary objects; their handles live on.
    static void DeleteTempMap() noexcept { Object::Map().DeleteTemporary(); }

protected:
    SWrapped() noexcept : m_handle() {}
    /// Ends a handle that is still attached.
    ~SWrapped() override
    {
        if (const Handle handle = Detach())
            Object::End(handle);
    }

private:
    friend class SHandleMap<Handle, Object>;
    static Object* MakeTemporary(Handle handle)
    {
        Object* const made = new Object;
        made->SWrapped::m_handle = handle;
        return made;
    }
    static void EndTemporary(Object* object) noexcept
    {
        object->SWrapped::m_handle = Handle();
        delete object;
    }

    Handle m_handle;
};

#endif
