// sgeom.h: SPoint, SSize and SRect over the system's structures, so that they can be given to its calls as they are.
#ifndef SGEOM_H
#define SGEOM_H

#include "cvbase.h"

struct SPoint : POINT {
    SPoint() noexcept : POINT{ 0, 0 } {}
    SPoint(int left, int top) noexcept : POINT{ left, top } {}
    SPoint(const POINT& point) noexcept : POINT(point) {}
    bool operator==(const POINT& other) const noexcept { return x == other.x && y == other.y; }
    bool operator!=(const POINT& other) const noexcept { return !(*this == other); }
};

struct SSize : SIZE {
    SSize() noexcept : SIZE{ 0, 0 } {}
    SSize(int width, int height) noexcept : SIZE{ width, height } {}
    SSize(const SIZE& size) noexcept : SIZE(size) {}
    bool operator==(const SIZE& other) const noexcept { return cx == other.cx && cy == other.cy; }
    bool operator!=(const SIZE& other) const noexcept { return !(*this == other); }
};

/// Left and top belong to it, right and bottom do not.
struct SRect : RECT {
    SRect() noexcept : RECT{ 0, 0, 0, 0 } {}
    SRect(int l, int t, int r, int b) noexcept : RECT{ l, t, r, b } {}
    SRect(const POINT& at, const SIZE& size) noexcept : RECT{ at.x, at.y, at.x + size.cx, at.y + size.cy } {}
    SRect(const RECT& rect) noexcept : RECT(rect) {}

    int Width() const noexcept { return right - left; }
    int Height() const noexcept { return bottom - top; }
    SSize Size() const noexcept { return SSize(Width(), Height()); }
    SPoint TopLeft() const noexcept { return SPoint(left, top); }
    /// Without area: also when it is turned round.
    bool IsEmpty() const noexcept { return right <= left || bottom <= top; }
    /// With left up to right and top up to bottom.
    SRect Normalized() const noexcept
    {
        return SRect(left < right ? left : right, top < bottom ? top : bottom, left < right ? right : left,
                     top < bottom ? bottom : top);
    }
    bool Contains(const POINT& point) const noexcept
    {
        return point.x >= left && point.x < right && point.y >= top && point.y < bottom;
    }
    /// Moves the edges inwards; negative numbers outwards.
    void Deflate(int x, int y) noexcept
    {
        left += x;
        right -= x;
        top += y;
        bottom -= y;
    }
    void Offset(int x, int y) noexcept
    {
        left += x;
        right += x;
        top += y;
        bottom += y;
    }
    /// The common part; empty, all zero, when there is none.
    SRect Intersection(const RECT& other) const noexcept
    {
        const SRect common(left > other.left ? left : other.left, top > other.top ? top : other.top,
                           right < other.right ? right : other.right,
                           bottom < other.bottom ? bottom : other.bottom);
        return common.IsEmpty() ? SRect() : common;
    }
    bool operator==(const RECT& other) const noexcept
    {
        return left == other.left && top == other.top && right == other.right && bottom == other.bottom;
    }
    bool operator!=(const RECT& other) const noexcept { return !(*this == other); }
};

#endif
