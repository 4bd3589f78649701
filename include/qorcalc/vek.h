// CVek: the support layer's static text and array helpers, and the last
// error text.
//
// The last error is kept per thread, so calculators on different threads
// never see each other's errors.  Every helper takes a null text as empty
// and never reads outside its arguments.
#pragma once

#include <qorcalc/collections.h>
#include <qorcalc/export.h>
#include <qorcalc/string.h>

#include <cstdint>

class COleDateTime;

class QORCALC_API CVek {
public:
    // Records a copy of `text` as this thread's last error; null clears it.
    static void Error(const char16_t* text);
    // This thread's last error text; never null.
    static const char16_t* GetLastError();

    // Joins the items with `separator` between them.
    static void Array2CString(CString& out, const CStringArray& items, const char16_t* separator);
    // Splits `text` at every `separator` into `items` (emptied first); with
    // `flag` non-zero each item is trimmed and empty items are dropped.  An
    // empty text gives no items; a null or empty separator gives the whole
    // text as one item.  Returns the number of items.
    static int CString2Array(CStringArray& items, const CString& text, const char16_t* separator,
                             int flag = 0);
    // Splits `text` at the first (`bFirst` non-zero) or last occurrence of
    // `separator`.  Returns 1 when it was found; otherwise `left` is the
    // whole text, `right` is empty and the result is 0.
    static int GetLeftRight(const CString& text, const char16_t* separator, CString& left,
                            CString& right, int bFirst = 1);
    // Finds the quoted stretches of `text`: a character of `quotes` opens a
    // stretch that only the same character closes (no escapes).  `starts`
    // and `ends` (emptied first) receive the positions of the opening and
    // closing quote; an unclosed stretch ends at the last character.  With
    // `flag` non-zero only the first stretch is looked for.  Returns the count.
    static int FindQuotes(const CString& text, CUIntArray& starts, CUIntArray& ends,
                          const char16_t* quotes, int flag = 0);
    // The index of the stretch that holds `pos` (starts[i] <= pos <= ends[i]),
    // or -1.  The stretches must be in ascending order, as FindQuotes makes them.
    static int ArrayFindBetween(const CUIntArray& starts, const CUIntArray& ends, uint32_t pos);
    // Position of `word` in `text` ignoring case, from `start` or backwards; -1 when absent.
    static int FindNoCase(const CString& text, const char16_t* word, int start = 0);
    static int ReverseFindNoCase(const CString& text, const char16_t* word);
    // Index of the first item equal to `text` ignoring case, from `start`; -1 when absent.
    static int ArrayCompareNoCase(const CStringArray& items, const char16_t* text, int start = 0);
    // Pads `text` with `ch` to `length` characters, on the left when `bLeft`.
    static void Pad(CString& text, int length, char16_t ch, int bLeft = 1);
    // ASCII "0".."9".
    static int IsDigit(char16_t ch);
    // 1 for "1", "true", "yes", "y", "on" (any case) and any other text that
    // reads as a non-zero number; 0 otherwise.
    static int Str2Bool(const char16_t* text);
    // Index of `value` in `items` from `start`, or -1.
    static int CUIntArrayFind(const CUIntArray& items, uint32_t value, int start = 0);
    static void Sort_CUIntArray(CUIntArray& items, int bAscending = 1);
    // Counts the occurrences of `separator` (of `separatorLength` characters)
    // in the first `textLength` characters of `text`; with `flag` non-zero
    // occurrences do not overlap.
    static int strstrs(const char16_t* text, int textLength, const char16_t* separator,
                       int separatorLength, int flag = 1);

    // Date text helpers.
    // 1 when `text` reads as a date (and, with `flag` 0, a date-time).
    static int IsDateString(const char16_t* text, int flag = 1);
    // Splits a date text into its numbers in year, month, day (hour, minute,
    // second) order; the separators are "-", "/", "\\", ".", " ", ":" and
    // "T".  Returns the count of parts (`parts` is emptied first), 0 when the
    // text holds no number, another character, or a number above 2^32 - 1.
    static int ParseDate(const CString& text, CUIntArray& parts);
    // Reads an XML Schema date-time ("2014-03-05T10:20:30", optionally with
    // fractions and a zone) into `out`; 1 on success, 0 (out untouched)
    // otherwise; white space around the text is allowed.  The fraction of a
    // second is ignored; "24:00:00" is the next day's midnight.  A zone
    // ("Z", "+08:00", "-05:00", at most 14:00) converts the moment to local
    // time (the C library's TZ); a text without one is local time.
    static int XMLString2Time(const char16_t* text, COleDateTime* out);
};
