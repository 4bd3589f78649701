// Cell names: reading and writing "B7" and "@B2:C3", the two column limits,
// and names that are empty, huge or malformed.
#include <qorcalc/cells.h>
#include <qorcalc/utility.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <tuple>

namespace {

using Corners = std::tuple<int, int, int, int>;

TEST(CellNames, ColName2Col) {
    struct Case { const char16_t* name; int strict; int want; } cases[] = {
        {u"A1", 1, 0},    {u"Z", 1, 25},    {u"AA", 1, 26},   {u"AB12", 1, 27}, {u"ab12", 1, 27},
        {u"ZX", 1, 699},  {u"ZZ", 1, 701},  {u"zz9", 0, 701}, {u"ABC", 1, -1},  {u"ABC", 0, 27},
        {u"AB$", 1, 27},  {u"1A", 1, -1},   {u"", 1, -1},     {nullptr, 1, -1}, {u"@A1", 1, -1},
        {u"A@", 1, 0},    {u"\u00e91", 1, -1},  // a non-ASCII letter is no column
    };
    for (const auto& c : cases) EXPECT_EQ(CUtilityCalc::ColName2Col(c.name, c.strict), c.want) << CString(c.name).ToUtf8();
}

TEST(CellNames, CellName2RowCol) {
    struct Case { const char16_t* name; int strict; int ok; int row, col; } cases[] = {
        {u"B7", 1, 1, 6, 1},       {u"b7", 1, 1, 6, 1},        {u"A1", 1, 1, 0, 0},
        {u"C12x", 1, 1, 11, 2},    {u"ZZ1000000", 1, 1, 999999, 701},
        {u"ABC12", 0, 1, 11, 27},  {u"ABCDE5", 0, 1, 4, 27},   {u"ABC12", 1, 0, -1, -1},
        {u"A0", 1, 0, -1, 0},      {u"A07", 1, 0, -1, 0},      {u"A", 1, 0, -1, 0},
        {u"A-1", 1, 0, -1, 0},     {u"A 1", 1, 0, -1, 0},      {u"7", 1, 0, -1, -1},
        {u"", 1, 0, -1, -1},       {nullptr, 1, 0, -1, -1},    {u"A\u00e97", 1, 0, -1, 0},
        {u"A99999999999", 1, 1, INT_MAX - 1, 0},              // the row saturates
    };
    for (const auto& c : cases) {
        CRowCol cell(42, 42);
        EXPECT_EQ(CUtilityCalc::CellName2RowCol(cell, c.name, c.strict), c.ok) << CString(c.name).ToUtf8();
        EXPECT_EQ(cell.m_nRow, c.row) << CString(c.name).ToUtf8();
        EXPECT_EQ(cell.m_nCol, c.col) << CString(c.name).ToUtf8();
    }
}

TEST(CellNames, MakingNamesHasItsOwnLimits) {
    struct Case { int row, col; int ok; const char* name; } cases[] = {
        {0, 0, 1, "A1"},       {6, 1, 1, "B7"},      {0, 25, 1, "Z1"},     {0, 26, 1, "AA1"},
        {99, 51, 1, "AZ100"},  {0, 52, 1, "BA1"},    {999999, 699, 1, "ZX1000000"},
        {1000000, 0, 0, "old"}, {0, 700, 0, "old"},  {-1, 0, 0, "old"},    {0, -1, 0, "old"},
        {INT_MIN, INT_MAX, 0, "old"},
    };
    for (const auto& c : cases) {
        CString out(u"old");
        EXPECT_EQ(CUtilityCalc::GetCellName(out, c.row, c.col), c.ok) << c.row << "," << c.col;
        EXPECT_EQ(out.ToUtf8(), c.name);
    }
    struct Col { int col; int ok; const char* name; } cols[] = {
        {0, 1, "A"}, {25, 1, "Z"}, {26, 1, "AA"}, {699, 1, "ZX"}, {700, 0, "old"}, {701, 0, "old"}, {-1, 0, "old"},
    };
    for (const auto& c : cols) {
        CString out(u"old");
        EXPECT_EQ(CUtilityCalc::GetColName(c.col, out), c.ok) << c.col;
        EXPECT_EQ(out.ToUtf8(), c.name);
    }
}

TEST(CellNames, EveryNameableCellReadsBack) {
    for (int col = 0; col <= 699; ++col)
        for (int row : {0, 8, 9, 99999, 999999}) {
            CString name;
            ASSERT_EQ(CUtilityCalc::GetCellName(name, row, col), 1);
            CRowCol cell;
            ASSERT_EQ(CUtilityCalc::CellName2RowCol(cell, name, 1), 1) << name.ToUtf8();
            ASSERT_TRUE(cell.IsEqual(CRowCol(row, col))) << name.ToUtf8();
            ASSERT_EQ(CUtilityCalc::ColName2Col(name, 1), col);
        }
}

TEST(CellNames, RowCols2CellName) {
    struct Case { CRowCols range; int at1, at2; const char* want; } cases[] = {
        {{1, 1, 2, 2}, 0, 0, "B2:C3"},
        {{1, 1, 2, 2}, 1, 1, "@B2:@C3"},
        {{1, 1, 2, 2}, 0, 1, "B2:@C3"},
        {{2, 2, 1, 1}, 0, 0, "C3:B2"},
        {{1, 1, -1, -1}, 1, 1, "@B2"},         // no second corner
        {{1, 1, 1, 700}, 0, 0, "B2"},          // an unnameable second corner is left out
        {{-1, -1, 1, 1}, 0, 0, "keep:B2"},     // the first corner's failure keeps `out`
    };
    for (const auto& c : cases) {
        CString out(u"keep");
        CUtilityCalc::RowCols2CellName(c.range, out, c.at1, c.at2);
        EXPECT_EQ(out.ToUtf8(), c.want);
    }
}

TEST(CellNames, CellName2RowCols) {
    struct Case { const char16_t* name; int ok; int at1, at2; Corners after; } cases[] = {
        {u"@B2:C3", 1, 1, 0, {1, 1, 2, 2}},
        {u"B2:@C3", 1, 0, 1, {1, 1, 2, 2}},
        {u"c3:b2", 1, 0, 0, {2, 2, 1, 1}},            // as written, not reordered
        {u"B2", 1, 0, 0, {1, 1, 8, 8}},               // only the first corner
        {u"@ZZ1", 1, 1, 0, {0, 701, 8, 8}},
        {u"B2:", 0, 0, 0, {7, 7, 8, 8}},
        {u":C3", 0, 0, 0, {7, 7, 8, 8}},
        {u":", 0, 0, 0, {7, 7, 8, 8}},
        {u"@", 0, 1, 0, {7, 7, 8, 8}},
        {u"@:@", 0, 1, 1, {7, 7, 8, 8}},
        {u"@@B2", 0, 1, 0, {7, 7, 8, 8}},
        {u"A0", 0, 0, 0, {7, 7, 8, 8}},
        {u"A1:A0", 0, 0, 0, {7, 7, 8, 8}},
        {u"ABC1", 0, 0, 0, {7, 7, 8, 8}},             // always strict
        {u"A1:B2:C3", 1, 0, 0, {0, 0, 1, 1}},         // text after the row is ignored
        {u"", 0, 0, 0, {7, 7, 8, 8}},
        {nullptr, 0, 0, 0, {7, 7, 8, 8}},
    };
    for (const auto& c : cases) {
        CRowCols range(7, 7, 8, 8);
        int at1 = 5, at2 = 5;
        EXPECT_EQ(CUtilityCalc::CellName2RowCols(range, c.name, at1, at2), c.ok) << CString(c.name).ToUtf8();
        EXPECT_EQ(at1, c.at1) << CString(c.name).ToUtf8();
        EXPECT_EQ(at2, c.at2) << CString(c.name).ToUtf8();
        EXPECT_EQ((Corners{range.m_nRow1, range.m_nCol1, range.m_nRow2, range.m_nCol2}), c.after)
            << CString(c.name).ToUtf8();
    }
}

TEST(CellNames, HugeNames) {
    const size_t n = 100000;
    CRowCol cell;
    CRowCols range;
    int at1 = 0, at2 = 0;
    const std::u16string letters(n, u'A');
    EXPECT_EQ(CUtilityCalc::ColName2Col(letters.c_str(), 1), -1);
    EXPECT_EQ(CUtilityCalc::CellName2RowCol(cell, (letters + u"1").c_str(), 0), 1);
    EXPECT_TRUE(cell.IsEqual(CRowCol(0, 26)));
    const std::u16string digits = u"B" + std::u16string(n, u'9');
    EXPECT_EQ(CUtilityCalc::CellName2RowCol(cell, digits.c_str(), 1), 1);
    EXPECT_TRUE(cell.IsEqual(CRowCol(INT_MAX - 1, 1)));
    const std::u16string colons(n, u':');
    EXPECT_EQ(CUtilityCalc::CellName2RowCols(range, colons.c_str(), at1, at2), 0);
    const std::u16string ats = std::u16string(n, u'@') + u"A1";
    EXPECT_EQ(CUtilityCalc::CellName2RowCols(range, ats.c_str(), at1, at2), 0);
    const std::u16string tail = u"A1:B2" + std::u16string(n, u'x');
    EXPECT_EQ(CUtilityCalc::CellName2RowCols(range, tail.c_str(), at1, at2), 1);
    EXPECT_TRUE(range.IsEqual(CRowCols(0, 0, 1, 1)));
}

}  // namespace
