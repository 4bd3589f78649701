// Amounts in Chinese capital numerals, as written on cheques and invoices:
// capital digits with place units, "元", "角", "分", and "整" when the amount
// stops short of "分".
//
// Supported amounts have at most 13 integer digits (below ten trillion); a
// longer one is refused before any digit is written, so a text of any length
// costs no more than scanning it once.
#include <qorcalc/api.h>
#include <qorcalc/limits.h>
#include <qorcalc/utility.h>

#include "support/text.h"

#include <string>
#include <string_view>

using qorcalc::detail::Shielded;

namespace {

// Every numeral and unit is one UTF-16 unit, so the text is built by
// appending single characters to one buffer.
constexpr char16_t kDigits[] = u"零壹贰叁肆伍陆柒捌玖";
// Units inside a group of four, by place 1..4 counted from the right; place
// 5 serves only the thirteenth digit, read as "万" of the hundred-million group.
constexpr char16_t kNoUnit = 0;
constexpr char16_t kPlaceUnits[] = {kNoUnit, kNoUnit, u'拾', u'佰', u'仟', u'万'};
constexpr char16_t kHundredMillion = u'亿';
constexpr char16_t kTenThousand = u'万';
constexpr char16_t kYuan = u'元';
constexpr char16_t kJiao = u'角';
constexpr char16_t kFen = u'分';
constexpr char16_t kWhole = u'整';
constexpr char16_t kMinus = u'负';
// The longest text: 13 digits each with a unit and a "零", the group marks,
// "元", two fraction digits with their units, the sign and "整".
constexpr size_t kLongestText = 13 * 3 + 2 + 1 + 4 + 2;

constexpr int kMaxIntegerDigits = CALC_MAX_RMB_DIGITS;

bool IsDigit(char16_t c) { return qorcalc::support::IsAsciiDigit(c); }
char16_t DigitOf(char16_t c) { return kDigits[c - u'0']; }

// The unit of an integer place 1..13.
char16_t UnitOf(int place) {
    if (place > 8) return kPlaceUnits[place - 8];
    if (place > 4) return kPlaceUnits[place - 4];
    return kPlaceUnits[place];
}

// Writes the integer digits; 0 when one is not a digit, with what came
// before it left written.
int WriteInteger(std::u16string& out, std::u16string_view digits) {
    const int n = static_cast<int>(digits.size());
    const size_t start = out.size();
    int lastPlace = 0;  // place of the last non-zero digit written
    bool tenThousands = false;
    for (int place = n; place >= 1; --place) {
        const char16_t c = digits[static_cast<size_t>(n - place)];
        if (!IsDigit(c)) return 0;
        if (c != u'0') {
            // A run of zeros before this digit is read as one "零"; the top
            // of the ten-thousand group is never preceded by it, the "亿"
            // already marks the boundary.
            if (lastPlace > place + 1 && place != 8) out += kDigits[0];
            out += DigitOf(c);
            if (const char16_t unit = UnitOf(place)) out += unit;
            lastPlace = place;
            if (place >= 5 && place <= 8) tenThousands = true;
        }
        if (place == 9) out += kHundredMillion;
        if (place == 5 && tenThousands) out += kTenThousand;
    }
    if (out.size() == start) out += kDigits[0];
    return 1;
}

// Writes "角" and "分" from at most two fraction digits (trailing zeros
// already gone); 0 on anything else.
int WriteFraction(std::u16string& out, std::u16string_view fraction, bool& endsInFen) {
    endsInFen = false;
    const size_t n = fraction.size();
    if (n > 2) return 0;
    for (const char16_t c : fraction) {
        if (!IsDigit(c)) return 0;
    }
    if (n == 2) {
        out += DigitOf(fraction[0]);
        if (fraction[0] != u'0') out += kJiao;
        out += DigitOf(fraction[1]);
        out += kFen;
        endsInFen = true;
    } else if (n == 1) {
        out += DigitOf(fraction[0]);
        out += kJiao;
    }
    return 1;
}

// Cuts the fraction off `amount` (rounded to two places when it has more)
// and returns it without trailing zeros.
std::u16string TakeFraction(CString& amount) {
    std::u16string& s = amount.Str();
    size_t point = s.find(u'.');
    if (point == std::u16string::npos) return std::u16string();
    if (s.size() - point - 1 > 2) {
        CUtilityCalc::RoundStr(amount, 2);
        point = s.find(u'.');
        if (point == std::u16string::npos) return std::u16string();
    }
    const std::u16string_view digits = std::u16string_view(s).substr(point + 1);
    std::u16string fraction(digits.substr(0, digits.find_last_not_of(u'0') + 1));
    s.resize(point);
    return fraction;
}

}  // namespace

// A refused amount leaves `out` empty, as every failed toolbox routine
// leaves its output, never half an amount that reads like a whole one.
int CUtilityCalc::RMB(CString& out, CString& amount, int exact) {
    const int written = Shielded(u"CUtilityCalc::RMB", 0, [&]() -> int {
        std::u16string& text = out.Str();
        text.clear();
        std::erase_if(amount.Str(), [](char16_t c) { return c == u',' || c == u' '; });
        amount.TrimLeft(u'0');
        const std::u16string fraction = TakeFraction(amount);

        const bool negative = amount.GetAt(0) == u'-';
        if (negative) {
            amount.Delete(0, 1);
            amount.TrimLeft(u'0');
        }

        if (amount.GetLength() > kMaxIntegerDigits) return 0;
        text.reserve(kLongestText);
        if (amount.IsEmpty() && fraction.empty()) {
            text += kDigits[0];
            text += kYuan;
            if (exact) text += kWhole;
            return 1;
        }

        if (!WriteInteger(text, amount.Str())) return 0;
        text += kYuan;
        bool endsInFen = false;
        if (!WriteFraction(text, fraction, endsInFen)) return 0;
        if (negative) text.insert(text.begin(), kMinus);
        if (exact && !endsInFen) text += kWhole;
        return 1;
    }, out);
    if (!written) out.Empty();
    return written;
}
