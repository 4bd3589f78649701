// The date types: calendar round trips over the whole range, arithmetic across
// 1899-12-30, span components, Format, and the date text helpers of CVek.
#include <qorcalc/datetime.h>
#include <qorcalc/vek.h>

#include <gtest/gtest.h>

#include "scoped_tz.h"

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace {

std::string U8(const CString& s) { return s.ToUtf8(); }

struct Stamp {
    int year, month, day, hour, minute, second;
};

void ExpectStamp(const COleDateTime& d, const Stamp& want, const std::string& label) {
    SCOPED_TRACE(label);
    EXPECT_EQ(d.GetStatus(), COleDateTime::valid);
    EXPECT_EQ(d.GetYear(), want.year);
    EXPECT_EQ(d.GetMonth(), want.month);
    EXPECT_EQ(d.GetDay(), want.day);
    EXPECT_EQ(d.GetHour(), want.hour);
    EXPECT_EQ(d.GetMinute(), want.minute);
    EXPECT_EQ(d.GetSecond(), want.second);
}

COleDateTime At(const Stamp& s) { return COleDateTime(s.year, s.month, s.day, s.hour, s.minute, s.second); }

TEST(COleDateTime, SetDateTimeRoundTripsOverTheRange) {
    struct Case {
        Stamp s;
        double dt;
        int dayOfWeek, dayOfYear;
    } cases[] = {
        {{100, 1, 1, 0, 0, 0}, -657434.0, 6, 1},
        {{1600, 2, 29, 12, 0, 0}, -109512.5, 3, 60},
        {{1899, 12, 29, 6, 0, 0}, -1.25, 6, 363},
        {{1899, 12, 30, 0, 0, 0}, 0.0, 7, 364},
        {{1900, 1, 1, 0, 0, 0}, 2.0, 2, 1},
        {{1900, 3, 1, 18, 0, 0}, 61.75, 5, 60},
        {{2000, 2, 29, 23, 59, 59}, 36585 + 86399.0 / 86400, 3, 60},
        {{2012, 2, 29, 10, 20, 30}, 40968 + 37230.0 / 86400, 4, 60},
        {{2012, 12, 31, 0, 0, 0}, 41274.0, 2, 366},
        {{9999, 12, 31, 23, 59, 59}, 2958465 + 86399.0 / 86400, 6, 365},
    };
    for (const auto& c : cases) {
        const std::string label = std::to_string(c.s.year) + "-" + std::to_string(c.s.month) + "-" +
                                  std::to_string(c.s.day);
        COleDateTime d;
        EXPECT_EQ(d.SetDateTime(c.s.year, c.s.month, c.s.day, c.s.hour, c.s.minute, c.s.second), 0) << label;
        EXPECT_NEAR(d.m_dt, c.dt, 1e-9) << label;
        ExpectStamp(d, c.s, label);
        ExpectStamp(COleDateTime(c.dt), c.s, label + " from double");
        EXPECT_EQ(d.GetDayOfWeek(), c.dayOfWeek) << label;
        EXPECT_EQ(d.GetDayOfYear(), c.dayOfYear) << label;
    }
}

TEST(COleDateTime, RejectsInvalidFields) {
    const Stamp cases[] = {
        {1900, 2, 29, 0, 0, 0}, {2013, 2, 29, 0, 0, 0}, {2014, 2, 30, 0, 0, 0}, {2014, 4, 31, 0, 0, 0},
        {2014, 13, 1, 0, 0, 0}, {2014, 0, 1, 0, 0, 0},  {2014, 1, 0, 0, 0, 0},  {99, 12, 31, 0, 0, 0},
        {10000, 1, 1, 0, 0, 0}, {2014, 1, 1, 24, 0, 0}, {2014, 1, 1, 0, 60, 0}, {2014, 1, 1, 0, 0, 60},
        {2014, 1, 1, -1, 0, 0},
    };
    for (const auto& s : cases) {
        COleDateTime d(2014.5);
        EXPECT_EQ(d.SetDateTime(s.year, s.month, s.day, s.hour, s.minute, s.second), 1)
            << s.year << "-" << s.month << "-" << s.day << " " << s.hour << ":" << s.minute << ":" << s.second;
        EXPECT_EQ(d.GetStatus(), COleDateTime::invalid);
        EXPECT_EQ(d.GetYear(), -1);
        EXPECT_EQ(d.GetSecond(), -1);
        EXPECT_EQ(d.GetDayOfWeek(), -1);
        EXPECT_EQ(U8(d.Format(u"%Y")), "");
    }
    COleDateTime d;
    EXPECT_EQ(d.SetDate(2000, 2, 29), 0);
    EXPECT_EQ(d.SetDate(1600, 2, 29), 0);
    EXPECT_EQ(d.SetTime(23, 59, 59), 0);
    ExpectStamp(d, {1899, 12, 30, 23, 59, 59}, "SetTime");
    EXPECT_EQ(d.SetTime(24, 0, 0), 1);
}

TEST(COleDateTime, DoublesOutsideTheRangeAreInvalid) {
    const double cases[] = {2958466.0, -657435.0, NAN, INFINITY, -INFINITY, 1e300};
    for (double v : cases) {
        const COleDateTime d(v);
        EXPECT_EQ(d.GetStatus(), COleDateTime::invalid) << v;
        EXPECT_EQ(d.GetMonth(), -1) << v;
    }
    COleDateTime null(100.0);
    null.SetStatus(COleDateTime::null);
    EXPECT_EQ(null.GetDay(), -1);
    EXPECT_EQ(U8(null.Format(u"%Y-%m-%d")), "");
}

TEST(COleDateTime, PartsRoundToTheNearestSecond) {
    struct Case {
        double dt;
        Stamp want;
    } cases[] = {
        {0.5 + 0.4 / 86400, {1899, 12, 30, 12, 0, 0}},
        {0.5 + 0.6 / 86400, {1899, 12, 30, 12, 0, 1}},
        {41639 + 86399.6 / 86400, {2014, 1, 1, 0, 0, 0}},
        {-1.25, {1899, 12, 29, 6, 0, 0}},
        {-1.9999999, {1899, 12, 30, 0, 0, 0}},
        {-2.0000001, {1899, 12, 28, 0, 0, 0}},
        {-0.25, {1899, 12, 30, 6, 0, 0}},
    };
    for (const auto& c : cases) ExpectStamp(COleDateTime(c.dt), c.want, std::to_string(c.dt));
}

// An independent calendar: the C library's UTC conversion and strftime in
// the "C" locale, over the whole range in steps that touch every weekday
// and both sides of 1899-12-30.
TEST(COleDateTime, AgreesWithTheCLibraryCalendar) {
    const char16_t* pattern = u"%a %A %b %B %d %H %I %j %m %M %p %S %U %w %W %x %X %y %%";
    for (int64_t day = -657434; day <= 2958465; day += 997) {
        const int secondOfDay = static_cast<int>((day * 7919) % 86400 + 86400) % 86400;
        const double fraction = secondOfDay / 86400.0;
        const COleDateTime d(day >= 0 ? day + fraction : day - fraction);
        const time_t t = static_cast<time_t>((day - 25569) * 86400 + secondOfDay);
        struct tm tm;
        ASSERT_NE(gmtime_r(&t, &tm), nullptr);
        SCOPED_TRACE(day);
        EXPECT_EQ(d.GetYear(), tm.tm_year + 1900);
        EXPECT_EQ(d.GetMonth(), tm.tm_mon + 1);
        EXPECT_EQ(d.GetDay(), tm.tm_mday);
        EXPECT_EQ(d.GetHour(), tm.tm_hour);
        EXPECT_EQ(d.GetMinute(), tm.tm_min);
        EXPECT_EQ(d.GetSecond(), tm.tm_sec);
        EXPECT_EQ(d.GetDayOfWeek(), tm.tm_wday + 1);
        EXPECT_EQ(d.GetDayOfYear(), tm.tm_yday + 1);
        char want[200];
        strftime(want, sizeof want, "%a %A %b %B %d %H %I %j %m %M %p %S %U %w %W %x %X %y %%", &tm);
        EXPECT_EQ(U8(d.Format(pattern)), want);
    }
}

TEST(COleDateTime, ArithmeticThroughTheLinearDayCount) {
    const COleDateTimeSpan oneSecond(0, 0, 0, 1);
    struct Case {
        Stamp from;
        COleDateTimeSpan span;
        std::optional<Stamp> want;  // empty: outside the valid range
    } cases[] = {
        {{1899, 12, 30, 0, 0, 0}, COleDateTimeSpan(0, -6, 0, 0), Stamp{1899, 12, 29, 18, 0, 0}},
        {{1899, 12, 29, 6, 0, 0}, COleDateTimeSpan(1, 0, 0, 0), Stamp{1899, 12, 30, 6, 0, 0}},
        {{1899, 12, 29, 18, 0, 0}, COleDateTimeSpan(0, 12, 0, 0), Stamp{1899, 12, 30, 6, 0, 0}},
        {{1899, 12, 31, 0, 0, 0}, COleDateTimeSpan(-2, -12, 0, 0), Stamp{1899, 12, 28, 12, 0, 0}},
        {{1899, 12, 28, 23, 0, 0}, COleDateTimeSpan(0, 2, 0, 0), Stamp{1899, 12, 29, 1, 0, 0}},
        {{1800, 1, 1, 0, 0, 0}, COleDateTimeSpan(36524, 0, 0, 0), Stamp{1900, 1, 1, 0, 0, 0}},
        {{2014, 1, 31, 12, 0, 0}, COleDateTimeSpan(1, 0, 0, 0), Stamp{2014, 2, 1, 12, 0, 0}},
        {{2012, 2, 28, 0, 0, 0}, COleDateTimeSpan(1, 0, 0, 0), Stamp{2012, 2, 29, 0, 0, 0}},
        {{2000, 3, 1, 0, 0, 0}, COleDateTimeSpan(-1, 0, 0, 0), Stamp{2000, 2, 29, 0, 0, 0}},
        {{1900, 3, 1, 0, 0, 0}, COleDateTimeSpan(-1, 0, 0, 0), Stamp{1900, 2, 28, 0, 0, 0}},
        {{2013, 12, 31, 23, 59, 59}, oneSecond, Stamp{2014, 1, 1, 0, 0, 0}},
        {{100, 1, 1, 0, 0, 0}, COleDateTimeSpan(1, 0, 0, 0), Stamp{100, 1, 2, 0, 0, 0}},
        {{9999, 12, 31, 23, 59, 59}, oneSecond, std::nullopt},
        {{100, 1, 1, 0, 0, 0}, -oneSecond, std::nullopt},
        {{2014, 1, 1, 0, 0, 0}, COleDateTimeSpan(1e300), std::nullopt},
    };
    for (const auto& c : cases) {
        const std::string label = std::to_string(c.from.year) + "-" + std::to_string(c.from.month) + "-" +
                                  std::to_string(c.from.day) + " + " + std::to_string(c.span.m_span);
        const COleDateTime from = At(c.from);
        COleDateTime sum = from + c.span;
        if (!c.want) {
            EXPECT_EQ(sum.GetStatus(), COleDateTime::invalid) << label;
            continue;
        }
        ExpectStamp(sum, *c.want, label);
        ExpectStamp(sum - c.span, c.from, label + " back");
        EXPECT_NEAR((sum - from).GetTotalDays(), c.span.GetTotalDays(), 1e-9) << label;
        COleDateTime moved = from;
        moved += c.span;
        EXPECT_EQ(moved, sum) << label;
        moved -= c.span;
        ExpectStamp(moved, c.from, label + " -=");
    }
}

TEST(COleDateTime, StatusCarriesThroughArithmetic) {
    COleDateTime null(100.0);
    null.SetStatus(COleDateTime::null);
    EXPECT_EQ((null + COleDateTimeSpan(1.0)).GetStatus(), COleDateTime::null);
    COleDateTimeSpan bad(1.0);
    bad.SetStatus(COleDateTimeSpan::invalid);
    EXPECT_EQ((COleDateTime(100.0) + bad).GetStatus(), COleDateTime::invalid);
    EXPECT_EQ((COleDateTime(100.0) - null).GetStatus(), COleDateTimeSpan::invalid);
}

TEST(COleDateTime, ComparesRealInstants) {
    const COleDateTime morning(-1.25), noon(-1.5), evening(-1.75), nextMorning(0.25);
    EXPECT_TRUE(morning < noon);  // the raw doubles order the other way
    EXPECT_TRUE(noon < evening);
    EXPECT_TRUE(evening < nextMorning);
    EXPECT_TRUE(nextMorning > morning);
    EXPECT_TRUE(morning <= morning && morning >= morning);
    EXPECT_FALSE(noon <= morning);
    EXPECT_TRUE(COleDateTime(1899, 12, 29, 6, 0, 0) == morning);
    EXPECT_FALSE(morning == noon);
    EXPECT_DOUBLE_EQ((nextMorning - morning).GetTotalDays(), 1.0);
    EXPECT_DOUBLE_EQ((morning - evening).GetTotalHours(), -12.0);
    COleDateTime invalid(1e9);
    EXPECT_TRUE(invalid < morning);
    EXPECT_FALSE(invalid == morning);
}

TEST(COleDateTimeSpan, ComponentsCarryTheSign) {
    struct Case {
        COleDateTimeSpan span;
        long days;
        int hours, minutes, seconds;
    } cases[] = {
        {COleDateTimeSpan(2, 3, 4, 5), 2, 3, 4, 5},
        {COleDateTimeSpan(1.5), 1, 12, 0, 0},
        {COleDateTimeSpan(-1.5), -1, -12, 0, 0},
        {COleDateTimeSpan(0, -1, -30, 0), 0, -1, -30, 0},
        {COleDateTimeSpan(-3, -4, -5, -6), -3, -4, -5, -6},
        {COleDateTimeSpan(0.99999999), 1, 0, 0, 0},
        {COleDateTimeSpan(-0.6 / 86400), 0, 0, 0, -1},
        {COleDateTimeSpan(-0.4 / 86400), 0, 0, 0, 0},
        {COleDateTimeSpan(0, 25, 61, 61), 1, 2, 2, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.span.m_span);
        EXPECT_EQ(c.span.GetDays(), c.days);
        EXPECT_EQ(c.span.GetHours(), c.hours);
        EXPECT_EQ(c.span.GetMinutes(), c.minutes);
        EXPECT_EQ(c.span.GetSeconds(), c.seconds);
    }
    const COleDateTimeSpan s(1, 2, 3, 4);
    EXPECT_DOUBLE_EQ(s.GetTotalSeconds(), 86400 + 7200 + 180 + 4);
    EXPECT_DOUBLE_EQ(s.GetTotalMinutes(), (86400 + 7200 + 180 + 4) / 60.0);
    // A forged span saturates instead of overflowing.
    EXPECT_GT(COleDateTimeSpan(1e300).GetDays(), 0);
    EXPECT_LT(COleDateTimeSpan(-1e300).GetDays(), 0);
    EXPECT_EQ(COleDateTimeSpan(NAN).GetSeconds(), 0);
}

TEST(COleDateTime, FormatDirectives) {
    const COleDateTime d(2014, 3, 5, 9, 7, 2);
    struct Case {
        const char16_t* pattern;
        const char* want;
    } cases[] = {
        {u"%a %A %b %B", "Wed Wednesday Mar March"},
        {u"%c", "03/05/14 09:07:02"},
        {u"%#c", "Wednesday, March 5, 2014 09:07:02"},
        {u"%x|%#x|%X", "03/05/14|Wednesday, March 5, 2014|09:07:02"},
        {u"%d %#d %H %#H %I %#I", "05 5 09 9 09 9"},
        {u"%j %#j %m %#m %M %#M %S %#S", "064 64 03 3 07 7 02 2"},
        {u"%p %U %W %w %y %Y", "AM 09 09 3 14 2014"},
        {u"100%% %", "100% %"},
        {u"%q %#q %#", "%q %#q %#"},
        {u"%Y年%#m月%#d日", "2014年3月5日"},
        {u"", ""},
    };
    for (const auto& c : cases) EXPECT_EQ(U8(d.Format(c.pattern)), c.want) << U8(CString(c.pattern));
    EXPECT_EQ(U8(d.Format(nullptr)), "");

    struct Hour {
        int hour;
        const char* want;
    } hours[] = {{0, "12 AM"}, {11, "11 AM"}, {12, "12 PM"}, {21, "09 PM"}};
    for (const auto& h : hours) EXPECT_EQ(U8(COleDateTime(2014, 3, 5, h.hour, 0, 0).Format(u"%I %p")), h.want);
    EXPECT_EQ(U8(COleDateTime(100, 1, 1, 0, 0, 0).Format(u"%Y %y")), "100 00");
}

TEST(COleDateTime, FormatIsSafeOnAnyPattern) {
    const COleDateTime d(2014, 3, 5, 9, 7, 2);
    EXPECT_EQ(d.Format(std::u16string(10000, u'%').c_str()).GetLength(), 5000);
    EXPECT_EQ(d.Format(std::u16string(10001, u'%').c_str()).GetLength(), 5001);
    std::u16string years;
    for (int i = 0; i < 5000; ++i) years += u"%Y";
    EXPECT_EQ(d.Format(years.c_str()).GetLength(), 20000);
    EXPECT_EQ(d.Format(std::u16string(10000, u'#').c_str()).GetLength(), 10000);
}

TEST(CGlobalInfo, LocalSpanIsUtcMinusLocal) {
    ASSERT_EQ(CGlobalInfo::GetInstance(), CGlobalInfo::GetInstance());
    struct Case {
        const char* zone;
        double hours;
    } cases[] = {{"UTC0", 0}, {"XST-8", -8}, {"YST5", 5}, {"ZST-5:30", -5.5}};
    for (const auto& c : cases) {
        ScopedTz tz(c.zone);
        EXPECT_NEAR(CGlobalInfo::GetInstance()->GetLocalDateTimeSpan().GetTotalHours(), c.hours, 1e-9) << c.zone;
    }
}

TEST(COleDateTime, CurrentTimeIsLocal) {
    ScopedTz tz("XST-8");
    const time_t before = time(nullptr);
    const COleDateTime now = COleDateTime::GetCurrentTime();
    const time_t after = time(nullptr);
    ASSERT_EQ(now.GetStatus(), COleDateTime::valid);
    const double localDays = 25569 + (static_cast<double>(before) + 8 * 3600) / 86400;
    EXPECT_GE(now.m_dt, localDays - 1.0 / 86400);
    EXPECT_LE(now.m_dt, localDays + (static_cast<double>(after - before) + 1) / 86400);
    EXPECT_EQ(COleDateTime::GetTickCount().GetYear(), now.GetYear());
}

TEST(CVek, XMLString2TimeReadsAndConvertsZones) {
    ScopedTz tz("XST-8");
    struct Case {
        const char16_t* text;
        Stamp want;
    } cases[] = {
        {u"2014-03-05T10:20:30", {2014, 3, 5, 10, 20, 30}},
        {u"2014-03-05T10:20:30.999", {2014, 3, 5, 10, 20, 30}},
        {u" 2014-03-05T10:20:30 ", {2014, 3, 5, 10, 20, 30}},
        {u"2014-03-05T10:20:30Z", {2014, 3, 5, 18, 20, 30}},
        {u"2014-03-05T10:20:30+08:00", {2014, 3, 5, 10, 20, 30}},
        {u"2014-03-05T20:20:30-05:00", {2014, 3, 6, 9, 20, 30}},
        {u"2014-03-05T10:20:30.5+05:30", {2014, 3, 5, 12, 50, 30}},
        {u"2014-12-31T23:00:00Z", {2015, 1, 1, 7, 0, 0}},
        {u"2014-03-05T24:00:00", {2014, 3, 6, 0, 0, 0}},
        {u"2012-02-29T00:00:00", {2012, 2, 29, 0, 0, 0}},
        {u"1899-12-29T06:00:00", {1899, 12, 29, 6, 0, 0}},
        {u"0100-01-01T00:00:00+01:00", {100, 1, 1, 7, 0, 0}},
    };
    for (const auto& c : cases) {
        COleDateTime d;
        EXPECT_EQ(CVek::XMLString2Time(c.text, &d), 1) << U8(CString(c.text));
        ExpectStamp(d, c.want, U8(CString(c.text)));
        EXPECT_EQ(CVek::XMLString2Time(c.text, nullptr), 1);
    }
    const char16_t* rejected[] = {
        nullptr, u"", u"2014-03-05", u"2014-03-05 10:20:30", u"2014-3-5T10:20:30", u"2014-02-30T00:00:00",
        u"2014-03-05T25:00:00", u"2014-03-05T24:00:01", u"2014-03-05T24:00:00.1", u"2014-03-05T10:20",
        u"2014-03-05T10:60:00", u"2014-03-05T10:20:30+8:00", u"2014-03-05T10:20:30+15:00",
        u"2014-03-05T10:20:30+05:60", u"2014-03-05T10:20:30X", u"2014-03-05T10:20:30.",
        u"0099-12-31T00:00:00", u"9999-12-31T23:00:00-05:00", u"12014-03-05T10:20:30",
    };
    for (const char16_t* text : rejected) {
        COleDateTime d(1000.0);
        EXPECT_EQ(CVek::XMLString2Time(text, &d), 0) << U8(CString(text));
        EXPECT_EQ(d.m_dt, 1000.0) << "a rejected text leaves the date alone";
    }
}

TEST(CVek, ParseDateSplitsNumbers) {
    struct Case {
        const char16_t* text;
        std::vector<uint32_t> want;  // empty: the text is no date
    } cases[] = {
        {u"2014-03-05", {2014, 3, 5}},
        {u"2014/3/5 10:20:30", {2014, 3, 5, 10, 20, 30}},
        {u"2014\\3\\5", {2014, 3, 5}},
        {u"2014.03.05", {2014, 3, 5}},
        {u"2014-03-05T10:20:30", {2014, 3, 5, 10, 20, 30}},
        {u"  2014 - 3 - 5  ", {2014, 3, 5}},
        {u"2014", {2014}},
        {u"4294967295", {4294967295u}},
        {u"", {}},
        {u"--/ :", {}},
        {u"2014-03-05Z", {}},
        {u"2014年3月5日", {}},
        {u"2014,3,5", {}},
        {u"4294967296", {}},
        {u"2014-99999999999999999999", {}},
    };
    for (const auto& c : cases) {
        CUIntArray parts;
        parts.Add(77);
        EXPECT_EQ(CVek::ParseDate(CString(c.text), parts), static_cast<int>(c.want.size())) << U8(CString(c.text));
        EXPECT_EQ(parts.Items(), c.want) << U8(CString(c.text));
    }
}

}  // namespace
