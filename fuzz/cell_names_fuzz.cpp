// Cell names both ways.  The input is read as a name (strict and not, cell
// and range), and its first bytes as a row and a column to name.  A name
// that can be made must read back to the coordinates it was made from, and
// a name that reads strictly must read the same once written anew.
#include "fuzz_input.h"

namespace {

using U = CUtilityCalc;

constexpr int kMaxRow = 999999;  // the largest row and column a name can carry
constexpr int kMaxCol = 699;

bool Nameable(int row, int col) { return row >= 0 && row <= kMaxRow && col >= 0 && col <= kMaxCol; }

void RequireCellRoundTrip(int row, int col) {
    CString name;
    fuzzing::Require(U::GetCellName(name, row, col) == (Nameable(row, col) ? 1 : 0),
                     "GetCellName names exactly the nameable cells");
    if (!Nameable(row, col)) return;
    CRowCol cell;
    fuzzing::Require(U::CellName2RowCol(cell, name, 1) == 1, "a made name reads back");
    fuzzing::Require(cell.m_nRow == row && cell.m_nCol == col, "a made name reads back to its cell");
    CString letters;
    fuzzing::Require(U::GetColName(col, letters) == 1, "a nameable column has letters");
    fuzzing::Require(U::ColName2Col(letters, 1) == col, "column letters read back to their column");
}

void RequireRangeRoundTrip(const CRowCols& range, int at1, int at2) {
    CString name;
    U::RowCols2CellName(range, name, at1, at2);
    CRowCols back;
    int backAt1 = -1, backAt2 = -1;
    fuzzing::Require(U::CellName2RowCols(back, name, backAt1, backAt2) == 1, "a written range reads back");
    fuzzing::Require(back.m_nRow1 == range.m_nRow1 && back.m_nCol1 == range.m_nCol1 && backAt1 == at1,
                     "a written range keeps its first corner and marker");
    if (range.m_nRow2 < 0) return;
    fuzzing::Require(back.m_nRow2 == range.m_nRow2 && back.m_nCol2 == range.m_nCol2 && backAt2 == at2,
                     "a written range keeps its second corner and marker");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::InstallMessages();
    const CString name = CString::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
    for (int strict = 0; strict <= 1; ++strict) {
        const int col = U::ColName2Col(name, strict);
        fuzzing::Require(col >= -1 && col <= 701, "a column read from letters is -1..ZZ");
        CRowCol cell;
        if (U::CellName2RowCol(cell, name, strict) && strict) RequireCellRoundTrip(cell.m_nRow, cell.m_nCol);
    }
    CRowCols range;
    int at1 = 0, at2 = 0;
    if (U::CellName2RowCols(range, name, at1, at2) && Nameable(range.m_nRow1, range.m_nCol1) &&
        (range.m_nRow2 < 0 || Nameable(range.m_nRow2, range.m_nCol2)))
        RequireRangeRoundTrip(range, at1, at2);

    if (size >= 6) {
        int32_t row = 0;
        int16_t col = 0;
        std::memcpy(&row, data, sizeof row);
        std::memcpy(&col, data + 4, sizeof col);
        RequireCellRoundTrip(row % 2000000, col);
        CString letters;
        U::GetColName(col, letters);
    }
    return 0;
}
