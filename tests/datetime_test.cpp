// The date types: calendar round trips over the whole range, arithmetic across
// 1899-12-30, span components, Format, and the date text helpers of CVek.
#include <qorcalc/datetime.h>
#include <qorcalc/vek.h>

#include <gtest/gtest.h>

#include "date_testing.h"
#include "text_helpers.h"

#include <cmath>
#include <string>
#include <tuple>

namespace {

constexpr Stamp none{-1, -1, -1, -1, -1, -1};  // the parts of an invalid or null date

TEST(COleDateTime, SetDateTimeRoundTripsOverTheRange) {
    struct Case {
        Stamp s;
        double dt;
        int dayOfWeek, dayOfYear;
    } cases[] = {
        {{100, 1, 1, 0, 0, 0}, -657434.0, 6, 1},  {{1600, 2, 29, 12, 0, 0}, -109512.5, 3, 60},
        {{1899, 12, 29, 6, 0, 0}, -1.25, 6, 363}, {{1899, 12, 30, 0, 0, 0}, 0.0, 7, 364},
        {{1900, 3, 1, 18, 0, 0}, 61.75, 5, 60},   {{2012, 12, 31, 0, 0, 0}, 41274.0, 2, 366},
        {{2000, 2, 29, 23, 59, 59}, 36585 + 86399.0 / 86400, 3, 60},
        {{9999, 12, 31, 23, 59, 59}, 2958465 + 86399.0 / 86400, 6, 365},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.s);
        COleDateTime d;
        EXPECT_EQ(d.SetDateTime(c.s.year, c.s.month, c.s.day, c.s.hour, c.s.minute, c.s.second), 0);
        EXPECT_NEAR(d.m_dt, c.dt, 1e-9);
        EXPECT_EQ(Parts(d), c.s);
        EXPECT_EQ(Parts(COleDateTime(c.dt)), c.s);
        EXPECT_EQ(d.GetDayOfWeek(), c.dayOfWeek);
        EXPECT_EQ(d.GetDayOfYear(), c.dayOfYear);
    }
}

TEST(COleDateTime, InvalidFieldsHaveNoParts) {
    const Stamp fields[] = {
        {1900, 2, 29, 0, 0, 0}, {2013, 2, 29, 0, 0, 0}, {2014, 4, 31, 0, 0, 0}, {2014, 13, 1, 0, 0, 0},
        {2014, 0, 1, 0, 0, 0},  {2014, 1, 0, 0, 0, 0},  {99, 12, 31, 0, 0, 0},  {10000, 1, 1, 0, 0, 0},
        {2014, 1, 1, 24, 0, 0}, {2014, 1, 1, 0, 60, 0}, {2014, 1, 1, 0, 0, 60}, {2014, 1, 1, -1, 0, 0},
    };
    for (const auto& s : fields) {
        SCOPED_TRACE(testing::Message() << s);
        COleDateTime d(2014.5);
        EXPECT_EQ(d.SetDateTime(s.year, s.month, s.day, s.hour, s.minute, s.second), 1);
        EXPECT_EQ(d.GetStatus(), COleDateTime::invalid);
        EXPECT_EQ(Parts(d), none);
        EXPECT_EQ(d.GetDayOfWeek(), -1);
        EXPECT_EQ(U8(d.Format(u"%Y")), "");
    }
    COleDateTime null(100.0);
    null.SetStatus(COleDateTime::null);
    EXPECT_EQ(Parts(null), none);
    EXPECT_EQ(U8(null.Format(u"%Y-%m-%d")), "");

    COleDateTime d;
    EXPECT_EQ(d.SetDate(2000, 2, 29), 0);
    EXPECT_EQ(d.SetTime(23, 59, 59), 0);
    EXPECT_EQ(Parts(d), (Stamp{1899, 12, 30, 23, 59, 59}));
    EXPECT_EQ(d.SetTime(24, 0, 0), 1);
}

TEST(COleDateTime, DoublesRoundToTheNearestSecondOrAreInvalid) {
    struct Case {
        double dt;
        Stamp want;
    } cases[] = {
        {0.5 + 0.4 / 86400, {1899, 12, 30, 12, 0, 0}},  {0.5 + 0.6 / 86400, {1899, 12, 30, 12, 0, 1}},
        {41639 + 86399.6 / 86400, {2014, 1, 1, 0, 0, 0}}, {-1.9999999, {1899, 12, 30, 0, 0, 0}},
        {-2.0000001, {1899, 12, 28, 0, 0, 0}},           {-0.25, {1899, 12, 30, 6, 0, 0}},
        {2958466.0, none}, {-657435.0, none}, {NAN, none}, {INFINITY, none}, {-INFINITY, none}, {1e300, none},
    };
    for (const auto& c : cases) EXPECT_EQ(Parts(COleDateTime(c.dt)), c.want) << c.dt;
}

// An independent calendar: the C library's UTC conversion and strftime in the
// "C" locale, in steps that touch every weekday and both sides of 1899-12-30.
TEST(COleDateTime, AgreesWithTheCLibraryCalendar) {
    const char* pattern = "%a %A %b %B %d %H %I %j %m %M %p %S %U %w %W %x %X %y %%";
    for (int64_t day = -657434; day <= 2958465; day += 997) {
        const int secondOfDay = static_cast<int>((day * 7919) % 86400 + 86400) % 86400;
        const double fraction = secondOfDay / 86400.0;
        const COleDateTime d(day >= 0 ? day + fraction : day - fraction);
        const time_t t = static_cast<time_t>((day - 25569) * 86400 + secondOfDay);
        struct tm tm;
        ASSERT_NE(gmtime_r(&t, &tm), nullptr);
        SCOPED_TRACE(day);
        EXPECT_EQ(Parts(d), (Stamp{tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec}));
        EXPECT_EQ(d.GetDayOfWeek(), tm.tm_wday + 1);
        EXPECT_EQ(d.GetDayOfYear(), tm.tm_yday + 1);
        char want[200];
        strftime(want, sizeof want, pattern, &tm);
        EXPECT_EQ(U8(d.Format(CString::FromUtf8(pattern))), want);
    }
}

TEST(COleDateTime, ArithmeticThroughTheLinearDayCount) {
    using Span = COleDateTimeSpan;
    struct Case {
        Stamp from;
        Span span;
        std::optional<Stamp> want;  // empty: outside the valid range
    } cases[] = {
        {{1899, 12, 30, 0, 0, 0}, Span(0, -6, 0, 0), Stamp{1899, 12, 29, 18, 0, 0}},
        {{1899, 12, 29, 6, 0, 0}, Span(1, 0, 0, 0), Stamp{1899, 12, 30, 6, 0, 0}},
        {{1899, 12, 29, 18, 0, 0}, Span(0, 12, 0, 0), Stamp{1899, 12, 30, 6, 0, 0}},
        {{1899, 12, 31, 0, 0, 0}, Span(-2, -12, 0, 0), Stamp{1899, 12, 28, 12, 0, 0}},
        {{1899, 12, 28, 23, 0, 0}, Span(0, 2, 0, 0), Stamp{1899, 12, 29, 1, 0, 0}},
        {{1800, 1, 1, 0, 0, 0}, Span(36524, 0, 0, 0), Stamp{1900, 1, 1, 0, 0, 0}},
        {{2012, 2, 28, 0, 0, 0}, Span(1, 0, 0, 0), Stamp{2012, 2, 29, 0, 0, 0}},
        {{1900, 3, 1, 0, 0, 0}, Span(-1, 0, 0, 0), Stamp{1900, 2, 28, 0, 0, 0}},
        {{2013, 12, 31, 23, 59, 59}, Span(0, 0, 0, 1), Stamp{2014, 1, 1, 0, 0, 0}},
        {{9999, 12, 31, 23, 59, 59}, Span(0, 0, 0, 1), std::nullopt},
        {{100, 1, 1, 0, 0, 0}, Span(0, 0, 0, -1), std::nullopt},
        {{2014, 1, 1, 0, 0, 0}, Span(1e300), std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.from << " + " << c.span.m_span);
        const COleDateTime from = At(c.from), sum = from + c.span;
        if (!c.want) {
            EXPECT_EQ(sum.GetStatus(), COleDateTime::invalid);
            continue;
        }
        EXPECT_EQ(Parts(sum), *c.want);
        EXPECT_EQ(Parts(sum - c.span), c.from);
        EXPECT_NEAR((sum - from).GetTotalDays(), c.span.GetTotalDays(), 1e-9);
        COleDateTime moved = from;
        moved += c.span;
        EXPECT_EQ(moved, sum);
        moved -= c.span;
        EXPECT_EQ(Parts(moved), c.from);
    }
}

TEST(COleDateTime, ComparesRealInstantsAndCarriesStatus) {
    const COleDateTime morning(-1.25), noon(-1.5), evening(-1.75), nextMorning(0.25);
    EXPECT_TRUE(morning < noon);  // the raw doubles order the other way
    EXPECT_TRUE(noon < evening && evening < nextMorning && nextMorning > morning);
    EXPECT_TRUE(morning <= morning && morning >= morning && !(noon <= morning));
    EXPECT_TRUE(COleDateTime(1899, 12, 29, 6, 0, 0) == morning && !(morning == noon));
    EXPECT_DOUBLE_EQ((morning - evening).GetTotalHours(), -12.0);
    const COleDateTime invalid(1e9);
    EXPECT_TRUE(invalid < morning && !(invalid == morning));

    COleDateTime null(100.0);
    null.SetStatus(COleDateTime::null);
    EXPECT_EQ((null + COleDateTimeSpan(1.0)).GetStatus(), COleDateTime::null);
    COleDateTimeSpan bad(1.0);
    bad.SetStatus(COleDateTimeSpan::invalid);
    EXPECT_EQ((COleDateTime(100.0) + bad).GetStatus(), COleDateTime::invalid);
    EXPECT_EQ((COleDateTime(100.0) - null).GetStatus(), COleDateTimeSpan::invalid);
}

TEST(COleDateTimeSpan, ComponentsCarryTheSign) {
    struct Case {
        COleDateTimeSpan span;
        long days;
        int hours, minutes, seconds;
    } cases[] = {
        {COleDateTimeSpan(2, 3, 4, 5), 2, 3, 4, 5},         {COleDateTimeSpan(-1.5), -1, -12, 0, 0},
        {COleDateTimeSpan(0, -1, -30, 0), 0, -1, -30, 0},   {COleDateTimeSpan(-3, -4, -5, -6), -3, -4, -5, -6},
        {COleDateTimeSpan(0.99999999), 1, 0, 0, 0},         {COleDateTimeSpan(-0.6 / 86400), 0, 0, 0, -1},
        {COleDateTimeSpan(-0.4 / 86400), 0, 0, 0, 0},       {COleDateTimeSpan(0, 25, 61, 61), 1, 2, 2, 1},
        {COleDateTimeSpan(NAN), 0, 0, 0, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(std::tuple(c.span.GetDays(), c.span.GetHours(), c.span.GetMinutes(), c.span.GetSeconds()),
                  std::tuple(c.days, c.hours, c.minutes, c.seconds))
            << c.span.m_span;
    }
    const COleDateTimeSpan s(1, 2, 3, 4);
    EXPECT_DOUBLE_EQ(s.GetTotalSeconds(), 93784);
    EXPECT_DOUBLE_EQ(s.GetTotalMinutes(), 93784 / 60.0);
    // A forged span saturates instead of overflowing.
    EXPECT_GT(COleDateTimeSpan(1e300).GetDays(), 0);
    EXPECT_LT(COleDateTimeSpan(-1e300).GetDays(), 0);
}

TEST(COleDateTime, FormatDirectives) {
    struct Case {
        int hour;  // of 2014-03-05 hh:07:02
        const char16_t* pattern;
        const char* want;
    } cases[] = {
        {9, u"%a %A %b %B", "Wed Wednesday Mar March"},
        {9, u"%c|%#c", "03/05/14 09:07:02|Wednesday, March 5, 2014 09:07:02"},
        {9, u"%x|%#x|%X", "03/05/14|Wednesday, March 5, 2014|09:07:02"},
        {9, u"%d %#d %H %#H %I %#I", "05 5 09 9 09 9"},
        {9, u"%j %#j %m %#m %M %#M %S %#S", "064 64 03 3 07 7 02 2"},
        {9, u"%p %U %W %w %y %Y", "AM 09 09 3 14 2014"},
        {9, u"100%% % %q %#q %#", "100% % %q %#q %#"},
        {9, u"%Y年%#m月%#d日", "2014年3月5日"},
        {9, u"", ""},            {9, nullptr, ""},         {0, u"%I %p", "12 AM"},
        {12, u"%I %p", "12 PM"}, {21, u"%I %p", "09 PM"},
    };
    for (const auto& c : cases) EXPECT_EQ(U8(COleDateTime(2014, 3, 5, c.hour, 7, 2).Format(c.pattern)), c.want);
    EXPECT_EQ(U8(COleDateTime(100, 1, 1, 0, 0, 0).Format(u"%Y %y")), "100 00");

    // Patterns of any size: a lone "%" stays, "%%" halves, and output grows with the directives.
    const COleDateTime d(2014, 3, 5, 9, 7, 2);
    EXPECT_EQ(d.Format(std::u16string(10000, u'%').c_str()).GetLength(), 5000);
    EXPECT_EQ(d.Format(std::u16string(10001, u'%').c_str()).GetLength(), 5001);
    std::u16string years;
    for (int i = 0; i < 5000; ++i) years += u"%Y";
    EXPECT_EQ(d.Format(years.c_str()).GetLength(), 20000);
}

TEST(CGlobalInfo, LocalSpanIsUtcMinusLocalAndNowIsLocal) {
    ASSERT_EQ(CGlobalInfo::GetInstance(), CGlobalInfo::GetInstance());
    for (auto [zone, hours] : {std::pair{"UTC0", 0.0}, {"XST-8", -8.0}, {"YST5", 5.0}, {"ZST-5:30", -5.5}}) {
        ScopedTz tz(zone);
        EXPECT_NEAR(CGlobalInfo::GetInstance()->GetLocalDateTimeSpan().GetTotalHours(), hours, 1e-9) << zone;
    }
    ScopedTz tz("XST-8");
    const time_t before = time(nullptr);
    const COleDateTime now = COleDateTime::GetCurrentTime();
    const time_t after = time(nullptr);
    ASSERT_EQ(now.GetStatus(), COleDateTime::valid);
    const double localDays = 25569 + (static_cast<double>(before) + 8 * 3600) / 86400;
    EXPECT_GE(now.m_dt, localDays - 1.0 / 86400);
    EXPECT_LE(now.m_dt, localDays + (static_cast<double>(after - before) + 1) / 86400);
}

TEST(CVek, XMLString2TimeReadsAndConvertsZones) {
    ScopedTz tz("XST-8");
    struct Case {
        const char16_t* text;
        Stamp want;
    } cases[] = {
        {u" 2014-03-05T10:20:30.999 ", {2014, 3, 5, 10, 20, 30}}, {u"2014-03-05T10:20:30Z", {2014, 3, 5, 18, 20, 30}},
        {u"2014-03-05T10:20:30+08:00", {2014, 3, 5, 10, 20, 30}}, {u"2014-12-31T23:00:00Z", {2015, 1, 1, 7, 0, 0}},
        {u"2014-03-05T20:20:30-05:00", {2014, 3, 6, 9, 20, 30}}, {u"2014-03-05T24:00:00", {2014, 3, 6, 0, 0, 0}},
        {u"2014-03-05T10:20:30.5+05:30", {2014, 3, 5, 12, 50, 30}},
        {u"1899-12-29T06:00:00", {1899, 12, 29, 6, 0, 0}}, {u"0100-01-01T00:00:00+01:00", {100, 1, 1, 7, 0, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(U8(CString(c.text)));
        COleDateTime d;
        EXPECT_EQ(CVek::XMLString2Time(c.text, &d), 1);
        EXPECT_EQ(Parts(d), c.want);
        EXPECT_EQ(CVek::XMLString2Time(c.text, nullptr), 1);
    }
    const char16_t* rejected[] = {
        nullptr, u"", u"2014-03-05", u"2014-03-05 10:20:30", u"2014-3-5T10:20:30", u"2014-02-30T00:00:00",
        u"2014-03-05T25:00:00", u"2014-03-05T24:00:01", u"2014-03-05T24:00:00.1", u"2014-03-05T10:20",
        u"2014-03-05T10:60:00", u"2014-03-05T10:20:30+8:00", u"2014-03-05T10:20:30+15:00", u"2014-03-05T10:20:30.",
        u"2014-03-05T10:20:30+05:60", u"2014-03-05T10:20:30X", u"0099-12-31T00:00:00", u"12014-03-05T10:20:30",
        u"9999-12-31T23:00:00-05:00",
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
        {u"2014/3/5 10:20:30", {2014, 3, 5, 10, 20, 30}}, {u"2014\\3\\5", {2014, 3, 5}},
        {u"2014.03.05", {2014, 3, 5}},                    {u"2014-03-05T10:20:30", {2014, 3, 5, 10, 20, 30}},
        {u"  2014 - 3 - 5  ", {2014, 3, 5}},              {u"4294967295", {4294967295u}},
        {u"", {}},  {u"--/ :", {}},  {u"2014-03-05Z", {}},  {u"2014年3月5日", {}},  {u"2014,3,5", {}},
        {u"4294967296", {}},  {u"2014-99999999999999999999", {}},
    };
    for (const auto& c : cases) {
        CUIntArray parts;
        parts.Add(77);
        EXPECT_EQ(CVek::ParseDate(CString(c.text), parts), static_cast<int>(c.want.size())) << U8(CString(c.text));
        EXPECT_EQ(parts.Items(), c.want) << U8(CString(c.text));
    }
}

}  // namespace
