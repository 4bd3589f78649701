// The date built-ins through the function manager.  Date results are the
// module's date-time text ("%Y.%m.%d %H:%M:%S" unless a test sets another).
#include <qorcalc/api.h>
#include <qorcalc/datetime.h>

#include "builtin_call.h"
#include "date_testing.h"

#include <string>

namespace {

using BuiltinsDates = BuiltinCall;

TEST_F(BuiltinsDates, PartReaders) {
    CheckAll({
        {"getYear", {"20140305"}, "2014"}, {"getMonth", {"9999-12-31 23:59:59"}, "12"},
        {"getDay", {"1899-12-29 06:00"}, "29"}, {"getHour", {"1899-12-29 06:00"}, "6"},
        {"getHour", {"2014-03-05T23:20:30"}, "23"}, {"getMinute", {"2014-03-05 10:20:30"}, "20"},
        {"getYear", {"2014-2-30"}, "E1003:getYear(2014-2-30)"},
        {"getYear", {""}, "E1003:getYear()"},  // a null date has no parts
        {"getYear", {}, "E1003:getYear()"}, {"getDay", {"2014-03-05", "x"}, "E1003:getDay(2014-03-05, x)"},
    });
}

TEST_F(BuiltinsDates, AddingSpans) {
    CheckAll({
        {"dateAddDays", {"2012-02-28", "1"}, "'2012.02.29 00:00:00'"},
        {"dateAddDays", {"1899-12-31 12:00", "-2"}, "'1899.12.29 12:00:00'"},
        {"dateAddDays", {"2014-03-05", "x"}, "'2014.03.05 00:00:00'"},  // not a number reads 0
        {"dateAddDays", {"9999-12-31", "1"}, "''"},
        {"dateAddDays", {"2014-03-05"}, "E1003:dateAddDays(2014-03-05)"},
        {"dateAddDays", {"2014-3-5x", "1"}, "E1003:dateAddDays(2014-3-5x, 1)"},
        {"dateAddHours", {"2014-01-01 00:00:00", "25"}, "'2014.01.02 01:00:00'"},
        {"dateAddHours", {"2014-01-01 00:00:00", "24"}, "'2014.01.02 00:00:00'"},
        {"dateAddHours", {"2014-01-01 00:00:00", "-25"}, "'2013.12.30 23:00:00'"},
        {"dateAddHours", {"1899-12-30 01:00", "-2"}, "'1899.12.29 23:00:00'"},
        {"dateAddHours", {"2014-01-01", "2147483647"}, "''"},
        {"dateAddMinutes", {"2014-01-01 00:00", "61"}, "'2014.01.01 01:01:00'"},
        {"dateAddMinutes", {"2014-01-01 00:00", "1500"}, "'2014.01.02 01:00:00'"},
        {"dateAddMinutes", {"2014-01-01 00:00", "-90"}, "'2013.12.31 22:30:00'"},
        {"dateAddMinutes", {"2014-01-01 00:00", "60"}, "'2014.01.01 01:00:00'"},
        // Months and years are field arithmetic: no clamping, no carry below month 1.
        {"dateAddMonths", {"2014-11-15 10:20:30", "3"}, "'2015.02.15 10:20:30'"},
        {"dateAddMonths", {"2014-01-15", "24"}, "'2016.01.15 00:00:00'"},
        {"dateAddMonths", {"2014-03-15", "-2"}, "'2014.01.15 00:00:00'"},
        {"dateAddMonths", {"2014-01-31", "1"}, "''"}, {"dateAddMonths", {"2014-03-15", "-3"}, "''"},
        {"dateAddMonths", {"2012-02-29", "12"}, "''"}, {"dateAddMonths", {"2014-03-15", "2147483647"}, "''"},
        {"dateAddYears", {"2012-02-29", "4"}, "'2016.02.29 00:00:00'"}, {"dateAddYears", {"2012-02-29", "1"}, "''"},
        {"dateAddYears", {"2014-03-05 01:02:03", "-1914"}, "'100.03.05 01:02:03'"},
        {"dateAddYears", {"2014-03-05", "-1915"}, "''"}, {"dateAddYears", {"2014-03-05", "7986"}, "''"},
        {"dateAddYears", {"2014-03-05", "3abc"}, "'2017.03.05 00:00:00'"},
        {"dateAddYears", {"2014-03-05", "2147483647"}, "''"}, {"dateAddYears", {"2014-03-05", "-2147483648"}, "''"},
    });
}

TEST_F(BuiltinsDates, DifferencesAndComparison) {
    CheckAll({
        {"dateDifDays", {"2014-03-01", "2014-02-28"}, "-1"}, {"dateDifDays", {"2014-03-01", "2014-03-01"}, "0"},
        {"dateDifDays", {"1899-12-29", "1900-01-01"}, "3"},
        {"dateDifDays", {"2014-03-05 23:00", "2014-03-06 01:00"}, "0"},
        {"dateDifDays", {"2014-03-06 01:00", "2014-03-05 00:00"}, "-1"},
        {"dateDifDays", {"1000-01-01", "9999-12-31"}, "3287181"},
        {"dateDifMonths", {"2013-12-31", "2014-01-01"}, "1"}, {"dateDifMonths", {"2014-03-31", "2014-02-01"}, "-1"},
        {"dateDifYears", {"2013-12-31", "2014-01-01"}, "1"}, {"dateDifYears", {"2014-01-01", "1850-12-31"}, "-164"},
        {"dateDifHours", {"2014-03-05 10:00", "2014-03-05 12:59:59"}, "2"},
        {"dateDifHours", {"2014-03-05 10:00", "2014-03-05 11:00"}, "1"},
        // The half second is added to the signed count: a whole negative unit counts one less.
        {"dateDifHours", {"2014-03-05 11:00", "2014-03-05 10:00"}, "0"},
        {"dateDifHours", {"2014-03-05 12:30", "2014-03-05 10:00"}, "-2"},
        {"dateDifHours", {"1899-12-29 23:00", "1899-12-30 01:00"}, "2"},
        {"dateDifMinutes", {"2014-03-05 10:00:00", "2014-03-05 10:01:59"}, "1"},
        {"dateDifMinutes", {"2014-03-05 10:07", "2014-03-05 09:00"}, "-66"},
        {"dateDifMinutes", {"1000-01-01", "9999-12-31"}, "2147483647"},  // saturates
        {"dateDifMinutes", {"9999-12-31", "1000-01-01"}, "-2147483648"},
        {"dateDifDays", {"2014-03-01"}, "E1003:dateDifDays(2014-03-01)"},
        {"dateDifYears", {"x", "2014-03-01"}, "E1003:dateDifYears(x, 2014-03-01)"},
        {"compareDate", {"2014-03-05", "2014-03-05 00:00:00"}, "0"},
        {"compareDate", {"2014-03-05 00:00:01", "2014-03-05"}, "1"},
        {"compareDate", {"2013-03-05", "2014-03-05"}, "-1"},  // the year counts
        {"compareDate", {"1899-12-29 23:00", "1899-12-30"}, "-1"},
        {"compareDate", {"2014-03-05", "bad"}, "E1003:compareDate(2014-03-05, bad)"},
    });
}

TEST_F(BuiltinsDates, PeriodBounds) {
    CheckAll({
        {"firstDateOfMonth", {"2014-05-10 12:00"}, "'2014.05.01 00:00:00'"},
        {"firstDateOfSeason", {"2014-05-10"}, "'2014.04.01 00:00:00'"},
        {"firstDateOfSeason", {"2014-12-31"}, "'2014.10.01 00:00:00'"},
        {"firstDateOfYear", {"2014-05-10"}, "'2014.01.01 00:00:00'"},
        {"lastDateOfMonth", {"2012-02-10"}, "'2012.02.29 23:59:39'"},
        {"lastDateOfMonth", {"1900-02-01"}, "'1900.02.28 23:59:39'"},
        {"lastDateOfMonth", {"2014-04-30"}, "'2014.04.30 23:59:39'"},
        {"lastDateOfMonth", {"1899-12-01"}, "'1899.12.31 23:59:39'"},
        {"lastDateOfMonth", {"9999-12-15"}, "'9999.12.31 23:59:39'"},
        {"lastDateOfSeason", {"2014-05-10"}, "'2014.06.30 23:59:59'"},
        {"lastDateOfSeason", {"2014-02-01"}, "'2014.03.31 23:59:59'"},
        {"lastDateOfSeason", {"2014-08-01"}, "'2014.09.30 23:59:59'"},
        {"lastDateOfYear", {"2014-05-10", "ignored"}, "'2014.12.31 23:59:59'"},
        {"lastDateOfYear", {}, "E1003:lastDateOfYear()"},
        {"firstDateOfMonth", {"2014-13-01"}, "E1003:firstDateOfMonth(2014-13-01)"},
    });
    CString saved;
    GetDateTimeFormat(saved, 0);
    SetDateTimeFormat(u"%d/%m/%Y", 0);
    Check({"lastDateOfYear", {"2014-05-10"}, "'31/12/2014'"});  // results follow the module's format
    SetDateTimeFormat(saved, 0);
}

// The current time is read around the call, so a tick between the reads
// still gives one of the two texts.
TEST_F(BuiltinsDates, Now) {
    ScopedTz tz("XST-8");
    const auto expect = [&](const char* format, const std::vector<const char*>& args) {
        SCOPED_TRACE(format);
        const CString before = COleDateTime::GetCurrentTime().Format(CString::FromUtf8(format));
        const Outcome got = Run("now", args);
        const CString after = COleDateTime::GetCurrentTime().Format(CString::FromUtf8(format));
        EXPECT_EQ(got.status, 1);
        EXPECT_TRUE(got.result == "'" + before.ToUtf8() + "'" || got.result == "'" + after.ToUtf8() + "'")
            << got.result;
    };
    expect("%Y-%m-%d %H:%M:%S", {"%Y-%m-%d %H:%M:%S"});
    expect("%Y.%m.%d %H:%M:%S", {});
    expect("%Y.%m.%d %H:%M:%S", {""});
    expect("%H:%M+08:00", {"%H:%M%Z"});
    EXPECT_EQ(Run("now", {"week"}).result, "'week'");
}

// A date argument is read up to a NUL it may hold, however its shape.
TEST_F(BuiltinsDates, DateArgumentsEndAtANul) {
    using namespace std::string_literals;
    struct Case { std::u16string first; int status; const char* result; } cases[] = {
        {u"2014-03-01\0x"s, 1, "9"},    {u"2014-3-1\0 junk"s, 1, "9"}, {u"2014-03-01 \0"s, 1, "9"},
        {u"2014-03\0-01"s, 0, ""},      {u"\02014-03-01"s, 0, ""},     {u"2014-03-0\0"s, 0, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(CString(c.first).ToUtf8());
        CFuncPara para;
        para.m_strFuncName = u"dateDifDays";
        para.m_arrParas.Add(CString(c.first));
        para.m_arrParas.Add(u"2014-03-10");
        EXPECT_EQ(mnger->Call(para, 1, -1), c.status);
        EXPECT_EQ(para.m_strResult.ToUtf8(), c.result);
    }
}

}  // namespace
