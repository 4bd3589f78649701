// CRowCol and CRowCols: inserts and deletes that move or swallow cells and
// ranges, the packed word, the stream format, and coordinates at the edges
// of the int range.
#include <qorcalc/cells.h>
#include <qorcalc/streams.h>

#include <gtest/gtest.h>

#include "text_helpers.h"

#include <climits>
#include <utility>
#include <vector>

namespace {

enum Op { InsR, InsC, DelR, DelC };

template <class T>
int Apply(T& target, Op op, int first, int count) {
    switch (op) {
        case InsR: return target.InsertRows(first, count);
        case InsC: return target.InsertCols(first, count);
        case DelR: return target.DeleteRows(first, count);
        default: return target.DeleteCols(first, count);
    }
}

TEST(CRowCol, InsertAndDeleteMoveOrSwallowTheCell) {
    struct Case { int row, col; Op op; int first, count, want, wantRow, wantCol; } cases[] = {
        {5, 3, InsR, 5, 2, 1, 7, 3},   {5, 3, InsR, 6, 2, 0, 5, 3},   {5, 3, InsR, -1, 1, 0, 5, 3},
        {5, 3, InsR, 2, 0, 0, 5, 3},   {-1, 3, InsR, 0, 1, 0, -1, 3}, {5, 3, InsC, 3, 4, 1, 5, 7},
        {5, 3, InsC, 4, 4, 0, 5, 3},   {5, 3, DelR, 4, 3, 1, -1, 3},  // swallowed: only the row goes
        {5, 3, DelR, 2, 3, 1, 2, 3},   {5, 3, DelR, 5, 1, 1, -1, 3},  {5, 3, DelR, 6, 1, 0, 5, 3},
        {5, 3, DelR, 0, -2, 0, 5, 3},  {5, 3, DelC, 3, 1, 1, 5, -1},  {5, 3, DelC, 1, 2, 1, 5, 1},
        {5, -1, DelC, 0, 1, 0, 5, -1},
        {INT_MAX, 0, InsR, 5, 10, 1, INT_MAX, 0},        // saturates
        {INT_MAX, 0, DelR, INT_MAX, INT_MAX, 1, -1, 0},  // first + count exceeds int
        {INT_MAX, 0, DelR, 0, INT_MAX, 1, 0, 0},
    };
    for (const auto& c : cases) {
        CRowCol cell(c.row, c.col);
        EXPECT_EQ(Apply(cell, c.op, c.first, c.count), c.want) << c.row << "," << c.col << " op " << c.op << " "
                                                               << c.first << "+" << c.count;
        EXPECT_EQ(cell.m_nRow, c.wantRow);
        EXPECT_EQ(cell.m_nCol, c.wantCol);
    }
    struct Order { CRowCol a, b; int want; } orders[] = {
        {{1, 9}, {2, 0}, -1}, {{2, 0}, {1, 9}, 1}, {{2, 3}, {2, 4}, -1}, {{2, 3}, {2, 3}, 0},
        {{INT_MIN, 0}, {INT_MAX, 0}, -1},
    };
    for (const auto& c : orders) EXPECT_EQ(c.a.CompareTo(c.b), c.want);
}

TEST(CRowCol, PackedWord) {
    struct Case { int row, col; uint32_t word; int keptRow, keptCol; } cases[] = {
        {0, 0, 0, 0, 0},                  {6, 1, (1u << 20) | 6, 6, 1},  {1048574, 4094, 0xFFEFFFFEu, 1048574, 4094},
        {-1, -1, 0xFFFFFFFFu, -1, -1},    {-5, 2, (2u << 20) | 0xFFFFF, -1, 2},  // raised to -1 in the object
        {3, INT_MIN, 0xFFF00003u, 3, -1}, {1048575, 0, 0xFFFFF, 1048575, 0},     // past the range: low bits kept
        {1048576 + 7, 4096 + 2, (2u << 20) | 7, 1048583, 4098},
    };
    for (const auto& c : cases) {
        CRowCol cell(c.row, c.col);
        EXPECT_EQ(cell.GetDWord(), c.word) << c.row << "," << c.col;
        EXPECT_EQ(cell.m_nRow, c.keptRow);
        EXPECT_EQ(cell.m_nCol, c.keptCol);
    }
    struct Back { uint32_t word; int row, col; } backs[] = {
        {0xFFFFFFFFu, -1, -1}, {0xFFEFFFFEu, 1048574, 4094}, {(5u << 20) | 0xFFFFF, -1, 5}, {0xFFF00009u, 9, -1},
    };
    for (const auto& b : backs) {
        CRowCol cell(b.word);
        EXPECT_EQ(cell.m_nRow, b.row) << b.word;
        EXPECT_EQ(cell.m_nCol, b.col) << b.word;
    }
    CRowCols range(-9, 4, 7, -2);
    EXPECT_EQ(range.GetDWord(), (4u << 20) | 0xFFFFF);
    EXPECT_EQ(range.GetDWord2(), 0xFFF00007u);
    EXPECT_EQ(Of(range), (Corners{-1, 4, 7, -1}));
    EXPECT_EQ(Of(CRowCols(range.GetDWord(), range.GetDWord2())), Of(range));
    EXPECT_EQ(Of(CRowCols(0xFFFFFFFFu, 0u)), (Corners{-1, -1, 0, 0}));
}

// The range's delete, taken literally: one line at a time.
int DeleteOneAtATime(int& lo, int& hi, int& otherLo, int& otherHi, int first, int count) {
    if (lo < 0 || otherLo < 0 || first < 0) return 0;
    for (; count > 0; --count) {
        if (first > hi) return 0;
        if (first < lo) --lo;
        --hi;
        if (hi < lo) {
            lo = hi = otherLo = otherHi = -1;
            return 1;
        }
    }
    return 0;
}

TEST(CRowCols, DeleteMatchesDeletingOneLineAtATime) {
    for (int lo = -1; lo <= 5; ++lo)
        for (int hi = -2; hi <= 6; ++hi)
            for (int first = -1; first <= 8; ++first)
                for (int count = -1; count <= 9; ++count) {
                    int r1 = lo, r2 = hi, c1 = 2, c2 = 4;
                    const int want = DeleteOneAtATime(r1, r2, c1, c2, first, count);
                    CRowCols rows(lo, 2, hi, 4), cols(2, lo, 4, hi);
                    ASSERT_EQ(rows.DeleteRows(first, count), want) << lo << ".." << hi << " " << first << "+" << count;
                    ASSERT_EQ(Of(rows), (Corners{r1, c1, r2, c2})) << lo << ".." << hi << " " << first << "+" << count;
                    ASSERT_EQ(cols.DeleteCols(first, count), want);
                    ASSERT_EQ(Of(cols), (Corners{c1, r1, c2, r2}));
                }
}

TEST(CRowCols, InsertAndHugeDeletes) {
    struct Case { Corners range; Op op; int first, count, want; Corners after; } cases[] = {
        {{3, 1, 5, 2}, InsR, 0, 2, 1, {5, 1, 7, 2}},   {{3, 1, 5, 2}, InsR, 3, 2, 1, {5, 1, 7, 2}},
        {{3, 1, 5, 2}, InsR, 4, 2, 1, {3, 1, 7, 2}},   {{3, 1, 5, 2}, InsR, 5, 2, 1, {3, 1, 7, 2}},
        {{3, 1, 5, 2}, InsR, 6, 2, 0, {3, 1, 5, 2}},   {{3, 1, 5, 2}, InsR, 4, 0, 0, {3, 1, 5, 2}},
        {{3, -1, 5, 2}, InsR, 0, 1, 0, {3, -1, 5, 2}}, {{3, 1, 5, 2}, InsC, 2, 3, 1, {3, 1, 5, 5}},
        {{3, 1, 5, 2}, InsC, 1, 3, 1, {3, 4, 5, 5}},   {{3, 1, 5, 2}, InsC, 3, 3, 0, {3, 1, 5, 2}},
        {{3, 1, INT_MAX - 1, 2}, InsR, 0, INT_MAX, 1, {INT_MAX, 1, INT_MAX, 2}},
        {{3, 0, 5, 2}, DelR, 0, INT_MAX, 1, {-1, -1, -1, -1}}, {{0, 0, INT_MAX, 2}, DelR, 1, INT_MAX, 0, {0, 0, 0, 2}},
    };
    for (const auto& c : cases) {
        CRowCols r = Range(c.range);
        EXPECT_EQ(Apply(r, c.op, c.first, c.count), c.want) << "op " << c.op << " " << c.first << "+" << c.count;
        EXPECT_EQ(Of(r), c.after);
    }
}

TEST(CRowCols, InclusionAndIntersection) {
    const CRowCols r(2, 2, 5, 5);
    EXPECT_TRUE(r.IsInclude(2, 5));
    EXPECT_FALSE(r.IsInclude(6, 3));
    EXPECT_TRUE(r.IsInclude(CRowCol(5, 2)));
    EXPECT_FALSE(r.IsIncludeCol(1));
    struct Case { CRowCols other; int whole, overlap, intersect, got; Corners meet; } cases[] = {
        {{3, 3, 4, 4}, 1, 1, 1, 1, {3, 3, 4, 4}},       {{2, 2, 5, 5}, 1, 1, 1, 1, {2, 2, 5, 5}},
        {{0, 0, 2, 2}, 0, 1, 1, 1, {2, 2, 2, 2}},       {{4, 4, 9, 9}, 0, 1, 1, 1, {4, 4, 5, 5}},
        {{6, 0, 9, 9}, 0, 0, 0, 0, {-1, -1, -1, -1}},   {{0, 6, 9, 9}, 0, 0, 0, 0, {-1, -1, -1, -1}},
        {{-1, 3, 4, 4}, 0, 0, 1, 1, {2, 3, 4, 4}},  // IsInclude refuses a negative corner, IsIntersect does not
    };
    for (const auto& c : cases) {
        EXPECT_EQ(r.IsInclude(c.other, 1), c.whole);
        EXPECT_EQ(r.IsInclude(c.other, 0), c.overlap);
        EXPECT_EQ(r.IsIntersect(c.other), c.intersect);
        CRowCols out(9, 9, 9, 9);
        EXPECT_EQ(CRowCols::GetIntersect(out, r, c.other), c.got);
        EXPECT_EQ(Of(out), c.meet);
    }
    CRowCols a(0, 0, 3, 3);
    EXPECT_EQ(CRowCols::GetIntersect(a, a, CRowCols(2, 1, 8, 2)), 1);  // the result may be an input
    EXPECT_EQ(Of(a), (Corners{2, 1, 3, 2}));
    EXPECT_EQ(CRowCols(5, 5, 5, 5).IsInclude(CRowCols(5, 5, 5, 5), 0), 1);
    EXPECT_EQ(CRowCols().IsInclude(CRowCols(0, 0, 1, 1), 0), 0);
}

TEST(CRowCols, CombineNormarizeAndCorners) {
    CRowCols r(2, 3, 4, 5);
    r.Combine(CRowCols(0, 4, 3, 9));
    EXPECT_EQ(Of(r), (Corners{0, 3, 4, 9}));
    r.Combine(CRowCols(-1, 0, 99, 99));  // negative first corner: ignored
    r.Combine(CRowCol(7, -1));           // empty cell: ignored
    EXPECT_EQ(Of(r), (Corners{0, 3, 4, 9}));
    r.Combine(CRowCol(8, 1));
    EXPECT_EQ(Of(r), (Corners{0, 1, 8, 9}));
    CRowCols empty;
    empty.Combine(CRowCols(2, 2, 3, 3));
    EXPECT_EQ(Of(empty), (Corners{-1, -1, 3, 3}));

    r.Set(5, 9, 2, 3);
    r.Normarize();
    EXPECT_EQ(Of(r), (Corners{2, 3, 5, 9}));

    EXPECT_EQ(CRowCols(3, 3, 3, 3).AtCorner(CRowCol(3, 3)), POS_TOPLEFT);
    const CRowCols box(1, 2, 3, 4);
    struct Case { CRowCol cell; ENUM_POS want; } cases[] = {
        {{1, 2}, POS_TOPLEFT}, {{1, 4}, POS_TOPRIGHT}, {{3, 2}, POS_BOTTOMLEFT}, {{3, 4}, POS_BOTTOMRIGHT},
        {{2, 3}, POS_NONE},    {{-1, -1}, POS_NONE},
    };
    for (const auto& c : cases) EXPECT_EQ(box.AtCorner(c.cell), c.want);
}

TEST(CRowCols, SizesOffsetAndInflateStayInRange) {
    struct Size { Corners range; int rows, cols; } sizes[] = {
        {{2, 3, 4, 9}, 3, 7}, {{3, 3, 3, 3}, 1, 1}, {{-1, 0, 9, 9}, 0, 0}, {{5, 5, 2, 2}, -2, -2},
        {{0, 0, INT_MAX, INT_MAX}, INT_MAX, INT_MAX}, {{INT_MAX, INT_MAX, INT_MIN, INT_MIN}, INT_MIN, INT_MIN},
    };
    for (const auto& s : sizes)
        EXPECT_EQ(std::pair(Range(s.range).GetRows(), Range(s.range).GetCols()), std::pair(s.rows, s.cols));
    CRowCols r(1, 2, 3, 4);
    r.Offset(10, -1);
    EXPECT_EQ(Of(r), (Corners{11, 1, 13, 3}));
    r.Offset(INT_MAX, INT_MIN);
    EXPECT_EQ(Of(r), (Corners{INT_MAX, INT_MIN + 1, INT_MAX, INT_MIN + 3}));
    r.Set(5, 5, 6, 6);
    r.InflateRect(1, 9, 2, 3);
    EXPECT_EQ(Of(r), (Corners{4, 0, 8, 9}));
    r.InflateRect(INT_MIN, INT_MAX, INT_MAX, INT_MIN);
    EXPECT_EQ(Of(r), (Corners{INT_MAX, 0, INT_MAX, INT_MIN + 9}));
    r.InflateRect(-5, 0, -5, 0);  // negative amounts shrink
    EXPECT_EQ(Of(r), (Corners{INT_MAX, 0, INT_MAX - 5, INT_MIN + 9}));
}

TEST(CRowColStreams, RoundTripsAndShortStreams) {
    CMemStreamOutput out;
    CRowCol cell(41, 17), emptyCell;
    CRowCols range(1, 2, 1048574, 4094), partial(3, 4, -1, -1);
    ASSERT_EQ(cell.SerializeRowCol(&out), 1);
    ASSERT_EQ(emptyCell.SerializeRowCol(&out), 1);
    ASSERT_EQ(range.SerializeRowCols(&out), 1);
    ASSERT_EQ(partial.SerializeRowCols(&out), 1);
    EXPECT_EQ(out.GetBytes().size(), 24u);
    EXPECT_EQ(out.GetBytes()[0], 41);  // little-endian packed word
    CMemStreamInput in(out.GetBytes());
    CRowCol c1, c2;
    CRowCols r1, r2;
    EXPECT_EQ(c1.DeserializeRowCol(&in), 1);
    EXPECT_EQ(c2.DeserializeRowCol(&in), 1);
    EXPECT_EQ(r1.DeserializeRowCols(&in), 1);
    EXPECT_EQ(r2.DeserializeRowCols(&in), 1);
    EXPECT_TRUE(c1.IsEqual(cell) && c2.IsEqual(emptyCell) && r1.IsEqual(range) && r2.IsEqual(partial));
    EXPECT_EQ(in.Remaining(), 0);

    CMemStreamInput six(std::vector<uint8_t>{1, 0, 0, 0, 2, 0});
    CRowCols kept(7, 7, 8, 8);
    EXPECT_EQ(kept.DeserializeRowCols(&six), 0);  // second word missing: unchanged
    EXPECT_EQ(Of(kept), (Corners{7, 7, 8, 8}));
    CMemStreamInput three(std::vector<uint8_t>{1, 2, 3});
    CRowCol reset(9, 9);
    EXPECT_EQ(reset.DeserializeRowCol(&three), 0);  // reset to 0,0 and left so
    EXPECT_TRUE(reset.IsEqual(CRowCol(0, 0)));
    EXPECT_EQ(reset.DeserializeRowCol(nullptr), 0);
    EXPECT_EQ(reset.SerializeRowCol(nullptr), 0);
    EXPECT_EQ(kept.DeserializeRowCols(nullptr), 0);
    EXPECT_EQ(kept.SerializeRowCols(nullptr), 0);
    EXPECT_EQ(Of(kept), (Corners{7, 7, 8, 8}));
}

}  // namespace
