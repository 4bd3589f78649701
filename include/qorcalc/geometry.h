// Plane geometry value types with 32-bit signed members: POINT, SIZE, RECT
// and their convenience classes CPoint, CSize, CRect.  Plain data; nothing
// here checks or orders its coordinates.
#pragma once

#include <cstdint>

struct POINT {
    int32_t x;
    int32_t y;
};

struct SIZE {
    int32_t cx;
    int32_t cy;
};

struct RECT {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
};

class CPoint : public POINT {
public:
    CPoint() : POINT{0, 0} {}
    CPoint(int32_t px, int32_t py) : POINT{px, py} {}
    CPoint(const POINT& p) : POINT(p) {}
    void Offset(int32_t dx, int32_t dy) { x += dx, y += dy; }
    bool operator==(const CPoint& p) const { return x == p.x && y == p.y; }
};

class CSize : public SIZE {
public:
    CSize() : SIZE{0, 0} {}
    CSize(int32_t w, int32_t h) : SIZE{w, h} {}
    CSize(const SIZE& s) : SIZE(s) {}
    bool operator==(const CSize& s) const { return cx == s.cx && cy == s.cy; }
};

class CRect : public RECT {
public:
    CRect() : RECT{0, 0, 0, 0} {}
    CRect(int32_t l, int32_t t, int32_t r, int32_t b) : RECT{l, t, r, b} {}
    CRect(const RECT& r) : RECT(r) {}
    int32_t Width() const { return right - left; }
    int32_t Height() const { return bottom - top; }
    bool IsRectEmpty() const { return right <= left || bottom <= top; }
    CPoint TopLeft() const { return CPoint(left, top); }
    CPoint BottomRight() const { return CPoint(right, bottom); }
    void OffsetRect(int32_t dx, int32_t dy) { left += dx, right += dx, top += dy, bottom += dy; }
    bool PtInRect(const POINT& p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }
    bool operator==(const CRect& r) const {
        return left == r.left && top == r.top && right == r.right && bottom == r.bottom;
    }
};
