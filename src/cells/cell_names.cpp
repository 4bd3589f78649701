// Cell names: "B7" for row 6, column 1; "B2:C3" for a range; a leading "@"
// on either cell is a marker carried beside the coordinates.
//
// Column letters are one or two letters "A".."Z" after upper-casing.  Names
// are made up to column ZX (699) and row 999999, but read up to column ZZ
// (701) and any row that fits an int; the two limits differ on purpose.
// Upper-casing and the letter test before the row follow the C library's
// locale: any letter of the locale may stand between the column letters and
// the row, so under a UTF-8 locale "A\u00e97" reads as A7, under the C locale
// as no cell.  Text after the row number is ignored ("C12x" is C12).
#include <qorcalc/api.h>
#include <qorcalc/cells.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include "support/text.h"

#include <string>

using qorcalc::detail::Shielded;
using qorcalc::detail::ShieldedInto;

namespace {

constexpr uint32_t kMaxNamedRow = 999999;
constexpr uint32_t kMaxNamedCol = 699;  // ZX
constexpr char16_t kMarker = u'@';

// Letters that may stand before the row; a fourth one leaves no row.
constexpr int kMaxLettersBeforeRow = 3;

bool IsColumnLetter(char16_t c) { return c >= u'A' && c <= u'Z'; }

// The caller has checked that `col` is nameable.
std::u16string ColumnLetters(int col) {
    if (col < 26) return {static_cast<char16_t>(u'A' + col)};
    const int rest = col - 26;
    return {static_cast<char16_t>(u'A' + rest / 26), static_cast<char16_t>(u'A' + rest % 26)};
}

// Skips a leading marker, noting it in `bAt`.
const char16_t* SkipMarker(const char16_t* text, int& bAt) {
    if (*text != kMarker) return text;
    bAt = 1;
    return text + 1;
}

}  // namespace

int CUtilityCalc::ColName2Col(const char16_t* name, int bStrict) {
    if (!name) return -1;
    int result = -1;
    for (int letters = 0; name[letters]; ++letters) {
        const char16_t c = qorcalc::support::towupper16(name[letters]);
        if (letters == 2) return bStrict && IsColumnLetter(c) ? -1 : result;
        if (!IsColumnLetter(c)) return result;
        result = c - u'A' + (letters == 0 ? 0 : (result + 1) * 26);
    }
    return result;
}

int CUtilityCalc::CellName2RowCol(CRowCol& cell, const char16_t* name, int bStrict) {
    cell.m_nRow = -1;
    cell.m_nCol = ColName2Col(name, bStrict);
    if (cell.m_nCol < 0) return 0;
    // At most three letters may stand before the row, in either reading:
    // a lenient one reads AB out of "ABC12", but "ABCD12" has no row.
    int at = 0;
    while (at < kMaxLettersBeforeRow && qorcalc::support::iswalpha16(name[at])) ++at;
    // A row starts with a digit other than "0": A0 and A07 are no cell names.
    if (name[at] >= u'1' && name[at] <= u'9') cell.m_nRow = qorcalc::support::wtoi(name + at) - 1;
    return cell.m_nRow >= 0;
}

int CUtilityCalc::GetColName(int col, CString& out) {
    return Shielded(u"CUtilityCalc::GetColName", 0, [&]() -> int {
        if (static_cast<uint32_t>(col) > kMaxNamedCol) return 0;
        out = CString(ColumnLetters(col));
        return 1;
    }, out);
}

int CUtilityCalc::GetCellName(CString& out, int row, int col) {
    return Shielded(u"CUtilityCalc::GetCellName", 0, [&]() -> int {
        if (static_cast<uint32_t>(row) > kMaxNamedRow || static_cast<uint32_t>(col) > kMaxNamedCol) return 0;
        std::u16string name = ColumnLetters(col);
        for (char c : std::to_string(row + 1)) name += static_cast<char16_t>(c);
        out = CString(std::move(name));
        return 1;
    }, out);
}

// The first cell's failure is not checked: `out` then keeps what it held.
void CUtilityCalc::RowCols2CellName(const CRowCols& range, CString& out, int bAt1, int bAt2) {
    ShieldedInto(u"CUtilityCalc::RowCols2CellName", [&] {
        GetCellName(out, range.m_nRow1, range.m_nCol1);
        if (bAt1) out.Insert(0, kMarker);
        CString second;
        if (range.m_nRow2 < 0 || !GetCellName(second, range.m_nRow2, range.m_nCol2)) return;
        if (bAt2) second.Insert(0, kMarker);
        out += u':';
        out += second;
    }, out);
}

// A single cell sets only the first corner; a range sets both corners as
// written, without ordering them.
int CUtilityCalc::CellName2RowCols(CRowCols& range, const char16_t* name, int& bAt1, int& bAt2) {
    bAt1 = bAt2 = 0;
    if (!name || !*name) return 0;
    CRowCol first, second;
    CString left, right;
    if (!CVek::GetLeftRight(name, u":", left, right, 1)) {
        if (!CellName2RowCol(first, SkipMarker(name, bAt1), 1)) return 0;
        range.m_nRow1 = first.m_nRow;
        range.m_nCol1 = first.m_nCol;
        return 1;
    }
    if (left.IsEmpty() || right.IsEmpty()) return 0;
    const char16_t* leftName = SkipMarker(left, bAt1);
    const char16_t* rightName = SkipMarker(right, bAt2);
    if (!CellName2RowCol(first, leftName, 1) || !CellName2RowCol(second, rightName, 1)) return 0;
    range.Set(first, second);
    return 1;
}
