// Dates in the toolbox: reading date and date-time text, comparing and
// range-checking dates, the small letter-pattern language of FormatDate and
// the strftime patterns of MyFormatDateTime with their two zone tokens.
//
// Every routine is total: a text of any length or shape reads as a date or is
// rejected in one pass over it, and a pattern of any shape is filled in one
// pass per field.
#include "util/date_read.h"

#include "support/civil_date.h"
#include "support/text.h"

#include <qorcalc/api.h>
#include <qorcalc/utility.h>
#include <qorcalc/vek.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

using namespace qorcalc::support;
using qorcalc::detail::ShieldedInto;

namespace {

// The six fields of a date-time text, in reading order.
enum Field { kYear, kMonth, kDay, kHour, kMinute, kSecond, kFieldCount };

// Splits `text` into its fields by the separator rules of String2Time.
// Returns the number of fields read (1..6), or 0 for a text that breaks a
// rule.  Fields left unread stay 0.
int ReadFields(std::u16string_view text, int dateOnly, std::array<int, kFieldCount>& fields) {
    fields.fill(0);
    int index = kYear;
    int digits = 0;
    for (char16_t ch : text) {
        if (IsAsciiDigit(ch)) {
            if (++digits > (index == kYear ? 4 : 2)) return 0;
            fields[index] = fields[index] * 10 + (ch - u'0');
            continue;
        }
        if (ch == u'.' && index == kSecond) break;  // fractions of a second are ignored
        if (ch == u' ' && index == kDay && dateOnly) break;  // the time is not wanted
        const bool dateSeparator = (ch == u'/' || ch == u'\\' || ch == u'-' || ch == u'.') && index < kDay;
        const bool daySeparator = ch == u' ' && index == kDay;
        const bool timeSeparator = ch == u':' && index >= kHour && index < kSecond;
        if (!dateSeparator && !daySeparator && !timeSeparator) return 0;
        ++index;
        digits = 0;
    }
    return index + 1;
}

// The date of four year digits at the start and two month and two day
// digits at the places given, all known to be digits.
void ReadDateDigits(std::u16string_view text, size_t month, size_t day, std::array<int, kFieldCount>& fields) {
    const auto at = [&](size_t i) { return text[i] - u'0'; };
    fields = {at(0) * 1000 + at(1) * 100 + at(2) * 10 + at(3), at(month) * 10 + at(month + 1), at(day) * 10 + at(day + 1),
              0, 0, 0};
}


// "YYYY-MM-DD", the shape most dates come in, read at its fixed places into
// what ReadFields would read from it; false for any other text.
bool ReadIsoDate(std::u16string_view text, std::array<int, kFieldCount>& fields) {
    static constexpr size_t kDigitPlaces[] = {0, 1, 2, 3, 5, 6, 8, 9};
    if (text.size() != 10 || text[4] != u'-' || text[7] != u'-') return false;
    for (const size_t i : kDigitPlaces)
        if (!IsAsciiDigit(text[i])) return false;
    ReadDateDigits(text, 5, 8, fields);
    return true;
}

// The fields of a date text without its leading blanks: 1 read, 0 broken,
// -1 for the XML form, which has a reader of its own.
int ReadDateFields(std::u16string_view text, int dateOnly, std::array<int, kFieldCount>& fields) {
    if (ReadIsoDate(text, fields)) return 1;
    if (text.find(u'T') != std::u16string_view::npos) return -1;
    if (AllAsciiDigits(text)) {  // "YYYYMMDD"
        if (text.size() != 8) return 0;
        ReadDateDigits(text, 4, 6, fields);
        return 1;
    }
    return ReadFields(text, dateOnly, fields) >= 3 ? 1 : 0;
}

// The date the fields read make into `out`: 1, also for all-zero fields (a
// null date, `out` left as it is), 0 for fields out of range or no date.
int DateOfFields(const std::array<int, kFieldCount>& f, COleDateTime* out) {
    if (f[kYear] + f[kMonth] + f[kDay] == 0) return 1;  // a null date
    if (f[kYear] < 1000 || f[kMonth] < 1 || f[kMonth] > 12 || f[kDay] < 1 || f[kDay] > 31 || f[kHour] > 24 ||
        f[kMinute] > 59 || f[kSecond] > 59)
        return 0;
    COleDateTime date;
    if (date.SetDateTime(f[kYear], f[kMonth], f[kDay], f[kHour], f[kMinute], f[kSecond]) != 0) return 0;
    if (out) *out = date;
    return 1;
}

// --- FormatDate --------------------------------------------------------------

// The marker that hides a placed field's letters from later searches.
constexpr char16_t kMarker = u'@';

// FormatDate's fields, in the order their kinds are numbered.
enum DateField { kFYear, kFMonth, kFDay, kFWeekday, kFHour, kFMinute, kFSecond };
constexpr int kDateFieldCount = kFSecond + 1;

struct Slot {
    int pos = -1;
    int length = 0;
};

using Slots = std::array<Slot, kDateFieldCount>;

// Counted by the field's length, so that no position past the field is
// ever formed.
void Hide(CString& pattern, const Slot& slot) {
    for (int i = 0; i < slot.length; ++i) pattern.SetAt(slot.pos + i, kMarker);
}

// Places a named field (month or weekday name) at the first of `words`
// found without regard to case; a "." right after the word belongs to it.
void PlaceWord(CString& pattern, Slot& slot, std::initializer_list<const char16_t*> words) {
    for (const char16_t* word : words) {
        const int pos = CVek::FindNoCase(pattern, word);
        if (pos < 0) continue;
        const int length = static_cast<int>(Len(word));
        slot.pos = pos;
        slot.length = length + (pattern.GetAt(pos + length) == u'.' ? 1 : 0);
        Hide(pattern, slot);
        return;
    }
}

// Places a letter field at the first character of `letters` in the pattern:
// the run of that same character, at most `maxLength` long.  Later runs of
// the letter stay in the text as literals.
void PlaceLetters(CString& pattern, Slot& slot, const char16_t* letters, int maxLength) {
    if (slot.pos >= 0) return;
    const int pos = pattern.FindOneOf(letters);
    if (pos < 0) return;
    const char16_t letter = pattern.GetAt(pos);
    int length = 1;
    while (length < maxLength && pattern.GetAt(pos + length) == letter) ++length;
    slot = {pos, length};
    Hide(pattern, slot);
}

// A lone lower-case "m" in a date pattern is the month, not the minute.
void ReadLoneMAsMonth(CString& pattern) {
    if (pattern.Find(u'm') >= 0 && pattern.Find(u'M') < 0 && pattern.FindOneOf(u"YyDd") >= 0)
        pattern.Replace(u'm', u'M');
}

// "Sept." and "Tues."/"Thurs." are the customary abbreviations; May is too
// short to abbreviate.
CString MonthName(int month, int length) {
    const CString name = kMonthNames[month - 1];
    if (length != 4 && length != 6) return name;
    if (month == 5) return name;
    return name.Left(month == 9 ? 4 : 3) + u".";
}

CString WeekdayName(int weekday, int length) {
    const CString name = kDayNames[weekday];
    if (length != 4) return name;
    const int keep = weekday == 2 ? 4 : weekday == 4 ? 5 : 3;
    return name.Left(keep) + u".";
}

CString Number(int value, int length) {
    CString text;
    text.Format(length == 2 ? u"%02d" : u"%d", value);
    return text;
}

CString FieldText(DateField field, const Slot& slot, const COleDateTime& date) {
    switch (field) {
    case kFYear: {
        const CString year = Number(date.GetYear(), 1);
        return slot.length == 2 ? year.Right(2) : year;
    }
    case kFMonth:
        return slot.length > 2 ? MonthName(date.GetMonth(), slot.length) : Number(date.GetMonth(), slot.length);
    case kFWeekday: return WeekdayName(date.GetDayOfWeek() - 1, slot.length);
    case kFDay: return Number(date.GetDay(), slot.length);
    case kFHour: return Number(date.GetHour(), slot.length);
    case kFMinute: return Number(date.GetMinute(), slot.length);
    case kFSecond: return Number(date.GetSecond(), slot.length);
    }
    return CString();
}

// "+08:00" for a zone eight hours east of UTC.  The span (UTC minus local
// time) is taken one second short before its hours and minutes are read, so
// that a span read a hair past a whole minute still names that minute.  West
// of Greenwich the shortened span falls below the whole offset, and the text
// reads one minute short of it ("-04:59" five hours west); hosts rely on the
// text as it stands.
CString ZoneText() {
    const COleDateTimeSpan span =
        CGlobalInfo::GetInstance()->GetLocalDateTimeSpan() + COleDateTimeSpan(0, 0, 0, -1);
    const int hours = -span.GetHours();
    const int minutes = -span.GetMinutes();
    CString text;
    text.Format(u"%c%02d:%02d", hours < 0 || minutes < 0 ? u'-' : u'+', std::abs(hours), std::abs(minutes));
    return text;
}

}  // namespace

int CUtilityCalc::String2Time(const char16_t* text, COleDateTime* out, int dateOnly) {
    if (out) out->SetStatus(COleDateTime::null);
    std::u16string_view view = text ? std::u16string_view(text) : std::u16string_view();
    view.remove_prefix(std::min(view.find_first_not_of(u' '), view.size()));
    if (view.empty()) return 1;

    std::array<int, kFieldCount> f;
    const int read = ReadDateFields(view, dateOnly, f);
    if (read < 0) return CVek::XMLString2Time(text, out);
    if (read == 0) return 0;
    return DateOfFields(f, out);
}

// A text of the fixed shape holds no NUL, so it reads as its C string would;
// any other is read as one.
int qorcalc::util::ReadDateText(const CString& text, COleDateTime* out, int dateOnly) {
    std::array<int, kFieldCount> f;
    if (!ReadIsoDate(text.Str(), f)) return CUtilityCalc::String2Time(text, out, dateOnly);
    if (out) out->SetStatus(COleDateTime::null);
    return DateOfFields(f, out);
}

// With dateOnly set only the month and the day are compared: the year is
// ignored on purpose, so that yearly dates (birthdays, due days) compare.
int CUtilityCalc::CompareDateTime(const COleDateTime& a, const COleDateTime& b, int dateOnly) {
    if (a.GetStatus() != COleDateTime::valid) return b.GetStatus() != COleDateTime::valid ? 0 : -1;
    if (b.GetStatus() != COleDateTime::valid) return 1;
    if (!dateOnly) return a == b ? 0 : a > b ? 1 : -1;
    const auto order = [](int x, int y) { return x > y ? 1 : x < y ? -1 : 0; };
    if (const int months = order(a.GetMonth(), b.GetMonth())) return months;
    return order(a.GetDay(), b.GetDay());
}

// A bound that is empty or unreadable does not limit the value.  Null dates
// compare as CompareDateTime orders them: a null maximum lies below every real
// value, and a value of blanks (a null date) lies below any real minimum.
int CUtilityCalc::IsValidDate(CString& value, const CString& minimum, const CString& maximum) {
    if (minimum.IsEmpty() && maximum.IsEmpty()) return 1;
    COleDateTime date;
    if (!String2Time(value, &date, 1)) value.Empty();
    COleDateTime bound;
    const bool hasMinimum = !minimum.IsEmpty() && String2Time(minimum, &bound, 1);
    if (hasMinimum && (value.IsEmpty() || CompareDateTime(date, bound, 0) < 0)) return 0;
    if (maximum.IsEmpty() || value.IsEmpty() || !String2Time(maximum, &bound, 1)) return 1;
    return CompareDateTime(date, bound, 0) <= 0;
}

// A null date (an empty or all-zero text) has nothing to fill the pattern
// with and is treated like an unreadable one.
void CUtilityCalc::FormatDate(const CString& dateText, CString& pattern) {
    ShieldedInto(u"CUtilityCalc::FormatDate", [&] {
        COleDateTime date;
        if (!String2Time(dateText, &date, 0) || date.GetStatus() != COleDateTime::valid) {
            pattern = dateText;
            return;
        }
        Slots slots;
        PlaceWord(pattern, slots[kFMonth], {u"Month", u"Mon"});
        PlaceWord(pattern, slots[kFWeekday], {u"day"});
        ReadLoneMAsMonth(pattern);
        PlaceLetters(pattern, slots[kFYear], u"Yy", 4);
        PlaceLetters(pattern, slots[kFMonth], u"M", 2);
        PlaceLetters(pattern, slots[kFDay], u"Dd", 2);
        PlaceLetters(pattern, slots[kFHour], u"Hh", 2);
        PlaceLetters(pattern, slots[kFMinute], u"m", 2);
        PlaceLetters(pattern, slots[kFSecond], u"Ss", 2);

        // Right to left, so that each replacement leaves the positions of the
        // fields still to come unchanged.
        std::array<int, kDateFieldCount> order;
        for (int i = 0; i < kDateFieldCount; ++i) order[i] = i;
        std::sort(order.begin(), order.end(), [&](int x, int y) { return slots[x].pos > slots[y].pos; });
        for (int field : order) {
            const Slot& slot = slots[field];
            if (slot.pos < 0) break;
            pattern.Delete(slot.pos, slot.length);
            pattern.Insert(slot.pos, FieldText(static_cast<DateField>(field), slot, date));
        }
    }, pattern);
}

void CUtilityCalc::MyFormatDateTime(CString& out, const COleDateTime& value, const char16_t* pattern) {
    ShieldedInto(u"CUtilityCalc::MyFormatDateTime", [&] {
        CString format = pattern;
        if (format.IsEmpty()) GetDateTimeFormat(format, 0);
        const int toUtcAt = CVek::FindNoCase(format, u"/Z");
        if (toUtcAt >= 0) format.Delete(toUtcAt, 2);
        const int zoneAt = CVek::FindNoCase(format, u"%Z");
        if (zoneAt >= 0) {
            format.Delete(zoneAt, 2);
            format.Insert(zoneAt, ZoneText());
        }
        COleDateTime shown = value;
        if (toUtcAt >= 0) shown += CGlobalInfo::GetInstance()->GetLocalDateTimeSpan();
        out = shown.Format(format);
    }, out);
}

const char16_t* CUtilityCalc::GetEnglishMonth(int index) { return index >= 0 && index < 12 ? kMonthNames[index] : nullptr; }

const char16_t* CUtilityCalc::GetEnglishDay(int index) { return index >= 0 && index < 7 ? kDayNames[index] : nullptr; }
