// The date built-ins: parts of a date, adding to a date, differences,
// comparison and the bounds of a month, quarter or year.
//
// A date argument is read with the toolbox's date reader; a text that is no
// date, and also an empty or all-zero text (a null date, which has no parts
// to compute with), fails the call with status 0.  Date results are the
// module's date-time text in single quotes.
#include "func/builtins/builtins.h"
#include "func/builtins/call_record.h"

#include "support/text.h"
#include "util/date_read.h"

#include <qorcalc/api.h>
#include <qorcalc/datetime.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>

namespace qorcalc::builtins {
namespace {

bool ReadDate(const CFuncPara* para, int i, COleDateTime& date) {
    return util::ReadDateText(Arg(para, i), &date, 0) && date.GetStatus() == COleDateTime::valid;
}

int SetDate(CFuncPara* para, const COleDateTime& date) {
    para->m_strResult.Format(u"'%s'", TimeToString(date, 0));
    return kOk;
}

struct Fields {
    int year, month, day, hour, minute, second;
};

Fields FieldsOf(const COleDateTime& d) {
    return {d.GetYear(), d.GetMonth(), d.GetDay(), d.GetHour(), d.GetMinute(), d.GetSecond()};
}

// Calendar arithmetic passes its fields on as computed: a combination that
// is no date (31 February, month 0) gives the text of an invalid date.
int SetFields(CFuncPara* para, const Fields& f) {
    COleDateTime date;
    date.SetDateTime(f.year, f.month, f.day, f.hour, f.minute, f.second);
    return SetDate(para, date);
}

// A field computed in 64 bits; one beyond 32 bits is no date either way.
int Narrow(int64_t value) { return static_cast<int>(std::clamp<int64_t>(value, INT_MIN, INT_MAX)); }

int ReadPart(CFuncPara* para, int argc, int (COleDateTime::*part)() const) {
    COleDateTime date;
    if (argc != 1 || !ReadDate(para, 0, date)) return kWrongCount;
    para->SetResult((date.*part)());
    return kOk;
}

// The date plus the span that `spanOf` makes of the amount.
int AddSpan(CFuncPara* para, int argc, COleDateTimeSpan (*spanOf)(int amount)) {
    COleDateTime date;
    if (argc != 2 || !ReadDate(para, 0, date)) return kWrongCount;
    return SetDate(para, date + spanOf(CUtilityCalc::Str2Int(Arg(para, 1))));
}

// Two dates, d1 then d2.
bool ReadPair(const CFuncPara* para, int argc, COleDateTime& d1, COleDateTime& d2) {
    return argc == 2 && ReadDate(para, 0, d1) && ReadDate(para, 1, d2);
}

// Half a second in days.  It is added to a difference in hours or minutes
// as the count stands, sign included, so that a positive difference a hair
// short of a whole unit, as the day doubles give it, still counts the unit.
// A negative difference thereby counts one unit less when it is whole
// (eleven o'clock to ten o'clock is 0 hours); hosts rely on these counts as
// they stand.
constexpr double kHalfSecond = 5.787037037037037e-06;

// Truncated toward zero; a count beyond 32 bits saturates.
int WholeUnits(double units) {
    const double whole = std::trunc(units + kHalfSecond);
    return static_cast<int>(std::clamp(whole, static_cast<double>(INT_MIN), static_cast<double>(INT_MAX)));
}

int DifInUnits(CFuncPara* para, int argc, double unitsPerDay) {
    COleDateTime d1, d2;
    if (!ReadPair(para, argc, d1, d2)) return kWrongCount;
    para->SetResult(WholeUnits((d2 - d1).GetTotalDays() * unitsPerDay));
    return kOk;
}

// Months 1-3 give 1, 4-6 give 4, and so on.
int FirstMonthOfQuarter(int month) { return (month - 1) / 3 * 3 + 1; }

// The period bounds read only their first argument.
int PeriodBound(CFuncPara* para, int argc, Fields (*bound)(const COleDateTime& date)) {
    COleDateTime date;
    if (argc < 1 || !ReadDate(para, 0, date)) return kWrongCount;
    return SetFields(para, bound(date));
}

// The day number of the last day of the date's month, found by stepping
// through the days that follow it.
int LastDayOfMonth(const COleDateTime& date) {
    int last = date.GetDay();
    for (COleDateTime next = date + COleDateTimeSpan(1.0);
         next.GetStatus() == COleDateTime::valid && next.GetMonth() == date.GetMonth(); next += COleDateTimeSpan(1.0))
        last = next.GetDay();
    return last;
}

}  // namespace

int GetYear(CFuncPara* para, int argc) { return ReadPart(para, argc, &COleDateTime::GetYear); }
int GetMonth(CFuncPara* para, int argc) { return ReadPart(para, argc, &COleDateTime::GetMonth); }
int GetDay(CFuncPara* para, int argc) { return ReadPart(para, argc, &COleDateTime::GetDay); }
int GetHour(CFuncPara* para, int argc) { return ReadPart(para, argc, &COleDateTime::GetHour); }
int GetMinute(CFuncPara* para, int argc) { return ReadPart(para, argc, &COleDateTime::GetMinute); }

// An absent or empty format falls back to the module's date-time format
// inside MyFormatDateTime.
int Now(CFuncPara* para, int argc) {
    CString text;
    CUtilityCalc::MyFormatDateTime(text, COleDateTime::GetTickCount(), argc > 0 ? Arg(para, 0).GetString() : u"");
    para->m_strResult.Format(u"'%s'", text);
    return kOk;
}

int DateAddDays(CFuncPara* para, int argc) {
    return AddSpan(para, argc, [](int days) { return COleDateTimeSpan(days, 0, 0, 0); });
}

// An amount above a day is split into whole days and the hours left over.
int DateAddHours(CFuncPara* para, int argc) {
    return AddSpan(para, argc, [](int hours) {
        return hours > 24 ? COleDateTimeSpan(hours / 24, hours % 24, 0, 0) : COleDateTimeSpan(0, hours, 0, 0);
    });
}

// An amount above an hour is split into days, hours and minutes.
int DateAddMinutes(CFuncPara* para, int argc) {
    return AddSpan(para, argc, [](int minutes) {
        return minutes > 60 ? COleDateTimeSpan(minutes / 1440, minutes % 1440 / 60, minutes % 60, 0)
                            : COleDateTimeSpan(0, 0, minutes, 0);
    });
}

// Field arithmetic, deliberately without clamping: 31 January plus one
// month is 31 February, which is no date.  A month left at 0 or below is not
// carried into the year either.
int DateAddMonths(CFuncPara* para, int argc) {
    COleDateTime date;
    if (argc != 2 || !ReadDate(para, 0, date)) return kWrongCount;
    Fields f = FieldsOf(date);
    int64_t month = static_cast<int64_t>(f.month) + CUtilityCalc::Str2Int(Arg(para, 1));
    if (month > 12) {  // twelve months at a time into the year
        const int64_t years = (month - 1) / 12;
        f.year = Narrow(f.year + years);
        month -= years * 12;
    }
    f.month = Narrow(month);
    return SetFields(para, f);
}

int DateAddYears(CFuncPara* para, int argc) {
    COleDateTime date;
    if (argc != 2 || !ReadDate(para, 0, date)) return kWrongCount;
    Fields f = FieldsOf(date);
    f.year = Narrow(static_cast<int64_t>(f.year) + support::wtoi(Arg(para, 1)));
    return SetFields(para, f);
}

int DateDifDays(CFuncPara* para, int argc) {
    COleDateTime d1, d2;
    if (!ReadPair(para, argc, d1, d2)) return kWrongCount;
    para->SetResult(static_cast<int>(std::trunc((d2 - d1).GetTotalDays())));
    return kOk;
}

int DateDifHours(CFuncPara* para, int argc) { return DifInUnits(para, argc, 24); }
int DateDifMinutes(CFuncPara* para, int argc) { return DifInUnits(para, argc, 24 * 60); }

int DateDifMonths(CFuncPara* para, int argc) {
    COleDateTime d1, d2;
    if (!ReadPair(para, argc, d1, d2)) return kWrongCount;
    para->SetResult(d2.GetMonth() - d1.GetMonth() + (d2.GetYear() - d1.GetYear()) * 12);
    return kOk;
}

int DateDifYears(CFuncPara* para, int argc) {
    COleDateTime d1, d2;
    if (!ReadPair(para, argc, d1, d2)) return kWrongCount;
    para->SetResult(d2.GetYear() - d1.GetYear());
    return kOk;
}

int CompareDate(CFuncPara* para, int argc) {
    COleDateTime d1, d2;
    if (!ReadPair(para, argc, d1, d2)) return kWrongCount;
    para->SetResult(CUtilityCalc::CompareDateTime(d1, d2, 0));
    return kOk;
}

int FirstDateOfMonth(CFuncPara* para, int argc) {
    return PeriodBound(para, argc, [](const COleDateTime& d) {
        return Fields{d.GetYear(), d.GetMonth(), 1, 0, 0, 0};
    });
}

int FirstDateOfSeason(CFuncPara* para, int argc) {
    return PeriodBound(para, argc, [](const COleDateTime& d) {
        return Fields{d.GetYear(), FirstMonthOfQuarter(d.GetMonth()), 1, 0, 0, 0};
    });
}

int FirstDateOfYear(CFuncPara* para, int argc) {
    return PeriodBound(para, argc, [](const COleDateTime& d) {
        return Fields{d.GetYear(), 1, 1, 0, 0, 0};
    });
}

// The end of a month is 23:59:39, unlike the ends of quarters and years
// (23:59:59); hosts rely on this time as it stands.
int LastDateOfMonth(CFuncPara* para, int argc) {
    return PeriodBound(para, argc, [](const COleDateTime& d) {
        return Fields{d.GetYear(), d.GetMonth(), LastDayOfMonth(d), 23, 59, 39};
    });
}

int LastDateOfSeason(CFuncPara* para, int argc) {
    return PeriodBound(para, argc, [](const COleDateTime& d) {
        const int month = FirstMonthOfQuarter(d.GetMonth()) + 2;
        return Fields{d.GetYear(), month, month == 3 || month == 12 ? 31 : 30, 23, 59, 59};
    });
}

int LastDateOfYear(CFuncPara* para, int argc) {
    return PeriodBound(para, argc, [](const COleDateTime& d) {
        return Fields{d.GetYear(), 12, 31, 23, 59, 59};
    });
}

}  // namespace qorcalc::builtins
