// Integer ratios, percent scaling, unit conversion and plane geometry on
// integer points.  Intermediate values are formed in 64 bits (squares in
// doubles) so that no input can overflow a signed type; results saturate
// into the 32-bit fields they are stored in.
#include <qorcalc/api.h>
#include <qorcalc/streams.h>
#include <qorcalc/utility.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

using qorcalc::detail::Shielded;

namespace {

constexpr double kScreenDpi = 96.0;

// The largest element count of an array stream that is given its memory
// before the elements are read (4 MiB of elements).
constexpr uint32_t kMaxPresizedCount = 1u << 20;

int32_t Narrow(int64_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, std::numeric_limits<int32_t>::min(),
                                                    std::numeric_limits<int32_t>::max()));
}

// The subtractive method on positive values, done with remainders so that
// (1, INT_MAX) does not take two billion rounds; the result is the same.
int64_t Gcd(int64_t a, int64_t b) {
    if (a == 0 || b == 0) return 0;
    if (a < 1) return b;
    if (b < 1) {
        // Subtracting a negative b only grows a until it passes b's size: the
        // subtractive loop ends with a <= 0 and b unchanged.
        return b;
    }
    while (a > 0) {
        if (b > a) std::swap(a, b);
        a %= b;
    }
    return b;
}

long ScaleBy(long value, long numerator, long denominator) {
    const __int128 scaled = static_cast<__int128>(value) * numerator / denominator;
    if (scaled > std::numeric_limits<long>::max()) return std::numeric_limits<long>::max();
    if (scaled < std::numeric_limits<long>::min()) return std::numeric_limits<long>::min();
    return static_cast<long>(scaled);
}

int32_t ScaleField(int32_t value, long numerator, long denominator) {
    return Narrow(ScaleBy(value, numerator, denominator));
}

}  // namespace

int CUtilityCalc::GetGCD(int a, int b) { return Narrow(Gcd(a, b)); }

void CUtilityCalc::DevideByGCD(int& a, int& b) {
    const int64_t gcd = Gcd(a, b);
    if (gcd == 0) return;
    a = Narrow(a / gcd);
    b = Narrow(b / gcd);
}

// Approximates a ratio that does not fit: each round makes both values even,
// rounding one down and the other up, and alternates the direction so the
// ratio does not drift one way; the next reduction then at least halves
// them.  Two guards keep every input finite: a maximum below 2 is raised to
// 2 (1:1 is as small as a ratio of positive values gets), and the rounds are
// capped at 64, which only a zero value (that no reduction changes) reaches.
void CUtilityCalc::DevideByGCD_MaxValue(int& a, int& b, int maxValue) {
    maxValue = std::max(maxValue, 2);
    bool downFirst = true;
    for (int round = 0; round < 64; ++round) {
        DevideByGCD(a, b);
        if (std::max(a, b) < maxValue) return;
        if (a % 2 != 0) a = Narrow(static_cast<int64_t>(a) + (downFirst ? -1 : 1));
        if (b % 2 != 0) b = Narrow(static_cast<int64_t>(b) + (downFirst ? 1 : -1));
        downFirst = !downFirst;
    }
}

void CUtilityCalc::RoundDevideBy10(long& value) {
    long q = value / 10;
    if (value - 10 * q >= 5) ++q;
    value = q;
}

void CUtilityCalc::ScaleLong_Position(long& value, int percent) { value = ScaleBy(value, percent, 100); }

void CUtilityCalc::ScaleLong_Negative(long& value, int percent) {
    if (percent != 0) value = ScaleBy(value, 100, percent);
}

void CUtilityCalc::ScaleRect_Positive(CRect& rect, int percent) {
    for (int32_t* f : {&rect.left, &rect.top, &rect.right, &rect.bottom}) *f = ScaleField(*f, percent, 100);
}

void CUtilityCalc::ScaleRect_Negative(CRect& rect, int percent) {
    if (percent == 0) return;
    for (int32_t* f : {&rect.left, &rect.top, &rect.right, &rect.bottom}) *f = ScaleField(*f, 100, percent);
}

void CUtilityCalc::ScaleSize_Positive(CSize& size, int percent) {
    size.cx = ScaleField(size.cx, percent, 100);
    size.cy = ScaleField(size.cy, percent, 100);
}

void CUtilityCalc::ScaleSize_Negative(CSize& size, int percent) {
    if (percent == 0) return;
    size.cx = ScaleField(size.cx, 100, percent);
    size.cy = ScaleField(size.cy, 100, percent);
}

namespace {

// How many of the unit make an inch; 0 for pixels, which are not scaled.
double UnitsPerInch(ENUM_SIZE_SPEC unit) {
    switch (unit) {
        case SIZE_PIXEL: return 0;
        case SIZE_MM: return 25.4;
        case SIZE_CM: return 2.54;
        default: return 1;
    }
}

}  // namespace

int CUtilityCalc::UnitToPixel(ENUM_SIZE_SPEC unit, double value) {
    const double perInch = UnitsPerInch(unit);
    return Double2Int(perInch == 0 ? value : value * kScreenDpi / perInch);
}

double CUtilityCalc::PixelToUnit(ENUM_SIZE_SPEC unit, int pixels) {
    const double perInch = UnitsPerInch(unit);
    return perInch == 0 ? pixels : pixels * perInch / kScreenDpi;
}

double CUtilityCalc::PointsDistance(const POINT* a, const POINT* b) {
    if (!a || !b) return 0;
    const double dx = static_cast<double>(b->x) - a->x;
    const double dy = static_cast<double>(b->y) - a->y;
    return std::sqrt(dx * dx + dy * dy);
}

int CUtilityCalc::GetRadius(const RECT* rect) {
    if (!rect) return 0;
    const int64_t w = static_cast<int64_t>(rect->right) - rect->left;
    const int64_t h = static_cast<int64_t>(rect->bottom) - rect->top;
    if (w < 1 || h < 1) return 0;
    const double hw = static_cast<double>((w + w % 2) / 2), hh = static_cast<double>((h + h % 2) / 2);
    return Narrow(static_cast<int64_t>(std::sqrt(hw * hw + hh * hh)));
}

double CUtilityCalc::GetAngle(int x, int y) {
    if (y == 0) return x >= 0 ? 0.0 : 180.0;
    if (x == 0) return y > 0 ? 90.0 : 270.0;
    double a = std::atan(static_cast<double>(y) / x) * 57.29577951308232;
    if (x < 0) a += 180;
    else if (y < 0) a += 360;
    return a;
}

void CUtilityCalc::Rotate(POINT* point, double degrees) {
    if (!point || !std::isfinite(degrees)) return;
    const double r = std::fmod(degrees, 360.0) * 0.017453292519943295;
    const double c = std::cos(r), s = std::sin(r);
    const double x = point->x, y = point->y;
    point->x = Double2Int(x * c - y * s);
    point->y = Double2Int(x * s + y * c);
}

namespace {

// Moves `from` away from `to` by `step` on one axis.
int32_t MoveAway(int32_t from, int32_t to, int64_t step) {
    return Narrow(from > to ? from + step : from - step);
}

}  // namespace

void CUtilityCalc::ExtentLine(CPoint& a, CPoint& b, int length, uint8_t ends) {
    if (length == 0 || a == b) return;
    const double d = PointsDistance(&a, &b);
    int64_t len = length;
    if (len < 0) {
        if (ends == 3 && -len > d * 0.5) len = static_cast<int64_t>(d * -0.5);
        else if (-len > static_cast<int64_t>(d)) len = -static_cast<int64_t>(d);
    }
    const int64_t dx = std::llabs(static_cast<int64_t>(a.x) - b.x);
    const int64_t dy = std::llabs(static_cast<int64_t>(a.y) - b.y);
    const int64_t ex = static_cast<int64_t>(static_cast<double>(dx * len) / d);
    const int64_t ey = static_cast<int64_t>(static_cast<double>(dy * len) / d);
    if (ends & 1) {
        a.x = MoveAway(a.x, b.x, ex);
        a.y = MoveAway(a.y, b.y, ey);
    }
    if (ends & 2) {
        b.x = MoveAway(b.x, a.x, ex);
        b.y = MoveAway(b.y, a.y, ey);
    }
}

void CUtilityCalc::SerializeUIntArray(IStreamOutput* out, const CUIntArray& items, int countWidth) {
    if (!out) return;
    const uint32_t count = static_cast<uint32_t>(items.GetSize());
    if (countWidth == 1) out->Write8(static_cast<uint8_t>(count));
    else if (countWidth == 2) out->Write16(static_cast<uint16_t>(count));
    else out->Write32(count);
    for (uint32_t v : items) out->Write32(v);
}

namespace {

int ReadCount(IStreamInput* in, int countWidth, uint32_t& count) {
    if (countWidth == 1) {
        uint8_t v = 0;
        if (!in->Read8(v)) return 0;
        count = v;
    } else if (countWidth == 2) {
        uint16_t v = 0;
        if (!in->Read16(v)) return 0;
        count = v;
    } else if (!in->Read32(count)) {
        return 0;
    }
    return 1;
}

}  // namespace

// The array takes the announced size before its elements arrive and keeps
// it when the stream ends early: the elements read so far, zeros after
// them, and the result 0.  Only a count above kMaxPresizedCount that the
// stream cannot show it holds is taken on trust no further than the elements
// that actually arrive, so a forged count of four billion costs nothing.
int CUtilityCalc::DeserializeUIntArray(IStreamInput* in, CUIntArray& items, int countWidth) {
    return Shielded(u"CUtilityCalc::DeserializeUIntArray", 0, [&]() -> int {
        uint32_t count = 0;
        if (!in || !ReadCount(in, countWidth, count)) return 0;
        const int64_t left = in->Remaining();
        const bool presize = count <= kMaxPresizedCount || (left >= 0 && static_cast<uint64_t>(left) / 4 >= count);
        items.RemoveAll();
        if (presize) items.SetSize(static_cast<int>(count));
        for (uint32_t i = 0; i < count; ++i) {
            uint32_t v = 0;
            if (!in->Read32(v)) return 0;
            if (presize) items[static_cast<int>(i)] = v;
            else items.Add(v);
        }
        return 1;
    }, items);
}

int CUtilityCalc::C0_99() { return static_cast<int>(static_cast<unsigned>(std::rand()) % 100); }

void CUtilityCalc::ExchangeInt(int& a, int& b) { std::swap(a, b); }
