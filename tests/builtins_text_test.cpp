// The text and number-word built-ins through the function manager.
#include "builtin_call.h"

#include <string>

namespace {

using BuiltinsText = BuiltinCall;

TEST_F(BuiltinsText, SubstringsSearchAndReplace) {
    CheckAll({
        {"len", {""}, "0"}, {"len", {"中文"}, "2"}, {"len", {}, "E1003:len()"},
        {"left", {"abc", "5"}, "'abc'"}, {"left", {"abc", "x"}, "''"}, {"left", {"abc", "-1"}, "E1003:left(abc, -1)"},
        {"left", {"abc"}, "E1003:left(abc)"}, {"right", {"abcdef", "2"}, "'ef'"}, {"right", {"abc", "5"}, "'abc'"},
        {"right", {"abc", "-1"}, "E1003:right(abc, -1)"}, {"mid", {"abcdef", "-3", "2"}, "'ab'"},
        {"mid", {"abcdef", "4", "10"}, "'ef'"}, {"mid", {"abcdef", "10", "2"}, "''"},
        {"mid", {"abcdef", "1", "-1"}, "E1003:mid(abcdef, 1, -1)"}, {"mid", {"abcdef", "1"}, "E1003:mid(abcdef, 1)"},
        {"indexOf", {"Hello", "L"}, "'2'"},  // a number, quoted by the function's text kind
        {"indexOf", {"Hello", "L", "0", "1"}, "'-1'"}, {"indexOf", {"Hello", "H", "0", "true"}, "'0'"},
        {"indexOf", {"Hello", "l", "3"}, "'3'"}, {"indexOf", {"Hello", "l", "4"}, "'-1'"},
        {"indexOf", {"Hello", "l", "99"}, "'-1'"}, {"indexOf", {"Hello", "", "2"}, "'2'"},
        {"indexOf", {"Hello", "", "9"}, "'-1'"}, {"indexOf", {"Hello", "l", "0", "0", "extra"}, "'2'"},
        {"indexOf", {"Hello", "l", "-1"}, "E1003:indexOf(Hello, l, -1)"},
        {"indexOf", {"Hello"}, "E1003:indexOf(Hello)"}, {"compare", {"abc", "ABC"}, "0"},
        {"compare", {"abc", "abc", "1"}, "0"}, {"compare", {"abc"}, "E1003:compare(abc)"},
        {"endWith", {"report.xls", "XLS"}, "1"}, {"endWith", {"report.xls", "XLS", "1"}, "0"},
        {"endWith", {"report.xls", "xls", "yes"}, "1"}, {"endWith", {"report.xls", ""}, "1"},
        {"endWith", {"xls", "report.xls"}, "0"}, {"endWith", {"", "x"}, "0"},
        {"endWith", {"abc"}, "E1003:endWith(abc)"},
        // replace overwrites in place, repeating the new text, and never grows the text.
        {"replace", {"abcdef", "1", "4", "XY"}, "'aXYXYf'"}, {"replace", {"abcdef", "1", "2", ""}, "'adef'"},
        {"replace", {"abc", "2", "5", "XY"}, "'abX'"}, {"replace", {"abc", "-5", "1", "Z"}, "'Zbc'"},
        {"replace", {"abc", "9", "1", "Z"}, "'abc'"}, {"replace", {"abc", "0", "0", "Z"}, "'abc'"},
        {"replace", {"abc", "1", "2147483647", "Z"}, "'aZZ'"}, {"replace", {"abc", "1", "2147483647", ""}, "'a'"},
        {"replace", {"abc", "1", "1", "XYZ"}, "'aXc'"},
        {"replace", {"abc", "1", "-1", "Z"}, "E1003:replace(abc, 1, -1, Z)"},
        {"replace", {"abc", "1", "1"}, "E1003:replace(abc, 1, 1)"}, {"replaceAll", {"aaa", "a", "aa"}, "'aaaaaa'"},
        {"replaceAll", {"abc", "", "x"}, "'abc'"}, {"replaceAll", {"abc", "b", ""}, "'ac'"},
        {"replaceAll", {"aBc", "b", "x"}, "'aBc'"}, {"replaceAll", {"it", "t", "t's"}, "\"it's\""},
        {"replaceAll", {"abc", "b"}, "E1003:replaceAll(abc, b)"},
    });
}

// compare gives the collation value itself; only its sign is fixed.
TEST_F(BuiltinsText, CompareGivesTheSignOfTheOrder) {
    const std::pair<std::vector<const char*>, int> cases[] = {
        {{"a", "b"}, -1}, {{"b", "a"}, 1}, {{"abc", "ABD"}, -1}, {{"", "a"}, -1}, {{"abc", "ABC", "1"}, 0},
    };
    for (const auto& [args, sign] : cases) {
        const Outcome got = Run("compare", args);
        ASSERT_EQ(got.status, 1);
        const int value = std::stoi(got.result);
        if (sign == 0)
            EXPECT_NE(value, 0) << args[0];  // case now counts
        else
            EXPECT_EQ(value < 0 ? -1 : 1, sign) << args[0];
    }
}

TEST_F(BuiltinsText, CaseBlanksEncodingAndFormats) {
    CheckAll({
        {"toLowerCase", {"AbC"}, "'abc'"}, {"toUpperCase", {"abc", "ignored"}, "'ABC'"}, {"toLowerCase", {}, ""},
        {"trim", {"  a b  "}, "'a b'"}, {"trimLeft", {"  a b  "}, "'a b  '"}, {"trimRight", {"  a b  "}, "'  a b'"},
        {"trimLeft", {"xxaxx", "x"}, "'axx'"}, {"trimRight", {"xxaxx", "x"}, "'xxa'"}, {"trim", {"-+a+-", "-+"}, "'a'"},
        {"trim", {"  a  ", ""}, "'  a  '"}, {"trimLeft", {" a", ""}, "' a'"}, {"trim", {"aaa", "a"}, "''"}, {"trim", {}, ""},
        {"encodeURI", {"a b"}, "'a%20b'"}, {"encodeURI", {"a/b?c=1"}, "'a/b?c=1'"},
        {"encodeURIComponent", {"a/b?c=1"}, "'a%2fb%3fc%3d1'"}, {"encodeURI", {}, "E1003:encodeURI()"},
        {"RMB", {"-12.3"}, "'负壹拾贰元叁角整'"}, {"RMB", {"1,234.567"}, "'壹仟贰佰叁拾肆元伍角柒分'"},
        {"RMB", {"12a"}, "E1004:RMB(12a)"}, {"RMB", {"12345678901234"}, "E1004:RMB(12345678901234)"},
        // The writer trims the amount it reads; the failure names it as given.
        {"RMB", {" 0,012a"}, "E1004:RMB( 0,012a)"}, {"RMB", {"-0,0123.456"}, "'负壹佰贰拾叁元肆角陆分'"},
        {"RMB", {}, "E1003:RMB()"}, {"formatNum", {"1234567.891", "#,##0.00"}, "'1,234,567.89'"},
        {"formatNum", {"42", "0000"}, "'0042'"}, {"formatNum", {"42"}, "E1003:formatNum(42)"},
        {"formatDate", {"2014-03-05 09:07:02", "YYYY年M月D日"}, "'2014年3月5日'"},
        {"formatDate", {"2014-03-05 09:07:02", "Month D, YYYY"}, "'March 5, 2014'"},
        {"formatDate", {"abc", "YYYY"}, "'abc'"}, {"formatDate", {"2014-03-05"}, "E1003:formatDate(2014-03-05)"},
    });
}

TEST_F(BuiltinsText, NumberWords) {
    CheckAll({
        {"chineseNum", {"2014.5"}, "'贰零壹肆.伍'"}, {"chineseNum", {"12", "1"}, "'一二'"},
        {"chineseNum", {"12", "x"}, "'壹贰'"}, {"chineseNum", {"a1-0"}, "'a壹-零'"}, {"chineseNum", {"90", "1"}, "'九〇'"},
        {"chineseNum", {}, "E1003:chineseNum()"},
        {"englishNum", {"105"}, "'one hundred and five'"},
        {"englishNum", {"1500"}, "'one thousand and five hundred'"},
        {"englishNum", {"1 234"}, "'one thousand two hundred and thirty four'"},
        {"englishNum", {"1005"}, "'one thousand and five'"}, {"englishNum", {"3.14"}, "'three point fourteen'"},
        {"englishNum", {"3.10"}, "'three point one zero'"}, {"englishNum", {"3.10", "0"}, "'three point one'"},
        {"englishNum", {"3.00", "0"}, "'three'"}, {"englishNum", {"0.00", "0"}, "'zero'"},
        {"englishNum", {"0.00"}, "'zero point zero zero'"}, {"englishNum", {"3.20"}, "'three point twenty'"},
        {"englishNum", {"3.14159"}, "'three point one four one five nine'"},
        {"englishNum", {"0.05"}, "'zero point zero five'"}, {"englishNum", {"-0.5"}, "'minus zero point five'"},
        {"englishNum", {""}, "'zero'"}, {"englishNum", {"0012"}, "'twelve'"}, {"englishNum", {"15"}, "'fifteen'"},
        {"englishNum", {"40"}, "'forty'"}, {"englishNum", {"100"}, "'one hundred'"},
        {"englishNum", {"1000"}, "'one thousand'"}, {"englishNum", {"1,000,000"}, "'one million'"},
        {"englishNum", {"105000"}, "'one hundred five thousand'"},
        {"englishNum", {"2000100"}, "'two million and one hundred'"},
        {"englishNum", {"1000000001"}, "'one billion and one'"},
        {"englishNum", {"999999999999"},
         "'nine hundred ninety nine billion nine hundred ninety nine million nine hundred ninety nine thousand "
         "nine hundred and ninety nine'"},
        {"englishNum", {"1000000000000"}, ""},  // thirteen digits: nothing, and no error
        {"englishNum", {"12.5.3"}, ""}, {"englishNum", {"1e5"}, ""}, {"englishNum", {"+5"}, ""},
        {"englishNum", {}, "E1003:englishNum()"},
    });
    const std::string fraction = "1." + std::string(5000, '0');
    const Outcome got = Run("englishNum", {fraction.c_str()});
    EXPECT_EQ(got.status, 1);
    EXPECT_EQ(got.result.size(), std::string("'one point'").size() + 5000 * std::string(" zero").size());
    EXPECT_EQ(Run("englishNum", {fraction.c_str(), "0"}).result, "'one'");
    EXPECT_EQ(Run("englishNum", {std::string(10000, '7').c_str()}).result, "");
}

TEST_F(BuiltinsText, ChineseDates) {
    const std::string longPattern(10000, 'Y'), separators(10000, '-');
    const std::string quotedSeparators = "'" + separators + "'", yearError = "E1003:getYear(" + separators + ")";
    CheckAll({
        {"chineseDate", {"2014-01-05"}, "'二O一四年一月五日'"}, {"chineseDate", {"2014-10-20"}, "'二O一四年十月二十日'"},
        {"chineseDate", {"2014-12-31", "YY年MM月DD日"}, "'一四年十二月三十一日'"},
        {"chineseDate", {"2014-11-19", "yyyy/m/d"}, "'二O一四/十一/十九'"},
        {"chineseDate", {"14-3-5"}, "'二O一四年三月五日'"}, {"chineseDate", {"5-3-5", "YYYY"}, "'二OO五'"},
        {"chineseDate", {"014-3-5", "YYYY"}, "'二O一四'"}, {"chineseDate", {"0014-3-5", "YYYY"}, "'OO一四'"},
        {"chineseDate", {"2014-3-5 10:20:30", "D日"}, "'五日'"}, {"chineseDate", {"2014-01-05", ""}, "'二O一四年一月五日'"},
        {"chineseDate", {"2014-02-30"}, "'二O一四年二月三十日'"},  // spelt, not checked as a date
        {"chineseDate", {"2014-13-05"}, "'2014-13-05'"}, {"chineseDate", {"2014-1-32"}, "'2014-1-32'"},
        {"chineseDate", {"2014-00-05", "YYYY"}, "'二O一四'"},  // the month is not asked for
        {"chineseDate", {"2014-01"}, "'2014-01'"}, {"chineseDate", {"abc"}, "'abc'"},
        {"chineseDate", {"2014-01-05", "no letters"}, "'2014-01-05'"}, {"chineseDate", {}, "E1003:chineseDate()"},
        {"chineseDate", {"2014-01-05", longPattern.c_str()}, "'二O一四'"},
        {"chineseDate", {separators.c_str()}, quotedSeparators.c_str()},
        {"chineseDate", {"4294967296-1-1"}, "'4294967296-1-1'"},  // a part beyond 32 bits is no date
        {"formatDate", {"2014-01-05", separators.c_str()}, quotedSeparators.c_str()},
        {"getYear", {separators.c_str()}, yearError.c_str()},
        {"chineseBankDate", {"2014-10-20"}, "'贰零壹肆年零壹拾月零贰拾日'"},
        {"chineseBankDate", {"2014-1-5"}, "'贰零壹肆年零壹月零伍日'"},
        {"chineseBankDate", {"2014-11-15"}, "'贰零壹肆年壹拾壹月壹拾伍日'"},
        {"chineseBankDate", {"2014-12-30"}, "'贰零壹肆年壹拾贰月零叁拾日'"},
        {"chineseBankDate", {"2014-12-31"}, "'贰零壹肆年壹拾贰月叁拾壹日'"},
        {"chineseBankDate", {"2014-13-05"}, "'2014-13-05'"},
    });
}

}  // namespace
