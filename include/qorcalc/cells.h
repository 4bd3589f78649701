// Cell coordinates: CRowCol, one cell of the host's sheet, and CRowCols, a
// rectangular range given by two corners.  Both follow the host's row and
// column inserts and deletes, and store themselves packed into 32-bit words.
//
// Invariants and conventions:
//   - rows and columns are zero-based 32-bit signed values; -1 means empty;
//   - no setter checks or orders its arguments; the first corner of a range
//     is meant to be the top left, and only Normarize makes it so;
//   - arithmetic saturates: Offset, InflateRect and the inserts never
//     overflow, a coordinate pushed past INT_MAX or INT_MIN stays there;
//   - the packed word holds the row in bits 0..19 and the column in bits
//     20..31.  Packable rows are 0..1048574 and columns 0..4094; all ones in
//     a field means -1.  Packing first raises a value below -1 to -1 in the
//     object itself (hence the non-const getters); a value above the packable
//     range keeps only its low bits, so it does not come back as it went in.
#pragma once

#include <qorcalc/export.h>

#include <cstdint>

class IStreamInput;
class IStreamOutput;

// Where a cell lies on a range's corners.  The corners are tested in this
// order, so in a one-cell range the answer is POS_TOPLEFT.
enum ENUM_POS {
    POS_NONE = -1,
    POS_TOPLEFT = 16,      // first-corner row, first-corner column
    POS_TOPRIGHT = 32,     // first-corner row, second-corner column
    POS_BOTTOMLEFT = 64,   // second-corner row, first-corner column
    POS_BOTTOMRIGHT = 128  // second-corner row, second-corner column
};

class QORCALC_API CRowCol {
public:
    CRowCol() = default;
    CRowCol(int row, int col) : m_nRow(row), m_nCol(col) {}
    CRowCol(const CRowCol& other) = default;
    explicit CRowCol(uint32_t word) { SetDWord(word); }
    virtual ~CRowCol();
    CRowCol& operator=(const CRowCol& other) = default;

    void Empty() { m_nRow = m_nCol = -1; }
    void Set(int row, int col) { m_nRow = row, m_nCol = col; }
    void Set(const CRowCol& other) { *this = other; }
    // True when the row or the column is negative.
    int IsEmpty() const { return m_nRow < 0 || m_nCol < 0; }
    int IsEqual(const CRowCol& other) const { return m_nRow == other.m_nRow && m_nCol == other.m_nCol; }
    // -1, 0 or 1, by row first and column second.
    int CompareTo(const CRowCol& other) const;

    uint32_t GetDWord();
    void SetDWord(uint32_t word);

    // Insert: 0 and unchanged when the row is negative, `first` is negative,
    // `count` is below 1 or `first` is past the row; else the row moves down
    // by `count` (inserting at the cell's own row moves it) and the result is 1.
    int InsertRows(int first, int count);
    int InsertCols(int first, int count);
    // Delete: the same failures; else a row at or past first + count moves
    // up by `count`, and a deleted row becomes -1 (the column stays).  The
    // result is 1 whether or not the cell was deleted.
    int DeleteRows(int first, int count);
    int DeleteCols(int first, int count);

    // One packed word.  Reading first sets the cell to row 0, column 0 and
    // leaves it so when the stream fails (result 0).
    int SerializeRowCol(IStreamOutput* out);
    int DeserializeRowCol(IStreamInput* in);

    int m_nRow = -1;
    int m_nCol = -1;
};

class QORCALC_API CRowCols {
public:
    CRowCols() = default;
    CRowCols(int row1, int col1, int row2, int col2) { Set(row1, col1, row2, col2); }
    CRowCols(const CRowCols& other) = default;
    CRowCols(const CRowCol& first, const CRowCol& second) { Set(first, second); }
    CRowCols(uint32_t word1, uint32_t word2);
    virtual ~CRowCols();
    CRowCols& operator=(const CRowCols& other) = default;

    void Empty() { m_nRow1 = m_nCol1 = m_nRow2 = m_nCol2 = -1; }
    void Set(int row1, int col1, int row2, int col2);
    void Set(const CRowCols& other) { *this = other; }
    void Set(const CRowCol& first, const CRowCol& second);
    void Get(int& row1, int& col1, int& row2, int& col2) const;
    void Get(CRowCol& first, CRowCol& second) const;
    void GetTopLeft(CRowCol& cell) const { cell.Set(m_nRow1, m_nCol1); }
    void GetBottomRight(CRowCol& cell) const { cell.Set(m_nRow2, m_nCol2); }

    // The packed first and second corner (see the top of this header).
    uint32_t GetDWord();
    uint32_t GetDWord2();

    // 0 when a first-corner value is negative, else second - first + 1
    // (not checked for order; saturated to the int range).
    int GetRows() const;
    int GetCols() const;

    int IsEqual(const CRowCols& other) const;
    int IsOneCell() const { return m_nRow1 == m_nRow2 && m_nCol1 == m_nCol2; }
    int IsInclude(int row, int col) const { return IsIncludeRow(row) && IsIncludeCol(col); }
    int IsInclude(const CRowCol& cell) const { return IsInclude(cell.m_nRow, cell.m_nCol); }
    // 0 when a first-corner value of either range is negative; else with
    // `bWhole` whether `other` lies wholly inside, without it whether the
    // two overlap.
    int IsInclude(const CRowCols& other, int bWhole) const;
    int IsIncludeRow(int row) const { return m_nRow1 <= row && row <= m_nRow2; }
    int IsIncludeCol(int col) const { return m_nCol1 <= col && col <= m_nCol2; }
    // Whether the larger first row and column are at most the smaller second
    // row and column; no emptiness test.
    int IsIntersect(const CRowCols& other) const;

    // Adds to both corners.
    void Offset(int dRow, int dCol);
    // Moves the first corner up by `a` rows and left by `b` columns (not
    // below 0), the second down by `c` and right by `d` (unlimited).
    void InflateRect(int a, int b, int c, int d);
    // Grows to take in `other`, unless its first corner is negative.  An
    // empty range that is combined keeps -1 in its first corner.
    void Combine(const CRowCols& other);
    // Grows to take in `cell`, unless it is empty.
    void Combine(const CRowCol& cell);
    // Orders each corner pair so that the first corner is the top left.
    void Normarize();
    ENUM_POS AtCorner(const CRowCol& cell) const;

    // Insert: 0 and unchanged when a first-corner value or `first` is
    // negative, `count` is below 1 or `first` is past the second-corner row;
    // else the second corner moves by `count`, the first only when `first`
    // is at or before it, and the result is 1.
    int InsertRows(int first, int count);
    int InsertCols(int first, int count);
    // Delete removes the rows one at a time (in closed form, so a huge count
    // costs nothing): rows before the range move it up, rows inside shrink
    // it.  The result is 1 only when the range lost its last row, in which
    // case it is set to all -1; it is 0 when the range survives, when `first`
    // lies past it and when a first-corner value or `first` is negative.
    // (The cell's delete reports success instead; both meanings are kept.)
    int DeleteRows(int first, int count);
    int DeleteCols(int first, int count);

    // The overlap of `a` and `b` into `out` (which may be `a` or `b`) and 1;
    // when they do not overlap `out` is all -1 and the result 0.
    static int GetIntersect(CRowCols& out, const CRowCols& a, const CRowCols& b);

    // Two packed words, the first corner then the second.  Reading changes
    // nothing unless both words are read.
    int SerializeRowCols(IStreamOutput* out);
    int DeserializeRowCols(IStreamInput* in);

    int m_nRow1 = -1;
    int m_nCol1 = -1;
    int m_nRow2 = -1;
    int m_nCol2 = -1;
};
