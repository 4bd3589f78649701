// The quotes that mark a text as a text: a pair of like quote characters
// around it.  Unquoting is inline for the text that has none, as nearly
// every value a calculation passes along.
#pragma once

#include <qorcalc/utility.h>

#include <string_view>

namespace qorcalc::util {

inline bool IsQuote(char16_t c) { return c == u'\'' || c == u'"'; }

// Whether `text` begins and ends with the same quote character (one quote
// character alone does not).
inline bool IsBoundedByQuotes(std::u16string_view text) {
    return text.size() >= 2 && text.front() == text.back() && IsQuote(text.front());
}

// What is left of `text` with every pair of like quotes around it removed.
inline std::u16string_view Unquoted(std::u16string_view text) {
    while (IsBoundedByQuotes(text)) text = text.substr(1, text.size() - 2);
    return text;
}

// CUtilityCalc::Dettach_Quotes(text, nullptr): every pair of like quotes
// around the text removed; the last quote character removed, or 0.
inline char16_t Unquote(CString& text) {
    return IsBoundedByQuotes(text.Str()) ? CUtilityCalc::Dettach_Quotes(text, nullptr) : 0;
}

}  // namespace qorcalc::util
