// sgdi.cpp: device contexts, GDI objects, fonts and image lists as objects.
#include "sgdi.h"

#include "gdiowner.h"

S_IMPLEMENT_DYNCREATE(SDC, SObject)
S_IMPLEMENT_DYNCREATE(SGdiObject, SObject)
S_IMPLEMENT_DYNCREATE(SFontOld, SObject)
S_IMPLEMENT_DYNCREATE(SImageList, SObject)

namespace {

template <class Handle, class Object>
SHandleMap<Handle, Object>& TheMap()
{
    static SHandleMap<Handle, Object> map;
    return map;
}

} // namespace

void SDC::End(HDC handle) noexcept
{
    ::DeleteDC(handle);
}

SHandleMap<HDC, SDC>& SDC::Map()
{
    return TheMap<HDC, SDC>();
}

int SDC::IsMetafile() const
{
    const DWORD kind = ::GetObjectType(GetHandle());
    return kind == OBJ_METADC || kind == OBJ_ENHMETADC;
}

void SDC::SetPrinting(double scalePercent)
{
    m_printing = 1;
    m_printerScale = scalePercent;
}

int SDC::SaveDC()
{
    const int saved = ::SaveDC(GetHandle());
    if (saved == 0 || !HasOwnAttrib())
        return saved;
    // Their numbers need not agree; that of the latest state is the same for both.
    constexpr int kLatest = -1;
    if (::SaveDC(m_attrib) != 0)
        return kLatest;
    ::RestoreDC(GetHandle(), saved);
    return 0;
}

int SDC::RestoreDC(int saved)
{
    int restored = ::RestoreDC(GetHandle(), saved) != 0;
    if (HasOwnAttrib() && !::RestoreDC(m_attrib, saved))
        restored = 0;
    return restored;
}

int SDC::SelectClipRgn(HRGN region, int mode)
{
    const int kind = ::ExtSelectClipRgn(GetHandle(), region, mode);
    if (HasOwnAttrib())
        ::ExtSelectClipRgn(m_attrib, region, mode);
    return kind;
}

int SDC::SelectClipPath(int mode)
{
    if (!HasOwnAttrib())
        return ::SelectClipPath(GetHandle(), mode);
    // The path is only in one of them: hand the clipping that comes of it to the other.
    const int done = ::SelectClipPath(GetHandle(), mode);
    const GdiOwner<HRGN> clip(::CreateRectRgn(0, 0, 0, 0));
    if (done && clip.Get() && ::GetClipRgn(GetHandle(), clip.Get()) == 1)
        ::ExtSelectClipRgn(m_attrib, clip.Get(), RGN_COPY);
    return done;
}

void SGdiObject::End(HGDIOBJ handle) noexcept
{
    ::DeleteObject(handle);
}

SHandleMap<HGDIOBJ, SGdiObject>& SGdiObject::Map()
{
    return TheMap<HGDIOBJ, SGdiObject>();
}

void SFontOld::End(HFONT handle) noexcept
{
    ::DeleteObject(handle);
}

SHandleMap<HFONT, SFontOld>& SFontOld::Map()
{
    return TheMap<HFONT, SFontOld>();
}

void SImageList::End(HIMAGELIST handle) noexcept
{
    ::ImageList_Destroy(handle);
}

SHandleMap<HIMAGELIST, SImageList>& SImageList::Map()
{
    return TheMap<HIMAGELIST, SImageList>();
}
