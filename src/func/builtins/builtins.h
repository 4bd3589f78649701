// The built-in functions.  Every one has the same shape: it reads the
// argument texts of the call record (already evaluated and unquoted), writes
// the record's result, and returns a status:
//   1      success, the result text is the value;
//   0      failure, in the first place a wrong argument count (message 1003);
//   -1     a bad argument value: not a number, out of domain (message 1004);
//   other  failure with a text of the function's own, left in the result.
// The invocation routine of the function manager turns failures into the
// last error and quotes results by the function's return kind.
#pragma once

class CFuncPara;

namespace qorcalc::builtins {

using BuiltinFn = int (*)(CFuncPara* para, int argc);

// Logic and mathematics (logic_math.cpp).
int If(CFuncPara* para, int argc);
int Js(CFuncPara* para, int argc);
int Abs(CFuncPara* para, int argc);
int Sum(CFuncPara* para, int argc);
int Average(CFuncPara* para, int argc);
int Max(CFuncPara* para, int argc);
int Min(CFuncPara* para, int argc);
int Ceil(CFuncPara* para, int argc);
int Floor(CFuncPara* para, int argc);
int Exp(CFuncPara* para, int argc);
int Log(CFuncPara* para, int argc);
int Log10(CFuncPara* para, int argc);
int Sqrt(CFuncPara* para, int argc);
int Pow(CFuncPara* para, int argc);
int Mod(CFuncPara* para, int argc);
int Int(CFuncPara* para, int argc);
int Round(CFuncPara* para, int argc);
int Percent(CFuncPara* para, int argc);
int Rand(CFuncPara* para, int argc);
int SumDim(CFuncPara* para, int argc);

// Dates (dates.cpp).
int GetYear(CFuncPara* para, int argc);
int GetMonth(CFuncPara* para, int argc);
int GetDay(CFuncPara* para, int argc);
int GetHour(CFuncPara* para, int argc);
int GetMinute(CFuncPara* para, int argc);
int Now(CFuncPara* para, int argc);
int DateAddDays(CFuncPara* para, int argc);
int DateAddHours(CFuncPara* para, int argc);
int DateAddMinutes(CFuncPara* para, int argc);
int DateAddMonths(CFuncPara* para, int argc);
int DateAddYears(CFuncPara* para, int argc);
int DateDifDays(CFuncPara* para, int argc);
int DateDifHours(CFuncPara* para, int argc);
int DateDifMinutes(CFuncPara* para, int argc);
int DateDifMonths(CFuncPara* para, int argc);
int DateDifYears(CFuncPara* para, int argc);
int CompareDate(CFuncPara* para, int argc);
int FirstDateOfMonth(CFuncPara* para, int argc);
int FirstDateOfSeason(CFuncPara* para, int argc);
int FirstDateOfYear(CFuncPara* para, int argc);
int LastDateOfMonth(CFuncPara* para, int argc);
int LastDateOfSeason(CFuncPara* para, int argc);
int LastDateOfYear(CFuncPara* para, int argc);

// Text and number words (text.cpp, number_words.cpp).
int Len(CFuncPara* para, int argc);
int Left(CFuncPara* para, int argc);
int Right(CFuncPara* para, int argc);
int Mid(CFuncPara* para, int argc);
int IndexOf(CFuncPara* para, int argc);
int Compare(CFuncPara* para, int argc);
int EndWith(CFuncPara* para, int argc);
int Replace(CFuncPara* para, int argc);
int ReplaceAll(CFuncPara* para, int argc);
int ToLowerCase(CFuncPara* para, int argc);
int ToUpperCase(CFuncPara* para, int argc);
int Trim(CFuncPara* para, int argc);
int TrimLeft(CFuncPara* para, int argc);
int TrimRight(CFuncPara* para, int argc);
int EncodeURI(CFuncPara* para, int argc);
int EncodeURIComponent(CFuncPara* para, int argc);
int Rmb(CFuncPara* para, int argc);
int FormatNum(CFuncPara* para, int argc);
int FormatDate(CFuncPara* para, int argc);
int ChineseNum(CFuncPara* para, int argc);
int EnglishNum(CFuncPara* para, int argc);
int ChineseDate(CFuncPara* para, int argc);
int ChineseBankDate(CFuncPara* para, int argc);

}  // namespace qorcalc::builtins
