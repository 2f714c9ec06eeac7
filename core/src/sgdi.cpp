// sgdi.cpp: device contexts, GDI objects, fonts and image lists as objects.
#include "sgdi.h"

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
