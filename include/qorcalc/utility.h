// CUtilityCalc: the static toolbox that the engine and its hosts share.
//
// Every value in the engine is text, so this class is the engine's
// arithmetic as the user sees it: number text to double and back with
// decimal rounding, display formats, amounts in Chinese capital numerals,
// date parsing and formatting, formula-text quoting and splitting, URL
// encoding, integer and geometry helpers, and cell names.
//
// Rules that hold for every member:
//   - "." is the decimal point and "," the group separator, whatever the
//     locale;
//   - bad input records no error: it reads as far as it goes, or gives 0 /
//     an empty text;
//   - nothing here throws.  Every routine that allocates runs inside the
//     engine's guard: on exhausted memory, or when its text would pass
//     CALC_MAX_TEXT_LENGTH, a routine returning a count gives -1, one
//     returning a flag or a number gives 0, and the texts and arrays it
//     writes are left empty; the failure is recorded as the last error
//     (message 1305 or the limit's id, see qorcalc/limits.h);
//   - a null text pointer is taken as the empty text;
//   - the only state is the three switches, process-wide and unguarded: the
//     host sets them before it calculates.
#pragma once

#include <qorcalc/collections.h>
#include <qorcalc/datetime.h>
#include <qorcalc/export.h>
#include <qorcalc/geometry.h>
#include <qorcalc/string.h>

#include <cstdint>

class CBuffer;
class CMem;
class CRowCol;
class CRowCols;
class IStreamInput;
class IStreamOutput;

// Units of UnitToPixel and PixelToUnit; the screen is taken as 96 pixels per inch.
enum ENUM_SIZE_SPEC : int { SIZE_PIXEL = 0, SIZE_MM = 1, SIZE_CM = 2, SIZE_INCH = 3 };

class QORCALC_API CUtilityCalc {
public:
    // --- Switches ------------------------------------------------------------
    static int Calc_IsChineseEnabled();
    static void Calc_EnableChinese(int enable);
    static int Calc_IsComplexEnabled();
    static void Calc_EnableComplex(int enable);
    // Stores the decimals to which comparisons round (-1: none); returns the previous value.
    static int Calc_SetCompareCalcDeclen(int decimals);
    static int Calc_GetCompareCalcDeclen();

    // --- Numbers and numeric text ------------------------------------------
    // Limits: Str2Double reads at most 63 characters of number (overflow gives
    // an infinity, underflow 0); RoundStr pads to at most 4096 decimals.
    // Double2Str writes NaN and the infinities as the empty text.  Double2Int
    // and Double2Int64 give 0 for NaN and saturate at their type's limits for
    // values beyond its range.  LimitString never splits a surrogate pair, and
    // counts a pair as one wide character.
    static double Str2Double(const char16_t* text);
    static int Str2Int(const char16_t* text);
    static int64_t Str2Int64(const char16_t* text);
    static int Double2Int(double value);
    static int64_t Double2Int64(double value);
    static void Double2Str(CString& out, double value, int decimals);
    static void Int64Str(CString& out, int64_t value);
    static void UInt64Str(CString& out, int64_t value);
    static void RoundStr(CString& number, int decimals);
    static int ResetDoubleString(CString& number);
    static int GetDecLen(const CString& number);
    static int IsString0To9(const char16_t* text);
    static int IsPureNumber(const char16_t* text, int allowComma);
    static int IsConvertAbleNumberString(const char16_t* text, int allowComma);
    static int IsValidNumber(const CString& value, const CString& minimum, const CString& maximum);
    static int LimitString(CString& text, int limit);

    // --- Number display formats ---------------------------------------------
    static void SepNumber(CString& number);
    static void ConvertToDispFormat(CString& number, uint8_t format, int round, int keepLeadingSpaces);
    static void ConvertToDispFormat(double value, CString& out, uint8_t format);
    static void ConvertToDispFormat(double value, CString& out, const CString& pattern);
    static void FormatNum(CString& value, const CString& pattern);

    // --- Amounts in Chinese capital numerals --------------------------------
    // 1 with the words in `out`; 0, `out` left empty, for an amount of more
    // than 13 integer digits or one that is no number.  `amount` is worked on.
    static int RMB(CString& out, CString& amount, int exact);

    // --- Dates ---------------------------------------------------------------
    static int String2Time(const char16_t* text, COleDateTime* out, int dateOnly);
    static int CompareDateTime(const COleDateTime& a, const COleDateTime& b, int dateOnly);
    static int IsValidDate(CString& value, const CString& minimum, const CString& maximum);
    static void FormatDate(const CString& dateText, CString& pattern);
    static void MyFormatDateTime(CString& out, const COleDateTime& value, const char16_t* pattern);
    static const char16_t* GetEnglishMonth(int index);
    static const char16_t* GetEnglishDay(int index);

    // --- Formula text --------------------------------------------------------
    static void Attach_Quotes(CString& text);
    static char16_t Dettach_Quotes(CString& text, uint8_t* kind);
    static int GetLeftPara(CString& line, CString& text, int remove, int trim);
    static int GetLeftPara(CString& line, CBuffer& text, int remove, int trim);
    static int GetRightPara(CString& line, CString& text, int remove, int trim);
    static int GetRightPara(CString& line, CMem& text, int remove, int trim);
    static int IsValidFuncName(const char16_t* name, int allowWide, int& badPos);
    static int IsValidVarName(const char16_t* name, int allowWide, int allowDot, int allowHash, int& badPos);
    static int ParseFunction(const char16_t* text, CString& name, CStringArray& args);
    static void SafeDelete(CString& text, int position, int count);
    static int StrChrs(const CString& text, char16_t ch);
    static int IsMatchStr(const CString& text, const CString& pattern, char16_t mode);
    // Adds dimension texts ("10x20", "3x4") element by element into `out`;
    // the element count, or -1 (nothing written) when the text would pass
    // CALC_MAX_TEXT_LENGTH.
    static int SumDim(CString& out, const CStringArray& args);

    // --- URL encoding --------------------------------------------------------
    static int EncodeURI(CString& text, int component);
    static int EncodeURL(CString& url, int component);
    static void EncodeURI_Chinese(CString& text);
    static void DecodeURI(CString& text);
    static uint8_t DecodeHexChars(const char16_t* twoChars);
    static int ParseURLPara(const CString& query, CStringArray& names, CStringArray& values, int keepBare);
    static int ParseURL(const char16_t* url, CString& base, CStringArray& names, CStringArray& values,
                        int keepBare);
    static void GenURL(CString& out, const char16_t* base, const CStringArray& names,
                       const CStringArray& values, int keepEmpty);

    // --- Integer math, geometry and array streams ----------------------------
    static int GetGCD(int a, int b);
    static void DevideByGCD(int& a, int& b);
    static void DevideByGCD_MaxValue(int& a, int& b, int maxValue);
    static void RoundDevideBy10(long& value);
    static void ScaleLong_Position(long& value, int percent);
    static void ScaleLong_Negative(long& value, int percent);
    static void ScaleRect_Positive(CRect& rect, int percent);
    static void ScaleRect_Negative(CRect& rect, int percent);
    static void ScaleSize_Positive(CSize& size, int percent);
    static void ScaleSize_Negative(CSize& size, int percent);
    static int UnitToPixel(ENUM_SIZE_SPEC unit, double value);
    static double PixelToUnit(ENUM_SIZE_SPEC unit, int pixels);
    static double PointsDistance(const POINT* a, const POINT* b);
    static int GetRadius(const RECT* rect);
    static double GetAngle(int x, int y);
    static void Rotate(POINT* point, double degrees);
    static void ExtentLine(CPoint& a, CPoint& b, int length, uint8_t ends);
    // An array stream is the element count (8 bits when countWidth is 1, 16
    // when it is 2, else 32) and then each element in 32 bits.
    static void SerializeUIntArray(IStreamOutput* out, const CUIntArray& items, int countWidth);
    // 1 when the count and every element were read.  0 when the count cannot
    // be read (the array is left as it was) or the stream ends early: the
    // array then keeps its new size, the count read, holding the elements
    // read so far and zeros after them.  A count above 2^20 elements that the
    // stream cannot show it holds is the exception: then the array holds only
    // the elements that arrived.
    static int DeserializeUIntArray(IStreamInput* in, CUIntArray& items, int countWidth);
    // A pseudo-random whole number 0..99 from the C library's generator.
    static int C0_99();
    static void ExchangeInt(int& a, int& b);

    // --- Cell names ----------------------------------------------------------
    static int ColName2Col(const char16_t* name, int bStrict);
    // 1 when column letters and a row were read.  The row follows at most
    // three letters in either reading ("ABC12" is AB12 when not strict; a
    // fourth letter leaves no row) and starts with a digit other than "0".
    static int CellName2RowCol(CRowCol& cell, const char16_t* name, int bStrict);
    static int GetColName(int col, CString& out);
    static int GetCellName(CString& out, int row, int col);
    static void RowCols2CellName(const CRowCols& range, CString& out, int bAt1, int bAt2);
    static int CellName2RowCols(CRowCols& range, const char16_t* name, int& bAt1, int& bAt2);
};
