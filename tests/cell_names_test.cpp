// Cell names: reading and writing "B7" and "@B2:C3", the two column limits,
// and names that are empty, huge or malformed.
#include <qorcalc/cells.h>
#include <qorcalc/utility.h>

#include <gtest/gtest.h>

#include "text_helpers.h"

#include <climits>
#include <clocale>
#include <string>

namespace {

using C = CUtilityCalc;

TEST(CellNames, Reading) {
    struct Col { const char16_t* name; int strict, want; } cols[] = {
        {u"A1", 1, 0},   {u"Z", 1, 25},   {u"AA", 1, 26},  {u"ab12", 1, 27}, {u"ZX", 1, 699}, {u"ZZ", 1, 701},
        {u"zz9", 0, 701}, {u"ABC", 1, -1}, {u"ABC", 0, 27}, {u"AB$", 1, 27},  {u"1A", 1, -1},  {u"", 1, -1},
        {nullptr, 1, -1}, {u"@A1", 1, -1}, {u"A@", 1, 0},   {u"\u00e91", 1, -1},  // a non-ASCII letter is no column
    };
    for (const auto& c : cols) EXPECT_EQ(C::ColName2Col(c.name, c.strict), c.want) << U8(c.name);

    struct Cell { const char16_t* name; int strict, ok, row, col; } cells[] = {
        {u"B7", 1, 1, 6, 1},     {u"A1", 1, 1, 0, 0},      {u"C12x", 1, 1, 11, 2},  {u"ZZ1000000", 1, 1, 999999, 701},
        {u"ABC12", 0, 1, 11, 27}, {u"ABC12", 1, 0, -1, -1}, {u"A0", 1, 0, -1, 0},  {u"A07", 1, 0, -1, 0},
        // Three letters at most before the row, in a lenient reading too.
        {u"ABCD5", 0, 0, -1, 27}, {u"ABCDE5", 0, 0, -1, 27},
        {u"A", 1, 0, -1, 0},      {u"A-1", 1, 0, -1, 0},    {u"A 1", 1, 0, -1, 0},
        {u"7", 1, 0, -1, -1},    {u"", 1, 0, -1, -1},      {nullptr, 1, 0, -1, -1}, {u"A\u00e97", 1, 0, -1, 0},
        {u"A99999999999", 1, 1, INT_MAX - 1, 0},  // the row saturates
    };
    for (const auto& c : cells) {
        CRowCol cell(42, 42);
        EXPECT_EQ(C::CellName2RowCol(cell, c.name, c.strict), c.ok) << U8(c.name);
        EXPECT_EQ(cell.m_nRow, c.row) << U8(c.name);
        EXPECT_EQ(cell.m_nCol, c.col) << U8(c.name);
    }
}

// Under a UTF-8 locale the C library's letters and case mapping count:
// a letter of any script may stand before the row (three at most, in either
// reading), and the dotless i upper-cases to column I.
TEST(CellNames, ReadingFollowsTheLocale) {
    const std::string saved = std::setlocale(LC_ALL, nullptr);
    if (!std::setlocale(LC_ALL, "C.UTF-8")) GTEST_SKIP() << "no C.UTF-8 locale";
    struct Cell { const char16_t* name; int strict, ok, row, col; } cells[] = {
        {u"A\u00e97", 1, 1, 6, 0},       {u"AB\u00e912", 1, 1, 11, 27}, {u"AB\u00e9\u00e912", 1, 0, -1, 27},
        {u"AB\u00e9\u00e912", 0, 0, -1, 27}, {u"AB\u00e912", 0, 1, 11, 27},
        {u"\u01315", 1, 1, 4, 8},           {u"\u00e97", 1, 0, -1, -1},
    };
    for (const auto& c : cells) {
        CRowCol cell(42, 42);
        EXPECT_EQ(C::CellName2RowCol(cell, c.name, c.strict), c.ok) << U8(c.name);
        EXPECT_EQ(cell.m_nRow, c.row) << U8(c.name);
        EXPECT_EQ(cell.m_nCol, c.col) << U8(c.name);
    }
    std::setlocale(LC_ALL, saved.c_str());
}

TEST(CellNames, MakingNamesHasItsOwnLimits) {
    struct Case { int row, col, ok; const char* name; } cases[] = {
        {0, 0, 1, "A1"},   {6, 1, 1, "B7"},       {0, 25, 1, "Z1"},    {0, 26, 1, "AA1"}, {99, 51, 1, "AZ100"},
        {0, 52, 1, "BA1"}, {999999, 699, 1, "ZX1000000"},  {1000000, 0, 0, "old"},      {0, 700, 0, "old"},
        {-1, 0, 0, "old"}, {0, -1, 0, "old"},     {INT_MIN, INT_MAX, 0, "old"},
    };
    for (const auto& c : cases) {
        CString out(u"old");
        EXPECT_EQ(C::GetCellName(out, c.row, c.col), c.ok) << c.row << "," << c.col;
        EXPECT_EQ(U8(out), c.name);
    }
    struct Col { int col, ok; const char* name; } cols[] = {
        {0, 1, "A"}, {26, 1, "AA"}, {699, 1, "ZX"}, {700, 0, "old"}, {701, 0, "old"}, {-1, 0, "old"},
    };
    for (const auto& c : cols) {
        CString out(u"old");
        EXPECT_EQ(C::GetColName(c.col, out), c.ok) << c.col;
        EXPECT_EQ(U8(out), c.name);
    }
    for (int col = 0; col <= 699; ++col)  // every nameable cell reads back
        for (int row : {0, 8, 9, 99999, 999999}) {
            CString name;
            ASSERT_EQ(C::GetCellName(name, row, col), 1);
            CRowCol cell;
            ASSERT_EQ(C::CellName2RowCol(cell, name, 1), 1) << U8(name);
            ASSERT_TRUE(cell.IsEqual(CRowCol(row, col))) << U8(name);
            ASSERT_EQ(C::ColName2Col(name, 1), col);
        }
}

TEST(CellNames, Ranges) {
    struct Name { CRowCols range; int at1, at2; const char* want; } names[] = {
        {{1, 1, 2, 2}, 0, 0, "B2:C3"},     {{1, 1, 2, 2}, 1, 1, "@B2:@C3"}, {{1, 1, 2, 2}, 0, 1, "B2:@C3"},
        {{2, 2, 1, 1}, 0, 0, "C3:B2"},     {{1, 1, -1, -1}, 1, 1, "@B2"},   // no second corner
        {{1, 1, 1, 700}, 0, 0, "B2"},      // an unnameable second corner is left out
        {{-1, -1, 1, 1}, 0, 0, "keep:B2"}, // the first corner's failure keeps `out`
    };
    for (const auto& c : names) {
        CString out(u"keep");
        C::RowCols2CellName(c.range, out, c.at1, c.at2);
        EXPECT_EQ(U8(out), c.want);
    }
    const Corners untouched{7, 7, 8, 8};
    struct Case { const char16_t* name; int ok, at1, at2; Corners after; } cases[] = {
        {u"@B2:C3", 1, 1, 0, {1, 1, 2, 2}}, {u"B2:@C3", 1, 0, 1, {1, 1, 2, 2}},
        {u"c3:b2", 1, 0, 0, {2, 2, 1, 1}},  // as written, not reordered
        {u"B2", 1, 0, 0, {1, 1, 8, 8}},     {u"@ZZ1", 1, 1, 0, {0, 701, 8, 8}},  // only the first corner
        {u"B2:", 0, 0, 0, untouched}, {u":C3", 0, 0, 0, untouched}, {u":", 0, 0, 0, untouched},
        {u"@", 0, 1, 0, untouched},   {u"@:@", 0, 1, 1, untouched}, {u"@@B2", 0, 1, 0, untouched},
        {u"A0", 0, 0, 0, untouched},  {u"A1:A0", 0, 0, 0, untouched}, {u"ABC1", 0, 0, 0, untouched},  // always strict
        {u"A1:B2:C3", 1, 0, 0, {0, 0, 1, 1}},  // text after the row is ignored
        {u"", 0, 0, 0, untouched},    {nullptr, 0, 0, 0, untouched},
    };
    for (const auto& c : cases) {
        CRowCols range = Range(untouched);
        int at1 = 5, at2 = 5;
        EXPECT_EQ(C::CellName2RowCols(range, c.name, at1, at2), c.ok) << U8(c.name);
        EXPECT_EQ(at1, c.at1) << U8(c.name);
        EXPECT_EQ(at2, c.at2) << U8(c.name);
        EXPECT_EQ(Of(range), c.after) << U8(c.name);
    }
}

TEST(CellNames, HugeNames) {
    const int n = 100000;
    CRowCol cell;
    CRowCols range;
    int at1 = 0, at2 = 0;
    const CString letters(u'A', n);
    EXPECT_EQ(C::ColName2Col(letters, 1), -1);
    EXPECT_EQ(C::CellName2RowCol(cell, letters + u"1", 0), 0);  // a fourth letter: no row
    EXPECT_TRUE(cell.IsEqual(CRowCol(-1, 26)));
    EXPECT_EQ(C::CellName2RowCol(cell, u"B" + CString(u'9', n), 1), 1);
    EXPECT_TRUE(cell.IsEqual(CRowCol(INT_MAX - 1, 1)));
    EXPECT_EQ(C::CellName2RowCols(range, CString(u':', n), at1, at2), 0);
    EXPECT_EQ(C::CellName2RowCols(range, CString(u'@', n) + u"A1", at1, at2), 0);
    EXPECT_EQ(C::CellName2RowCols(range, u"A1:B2" + CString(u'x', n), at1, at2), 1);
    EXPECT_TRUE(range.IsEqual(CRowCols(0, 0, 1, 1)));
}

}  // namespace
