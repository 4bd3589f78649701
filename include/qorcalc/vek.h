// CVek: the support layer's static text and array helpers, and the last
// error text.
//
// The last error is kept per thread, so calculators on different threads
// never see each other's errors.  Every helper takes a null text as empty
// and never reads outside its arguments.
//
// Nothing here throws: on exhausted memory, or a text that would pass
// CALC_MAX_TEXT_LENGTH, a helper returning a count or a position gives -1,
// one returning a flag 0, and the texts and arrays it writes are left
// empty; the failure (message 1305 or the limit's id) is the last error.
// Error keeps the old text when it cannot copy the new one.
#pragma once

#include <qorcalc/collections.h>
#include <qorcalc/export.h>
#include <qorcalc/limits.h>
#include <qorcalc/string.h>

#include <cstdint>

class COleDateTime;

class QORCALC_API CVek {
public:
    // Records a copy of `text` as this thread's last error; null clears it.
    static void Error(const char16_t* text);
    // This thread's last error text; never null.
    static const char16_t* GetLastError();

    // Joins the items with `separator` between them (nothing between them
    // when it is null).
    static void Array2CString(CString& out, const CStringArray& items, const char16_t* separator);
    // Splits `text` at every `separator` into `items` (emptied first); with
    // `flag` non-zero each item is trimmed of white space and empty items are
    // dropped, with `flag` 0 empty items are kept ("a,,b" gives three items,
    // "a," two).  An empty text gives no items; a null or empty separator
    // gives the whole text as one item.  Returns the number of items.
    static int CString2Array(CStringArray& items, const CString& text, const char16_t* separator,
                             int flag = 0);
    // Splits `text` at the first (`bFirst` non-zero) or last occurrence of
    // `separator` into the text before and the text after it.  Returns 1
    // when it was found; otherwise (also for a null or empty separator)
    // `left` is the whole text, `right` is empty and the result is 0.
    // `text` may be the same object as `left` or `right`.
    static int GetLeftRight(const CString& text, const char16_t* separator, CString& left,
                            CString& right, int bFirst = 1);
    // Finds the quoted stretches of `text`: a character of `quotes` opens a
    // stretch that only the same character closes (no escapes; other quote
    // characters inside are plain text: 'a"b' is one stretch).
    // `starts` and `ends` (emptied first) receive the positions of the
    // opening and closing quote, in ascending order and never overlapping;
    // an unclosed stretch ends at the last character.  With `flag` non-zero
    // only the first stretch is looked for.  A null or empty `quotes` finds
    // nothing.  Returns the count.
    static int FindQuotes(const CString& text, CUIntArray& starts, CUIntArray& ends,
                          const char16_t* quotes, int flag = 0);
    // The index of the stretch that holds `pos` (starts[i] <= pos <= ends[i]),
    // or -1; O(log n).  The stretches must be ascending and disjoint, as
    // FindQuotes makes them; arrays of different sizes are read up to the
    // shorter one.
    static int ArrayFindBetween(const CUIntArray& starts, const CUIntArray& ends, uint32_t pos);
    // Position of the first `word` in `text` at or after `start` (a negative
    // start counts as 0), or of the last one, comparing both after folding
    // with the locale's towlower as CString::CompareNoCase does; -1 when
    // absent and for a null or empty word.
    static int FindNoCase(const CString& text, const char16_t* word, int start = 0);
    static int ReverseFindNoCase(const CString& text, const char16_t* word);
    // Index of the first item at or after `start` equal to `text` ignoring
    // case (CString::CompareNoCase); -1 when absent.
    static int ArrayCompareNoCase(const CStringArray& items, const char16_t* text, int start = 0);
    // Pads `text` with `ch` to `length` characters, on the left when `bLeft`
    // is non-zero, else on the right.  A text already as long is left alone.
    // Lengths above CALC_MAX_PAD_LENGTH pad to it, so a length taken from a
    // formula cannot make the engine allocate gigabytes.
    static void Pad(CString& text, int length, char16_t ch, int bLeft = 1);
    // ASCII "0".."9".
    static int IsDigit(char16_t ch);
    // 1 for "true", "yes", "y", "on" (any case) and for a decimal number
    // that is not zero ("1", "-2", "0.5", "1e3"); 0 for everything else,
    // "false", "0", "0.0", "abc", "1x" and the empty text among them.
    // Surrounding white space is ignored.
    static int Str2Bool(const char16_t* text);
    // Index of the first `value` in `items` at or after `start`, or -1.
    static int CUIntArrayFind(const CUIntArray& items, uint32_t value, int start = 0);
    // Sorts ascending, or descending when `bAscending` is 0.
    static void Sort_CUIntArray(CUIntArray& items, int bAscending = 1);
    // Counts the occurrences of `separator` (of `separatorLength` characters)
    // in the first `textLength` characters of `text`; with `flag` non-zero
    // occurrences do not overlap ("aaaa" holds "aa" twice, else three times).
    // The lengths are trusted, so the texts may hold zero characters; the
    // caller vouches that both pointers hold that many.  Null pointers and
    // lengths below 1 count 0.
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
