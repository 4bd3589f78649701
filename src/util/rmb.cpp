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

using qorcalc::detail::Shielded;

namespace {

constexpr const char16_t* kDigits[] = {u"零", u"壹", u"贰", u"叁", u"肆", u"伍", u"陆", u"柒", u"捌", u"玖"};
// Units inside a group of four, by place 1..4 counted from the right; place
// 5 serves only the thirteenth digit, read as "万" of the hundred-million group.
constexpr const char16_t* kPlaceUnits[] = {u"", u"", u"拾", u"佰", u"仟", u"万"};

constexpr int kMaxIntegerDigits = CALC_MAX_RMB_DIGITS;

// The unit of an integer place 1..13.
const char16_t* UnitOf(int place) {
    if (place > 8) return kPlaceUnits[place - 8];
    if (place > 4) return kPlaceUnits[place - 4];
    return kPlaceUnits[place];
}

// Writes the integer digits; 0 when one is not a digit.
int WriteInteger(CString& out, const CString& digits) {
    const int n = digits.GetLength();
    const int start = out.GetLength();
    int lastPlace = 0;  // place of the last non-zero digit written
    bool tenThousands = false;
    for (int place = n; place >= 1; --place) {
        const char16_t c = digits[n - place];
        if (!qorcalc::support::IsAsciiDigit(c)) return 0;
        if (c != u'0') {
            // A run of zeros before this digit is read as one "零"; the top
            // of the ten-thousand group is never preceded by it, the "亿"
            // already marks the boundary.
            if (lastPlace > place + 1 && place != 8) out += kDigits[0];
            out += kDigits[c - u'0'];
            out += UnitOf(place);
            lastPlace = place;
            if (place >= 5 && place <= 8) tenThousands = true;
        }
        if (place == 9) out += u"亿";
        if (place == 5 && tenThousands) out += u"万";
    }
    if (out.GetLength() == start) out += kDigits[0];
    return 1;
}

// Writes "角" and "分" from at most two fraction digits (trailing zeros
// already gone); 0 on anything else.
int WriteFraction(CString& out, const CString& fraction, bool& endsInFen) {
    endsInFen = false;
    const int n = fraction.GetLength();
    if (n > 2) return 0;
    for (int i = 0; i < n; ++i) {
        if (!qorcalc::support::IsAsciiDigit(fraction[i])) return 0;
    }
    if (n == 2) {
        const int jiao = fraction[0] - u'0';
        out += kDigits[jiao];
        if (jiao) out += u"角";
        out += kDigits[fraction[1] - u'0'];
        out += u"分";
        endsInFen = true;
    } else if (n == 1) {
        out += kDigits[fraction[0] - u'0'];
        out += u"角";
    }
    return 1;
}

}  // namespace

int CUtilityCalc::RMB(CString& out, CString& amount, int exact) {
    return Shielded(u"CUtilityCalc::RMB", 0, [&]() -> int {
        out.Empty();
        amount.Remove(u',');
        amount.Remove(u' ');
        amount.TrimLeft(u'0');

        CString fraction;
        int point = amount.Find(u'.');
        if (point >= 0) {
            if (amount.GetLength() - point - 1 > 2) {
                RoundStr(amount, 2);
                point = amount.Find(u'.');
            }
            if (point >= 0) {
                fraction = amount.Mid(point + 1);
                fraction.TrimRight(u'0');
                amount = amount.Left(point);
            }
        }

        const bool negative = amount.GetAt(0) == u'-';
        if (negative) {
            amount.Delete(0, 1);
            amount.TrimLeft(u'0');
        }

        if (amount.GetLength() > kMaxIntegerDigits) return 0;
        if (amount.IsEmpty() && fraction.IsEmpty()) {
            out = u"零元";
            if (exact) out += u"整";
            return 1;
        }

        if (!WriteInteger(out, amount)) return 0;
        out += u"元";
        bool endsInFen = false;
        if (!WriteFraction(out, fraction, endsInFen)) return 0;
        if (negative) out.Insert(0, u"负");
        if (exact && !endsInFen) out += u"整";
        return 1;
    }, out);
}
