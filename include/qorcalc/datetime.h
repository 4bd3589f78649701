// Dates as the engine holds them: COleDateTime, a double counting days since
// 1899-12-30 00:00 with a status, and COleDateTimeSpan, a signed number of days.
//
// Invariants:
//   - a valid date lies in the years 100..9999;
//   - for dates before 1899-12-30 the integer part counts days backwards and
//     the fraction is still the (positive) time of day: -1.25 is 1899-12-29
//     06:00, so arithmetic converts through a linear day count, never by
//     adding to the double directly;
//   - date parts are taken after rounding to the nearest whole second;
//   - an invalid or null date reads -1 for every part (GetYear, ...) and
//     formats as the empty text;
//   - the calendar is the proleptic Gregorian one throughout;
//   - nothing here throws: Format gives the empty text without memory or
//     when its text would pass CALC_MAX_TEXT_LENGTH, recording the failure
//     (1305 or 1300) as the last error.
#pragma once

#include <qorcalc/export.h>
#include <qorcalc/string.h>

class QORCALC_API COleDateTimeSpan {
public:
    enum DateTimeSpanStatus { valid = 0, invalid = 1, null = 2 };

    COleDateTimeSpan() = default;
    COleDateTimeSpan(double days) : m_span(days) {}
    COleDateTimeSpan(long days, int hours, int minutes, int seconds);

    void SetDateTimeSpan(long days, int hours, int minutes, int seconds);
    DateTimeSpanStatus GetStatus() const { return m_status; }
    void SetStatus(DateTimeSpanStatus status) { m_status = status; }

    double GetTotalDays() const { return m_span; }
    double GetTotalHours() const { return m_span * 24; }
    double GetTotalMinutes() const { return m_span * 24 * 60; }
    double GetTotalSeconds() const { return m_span * 24 * 60 * 60; }
    // Components of the span rounded to whole seconds; each carries the
    // span's sign (-1.5 days gives -1 days and -12 hours).  A span beyond
    // about 4.6e13 days saturates; a NaN span reads as 0.
    long GetDays() const;
    int GetHours() const;
    int GetMinutes() const;
    int GetSeconds() const;

    COleDateTimeSpan operator+(const COleDateTimeSpan& o) const { return COleDateTimeSpan(m_span + o.m_span); }
    COleDateTimeSpan operator-(const COleDateTimeSpan& o) const { return COleDateTimeSpan(m_span - o.m_span); }
    COleDateTimeSpan operator-() const { return COleDateTimeSpan(-m_span); }
    bool operator==(const COleDateTimeSpan& o) const { return m_span == o.m_span; }
    bool operator<(const COleDateTimeSpan& o) const { return m_span < o.m_span; }
    bool operator>(const COleDateTimeSpan& o) const { return m_span > o.m_span; }

    double m_span = 0;
    DateTimeSpanStatus m_status = valid;
};

class QORCALC_API COleDateTime {
public:
    enum DateTimeStatus { valid = 0, invalid = 1, null = 2 };

    COleDateTime() = default;
    // Invalid when the value (rounded to the second) lies outside the valid
    // years, or is not a number.
    COleDateTime(double value);
    COleDateTime(int year, int month, int day, int hour, int minute, int second);

    static COleDateTime GetCurrentTime();
    // The current local time; kept beside GetCurrentTime under the name the
    // date built-ins use.
    static COleDateTime GetTickCount() { return GetCurrentTime(); }

    // Each returns 0 when the fields form a valid date (years 100..9999,
    // a real day of the month, hour 0..23, minute and second 0..59) and sets
    // it; otherwise returns 1, the status becomes invalid and the value 0.
    // SetTime sets the time of 1899-12-30.
    int SetDateTime(int year, int month, int day, int hour, int minute, int second);
    int SetDate(int year, int month, int day);
    int SetTime(int hour, int minute, int second);

    DateTimeStatus GetStatus() const { return m_status; }
    void SetStatus(DateTimeStatus status) { m_status = status; }

    int GetYear() const;
    int GetMonth() const;
    int GetDay() const;
    int GetHour() const;
    int GetMinute() const;
    int GetSecond() const;
    int GetDayOfWeek() const;  // 1 = Sunday .. 7 = Saturday
    int GetDayOfYear() const;  // 1 = 1 January

    // Arithmetic keeps the status of the date; a result outside the valid
    // range is invalid.  A null or invalid operand (date or span) makes the
    // result null or invalid, invalid winning.  The difference of two dates
    // is an invalid span unless both are valid.
    COleDateTime operator+(const COleDateTimeSpan& span) const;
    COleDateTime operator-(const COleDateTimeSpan& span) const;
    COleDateTime& operator+=(const COleDateTimeSpan& span) { return *this = *this + span; }
    COleDateTime& operator-=(const COleDateTimeSpan& span) { return *this = *this - span; }
    COleDateTimeSpan operator-(const COleDateTime& other) const;

    // Valid dates compare by instant; dates of other status order before
    // them (null before invalid) and are equal to each other by status.
    bool operator==(const COleDateTime& o) const;
    bool operator<(const COleDateTime& o) const;
    bool operator>(const COleDateTime& o) const { return o < *this; }
    bool operator<=(const COleDateTime& o) const { return !(o < *this); }
    bool operator>=(const COleDateTime& o) const { return !(*this < o); }

    // strftime directives with English names, independent of the locale:
    // %a %A %b %B %c %d %H %I %j %m %M %p %S %U %w %W %x %X %y %Y %% (and
    // the "#" flag, %#d, dropping leading zeros).  Other text is copied.
    // %c is "%m/%d/%y %H:%M:%S", %x "%m/%d/%y", %X "%H:%M:%S"; %#c and %#x
    // are the long forms "Wednesday, March 5, 2014" (with the time for %#c).
    // An unknown directive, a lone "%" and a null pattern are copied as
    // they stand (null gives the empty text).
    CString Format(const char16_t* pattern) const;

    double m_dt = 0;
    DateTimeStatus m_status = valid;
};

// Facts about the machine the engine runs on.
class QORCALC_API CGlobalInfo {
public:
    static CGlobalInfo* GetInstance();
    // UTC minus local time at this moment (negative east of Greenwich), so
    // that a local time plus this span is the same moment in UTC.
    COleDateTimeSpan GetLocalDateTimeSpan() const;
};
