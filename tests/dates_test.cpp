// Date text in the toolbox: reading (String2Time, CVek::IsDateString),
// comparing and range checks, FormatDate's letter patterns and
// MyFormatDateTime's zone tokens.
#include <qorcalc/api.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include <gtest/gtest.h>

#include "date_testing.h"
#include "text_helpers.h"

#include <string>

namespace {

TEST(String2Time, SeparatorsFieldsAndRanges) {
    struct Case {
        const char* text;
        int dateOnly;
        Stamp want;
    } accepted[] = {
        {"2014-3-5", 0, {2014, 3, 5, 0, 0, 0}},          {"2014/03/05", 0, {2014, 3, 5, 0, 0, 0}},
        {"2014.3.5", 0, {2014, 3, 5, 0, 0, 0}},          {"2014\\3\\5", 0, {2014, 3, 5, 0, 0, 0}},
        {"20140305", 0, {2014, 3, 5, 0, 0, 0}},          {"   2014-3/5", 0, {2014, 3, 5, 0, 0, 0}},
        {"2014-3-5 10:20:30.5x", 0, {2014, 3, 5, 10, 20, 30}},  // reading ends at the "."
        {"2014-3-5 10", 0, {2014, 3, 5, 10, 0, 0}},      {"2014-3-5 10:20", 1, {2014, 3, 5, 0, 0, 0}},
        {"2014-3-5 anything", 1, {2014, 3, 5, 0, 0, 0}}, {"2014-03-05T10:20:30", 0, {2014, 3, 5, 10, 20, 30}},
        {"1000-1-1", 0, {1000, 1, 1, 0, 0, 0}},          {"9999-12-31 23:59:59", 0, {9999, 12, 31, 23, 59, 59}},
        {"1899-12-29 06:00", 0, {1899, 12, 29, 6, 0, 0}}, {"2000-2-29", 0, {2000, 2, 29, 0, 0, 0}},
        // The fixed "YYYY-MM-DD" shape, and texts of its length that only resemble it.
        {"2014-03-05", 0, {2014, 3, 5, 0, 0, 0}},        {"  2016-02-29", 1, {2016, 2, 29, 0, 0, 0}},
        {"2014-03/05", 0, {2014, 3, 5, 0, 0, 0}},        {"2014/03-05", 0, {2014, 3, 5, 0, 0, 0}},
        {"2014-3-5 10", 0, {2014, 3, 5, 10, 0, 0}},      {"2014-03-5 1", 0, {2014, 3, 5, 1, 0, 0}},
    };
    for (const auto& c : accepted) {
        SCOPED_TRACE(c.text);
        COleDateTime date;
        EXPECT_EQ(CUtilityCalc::String2Time(U(c.text), &date, c.dateOnly), 1);
        EXPECT_EQ(Parts(date), c.want);
    }
    // Read as null dates (accepted) or rejected; either way the date is left null.
    const char* nulls[] = {"", "     ", "0-0-0", "00000000", "0-0-0 10:20", "0000-00-00"};
    const char* rejected[] = {
        "14-3-5", "0999-1-1", "2014-3", "2014", "2014-13-1", "2014-0-1", "2014-1-0", "2014-1-32", "2014-2-30",
        "1900-2-29", "2100-2-29", "2014-3-5 24:00", "2014-3-5 10:60", "2014-3-5 10:20:60", "2014-3-5 10:20:30:40",
        "2014-3-5 10:20.5", "2014-3-5-6", "2014-3-5 10-20", "2014-3-5  10:20", "2014:3:5", "2014-3 5",
        "2014-003-5", "12014-3-5", "2014-3-5 100:20", "2014-3-5x", "2014-3-5\t10:20", "20140", "201403051",
        "20140230", "2014-03-05t10:20", "Today" /* a "T" sends it to the XML reader */, "10:20", "2014年3月5日",
        "2014-13-01", "2014-02-30", "2014-00-10", "0999-01-01", "2014-0x-05", "2014-03-5x", "2014-03-0５",
        "2014-0305-", "2014--0305",
    };
    const auto expectNull = [](const char* text, int result) {
        COleDateTime date(2000, 1, 1, 0, 0, 0);
        EXPECT_EQ(CUtilityCalc::String2Time(U(text), &date, 0), result) << text;
        EXPECT_EQ(CUtilityCalc::String2Time(U(text), nullptr, 0), result) << text;
        EXPECT_EQ(date.GetStatus(), COleDateTime::null) << text;
    };
    for (const char* text : nulls) expectNull(text, 1);
    for (const char* text : rejected) expectNull(text, 0);
    COleDateTime date(2000, 1, 1, 0, 0, 0);
    EXPECT_EQ(CUtilityCalc::String2Time(nullptr, &date, 0), 1);
    EXPECT_EQ(date.GetStatus(), COleDateTime::null);
}

// Every month end of every eleventh year reads back through FormatDate as it
// was written, and the day after it is rejected.
TEST(String2Time, RoundTripsOverTheRangeThroughFormatDate) {
    static const int kMonthEnd[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (int year = 1000; year <= 9999; year += 11) {
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        for (int month = 1; month <= 12; ++month) {
            const int day = kMonthEnd[month - 1] + (month == 2 && leap ? 1 : 0);
            CString text, pattern = u"YYYY-MM-DD HH:mm:ss";
            text.Format(u"%04d-%02d-%02d 23:59:58", year, month, day);
            CUtilityCalc::FormatDate(text, pattern);
            ASSERT_EQ(U8(pattern), U8(text));
            text.Format(u"%04d-%02d-%02d", year, month, day + 1);
            ASSERT_EQ(CUtilityCalc::String2Time(text, nullptr, 0), 0) << U8(text);
        }
    }
}

TEST(String2Time, TextsOfAnyShapeAreRejectedOrRead) {
    const std::pair<std::u16string, int> cases[] = {
        {std::u16string(10000, u'9'), 0}, {std::u16string(10000, u'-'), 0}, {std::u16string(10000, u':'), 0},
        {std::u16string(10000, u'T'), 0}, {std::u16string(10000, u' '), 1},
        {u"2014-3-5 10:20:30." + std::u16string(10000, u'7'), 1}, {u"2014-3-5" + std::u16string(10000, u' '), 0},
        {std::u16string(u"\0", 1), 1},  // the text ends at its terminator
    };
    for (const auto& [text, result] : cases)
        EXPECT_EQ(CUtilityCalc::String2Time(text.c_str(), nullptr, 0), result) << U8(CString(text.substr(0, 20)));
}

TEST(IsDateString, OnlyRealDates) {
    struct Case {
        const char* text;
        int flag, want;
    } cases[] = {
        {"2014-3-5 10:20", 0, 1}, {"2014-3-5 10:99", 0, 0}, {"2014-3-5 10:99", 1, 1}, {"20140305", 1, 1},
        {"", 1, 0},               {"0-0-0", 1, 0},          {"abc", 1, 0},            {"12.5", 1, 0},
    };
    for (const auto& c : cases) EXPECT_EQ(CVek::IsDateString(U(c.text), c.flag), c.want) << c.text;
    EXPECT_EQ(CVek::IsDateString(nullptr, 1), 0);
}

TEST(CompareDateTime, ByInstantOrByMonthAndDay) {
    COleDateTime invalid(2014, 2, 30, 0, 0, 0), null;
    null.SetStatus(COleDateTime::null);
    const COleDateTime a = At({2014, 3, 5, 10, 0, 0});
    struct Case {
        COleDateTime a, b;
        int dateOnly, want;
    } cases[] = {
        {invalid, invalid, 0, 0}, {null, invalid, 0, 0}, {null, a, 0, -1}, {a, invalid, 0, 1}, {a, a, 0, 0},
        {null, a, 1, -1}, {a, null, 1, 1}, {a, At({2014, 3, 5, 10, 0, 1}), 0, -1},
        {At({1899, 12, 29, 23, 0, 0}), At({1899, 12, 30, 1, 0, 0}), 0, -1},
        {At({1899, 12, 29, 23, 0, 0}), At({1899, 12, 29, 1, 0, 0}), 0, 1},
        {At({2013, 3, 5, 0, 0, 0}), At({2014, 3, 5, 0, 0, 0}), 1, 0},
        {At({2014, 3, 6, 0, 0, 0}), At({2013, 3, 5, 0, 0, 0}), 1, 1},
        {At({2014, 2, 28, 0, 0, 0}), At({2013, 3, 1, 0, 0, 0}), 1, -1},
        {At({2014, 3, 5, 23, 0, 0}), At({2014, 3, 5, 1, 0, 0}), 1, 0},
    };
    for (size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(CUtilityCalc::CompareDateTime(cases[i].a, cases[i].b, cases[i].dateOnly), cases[i].want) << i;
}

TEST(IsValidDate, InclusiveBoundsAndEmptiedValue) {
    struct Case {
        const char *value, *minimum, *maximum;
        int want;
        const char* valueAfter;
    } cases[] = {
        {"garbage", "", "", 1, "garbage"},          {"garbage", "2014-1-1", "", 0, ""},
        {"garbage", "", "2014-1-1", 1, ""},         {"2014-3-5", "2014-3-5", "2014-3-5", 1, "2014-3-5"},
        {"2014-3-4", "2014-3-5", "", 0, "2014-3-4"}, {"2014-3-6", "", "2014-3-5", 0, "2014-3-6"},
        {"2014-3-5 23:00", "", "2014-3-5", 1, "2014-3-5 23:00"},  // read as dates only
        {"2013-3-5", "2014-3-5", "2016-1-1", 0, "2013-3-5"},       // the year counts here
        {"", "2014-1-1", "", 0, ""},                {"2014-3-5", "bad", "", 1, "2014-3-5"},
        // A null bound reads, and orders before every real date.
        {"2014-3-5", "", "0-0-0", 0, "2014-3-5"},   {"2014-3-5", "0-0-0", "", 1, "2014-3-5"},
        {"", "0-0-0", "", 0, ""},                   {"   ", "2014-1-1", "", 0, "   "},
        {"   ", "", "   ", 1, "   "},
        {"1899-12-30", "1800-1-1", "1899-12-29", 0, "1899-12-30"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.value) + " in " + c.minimum + ".." + c.maximum);
        CString value = U(c.value);
        EXPECT_EQ(CUtilityCalc::IsValidDate(value, U(c.minimum), U(c.maximum)), c.want);
        EXPECT_EQ(U8(value), c.valueAfter);
    }
}

TEST(FormatDate, Patterns) {
    struct Case {
        const char *date, *pattern, *want;
    } cases[] = {
        // Unreadable and null dates give the date text back.
        {"abc", "YYYY", "abc"}, {"2014-2-30", "YYYY", "2014-2-30"}, {"", "YYYY", ""}, {"0-0-0", "YYYY", "0-0-0"},
        {"2005-05-01", "YY Mon. day.", "05 May Sun."}, {"2005-05-01", "Month.", "May"},
        {"2014-09-02", "Mon. day.", "Sept. Tues."}, {"2014-09-04", "Month day.", "September Thurs."},
        {"1850-07-04 18:30:00", "Month D, YYYY day", "July 4, 1850 Thursday"},
        {"1850-07-04 18:30:00", "YYYY HH:mm", "1850 18:07"},  // with a date letter m is the month
        {"9999-12-31 23:59:59", "YYYY-MM-DD HH:mm:ss day", "9999-12-31 23:59:59 Friday"},
        {"1000-01-01", "day D Month YYYY", "Wednesday 1 January 1000"},
    };
    const auto check = [](const char* date, const char* pattern, const char* want) {
        SCOPED_TRACE(std::string(date) + " / " + pattern);
        CString result = U(pattern);
        CUtilityCalc::FormatDate(U(date), result);
        EXPECT_EQ(U8(result), want);
    };
    for (const auto& c : cases) check(c.date, c.pattern, c.want);
    const std::pair<const char*, const char*> on20140305[] = {
        {"YYYY-MM-DD", "2014-03-05"}, {"YY/M/D", "14/3/5"}, {"month d, yyyy", "March 5, 2014"},
        {"YYYY年MM月DD日 HH时mm分", "2014年03月05日 09时07分"}, {"Mon. D", "Mar. 5"}, {"Month.", "Mar."},
        {"day.", "Wed."}, {"DAY, Month D", "Wednesday, March 5"}, {"h:m:s", "9:7:2"}, {"yyyy-mm-dd", "2014-03-05"},
        {"yyyy-mm-dd hh:mm", "2014-03-05 09:MM"}, {"hh:mm", "09:07"} /* no date letter: m stays the minute */,
        {"YYY|MMM|D/D|Hh", "2014|03M|5/D|9h"}, {"YYYYY", "2014Y"}, {"Y", "2014"}, {"@YYYY@", "@2014@"},
        {"---", "---"}, {"", ""},
    };
    for (const auto& [pattern, want] : on20140305) check("2014-03-05 09:07:02", pattern, want);
}

TEST(FormatDate, PatternsOfAnyShape) {
    const CString date = u"2014-03-05 09:07:02";
    const std::pair<std::u16string, std::u16string> cases[] = {
        {std::u16string(10000, u'Y'), u"2014" + std::u16string(9996, u'Y')},
        {std::u16string(10000, u'm'), u"07" + std::u16string(9998, u'm')},
        {u"YYYY" + std::u16string(10000, u'M'), u"201403" + std::u16string(9998, u'M')},
    };
    for (const auto& [in, want] : cases) {
        CString pattern(in);
        CUtilityCalc::FormatDate(date, pattern);
        EXPECT_TRUE(pattern.Str() == want) << pattern.GetLength();
    }
    std::u16string words;
    for (int i = 0; i < 2000; ++i) words += u"Month day ";
    CString pattern(words);
    CUtilityCalc::FormatDate(date, pattern);
    EXPECT_EQ(pattern.Left(16), CString(u"March Wednesday "));
}

TEST(MyFormatDateTime, ZoneTokensAndTheDefaultPattern) {
    const COleDateTime value = At({2014, 3, 5, 9, 7, 2});
    struct Case {
        const char *zone, *pattern, *want;
    } cases[] = {
        {"XST-8", "%Y-%m-%d %H:%M:%S%Z", "2014-03-05 09:07:02+08:00"}, {"XST-8", "%H:%M %z", "09:07 +08:00"},
        // West of Greenwich the span taken a second short reads a minute short.
        {"XST-8", "/z%d %H:%M%Z", "05 01:07+08:00"}, {"XST+5", "%H:%M%Z", "09:07-04:59"},
        {"XST+5", "%d %H:%M/Z", "05 14:07"}, {"XST-5:30", "%Z", "+05:30"}, {"XST+3:30", "%Z", "-03:29"},
        {"UTC0", "%H:%M%Z/Z", "09:07+00:00"}, {"XST-10", "%Y-%m-%d %H/Z", "2014-03-04 23"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.zone) + " " + c.pattern);
        ScopedTz tz(c.zone);
        CString out;
        CUtilityCalc::MyFormatDateTime(out, value, U(c.pattern));
        EXPECT_EQ(U8(out), c.want);
    }
    CString saved, out;
    GetDateTimeFormat(saved, 0);
    SetDateTimeFormat(u"%d.%m.%Y %H:%M", 0);
    for (const char16_t* empty : {u"", static_cast<const char16_t*>(nullptr)}) {
        CUtilityCalc::MyFormatDateTime(out, At({1850, 7, 4, 18, 30, 0}), empty);
        EXPECT_EQ(U8(out), "04.07.1850 18:30");
    }
    SetDateTimeFormat(saved, 0);
}

TEST(EnglishNames, IndexRange) {
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {CUtilityCalc::GetEnglishMonth(0), u"January"}, {CUtilityCalc::GetEnglishMonth(8), u"September"},
        {CUtilityCalc::GetEnglishMonth(11), u"December"}, {CUtilityCalc::GetEnglishDay(0), u"Sunday"},
        {CUtilityCalc::GetEnglishDay(6), u"Saturday"},
    };
    for (const auto& [got, want] : cases) EXPECT_EQ(CString(got), CString(want));
    for (const char16_t* outside : {CUtilityCalc::GetEnglishMonth(-1), CUtilityCalc::GetEnglishMonth(12),
                                    CUtilityCalc::GetEnglishDay(-1), CUtilityCalc::GetEnglishDay(7)})
        EXPECT_EQ(outside, nullptr);
}

}  // namespace
