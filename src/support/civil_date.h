// The date conversions shared by the date types and the date text readers.
//
// A "linear second" counts seconds from 1899-12-30 00:00 straight through
// the whole range (negative before it), unlike the day double of
// COleDateTime, whose fraction stays a positive time of day.
#pragma once

#include <qorcalc/datetime.h>

#include <cstdint>

namespace qorcalc::support {

// English day names from Sunday and month names from January.
extern const char16_t* const kDayNames[7];
extern const char16_t* const kMonthNames[12];

inline constexpr int64_t kSecondsPerDay = 86400;
// Days from 1899-12-30 to 1970-01-01.
inline constexpr int64_t kUnixEpochDay = 25569;

// The date rounded to the nearest second, as linear seconds; false for a
// date that is not valid or lies outside the years 100..9999.
bool RoundedSeconds(const COleDateTime& date, int64_t& seconds);

// The local time of a moment given in seconds since 1970-01-01 UTC, by the
// C library's time zone (TZ); invalid when it falls outside the valid years.
COleDateTime LocalFromUnixTime(int64_t unixSeconds);

}  // namespace qorcalc::support
