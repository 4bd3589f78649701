// Reading the date text of a CString, whose length is known: a date of the
// usual fixed shape is read without measuring the text first.
#pragma once

#include <qorcalc/datetime.h>
#include <qorcalc/string.h>

namespace qorcalc::util {

// CUtilityCalc::String2Time over the text, with the same results.
int ReadDateText(const CString& text, COleDateTime* out, int dateOnly);

}  // namespace qorcalc::util
