// winhand.h: SHandleMap, from a handle of the system to the object that wraps it. All wrappers use this one.
//
// A permanent object belongs to the program: it was attached to its handle. A temporary one was made for a foreign handle and
// lives until the next idle clean-up, unless somebody holds the lock.
//
// Threads  the user-interface thread; nothing is locked.
// Failure  entering an object throws SEOutOfMemory and changes nothing.
// Cost     logarithmic; the handle that was asked for last costs a comparison.
#ifndef WINHAND_H
#define WINHAND_H

#include "cvbase.h"
#include "smap.h"

/// While one lives, the idle loop deletes no temporary objects.
class CVCORE_API STempMapLock {
public:
    STempMapLock() noexcept { ++Count(); }
    ~STempMapLock() { --Count(); }
    STempMapLock(const STempMapLock&) = delete;
    STempMapLock& operator=(const STempMapLock&) = delete;

    /// How many there are, in the process.
    static long& Count() noexcept;
};

/// The handle that was asked for last, and its permanent object or null: nearly every message repeats it.
template <class Handle, class Object>
struct SLastFound {
    Handle handle;
    Object* object;
};

/// `Object` has a static Object* MakeTemporary(Handle), which throws when it cannot, and a static void
/// EndTemporary(Object*), which lets the handle alone.
template <class Handle, class Object>
class SHandleMap {
public:
    SHandleMap() noexcept : m_last(m_own) {}
    /// Keeps what was asked for last where the wrapper reads it in line.
    explicit SHandleMap(SLastFound<Handle, Object>& last) noexcept : m_last(last) {}
    SHandleMap(const SHandleMap&) = delete;
    SHandleMap& operator=(const SHandleMap&) = delete;
    ~SHandleMap() { DeleteTemporary(); }

    Object* FindPermanent(Handle handle)
    {
        if (handle == m_last.handle)
            return m_last.object;
        Object* const* const found = handle ? m_permanent.Find(handle) : nullptr;
        m_last = { handle, found ? *found : nullptr };
        return m_last.object;
    }
    /// The permanent object, the temporary one, or a new temporary one; null for a null handle.
    Object* FindOrMake(Handle handle)
    {
        if (!handle)
            return nullptr;
        if (Object* const permanent = FindPermanent(handle))
            return permanent;
        if (Object* const* const temporary = m_temporary.Find(handle))
            return *temporary;
        Object* const made = Object::MakeTemporary(handle);
        try {
            m_temporary.Set(handle, made);
        }
        catch (...) {
            Object::EndTemporary(made);
            throw;
        }
        return made;
    }
    void SetPermanent(Handle handle, Object* object)
    {
        m_permanent.Set(handle, object);
        m_last = {};
    }
    void RemovePermanent(Handle handle) noexcept
    {
        m_permanent.Remove(handle);
        m_last = {};
    }
    /// Leaves an object to its caller, who makes it a permanent one. False when it is not the handle's temporary one.
    bool ReleaseTemporary(Handle handle, const Object* object) noexcept
    {
        Object* const* const temporary = m_temporary.Find(handle);
        return temporary && *temporary == object && m_temporary.Remove(handle);
    }
    /// Ends all temporary objects in the order of their handles.
    void DeleteTemporary() noexcept
    {
        // Taken out first: the end of an object may lead back here.
        SMap<Handle, Object*> ended;
        ended.swap(m_temporary);
        for (const auto& [handle, object] : ended)
            Object::EndTemporary(object);
    }
    int CountPermanent() const { return m_permanent.Count(); }
    int CountTemporary() const { return m_temporary.Count(); }

private:
    SMap<Handle, Object*> m_permanent;
    SMap<Handle, Object*> m_temporary;
    SLastFound<Handle, Object> m_own = {};
    SLastFound<Handle, Object>& m_last;
};

#endif
