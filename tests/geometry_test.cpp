// Integer ratios, scaling, unit conversion, plane geometry and the
// unsigned-array stream format.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <climits>
#include <vector>

namespace {

using U = CUtilityCalc;

TEST(IntegerMath, GreatestCommonDivisor) {
    struct Case { int a, b, want; } cases[] = {
        {12, 18, 6}, {18, 12, 6}, {7, 13, 1}, {0, 5, 0}, {5, 0, 0},
        {-4, 6, 6},            // a below 1 gives b unchanged
        {6, -4, -4},           // the subtraction only grows a: b is the answer
        {1, INT_MAX, 1},       // must not take INT_MAX rounds
        {INT_MAX, INT_MAX, INT_MAX},
    };
    for (const auto& c : cases) EXPECT_EQ(U::GetGCD(c.a, c.b), c.want) << c.a << "," << c.b;
}

TEST(IntegerMath, DivideByGreatestCommonDivisor) {
    struct Case { int a, b, max, wantA, wantB; } cases[] = {
        {640, 480, 0, 4, 3},
        {0, 5, 0, 0, 5},
        {1001, 1000, 100, 1, 1},     // 1001 becomes 1000, then 1:1
        {1920, 1080, 10, 8, 5},      // 16:9 does not fit, 16:10 reduces to 8:5
        {999, 1, 10, 500, 0},        // 499:1 rounds to 500:0, which no reduction changes
    };
    for (const auto& c : cases) {
        int a = c.a, b = c.b;
        if (c.max == 0) U::DevideByGCD(a, b);
        else U::DevideByGCD_MaxValue(a, b, c.max);
        EXPECT_EQ(a, c.wantA) << c.a << ":" << c.b;
        EXPECT_EQ(b, c.wantB) << c.a << ":" << c.b;
    }
    // Bounds no ratio of positive values can meet still terminate.
    for (int max : {0, 1, -5}) {
        int a = 1001, b = 1000;
        U::DevideByGCD_MaxValue(a, b, max);
        EXPECT_LE(std::max(a, b), 1);
    }
    int a = 0, b = 1000;
    U::DevideByGCD_MaxValue(a, b, 100);  // zero never reduces: capped, not endless
    EXPECT_EQ(a, 0);
}

TEST(IntegerMath, RoundDivideByTenAndPercentScaling) {
    struct Case { long v, want; } rounds[] = {{14, 1}, {15, 2}, {-15, -1}, {-16, -1}, {0, 0}, {99, 10}};
    for (const auto& c : rounds) {
        long v = c.v;
        U::RoundDevideBy10(v);
        EXPECT_EQ(v, c.want) << c.v;
    }
    long v = 250;
    U::ScaleLong_Position(v, 40);
    EXPECT_EQ(v, 100);
    U::ScaleLong_Negative(v, 40);
    EXPECT_EQ(v, 250);
    U::ScaleLong_Negative(v, 0);  // undoing a zero scale is refused
    EXPECT_EQ(v, 250);
    CRect r(10, 20, 30, 41);
    U::ScaleRect_Positive(r, 50);
    EXPECT_TRUE(r == CRect(5, 10, 15, 20));
    U::ScaleRect_Negative(r, 50);
    EXPECT_TRUE(r == CRect(10, 20, 30, 40));
    CRect huge(INT_MAX, INT_MIN, 0, 0);
    U::ScaleRect_Negative(huge, 1);  // saturates instead of overflowing
    EXPECT_EQ(huge.left, INT_MAX);
    EXPECT_EQ(huge.top, INT_MIN);
}

TEST(Geometry, UnitsToPixels) {
    struct Case { ENUM_SIZE_SPEC unit; double value; int want; } cases[] = {
        {SIZE_INCH, 1, 96}, {SIZE_MM, 10, 38}, {SIZE_CM, 1, 38}, {SIZE_PIXEL, 2.5, 3},
        {SIZE_PIXEL, -2.5, -3}, {static_cast<ENUM_SIZE_SPEC>(9), 0.5, 48},
    };
    for (const auto& c : cases) EXPECT_EQ(U::UnitToPixel(c.unit, c.value), c.want) << c.value;
    EXPECT_DOUBLE_EQ(U::PixelToUnit(SIZE_INCH, 96), 1.0);
    EXPECT_DOUBLE_EQ(U::PixelToUnit(SIZE_MM, 96), 25.4);
}

TEST(Geometry, AnglesDistancesAndRadius) {
    struct Case { int x, y; double want; } angles[] = {
        {1, 1, 45}, {-1, 1, 135}, {-1, -1, 225}, {1, -1, 315}, {0, 0, 0},
        {5, 0, 0}, {-5, 0, 180}, {0, 5, 90}, {0, -5, 270},
    };
    for (const auto& c : angles) EXPECT_NEAR(U::GetAngle(c.x, c.y), c.want, 1e-9) << c.x << "," << c.y;

    POINT a{0, 0}, b{3, 4}, far{INT_MAX, INT_MAX}, near{INT_MIN, INT_MIN};
    EXPECT_DOUBLE_EQ(U::PointsDistance(&a, &b), 5.0);
    EXPECT_GT(U::PointsDistance(&far, &near), 6e9);  // no 32-bit overflow
    EXPECT_EQ(U::PointsDistance(nullptr, &b), 0.0);

    RECT r34{0, 0, 3, 4}, flat{0, 0, 5, 0}, wide{INT_MIN, INT_MIN, INT_MAX, INT_MAX};
    EXPECT_EQ(U::GetRadius(&r34), 2);  // halves 2 and 2, sqrt(8) truncated
    EXPECT_EQ(U::GetRadius(&flat), 0);
    EXPECT_GT(U::GetRadius(&wide), 0);
}

TEST(Geometry, RotateAndExtendLines) {
    struct Case { POINT p; double degrees; POINT want; } turns[] = {
        {{10, 0}, 90, {0, 10}}, {{10, 0}, 450, {0, 10}}, {{10, 0}, 180, {-10, 0}}, {{3, 4}, 0, {3, 4}},
    };
    for (auto c : turns) {
        U::Rotate(&c.p, c.degrees);
        EXPECT_EQ(c.p.x, c.want.x) << c.degrees;
        EXPECT_EQ(c.p.y, c.want.y) << c.degrees;
    }
    struct Line { CPoint a, b; int length; uint8_t ends; CPoint wantA, wantB; } lines[] = {
        {{0, 0}, {10, 0}, 5, 2, {0, 0}, {15, 0}},     // lengthen at b
        {{0, 0}, {10, 0}, 5, 1, {-5, 0}, {10, 0}},    // lengthen at a
        {{0, 0}, {10, 0}, -20, 2, {0, 0}, {0, 0}},    // a cut beyond the length stops at a
        {{0, 0}, {10, 0}, -8, 3, {5, 0}, {5, 0}},     // both ends: at most half each
        {{2, 2}, {2, 2}, 5, 3, {2, 2}, {2, 2}},       // coinciding points stay
        {{0, 0}, {6, 8}, 10, 2, {0, 0}, {12, 16}},
    };
    for (auto c : lines) {
        U::ExtentLine(c.a, c.b, c.length, c.ends);
        EXPECT_TRUE(c.a == c.wantA) << c.a.x << "," << c.a.y;
        EXPECT_TRUE(c.b == c.wantB) << c.b.x << "," << c.b.y;
    }
}

TEST(UIntArrayStream, RoundTripsAtEveryCountWidth) {
    CUIntArray items;
    for (uint32_t v : {0u, 1u, 0xFFFFFFFFu, 42u}) items.Add(v);
    for (int width : {1, 2, 4}) {
        CMemStreamOutput out;
        U::SerializeUIntArray(&out, items, width);
        EXPECT_EQ(out.GetBytes().size(), static_cast<size_t>((width == 4 ? 4 : width) + 16));
        CMemStreamInput in(out.GetBytes());
        CUIntArray back;
        ASSERT_EQ(U::DeserializeUIntArray(&in, back, width), 1);
        EXPECT_EQ(back.Items(), items.Items());
    }
    // Read back with another width the count is misread.
    CMemStreamOutput out;
    U::SerializeUIntArray(&out, items, 2);
    CMemStreamInput in(out.GetBytes());
    CUIntArray back;
    U::DeserializeUIntArray(&in, back, 4);
    EXPECT_NE(back.Items(), items.Items());
}

TEST(UIntArrayStream, HostileStreamsFailCleanly) {
    CUIntArray back;
    CMemStreamInput empty(nullptr, 0);
    EXPECT_EQ(U::DeserializeUIntArray(&empty, back, 4), 0);

    const uint8_t forged[] = {0xFF, 0xFF, 0xFF, 0xFF, 7, 0, 0, 0};  // four billion announced, one sent
    CMemStreamInput in(forged, sizeof forged);
    EXPECT_EQ(U::DeserializeUIntArray(&in, back, 4), 0);
    ASSERT_EQ(back.GetSize(), 1);
    EXPECT_EQ(back[0], 7u);

    // An honest count whose elements stop early: the array keeps the count
    // as its size, the elements read and zeros after them.
    const uint8_t truncated[] = {3, 0, 9, 0, 0, 0, 8};
    CMemStreamInput cut(truncated, sizeof truncated);
    back.Add(77);
    EXPECT_EQ(U::DeserializeUIntArray(&cut, back, 2), 0);
    EXPECT_EQ(back.Items(), (std::vector<uint32_t>{9, 0, 0}));

    const uint8_t none[] = {0, 0};
    CMemStreamInput zero(none, sizeof none);
    EXPECT_EQ(U::DeserializeUIntArray(&zero, back, 2), 1);
    EXPECT_EQ(back.GetSize(), 0);
    EXPECT_EQ(U::DeserializeUIntArray(nullptr, back, 2), 0);
}

TEST(Random, ZeroToNinetyNine) {
    for (int i = 0; i < 1000; ++i) {
        const int v = U::C0_99();
        ASSERT_GE(v, 0);
        ASSERT_LE(v, 99);
    }
}

}  // namespace
