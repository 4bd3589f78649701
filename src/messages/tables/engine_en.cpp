// English texts of the engine: its error messages and its function catalogue.
//
// Error texts that the engine formats hold exactly one "%s": the formula
// text (compile, evaluation and limit failures), the call text "name(args)"
// (a built-in refusing its arguments) or the bare function name (a call of
// an unknown function); they must read right with any of these, so they
// quote it rather than build a sentence around it.  A literal percent sign
// in a formatted text is written "%%".  Texts the engine uses as they are
// (1072, 1303 to 1306 and every catalogue text) hold no directive, and a
// percent sign there is a plain "%".
//
// A usage text is the argument list in brackets without the function name:
// several functions share one usage id, so front ends write the name before
// it ("left" + "(text, count)").  Optional arguments are in square brackets.
#include "table.h"

namespace {

using qorcalc::messages::MessageEntry;

constexpr MessageEntry kTexts[] = {
    // Errors of compiling and calculating a formula.
    {1000, u"Unknown or malformed function name in \u201c%s\u201d."},
    {1001, u"Malformed number in \u201c%s\u201d: digits run into other characters (as in 12a)."},
    {1003, u"Cannot calculate \u201c%s\u201d: an operator or operand is misplaced or of the wrong kind, "
           u"there is more than one comparison, or a function got the wrong number of arguments or a "
           u"date it cannot read."},
    {1004, u"Cannot calculate \u201c%s\u201d: an argument is not a number or lies outside the range "
           u"the function accepts."},
    {1005, u"Cannot calculate \u201c%s\u201d: numbers and texts are mixed while mixed calculation is "
           u"switched off."},
    {1068, u"Invalid name in \u201c%s\u201d: a name holds a character names may not hold "
           u"(write text values in quotes)."},
    {1070, u"Brackets do not match in \u201c%s\u201d, or are nested deeper than 1024 levels."},
    {1072, u"A function called by the formula failed: check its arguments."},

    // Errors of a bounded engine and of the host protocol.
    {1300, u"Cannot calculate \u201c%s\u201d: a text value would exceed CALC_MAX_TEXT_LENGTH "
           u"(16,777,216 characters)."},
    {1301, u"The formula is longer than CALC_MAX_FORMULA_LENGTH (2,097,152 characters): \u201c%s\u201d."},
    {1302, u"The formula \u201c%s\u201d is too large: its expression tree would exceed CALC_MAX_NODES "
           u"(2,097,152 nodes)."},
    {1303, u"The term handed back to SetTermValue is no longer part of the expression tree; answer "
           u"the term that the last Calculate returned."},
    {1304, u"js was called, but the host declared no script host to run scripts."},
    {1305, u"Out of memory: the operation was abandoned."},
    {1306, u"Unexpected internal failure in the formula engine: the operation was abandoned."},
    {1307, u"The formula \u201c%s\u201d was answered with formulas too often: the texts it is converted "
           u"from would together exceed CALC_MAX_CONVERTED_LENGTH (4,194,304 characters)."},

    // Function categories.
    {1006, u"Logic"},
    {1007, u"Mathematics"},
    {1008, u"Text"},
    {1009, u"Date and time"},
    // Function descriptions, by function.  Dates come back as texts in the
    // host's date-time format.
    {1010, u"The second argument when the condition is a non-zero number, else the third. A text "
           u"condition counts as false; only the branch chosen is calculated."},
    {1144, u"Runs the first argument as a script through the host's script host, handing it the "
           u"other arguments; the result is what the script returns, as text."},
    {1015, u"The argument without its leading minus sign. It works on the text as written and "
           u"does not check that it is a number."},
    {1011, u"The sum of the arguments; every argument must be a number."},
    {1012, u"The arithmetic mean of the arguments; every argument must be a number."},
    {1013, u"The greatest of the arguments; every argument must be a number."},
    {1014, u"The least of the arguments; every argument must be a number."},
    {1016, u"The number rounded to 0 to 9 decimals, halves away from zero (round(2.345, 2) is "
           u"2.35); any other count of decimals is an error."},
    {1017, u"The remainder of the first number divided by the second, with the sign of the "
           u"divisor (mod(-7, 3) is 2); mod(x, 0) is x. An exact negative quotient gives the divisor, "
           u"not 0: mod(-6, 3) is 3."},
    {1018, u"The number rounded down to a whole number, toward minus infinity: int(2.7) is 2, "
           u"int(-2.3) is -3."},
    {1019, u"The greatest whole number not greater than the argument."},
    {1020, u"The least whole number not less than the argument."},
    {1021, u"The square root; a negative argument is an error."},
    {1022, u"The number e raised to the power of the argument."},
    {1023, u"A random whole number from 0 to 99; it takes no arguments."},
    {1024, u"The natural logarithm; the argument must be greater than 0."},
    {1025, u"The logarithm to base 10; the argument must be greater than 0."},
    {1026, u"The base raised to the exponent; a negative exponent is an error, whatever the "
           u"base."},
    {1115, u"The number times 100 with a % sign, rounded to the given decimals (0 to 7, "
           u"default 0): percent(0.125, 1) is 12.5%."},
    {1295, u"Adds dimension texts element by element: sumdim('10x20', '1x2') is 11x22. The "
           u"separator is read from the last argument; a last argument that is only a separator "
           u"('x') sets it and is not added."},
    {1027, u"The number of characters of a text."},
    {1029, u"The first count characters of a text, all of it when it is shorter; a negative "
           u"count is an error."},
    {1031, u"The last count characters of a text, all of it when it is shorter; a negative "
           u"count is an error."},
    {1033, u"Up to count characters of a text from a start position counted from 0 (a negative start "
           u"counts as 0); a negative count is an error."},
    {1035, u"replace: overwrites count characters from a start position (from 0) with the new text, "
           u"repeating it to fill them and never lengthening the text; an empty new text deletes "
           u"them. replaceAll: replaces every occurrence of a text, matching case."},
    {1119, u"The position (from 0) of the first occurrence of the sought text at or after "
           u"the start, or -1; case is ignored unless matchCase is true. The position comes back as "
           u"a text."},
    {1140, u"1 when the text ends with the suffix, else 0; case is ignored unless matchCase "
           u"is true. An empty suffix gives 1."},
    {1141, u"Compares two texts in the order of the locale, ignoring case unless matchCase "
           u"is true; the result is negative, 0 or positive, and only its sign has a meaning."},
    {1219, u"The text in upper case."},
    {1220, u"The text in lower case."},
    {1244, u"The text without blanks, or without the given characters, at both ends."},
    {1245, u"The text without blanks, or without the given characters, at its start."},
    {1246, u"The text without blanks, or without the given characters, at its end."},
    {1146, u"The text encoded for a URL as a whole address, as UTF-8 with %xx escapes; "
           u"letters, digits, - _ . ! ~ * ' ( ) and the address characters ; / ? : @ & = + $ , # "
           u"are kept."},
    {1147, u"The text encoded for one part of a URL, as UTF-8 with %xx escapes; "
           u"only letters, digits and - _ . ! ~ * ' ( ) are kept."},
    {1264, u"The number laid out by a pattern: # takes the digits, 0 is a digit place that "
           u"shows 0, a comma asks for thousands groups, other characters stay as written. Extra "
           u"decimals are cut, not rounded: #,##0.00 on 1234.567 gives 1,234.56."},
    {1110, u"The date laid out by a pattern: YYYY or YY year, M or MM month, D or DD day, "
           u"HH hour, mm minute (month when the pattern has no M), ss second, Month or Mon month "
           u"name, day weekday name; other "
           u"characters stay as written. A text that is not a date comes back unchanged."},
    {1107, u"An amount of money in capital Chinese numerals as written on cheques and invoices, "
           u"rounded to two decimals: 1234.5 gives 壹仟贰佰叁拾肆元伍角整. At most 13 whole digits."},
    {1037, u"Replaces each digit by its Chinese numeral, capital unless small is non-zero; "
           u"other characters stay, so 2014.5 gives 贰零壹肆.伍 (digit by digit, not read as a number)."},
    {1108, u"The number in English words: 1234 is one thousand two hundred and thirty four. "
           u"A fraction of two digits from 11 to 99 is read as one number (3.14: three point "
           u"fourteen), any other digit by digit; keepZeros 0 drops trailing zeros of the fraction. "
           u"More than 12 whole digits give an empty text."},
    {1114, u"The date in Chinese numerals, 二O一四年一月五日; the pattern places Y, M and D "
           u"(default YYYY年M月D日, YY gives two year digits). A date it cannot spell comes back "
           u"unchanged."},
    {1111, u"The date in capital Chinese numerals as on cheques, 贰零壹肆年零壹拾月零贰拾日; "
           u"the pattern places Y, M and D (default YYYY年M月D日). A date it cannot spell comes back "
           u"unchanged."},
    {1048, u"The year of a date."},
    {1049, u"The month of a date, 1 to 12."},
    {1050, u"The day of the month of a date, 1 to 31."},
    {1051, u"The hour of a date and time, 0 to 23."},
    {1052, u"The minute of a date and time, 0 to 59."},
    {1053, u"The current date and time, laid out by the pattern (directives such as %Y-%m-%d "
           u"%H:%M:%S) or, without one, by the host's date-time format."},
    {1054, u"1 when the first date is later than the second, -1 when earlier, 0 when "
           u"equal."},
    {1043, u"The date moved by a number of years, month, day and time kept; 29 February "
           u"moved to a year that has none gives an empty text."},
    {1044, u"The date moved by a number of months, day and time kept; a day the new "
           u"month lacks (31 January plus one month) gives an empty text, and so does moving before "
           u"January of the same year."},
    {1045, u"The date and time moved by a whole number of days, which may be negative."},
    {1046, u"The date and time moved by a whole number of hours, which may be negative."},
    {1047, u"The date and time moved by a whole number of minutes, which may be "
           u"negative."},
    {1038, u"The second date's year minus the first's; months and days are ignored, so "
           u"2013-12-31 to 2014-01-01 is 1."},
    {1039, u"The months from the first date to the second by month numbers only; days "
           u"are ignored, so 2013-12-31 to 2014-01-01 is 1."},
    {1040, u"The whole days from the first date to the second, cut toward zero; negative "
           u"when the second is earlier."},
    {1041, u"The whole hours from the first date to the second; half a second short of "
           u"an hour still counts it."},
    {1042, u"The whole minutes from the first date to the second; half a second short "
           u"of a minute still counts it."},
    {653, u"The first day of the date's month, 00:00:00."},
    {654, u"The first day of the date's quarter (1 January, April, July or "
          u"October), 00:00:00."},
    {655, u"1 January of the date's year, 00:00:00."},
    {656, u"The last day of the date's month at 23:59:39 (not 23:59:59, unlike the "
          u"quarter and year ends)."},
    {657, u"The last day of the date's quarter, 23:59:59."},
    {658, u"31 December of the date's year, 23:59:59."},

    // Usage: argument lists, without the function name.
    {631, u"(number[, small])"},
    {1055, u"(condition, valueIfTrue, valueIfFalse)"},
    {1056, u"(value1, value2, ...)"},
    {1057, u"(value)"},
    {1058, u"(number, decimals)"},
    {1059, u"(first, second)"},
    {1060, u"(base, exponent)"},
    {1061, u"(text, count)"},
    {1062, u"(text, start, count)"},
    {1063, u"(text, start, count, newText)"},
    {1064, u"(date, amount or second date)"},
    {1065, u"([pattern])"},
    {1112, u"(date, pattern)"},
    {1113, u"(date[, pattern])"},
    {1120, u"(text, sought[, start[, matchCase]])"},
    {1142, u"(text, suffix[, matchCase])"},
    {1143, u"(text1, text2[, matchCase])"},
    {1145, u"(script[, argument1, ...])"},
    {1247, u"(text[, characters])"},
    {1265, u"(number, pattern)"},
    {1293, u"(text, sought, replacement)"},
};

}  // namespace

QORCALC_MESSAGE_TABLE(engine_en, Language::English, kTexts)
