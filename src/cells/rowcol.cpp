// CRowCol and CRowCols: cell and range coordinates, their packed word and
// their updates for inserted and deleted rows and columns.
#include <qorcalc/cells.h>

#include <qorcalc/streams.h>
#include <qorcalc/utility.h>

#include <algorithm>
#include <climits>
#include <cstdint>

namespace {

constexpr int kRowBits = 20;
constexpr uint32_t kRowMask = (1u << kRowBits) - 1;
constexpr uint32_t kMaxPackedRow = kRowMask - 1;        // 1048574; all ones is -1
constexpr uint32_t kMaxPackedCol = (1u << 12) - 2;      // 4094; all ones is -1

// Coordinates are computed in 64 bits and pinned to the int range, so no
// sum of two ints can overflow.
int Saturate(int64_t v) { return static_cast<int>(std::clamp<int64_t>(v, INT_MIN, INT_MAX)); }
int SatAdd(int a, int64_t b) { return Saturate(a + b); }

// Raises values below -1 to -1 in place, then packs; higher bits of a value
// past the packable range are dropped.
uint32_t Pack(int& row, int& col) {
    row = std::max(row, -1);
    col = std::max(col, -1);
    return (static_cast<uint32_t>(col) << kRowBits) | (static_cast<uint32_t>(row) & kRowMask);
}

void Unpack(uint32_t word, int& row, int& col) {
    const uint32_t r = word & kRowMask, c = word >> kRowBits;
    row = r > kMaxPackedRow ? -1 : static_cast<int>(r);
    col = c > kMaxPackedCol ? -1 : static_cast<int>(c);
}

// One coordinate of a cell when lines are inserted or deleted before it.
bool LineEditFails(int at, int first, int count) { return at < 0 || first < 0 || count < 1 || first > at; }

int InsertLines(int& at, int first, int count) {
    if (LineEditFails(at, first, count)) return 0;
    at = SatAdd(at, count);
    return 1;
}

int DeleteLines(int& at, int first, int count) {
    if (LineEditFails(at, first, count)) return 0;
    at = at >= static_cast<int64_t>(first) + count ? at - count : -1;
    return 1;
}

// One axis of a range, `lo` the first corner and `hi` the second: the range
// grows by `count` when the insert is at or before its last line, and moves
// with it when the insert is at or before its first.
int InsertRangeLines(int& lo, int& hi, int otherLo, int first, int count) {
    if (lo < 0 || otherLo < 0 || first < 0 || count < 1 || first > hi) return 0;
    if (first <= lo) lo = SatAdd(lo, count);
    hi = SatAdd(hi, count);
    return 1;
}

// Deleting lines first..first+count-1 one at a time: each step fails when
// `first` is past `hi`, moves `lo` up while `first` is before it, always
// moves `hi` up, and ends when `hi` drops below `lo`.  Here the steps are
// taken in bulk.  True when the range lost its last line; nothing is done
// when `lo`, the other axis's first corner or `first` is negative.
bool RangeLosesAllLines(int& lo, int& hi, int otherLo, int first, int count) {
    if (lo < 0 || otherLo < 0 || first < 0 || count < 1 || first > hi) return false;
    if (hi < lo) return true;  // a reversed range: the first step leaves hi below lo
    int64_t left = count;
    if (first < lo) {  // lines before the range move it up, keeping its height
        const int64_t shift = std::min<int64_t>(left, static_cast<int64_t>(lo) - first);
        lo = static_cast<int>(lo - shift);
        hi = static_cast<int>(hi - shift);
        left -= shift;
        if (left == 0) return false;
    }
    const int64_t inside = static_cast<int64_t>(hi) - first + 1;  // lines from `first` to `hi`
    if (left < inside) {
        hi = static_cast<int>(hi - left);
        return false;
    }
    hi = first - 1;
    return first == lo;
}

}  // namespace

CRowCol::~CRowCol() = default;

int CRowCol::CompareTo(const CRowCol& other) const {
    if (m_nRow != other.m_nRow) return m_nRow < other.m_nRow ? -1 : 1;
    if (m_nCol != other.m_nCol) return m_nCol < other.m_nCol ? -1 : 1;
    return 0;
}

uint32_t CRowCol::GetDWord() { return Pack(m_nRow, m_nCol); }
void CRowCol::SetDWord(uint32_t word) { Unpack(word, m_nRow, m_nCol); }

int CRowCol::InsertRows(int first, int count) { return InsertLines(m_nRow, first, count); }
int CRowCol::InsertCols(int first, int count) { return InsertLines(m_nCol, first, count); }
int CRowCol::DeleteRows(int first, int count) { return DeleteLines(m_nRow, first, count); }
int CRowCol::DeleteCols(int first, int count) { return DeleteLines(m_nCol, first, count); }

int CRowCol::SerializeRowCol(IStreamOutput* out) {
    const uint32_t word = GetDWord();
    return out && out->Write32(word, 1) ? 1 : 0;
}

int CRowCol::DeserializeRowCol(IStreamInput* in) {
    Set(0, 0);
    uint32_t word = 0;
    if (!in || !in->Read32(word, 1)) return 0;
    SetDWord(word);
    return 1;
}

CRowCols::CRowCols(uint32_t word1, uint32_t word2) {
    Unpack(word1, m_nRow1, m_nCol1);
    Unpack(word2, m_nRow2, m_nCol2);
}

CRowCols::~CRowCols() = default;

void CRowCols::Set(int row1, int col1, int row2, int col2) {
    m_nRow1 = row1;
    m_nCol1 = col1;
    m_nRow2 = row2;
    m_nCol2 = col2;
}

void CRowCols::Set(const CRowCol& first, const CRowCol& second) {
    Set(first.m_nRow, first.m_nCol, second.m_nRow, second.m_nCol);
}

void CRowCols::Get(int& row1, int& col1, int& row2, int& col2) const {
    row1 = m_nRow1;
    col1 = m_nCol1;
    row2 = m_nRow2;
    col2 = m_nCol2;
}

void CRowCols::Get(CRowCol& first, CRowCol& second) const {
    GetTopLeft(first);
    GetBottomRight(second);
}

uint32_t CRowCols::GetDWord() { return Pack(m_nRow1, m_nCol1); }
uint32_t CRowCols::GetDWord2() { return Pack(m_nRow2, m_nCol2); }

int CRowCols::GetRows() const {
    if (m_nRow1 < 0 || m_nCol1 < 0) return 0;
    return Saturate(static_cast<int64_t>(m_nRow2) - m_nRow1 + 1);
}

int CRowCols::GetCols() const {
    if (m_nRow1 < 0 || m_nCol1 < 0) return 0;
    return Saturate(static_cast<int64_t>(m_nCol2) - m_nCol1 + 1);
}

int CRowCols::IsEqual(const CRowCols& other) const {
    return m_nRow1 == other.m_nRow1 && m_nCol1 == other.m_nCol1 && m_nRow2 == other.m_nRow2 &&
           m_nCol2 == other.m_nCol2;
}

int CRowCols::IsInclude(const CRowCols& other, int bWhole) const {
    if (m_nRow1 < 0 || m_nCol1 < 0 || other.m_nRow1 < 0 || other.m_nCol1 < 0) return 0;
    if (bWhole)
        return other.m_nRow1 >= m_nRow1 && other.m_nRow2 <= m_nRow2 && other.m_nCol1 >= m_nCol1 &&
               other.m_nCol2 <= m_nCol2;
    return other.m_nRow1 <= m_nRow2 && other.m_nRow2 >= m_nRow1 && other.m_nCol1 <= m_nCol2 &&
           other.m_nCol2 >= m_nCol1;
}

int CRowCols::IsIntersect(const CRowCols& other) const {
    return std::max(m_nRow1, other.m_nRow1) <= std::min(m_nRow2, other.m_nRow2) &&
           std::max(m_nCol1, other.m_nCol1) <= std::min(m_nCol2, other.m_nCol2);
}

void CRowCols::Offset(int dRow, int dCol) {
    m_nRow1 = SatAdd(m_nRow1, dRow);
    m_nCol1 = SatAdd(m_nCol1, dCol);
    m_nRow2 = SatAdd(m_nRow2, dRow);
    m_nCol2 = SatAdd(m_nCol2, dCol);
}

void CRowCols::InflateRect(int a, int b, int c, int d) {
    m_nRow1 = std::max(SatAdd(m_nRow1, -static_cast<int64_t>(a)), 0);
    m_nCol1 = std::max(SatAdd(m_nCol1, -static_cast<int64_t>(b)), 0);
    m_nRow2 = SatAdd(m_nRow2, c);
    m_nCol2 = SatAdd(m_nCol2, d);
}

void CRowCols::Combine(const CRowCols& other) {
    if (other.m_nRow1 < 0 || other.m_nCol1 < 0) return;
    m_nRow1 = std::min(m_nRow1, other.m_nRow1);
    m_nCol1 = std::min(m_nCol1, other.m_nCol1);
    m_nRow2 = std::max(m_nRow2, other.m_nRow2);
    m_nCol2 = std::max(m_nCol2, other.m_nCol2);
}

void CRowCols::Combine(const CRowCol& cell) {
    if (!cell.IsEmpty()) Combine(CRowCols(cell, cell));
}

void CRowCols::Normarize() {
    if (m_nRow2 < m_nRow1) CUtilityCalc::ExchangeInt(m_nRow1, m_nRow2);
    if (m_nCol2 < m_nCol1) CUtilityCalc::ExchangeInt(m_nCol1, m_nCol2);
}

ENUM_POS CRowCols::AtCorner(const CRowCol& cell) const {
    const int row = cell.m_nRow, col = cell.m_nCol;
    if (row == m_nRow1 && col == m_nCol1) return POS_TOPLEFT;
    if (row == m_nRow1 && col == m_nCol2) return POS_TOPRIGHT;
    if (row == m_nRow2 && col == m_nCol1) return POS_BOTTOMLEFT;
    if (row == m_nRow2 && col == m_nCol2) return POS_BOTTOMRIGHT;
    return POS_NONE;
}

int CRowCols::InsertRows(int first, int count) { return InsertRangeLines(m_nRow1, m_nRow2, m_nCol1, first, count); }
int CRowCols::InsertCols(int first, int count) { return InsertRangeLines(m_nCol1, m_nCol2, m_nRow1, first, count); }

int CRowCols::DeleteRows(int first, int count) {
    const bool gone = RangeLosesAllLines(m_nRow1, m_nRow2, m_nCol1, first, count);
    if (gone) Empty();
    return gone;
}

int CRowCols::DeleteCols(int first, int count) {
    const bool gone = RangeLosesAllLines(m_nCol1, m_nCol2, m_nRow1, first, count);
    if (gone) Empty();
    return gone;
}

int CRowCols::GetIntersect(CRowCols& out, const CRowCols& a, const CRowCols& b) {
    const CRowCols overlap(std::max(a.m_nRow1, b.m_nRow1), std::max(a.m_nCol1, b.m_nCol1),
                           std::min(a.m_nRow2, b.m_nRow2), std::min(a.m_nCol2, b.m_nCol2));
    if (overlap.m_nRow1 <= overlap.m_nRow2 && overlap.m_nCol1 <= overlap.m_nCol2) {
        out = overlap;
        return 1;
    }
    out.Empty();
    return 0;
}

int CRowCols::SerializeRowCols(IStreamOutput* out) {
    const uint32_t first = GetDWord(), second = GetDWord2();
    return out && out->Write32(first, 1) && out->Write32(second, 1) ? 1 : 0;
}

int CRowCols::DeserializeRowCols(IStreamInput* in) {
    uint32_t first = 0, second = 0;
    if (!in || !in->Read32(first, 1) || !in->Read32(second, 1)) return 0;
    *this = CRowCols(first, second);
    return 1;
}
