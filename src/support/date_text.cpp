// The date text helpers of CVek: the XML Schema date-time reader, the
// splitter of a date text into its numbers and the date-text test.
#include "civil_date.h"
#include "text.h"

#include <qorcalc/api.h>
#include <qorcalc/datetime.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include <cstdint>
#include <limits>
#include <string_view>

using namespace qorcalc::support;

namespace {

// A reader over the text that consumes fixed-width fields.
struct Cursor {
    std::u16string_view text;
    size_t pos = 0;

    bool AtEnd() const { return pos >= text.size(); }
    char16_t Peek() const { return AtEnd() ? 0 : text[pos]; }
    bool Accept(char16_t ch) {
        if (Peek() != ch) return false;
        ++pos;
        return true;
    }
    // Exactly `width` digits.
    bool Number(int width, int& value) {
        value = 0;
        for (int i = 0; i < width; ++i, ++pos) {
            if (!IsAsciiDigit(Peek())) return false;
            value = value * 10 + (Peek() - u'0');
        }
        return true;
    }
};

// The zone suffix: none (0), "Z" (0), or "+hh:mm" / "-hh:mm" up to 14:00,
// as seconds east of UTC.  False for a malformed zone.
bool ReadZone(Cursor& c, bool& hasZone, int& offsetSeconds) {
    hasZone = !c.AtEnd();
    offsetSeconds = 0;
    if (!hasZone || c.Accept(u'Z')) return true;
    const int sign = c.Accept(u'+') ? 1 : c.Accept(u'-') ? -1 : 0;
    int hours, minutes;
    if (sign == 0 || !c.Number(2, hours) || !c.Accept(u':') || !c.Number(2, minutes)) return false;
    if (minutes > 59 || hours * 60 + minutes > 14 * 60) return false;
    offsetSeconds = sign * (hours * 3600 + minutes * 60);
    return true;
}

}  // namespace

// "YYYY-MM-DDThh:mm:ss[.fff][Z|+hh:mm|-hh:mm]", with white space allowed
// around it.  The fraction of a second is read and ignored, as everywhere the
// engine reads date text.  "24:00:00" is the end of the day, the next day's
// midnight.  A text with a zone names a moment in that zone; it is converted
// to the local time of the C library's time zone, the time every other date
// of the engine is in.  A text without a zone is taken as local time.
int CVek::XMLString2Time(const char16_t* text, COleDateTime* out) {
    std::u16string_view view = text ? std::u16string_view(text) : std::u16string_view();
    while (!view.empty() && iswspace16(view.front())) view.remove_prefix(1);
    while (!view.empty() && iswspace16(view.back())) view.remove_suffix(1);
    Cursor c{view};
    int year, month, day, hour, minute, second;
    if (!c.Number(4, year) || !c.Accept(u'-') || !c.Number(2, month) || !c.Accept(u'-') || !c.Number(2, day) ||
        !c.Accept(u'T') || !c.Number(2, hour) || !c.Accept(u':') || !c.Number(2, minute) || !c.Accept(u':') ||
        !c.Number(2, second))
        return 0;
    bool fractionNonZero = false;
    if (c.Accept(u'.')) {
        if (!IsAsciiDigit(c.Peek())) return 0;
        for (; IsAsciiDigit(c.Peek()); ++c.pos) fractionNonZero |= c.Peek() != u'0';
    }
    bool hasZone;
    int offsetSeconds;
    if (!ReadZone(c, hasZone, offsetSeconds) || !c.AtEnd()) return 0;

    const bool endOfDay = hour == 24 && minute == 0 && second == 0 && !fractionNonZero;
    COleDateTime date;
    if (date.SetDateTime(year, month, day, endOfDay ? 0 : hour, minute, second) != 0) return 0;
    if (endOfDay) date += COleDateTimeSpan(1, 0, 0, 0);
    if (hasZone) {
        int64_t seconds;
        if (!RoundedSeconds(date, seconds)) return 0;
        date = LocalFromUnixTime(seconds - offsetSeconds - kUnixEpochDay * kSecondsPerDay);
    }
    if (date.GetStatus() != COleDateTime::valid) return 0;
    if (out) *out = date;
    return 1;
}

// Every run of digits is one number; the separators between them are
// "-", "/", "\", ".", " ", ":" and "T".  A number too large for 32 bits
// makes the text no date.
int CVek::ParseDate(const CString& text, CUIntArray& parts) {
    static constexpr std::u16string_view kSeparators = u"-/\\. :T";
    parts.RemoveAll();
    const std::u16string& s = text.Str();
    const int count = qorcalc::detail::Shielded(u"CVek::ParseDate", 0, [&] {
        for (size_t i = 0; i < s.size();) {
            if (kSeparators.find(s[i]) != std::u16string_view::npos) {
                ++i;
                continue;
            }
            uint64_t value = 0;
            const size_t first = i;
            for (; i < s.size() && IsAsciiDigit(s[i]) && value <= std::numeric_limits<uint32_t>::max(); ++i)
                value = value * 10 + (s[i] - u'0');
            if (i == first || value > std::numeric_limits<uint32_t>::max()) return 0;
            parts.Add(static_cast<uint32_t>(value));
        }
        return parts.GetSize();
    });
    if (count == 0) parts.RemoveAll();
    return count;
}

// Only a real date counts: an empty or all-zero text, which the date reader
// accepts as a null date, is no date string.
int CVek::IsDateString(const char16_t* text, int flag) {
    COleDateTime date;
    return CUtilityCalc::String2Time(text, &date, flag) && date.GetStatus() == COleDateTime::valid;
}
