// Numbers and dates spelt in words: digits transliterated to Chinese
// characters, whole numbers in English words, and dates in Chinese
// characters, plain or in the capital digits of banking documents.
//
// These members never fail on what they cannot spell: englishNum gives an
// empty text, the date members give the date text back.
#include "func/builtins/builtins.h"
#include "func/builtins/call_record.h"

#include "support/text.h"

#include <qorcalc/limits.h>
#include <qorcalc/vek.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace qorcalc::builtins {
namespace {

using support::IsAsciiDigit;

// Indexed by the digit, the ten at index 10.
const char16_t* const kCapitalDigits[11] = {u"零", u"壹", u"贰", u"叁", u"肆", u"伍",
                                            u"陆", u"柒", u"捌", u"玖", u"拾"};
const char16_t* const kSmallDigits[11] = {u"〇", u"一", u"二", u"三", u"四", u"五",
                                          u"六", u"七", u"八", u"九", u"十"};
// The zero of dates is the Latin capital letter O.
const char16_t* const kDateDigits[11] = {u"O", u"一", u"二", u"三", u"四", u"五",
                                         u"六", u"七", u"八", u"九", u"十"};


// --- English words ------------------------------------------------------------

const char16_t* const kOnes[20] = {u"zero",    u"one",     u"two",       u"three",    u"four",
                                   u"five",    u"six",     u"seven",     u"eight",    u"nine",
                                   u"ten",     u"eleven",  u"twelve",    u"thirteen", u"fourteen",
                                   u"fifteen", u"sixteen", u"seventeen", u"eighteen", u"nineteen"};
// By the tens digit 2..9.
const char16_t* const kTens[10] = {nullptr,  nullptr, u"twenty",  u"thirty", u"forty",
                                   u"fifty", u"sixty", u"seventy", u"eighty", u"ninety"};

// The words of a number, joined by single spaces as they are added, so the
// text is built in one buffer (the caller's, emptied) without a list of
// words first.
class Words {
public:
    explicit Words(std::u16string& text) : m_text(text) { m_text.clear(); }
    void Add(const char16_t* word) {
        if (!m_text.empty()) m_text += u' ';
        m_text += word;
    }
    bool Empty() const { return m_text.empty(); }
    // Grows with every word, so a group that added words shows in it.
    size_t Length() const { return m_text.size(); }
    std::u16string& Text() { return m_text; }

private:
    std::u16string& m_text;
};

void DropLeadingZeros(std::u16string_view& digits) {
    while (!digits.empty() && digits.front() == u'0') digits.remove_prefix(1);
}

// 1..99: a teen word, or the tens word and the unit word unless it is 0.
void SpellBelowHundred(int value, Words& words) {
    if (value < 20) {
        words.Add(kOnes[value]);
        return;
    }
    words.Add(kTens[value / 10]);
    if (value % 10) words.Add(kOnes[value % 10]);
}

// One group of at most three digits.  With the "and" rule on (the units
// group), "and" joins the hundreds to what follows them, or the group to the
// higher groups before it: 105 is one hundred and five, 1005 one thousand
// and five, 1500 one thousand and five hundred.
void SpellGroup(std::u16string_view digits, bool andRule, Words& words) {
    DropLeadingZeros(digits);
    if (digits.empty()) return;
    const bool precededByWords = !words.Empty();
    bool hundreds = false;
    if (digits.size() == 3) {
        if (andRule && precededByWords && digits.substr(1) == u"00") words.Add(u"and");
        words.Add(kOnes[digits.front() - u'0']);
        words.Add(u"hundred");
        digits.remove_prefix(1);
        DropLeadingZeros(digits);
        hundreds = true;
    }
    if (digits.empty()) return;
    if (andRule && (hundreds || precededByWords)) words.Add(u"and");
    int value = 0;
    for (char16_t ch : digits) value = value * 10 + (ch - u'0');
    SpellBelowHundred(value, words);
}

// A group spelt and followed by its scale word, when it produced words.
void SpellScaledGroup(std::u16string_view digits, const char16_t* scale, Words& words) {
    const size_t before = words.Length();
    SpellGroup(digits, false, words);
    if (words.Length() > before) words.Add(scale);
}

// Two digits from 11 to 99 are read as one number (3.14 is three point
// fourteen), any other fraction digit by digit (3.10 is three point one zero).
void SpellFraction(std::u16string_view fraction, Words& words) {
    const int value = fraction.size() == 2 ? (fraction[0] - u'0') * 10 + (fraction[1] - u'0') : 0;
    if (value >= 11) {
        SpellBelowHundred(value, words);
        return;
    }
    for (char16_t ch : fraction) words.Add(kOnes[ch - u'0']);
}

// The number in English words into `out`; empty when it has more than
// twelve whole digits or a character that is not a digit.
void SpellEnglish(const CString& number, int keepZeros, std::u16string& out) {
    // Group separators and blanks are ignored; most numbers have none, and
    // are read where they stand.
    std::u16string_view rest = number.Str();
    std::u16string filtered;
    if (rest.find_first_of(u", ") != std::u16string_view::npos) {
        filtered.reserve(rest.size());
        for (char16_t ch : rest)
            if (ch != u',' && ch != u' ') filtered += ch;
        rest = filtered;
    }
    const bool negative = !rest.empty() && rest.front() == u'-';
    if (negative) rest.remove_prefix(1);
    DropLeadingZeros(rest);

    const size_t point = rest.find(u'.');
    std::u16string_view whole = rest.substr(0, point);
    std::u16string_view fraction = point == std::u16string_view::npos ? std::u16string_view() : rest.substr(point + 1);
    if (!keepZeros)
        while (!fraction.empty() && fraction.back() == u'0') fraction.remove_suffix(1);
    Words words(out);
    if (whole.size() > CALC_MAX_ENGLISH_DIGITS || !support::AllAsciiDigits(whole) ||
        !support::AllAsciiDigits(fraction))
        return;
    if (whole.empty() && fraction.empty()) {
        words.Add(kOnes[0]);
        return;
    }

    const size_t n = whole.size();
    const auto group = [&](size_t fromRight) {  // the three digits ending `fromRight` digits from the end
        const size_t end = n > fromRight ? n - fromRight : 0;
        const size_t begin = end > 3 ? end - 3 : 0;
        return whole.substr(begin, end - begin);
    };
    if (n > 9) SpellScaledGroup(whole.substr(0, n - 9), u"billion", words);
    SpellScaledGroup(group(6), u"million", words);
    SpellScaledGroup(group(3), u"thousand", words);
    SpellGroup(group(0), true, words);
    if (!fraction.empty()) {
        if (words.Empty()) words.Add(kOnes[0]);
        words.Add(u"point");
        SpellFraction(fraction, words);
    }
    // Words were written: a number that is all zeros returned "zero" above.
    if (negative) words.Text().insert(0, u"minus ");
}

// --- Chinese dates ------------------------------------------------------------

// A month or day, 1..31.  Plain: 十 for the tens (二十, 三十), then the unit
// word.  Bank: the capital tens and 拾, led by 零 for values below 11 and
// whole tens (零壹拾, 零贰拾) so that nothing can be written in front.
CString SpellDayOrMonth(int value, bool bank) {
    const int tens = value / 10;
    const int unit = value % 10;
    CString out;
    if (bank) {
        if (value < 11 || unit == 0) out += kCapitalDigits[0];
        if (tens) {
            out += kCapitalDigits[tens];
            out += kCapitalDigits[10];
        }
        if (unit) out += kCapitalDigits[unit];
        return out;
    }
    if (tens >= 2) out += kDateDigits[tens];
    if (tens) out += kDateDigits[10];
    if (unit) out += kDateDigits[unit];
    return out;
}

// The year part as written, padded to four digits: 14 is 2014, 5 is 2005,
// 014 is 2014 (a three-digit year gets a leading 2, a shorter one leading
// zeros first), and 0014 stays as it is.  The date text has been read as
// numbers and separators, so its first run of digits is the year.
CString FourDigitYear(const CString& dateText) {
    constexpr std::u16string_view kDigits = u"0123456789";
    const std::u16string_view text = dateText.Str();
    const size_t begin = std::min(text.find_first_of(kDigits), text.size());
    const size_t end = std::min(text.find_first_not_of(kDigits, begin), text.size());
    CString digits(text.substr(begin, end - begin));
    while (digits.GetLength() < 4) digits.Insert(0, digits.GetLength() == 3 ? u'2' : u'0');
    return digits;
}

// Removes the run of `letters` that starts at their first occurrence and
// returns where it stood and how long it was (position -1: none).
int TakeRun(CString& pattern, const char16_t* letters, int& length) {
    const int pos = pattern.FindOneOf(letters);
    length = 0;
    if (pos < 0) return pos;
    while (std::u16string_view(letters).find(pattern.GetAt(pos + length)) != std::u16string_view::npos) ++length;
    pattern.Delete(pos, length);
    return pos;
}

// The date text written into the pattern, or false when the date has no
// three numeric parts or its month or day is out of range.
bool SpellChineseDate(const CString& dateText, CString& pattern, bool bank) {
    CUIntArray parts;
    if (CVek::ParseDate(dateText, parts) < 3) return false;
    const char16_t* const* digits = bank ? kCapitalDigits : kDateDigits;
    int length;
    if (const int pos = TakeRun(pattern, u"Yy", length); pos >= 0) {
        const CString year = FourDigitYear(dateText);
        CString spelt;
        for (int i = std::max(0, year.GetLength() - std::min(length, 4)); i < year.GetLength(); ++i)
            spelt += digits[year[i] - u'0'];
        pattern.Insert(pos, spelt);
    }
    if (const int pos = TakeRun(pattern, u"Mm", length); pos >= 0) {
        if (parts[1] < 1 || parts[1] > 12) return false;
        pattern.Insert(pos, SpellDayOrMonth(static_cast<int>(parts[1]), bank));
    }
    if (const int pos = TakeRun(pattern, u"Dd", length); pos >= 0) {
        if (parts[2] < 1 || parts[2] > 31) return false;
        pattern.Insert(pos, SpellDayOrMonth(static_cast<int>(parts[2]), bank));
    }
    return true;
}

int ChineseDateIn(CFuncPara* para, int argc, bool bank) {
    if (argc < 1) return kWrongCount;
    const CString& dateText = Arg(para, 0);
    CString pattern = argc > 1 && !Arg(para, 1).IsEmpty() ? Arg(para, 1) : CString(u"YYYY年M月D日");
    const bool spelt = pattern.FindOneOf(u"YyMmDd") >= 0 && SpellChineseDate(dateText, pattern, bank);
    para->m_strResult = spelt ? pattern : dateText;
    return kOk;
}

}  // namespace

// Character by character: 2014.5 gives 贰零壹肆.伍.
int ChineseNum(CFuncPara* para, int argc) {
    if (argc < 1) return kWrongCount;
    const char16_t* const* digits = argc > 1 && support::wtoi(Arg(para, 1)) != 0 ? kSmallDigits : kCapitalDigits;
    CString out;
    for (char16_t ch : Arg(para, 0).Str()) {
        if (IsAsciiDigit(ch))
            out += digits[ch - u'0'];
        else
            out += ch;
    }
    para->m_strResult = out;
    return kOk;
}

int EnglishNum(CFuncPara* para, int argc) {
    if (argc < 1) return kWrongCount;
    SpellEnglish(Arg(para, 0), IntArg(para, argc, 1, 1), para->m_strResult.Str());
    return kOk;
}

int ChineseDate(CFuncPara* para, int argc) { return ChineseDateIn(para, argc, false); }
int ChineseBankDate(CFuncPara* para, int argc) { return ChineseDateIn(para, argc, true); }

}  // namespace qorcalc::builtins
