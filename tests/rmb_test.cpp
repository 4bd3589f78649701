// Amounts in Chinese capital numerals: the "零" gap rule, the group marks
// "万" and "亿", rounding of a third decimal, the sign, "整", and refusal of
// amounts that are too long or not numbers.
#include <qorcalc/utility.h>

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Rmb, Amounts) {
    const std::string tenThousandDigits(10000, '9'), longFraction = "1." + std::string(10000, '4');
    struct Case { const char* amount; int exact; const char* want; } cases[] = {  // want null: refused
        {"0", 0, "零元"},                {"0", 1, "零元整"},               {"", 1, "零元整"},
        {"-0", 0, "零元"},               {"000.00", 1, "零元整"},          {"0.5", 1, "零元伍角整"},
        {"0.05", 1, "零元零伍分"},       {"0.55", 1, "零元伍角伍分"},      {"-0.5", 1, "负零元伍角整"},
        {"7.", 1, "柒元整"},             {"15", 0, "壹拾伍元"},            {"101", 0, "壹佰零壹元"},
        {"1001", 0, "壹仟零壹元"},       {"1010", 0, "壹仟零壹拾元"},      {"10001", 0, "壹万零壹元"},
        {"11000", 0, "壹万壹仟元"},      {"100000", 0, "壹拾万元"},        {"100000001", 0, "壹亿零壹元"},
        {"110000000", 0, "壹亿壹仟万元"}, {"1000010000", 0, "壹拾亿零壹万元"}, {"100000000", 0, "壹亿元"},
        {"10001000000", 0, "壹佰亿零壹佰万元"}, {"10010000000", 0, "壹佰亿壹仟万元"},
        {"1000000000000", 0, "壹万亿元"},
        {"9999999999999", 0, "玖万玖仟玖佰玖拾玖亿玖仟玖佰玖拾玖万玖仟玖佰玖拾玖元"},
        {"1,000,000.01", 1, "壹佰万元零壹分"},
        // A third decimal rounds, also through the nines; blanks and commas are skipped.
        {"1,234.567", 1, "壹仟贰佰叁拾肆元伍角柒分"}, {"1 234.5", 1, "壹仟贰佰叁拾肆元伍角整"},
        {"-12.3", 1, "负壹拾贰元叁角整"}, {"-12.3", 0, "负壹拾贰元叁角"},  {"0.995", 1, "壹元整"},
        {"9.999", 0, "壹拾元"},          {"0.004", 1, "零元整"},           {"-0012.005", 1, "负壹拾贰元零壹分"},
        {"-5.001", 1, "负伍元整"},       {"-0.004", 1, "零元整"},
        // Fourteen integer digits or anything but a number is refused; leading zeros are no digits.
        {"10000000000000", 1, nullptr},  {"-10000000000000", 1, nullptr},  {tenThousandDigits.c_str(), 1, nullptr},
        {"12a", 1, nullptr}, {"1-2", 1, nullptr}, {"1.2x", 1, nullptr}, {"1.2.3", 1, nullptr}, {"--1", 1, nullptr},
        {"0000000000000001", 1, "壹元整"}, {longFraction.c_str(), 1, "壹元肆角肆分"},
    };
    for (const auto& c : cases) {
        // A refused amount leaves nothing behind, not even what stood in `out` before.
        CString out(u"\u58f9"), amount = CString::FromUtf8(c.amount);
        EXPECT_EQ(CUtilityCalc::RMB(out, amount, c.exact), c.want ? 1 : 0) << c.amount;
        EXPECT_EQ(out.ToUtf8(), c.want ? c.want : "") << c.amount;
    }
}

}  // namespace
