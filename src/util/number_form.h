// Tests on number texts that the number routines and the call record share.
#pragma once

#include <string_view>

namespace qorcalc::util {

// For a text already in number form (digits with an optional leading minus
// and a fraction that does not end in "0"; "-0" is not), which resetting
// leaves as it is: 1 when its integer part is short enough for a number to
// keep, 0 when it is too long.  -1 for any other text.
int MeasureNumberForm(std::u16string_view text);

}  // namespace qorcalc::util
