// Date display: pieces are the module's display format, a date text and a
// pattern; the first byte picks which format (date or date-time) is set.
// Formats and patterns of any shape must format without harm, and a date
// text the reader accepts must read back the same once formatted in full.
#include "fuzz_input.h"

namespace {

using U = CUtilityCalc;

// The instant of `date` to the second, comparable across readings.
long long Seconds(const COleDateTime& date) {
    return (static_cast<long long>(date.GetYear()) * 10000 + date.GetMonth() * 100 + date.GetDay()) * 1000000 +
           date.GetHour() * 10000 + date.GetMinute() * 100 + date.GetSecond();
}

void RequireFullFormatReadsBack(const CString& text) {
    COleDateTime date;
    if (!U::String2Time(text, &date, 0) || date.GetStatus() != COleDateTime::valid || date.GetYear() < 1000)
        return;
    CString full(u"YYYY-MM-DD HH:mm:ss");
    U::FormatDate(text, full);
    COleDateTime back;
    fuzzing::Require(U::String2Time(full, &back, 0) == 1, "a date formatted in full reads back");
    fuzzing::Require(Seconds(back) == Seconds(date), "a date formatted in full keeps its value");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::InstallMessages();
    static CString savedDate, savedDateTime;
    static const bool saved = (GetDateTimeFormat(savedDate, 1), GetDateTimeFormat(savedDateTime, 0), true);
    (void)saved;

    fuzzing::Input in(data, size);
    const int bDate = in.Byte() & 1;
    const CString format = in.Text();
    const CString dateText = in.Text();
    const CString pattern = in.Text();

    SetDateTimeFormat(format, bDate);
    CString stored;
    GetDateTimeFormat(stored, bDate);
    fuzzing::Require(stored == format, "the display format reads back as set");

    COleDateTime date;
    for (int dateOnly = 0; dateOnly <= 1; ++dateOnly) U::String2Time(dateText, &date, dateOnly);
    TimeToString(date, bDate);
    TimeToString(COleDateTime(date.m_dt + 0.5), !bDate);
    CString out;
    U::MyFormatDateTime(out, date, pattern);
    U::MyFormatDateTime(out, date, u"");
    date.Format(pattern);
    CString formatted = pattern;
    U::FormatDate(dateText, formatted);
    RequireFullFormatReadsBack(dateText);

    SetDateTimeFormat(savedDate, 1);
    SetDateTimeFormat(savedDateTime, 0);
    return 0;
}
