// Tests on number texts that the number routines and the call record share.
#pragma once

#include <string_view>

namespace qorcalc::util {

// Digits with an optional minus and a fraction that does not end in "0":
// a text that resetting to number form leaves as it is ("-0" aside).
bool IsInResetForm(std::u16string_view text);

}  // namespace qorcalc::util
