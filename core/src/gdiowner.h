// gdiowner.h: owners of GDI objects for the length of a scope. Unlike the wrappers they cannot fail once the
// object is there.
#ifndef GDIOWNER_H
#define GDIOWNER_H

#include "cvbase.h"

/// Owns a pen, brush, region, ...; null is allowed.
template <class Handle>
class GdiOwner {
public:
    explicit GdiOwner(Handle handle) noexcept : m_handle(handle) {}
    ~GdiOwner()
    {
        if (m_handle)
            ::DeleteObject(m_handle);
    }
    GdiOwner(const GdiOwner&) = delete;
    GdiOwner& operator=(const GdiOwner&) = delete;

    Handle Get() const noexcept { return m_handle; }

private:
    Handle m_handle;
};

/// Has an object selected into a device context while it lives, and then the one before.
class GdiSelection {
public:
    GdiSelection(HDC dc, HGDIOBJ object) noexcept : m_dc(dc), m_before(::SelectObject(dc, object)) {}
    ~GdiSelection()
    {
        if (m_before)
            ::SelectObject(m_dc, m_before);
    }
    GdiSelection(const GdiSelection&) = delete;
    GdiSelection& operator=(const GdiSelection&) = delete;

private:
    HDC m_dc;
    HGDIOBJ m_before;
};

#endif
