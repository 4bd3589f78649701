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

    // Function categories.
    {1006, u"Logic"},
    {1007, u"Mathematics"},
    {1008, u"Text"},
    {1009, u"Date and time"},
};

}  // namespace

QORCALC_MESSAGE_TABLE(engine_en, Language::English, kTexts)
