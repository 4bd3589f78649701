// COleDateTime, COleDateTimeSpan and CGlobalInfo.
//
// Every calculation leaves the day double through a linear day count
// (ToLinear) and comes back through FromLinear, so that dates before
// 1899-12-30, whose fraction is a positive time of day, add and compare
// like any others.  The calendar is the proleptic Gregorian one throughout.
#include "civil_date.h"

#include <qorcalc/api.h>
#include <qorcalc/datetime.h>

#include <cmath>
#include <ctime>
#include <string>

using namespace qorcalc::support;

namespace qorcalc::support {

const char16_t* const kDayNames[7] = {u"Sunday",   u"Monday", u"Tuesday", u"Wednesday",
                                      u"Thursday", u"Friday", u"Saturday"};
const char16_t* const kMonthNames[12] = {u"January", u"February", u"March",     u"April",
                                         u"May",     u"June",     u"July",      u"August",
                                         u"September", u"October", u"November", u"December"};

}  // namespace qorcalc::support

namespace {

// Days from 1899-12-30 to the given day; the fields are not checked.  The
// count runs in eras of 400 years (146097 days), with the year starting on
// 1 March so that the leap day comes last.
constexpr int64_t DaysFromCivil(int year, int month, int day) {
    const int64_t y = static_cast<int64_t>(year) - (month <= 2 ? 1 : 0);
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yearOfEra = y - era * 400;
    const int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468 + kUnixEpochDay;
}

bool IsLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

// 0 for a month outside 1..12.
int DaysInMonth(int year, int month) {
    static const int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 0;
    return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}


// The day double as a linear day count: -1.25 (1899-12-29 06:00) is -0.75.
double ToLinear(double dt) {
    const double whole = std::trunc(dt);
    return dt >= 0 ? dt : whole + (whole - dt);
}

double FromLinear(double linear) {
    if (linear >= 0) return linear;
    const double day = std::floor(linear);
    return day - (linear - day);
}

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - (a % b != 0 && (a < 0) != (b < 0) ? 1 : 0); }

// Seconds to whole seconds, saturating far outside any date so that a
// forged span never overflows.
int64_t RoundToSeconds(double seconds) {
    constexpr double kLimit = 4.0e18;
    if (std::isnan(seconds)) return 0;
    if (seconds > kLimit) return static_cast<int64_t>(kLimit);
    if (seconds < -kLimit) return -static_cast<int64_t>(kLimit);
    return std::llround(seconds);
}

constexpr int64_t kMinSeconds = DaysFromCivil(100, 1, 1) * kSecondsPerDay;
constexpr int64_t kMaxSeconds = DaysFromCivil(10000, 1, 1) * kSecondsPerDay - 1;

struct Fields {
    int year, month, day, hour, minute, second;
    int weekday;    // 0 = Sunday
    int dayOfYear;  // 1 = 1 January
};

void CivilFromDays(int64_t days, Fields& f) {
    const int64_t z = days - kUnixEpochDay + 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const int64_t dayOfEra = z - era * 146097;
    const int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    f.day = static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
    f.month = static_cast<int>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
    f.year = static_cast<int>(yearOfEra + era * 400 + (f.month <= 2 ? 1 : 0));
}

bool Decompose(const COleDateTime& date, Fields& f) {
    int64_t seconds;
    if (!RoundedSeconds(date, seconds)) return false;
    const int64_t days = FloorDiv(seconds, kSecondsPerDay);
    const int64_t secondOfDay = seconds - days * kSecondsPerDay;
    CivilFromDays(days, f);
    f.hour = static_cast<int>(secondOfDay / 3600);
    f.minute = static_cast<int>(secondOfDay / 60 % 60);
    f.second = static_cast<int>(secondOfDay % 60);
    // 1899-12-30 was a Saturday.
    f.weekday = static_cast<int>((days % 7 + 13) % 7);
    f.dayOfYear = static_cast<int>(days - DaysFromCivil(f.year, 1, 1) + 1);
    return true;
}

int Part(const COleDateTime& date, int Fields::*member) {
    Fields f;
    return Decompose(date, f) ? f.*member : -1;
}

// Valid only when both are; otherwise invalid wins over null.
COleDateTime::DateTimeStatus Combine(COleDateTime::DateTimeStatus date,
                                     COleDateTimeSpan::DateTimeSpanStatus span) {
    if (date == COleDateTime::invalid || span == COleDateTimeSpan::invalid) return COleDateTime::invalid;
    if (date == COleDateTime::null || span == COleDateTimeSpan::null) return COleDateTime::null;
    return COleDateTime::valid;
}

// Ordering key of the status: null, then invalid, then valid dates by instant.
int StatusRank(COleDateTime::DateTimeStatus status) {
    return status == COleDateTime::valid ? 2 : status == COleDateTime::invalid ? 1 : 0;
}

}  // namespace

bool qorcalc::support::RoundedSeconds(const COleDateTime& date, int64_t& seconds) {
    // The bound keeps the multiplication exact to well under a second.
    if (date.m_status != COleDateTime::valid || !(std::fabs(date.m_dt) < 4.0e6)) return false;
    seconds = RoundToSeconds(ToLinear(date.m_dt) * kSecondsPerDay);
    return seconds >= kMinSeconds && seconds <= kMaxSeconds;
}

COleDateTime qorcalc::support::LocalFromUnixTime(int64_t unixSeconds) {
    COleDateTime result;
    const time_t t = static_cast<time_t>(unixSeconds);
    struct tm local;
    if (static_cast<int64_t>(t) != unixSeconds || !localtime_r(&t, &local) ||
        local.tm_year > 10000 || local.tm_year < -10000) {
        result.SetStatus(COleDateTime::invalid);
        return result;
    }
    result.SetDateTime(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                       local.tm_sec > 59 ? 59 : local.tm_sec);
    return result;
}

// ---- COleDateTimeSpan ------------------------------------------------------

COleDateTimeSpan::COleDateTimeSpan(long days, int hours, int minutes, int seconds) {
    SetDateTimeSpan(days, hours, minutes, seconds);
}

void COleDateTimeSpan::SetDateTimeSpan(long days, int hours, int minutes, int seconds) {
    m_span = static_cast<double>(days) + hours / 24.0 + minutes / 1440.0 + seconds / 86400.0;
    m_status = valid;
}

// The components divide the rounded seconds toward zero, so each keeps the
// sign of the whole span.
long COleDateTimeSpan::GetDays() const {
    return static_cast<long>(RoundToSeconds(GetTotalSeconds()) / kSecondsPerDay);
}
int COleDateTimeSpan::GetHours() const { return static_cast<int>(RoundToSeconds(GetTotalSeconds()) / 3600 % 24); }
int COleDateTimeSpan::GetMinutes() const { return static_cast<int>(RoundToSeconds(GetTotalSeconds()) / 60 % 60); }
int COleDateTimeSpan::GetSeconds() const { return static_cast<int>(RoundToSeconds(GetTotalSeconds()) % 60); }

// ---- COleDateTime ----------------------------------------------------------

COleDateTime::COleDateTime(double value) : m_dt(value) {
    int64_t seconds;
    if (!RoundedSeconds(*this, seconds)) m_status = invalid;
}

COleDateTime::COleDateTime(int year, int month, int day, int hour, int minute, int second) {
    SetDateTime(year, month, day, hour, minute, second);
}

COleDateTime COleDateTime::GetCurrentTime() { return LocalFromUnixTime(static_cast<int64_t>(time(nullptr))); }

int COleDateTime::SetDateTime(int year, int month, int day, int hour, int minute, int second) {
    const bool ok = year >= 100 && year <= 9999 && day >= 1 && day <= DaysInMonth(year, month) && hour >= 0 &&
                    hour <= 23 && minute >= 0 && minute <= 59 && second >= 0 && second <= 59;
    if (!ok) {
        // An invalid date keeps no stale value.
        m_dt = 0;
        m_status = invalid;
        return 1;
    }
    const int secondOfDay = hour * 3600 + minute * 60 + second;
    m_dt = FromLinear(static_cast<double>(DaysFromCivil(year, month, day)) +
                      static_cast<double>(secondOfDay) / kSecondsPerDay);
    m_status = valid;
    return 0;
}

int COleDateTime::SetDate(int year, int month, int day) { return SetDateTime(year, month, day, 0, 0, 0); }

int COleDateTime::SetTime(int hour, int minute, int second) { return SetDateTime(1899, 12, 30, hour, minute, second); }

int COleDateTime::GetYear() const { return Part(*this, &Fields::year); }
int COleDateTime::GetMonth() const { return Part(*this, &Fields::month); }
int COleDateTime::GetDay() const { return Part(*this, &Fields::day); }
int COleDateTime::GetHour() const { return Part(*this, &Fields::hour); }
int COleDateTime::GetMinute() const { return Part(*this, &Fields::minute); }
int COleDateTime::GetSecond() const { return Part(*this, &Fields::second); }
int COleDateTime::GetDayOfYear() const { return Part(*this, &Fields::dayOfYear); }
int COleDateTime::GetDayOfWeek() const {
    const int weekday = Part(*this, &Fields::weekday);
    return weekday < 0 ? -1 : weekday + 1;
}

COleDateTime COleDateTime::operator+(const COleDateTimeSpan& span) const {
    const DateTimeStatus status = Combine(m_status, span.m_status);
    if (status != valid) {
        COleDateTime result(*this);
        result.m_status = status;
        return result;
    }
    return COleDateTime(FromLinear(ToLinear(m_dt) + span.m_span));
}

COleDateTime COleDateTime::operator-(const COleDateTimeSpan& span) const { return *this + (-span); }

COleDateTimeSpan COleDateTime::operator-(const COleDateTime& other) const {
    COleDateTimeSpan span(ToLinear(m_dt) - ToLinear(other.m_dt));
    if (m_status != valid || other.m_status != valid) span.m_status = COleDateTimeSpan::invalid;
    return span;
}

bool COleDateTime::operator==(const COleDateTime& o) const {
    if (m_status != o.m_status) return false;
    return m_status != valid || ToLinear(m_dt) == ToLinear(o.m_dt);
}

bool COleDateTime::operator<(const COleDateTime& o) const {
    if (m_status != o.m_status) return StatusRank(m_status) < StatusRank(o.m_status);
    return m_status == valid && ToLinear(m_dt) < ToLinear(o.m_dt);
}

// ---- Format ----------------------------------------------------------------

namespace {

// The longest text one directive writes ("%#c": a weekday, a month and a
// five-digit year with the time).
constexpr size_t kLongestDirective = 48;

void AppendNumber(std::u16string& out, int value, int width, bool noPadding) {
    std::u16string digits;
    do {
        digits.insert(digits.begin(), static_cast<char16_t>(u'0' + value % 10));
        value /= 10;
    } while (value > 0);
    if (!noPadding && static_cast<int>(digits.size()) < width) out.append(width - digits.size(), u'0');
    out += digits;
}

void AppendName(std::u16string& out, const char16_t* name, bool abbreviated) {
    const std::u16string_view full(name);
    out += abbreviated ? full.substr(0, 3) : full;
}

void FormatInto(std::u16string& out, std::u16string_view pattern, const Fields& f, bool bounded = false);

// Appends one directive; false for a letter that names none.
bool AppendDirective(std::u16string& out, char16_t letter, bool alt, const Fields& f) {
    const int hour12 = f.hour % 12 == 0 ? 12 : f.hour % 12;
    // Weeks of the year: days before the first Sunday (%U) or Monday (%W) are week 0.
    const int yday = f.dayOfYear - 1;
    switch (letter) {
        case u'a': AppendName(out, kDayNames[f.weekday], true); break;
        case u'A': AppendName(out, kDayNames[f.weekday], false); break;
        case u'b': AppendName(out, kMonthNames[f.month - 1], true); break;
        case u'B': AppendName(out, kMonthNames[f.month - 1], false); break;
        case u'c': FormatInto(out, alt ? u"%A, %B %#d, %Y %H:%M:%S" : u"%m/%d/%y %H:%M:%S", f); break;
        case u'x': FormatInto(out, alt ? u"%A, %B %#d, %Y" : u"%m/%d/%y", f); break;
        case u'X': FormatInto(out, u"%H:%M:%S", f); break;
        case u'd': AppendNumber(out, f.day, 2, alt); break;
        case u'H': AppendNumber(out, f.hour, 2, alt); break;
        case u'I': AppendNumber(out, hour12, 2, alt); break;
        case u'j': AppendNumber(out, f.dayOfYear, 3, alt); break;
        case u'm': AppendNumber(out, f.month, 2, alt); break;
        case u'M': AppendNumber(out, f.minute, 2, alt); break;
        case u'S': AppendNumber(out, f.second, 2, alt); break;
        case u'U': AppendNumber(out, (yday + 7 - f.weekday) / 7, 2, alt); break;
        case u'W': AppendNumber(out, (yday + 7 - (f.weekday + 6) % 7) / 7, 2, alt); break;
        case u'w': AppendNumber(out, f.weekday, 1, alt); break;
        case u'y': AppendNumber(out, f.year % 100, 2, alt); break;
        case u'Y': AppendNumber(out, f.year, 1, alt); break;
        case u'p': out += f.hour < 12 ? u"AM" : u"PM"; break;
        case u'%': out += u'%'; break;
        default: return false;
    }
    return true;
}

// A directive writes at most a few dozen characters, so checking the length
// before each step of the host's pattern (`bounded`) keeps the text within
// CALC_MAX_TEXT_LENGTH whatever the pattern repeats; the fixed patterns of
// %c, %x and %X fit in that one step.
void FormatInto(std::u16string& out, std::u16string_view pattern, const Fields& f, bool bounded) {
    size_t i = 0;
    while (i < pattern.size()) {
        if (bounded) qorcalc::detail::CheckTextLength(out.size() + kLongestDirective, pattern);
        if (pattern[i] != u'%') {
            out += pattern[i++];
            continue;
        }
        // "%", an optional "#", then the directive letter; anything that is
        // not a directive is copied as it stands.
        size_t next = i + 1;
        const bool alt = next < pattern.size() && pattern[next] == u'#';
        if (alt) ++next;
        if (next < pattern.size() && AppendDirective(out, pattern[next], alt, f)) {
            i = next + 1;
        } else {
            out.append(pattern.substr(i, next - i));
            i = next;
        }
    }
}

}  // namespace

CString COleDateTime::Format(const char16_t* pattern) const {
    Fields f;
    if (!pattern || !Decompose(*this, f)) return CString();
    return qorcalc::detail::Shielded(u"COleDateTime::Format", CString(), [&] {
        std::u16string out;
        FormatInto(out, pattern, f, true);
        return CString(std::move(out));
    });
}

// ---- CGlobalInfo -----------------------------------------------------------

CGlobalInfo* CGlobalInfo::GetInstance() {
    static CGlobalInfo instance;
    return &instance;
}

COleDateTimeSpan CGlobalInfo::GetLocalDateTimeSpan() const {
    const time_t now = time(nullptr);
    struct tm local;
    if (!localtime_r(&now, &local)) return COleDateTimeSpan(0.0);
    return COleDateTimeSpan(static_cast<double>(-local.tm_gmtoff) / kSecondsPerDay);
}
