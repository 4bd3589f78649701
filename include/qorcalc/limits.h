// Every resource limit of the engine and of its toolbox, one named constant
// each, with the reason for its value beside it.
//
// The limits keep memory and time bounded whatever the formula or the host
// hands in: no text, tree or buffer grows past them.  The engine checks a
// size before it builds what would pass a limit, so a failure costs nothing
// beyond what the inputs already hold.
//
// Exceeding one of the first four ends the operation with its failure
// return (null, 0 or CALC_ERROR) and the message id beside it
// (qorcalc/message_ids.h); the last-error text is the provider's text of that
// id with the offending text, cut to CALC_MAX_QUOTED_LENGTH characters, as
// its one "%s".  The toolbox (CUtilityCalc, CVek, CString, ...) cuts or
// refuses as each routine documents; a text it would build past
// CALC_MAX_TEXT_LENGTH is refused with its failure value and message 1300.
#pragma once

// Characters of any text value an operation may produce: a function result,
// a joined text, a host's quoted answer, a padded text, a tree written back
// to formula text.  16 Mi characters (32 MiB) is far beyond any report cell
// and keeps a few copies of the largest value well inside a host's memory.
// Exceeding it: CALC_MSG_TEXT_TOO_LONG (1300).
constexpr int CALC_MAX_TEXT_LENGTH = 16777216;

// Characters of formula text a host hands in (to Compile, or as a formula
// answer to SetTermValue).  2 Mi characters leave room for 1 MB formulas of
// 150,000 calls or 500,000 names, and bound the tree built from them.
// Exceeding it: CALC_MSG_FORMULA_TOO_LONG (1301).
constexpr int CALC_MAX_FORMULA_LENGTH = 2097152;

// Nodes of one expression tree, the root included.  A formula makes at most
// one node per character, so a formula within CALC_MAX_FORMULA_LENGTH fits;
// the limit stops a host whose answers keep growing the tree (a name answered
// with a formula that names it again).  Exceeding it: CALC_MSG_TREE_TOO_LARGE
// (1302).
constexpr int CALC_MAX_NODES = 2097152;

// Characters of formula text one tree is converted from, summed over its
// compile and every re-conversion.  A host answering a name with a formula
// has the whole tree written back and converted again, so a long tree
// answered again and again costs its whole length per answer; long names
// and texts make few nodes, so the node limit does not stop that.  Twice the
// formula limit leaves a formula at that limit one re-conversion, keeps a
// tree's conversions together within a fraction of a second, and lets the
// node limit end growth that makes a node per character first.
// Exceeding it: CALC_MSG_CONVERTED_TOO_LONG (1307).
constexpr int CALC_MAX_CONVERTED_LENGTH = 2 * CALC_MAX_FORMULA_LENGTH;

// Nodes and compiled-root records a thread keeps for reuse once its trees
// are done with them.  A report row calculates a handful of formulas of a
// few dozen nodes each; 1024 nodes (about 150 KB) hold them all, so the rows
// after the first allocate next to nothing, while a thread that once
// calculated a huge tree keeps no more than this of it.
constexpr int CALC_MAX_KEPT_NODES = 1024;
constexpr int CALC_MAX_KEPT_TREES = 64;

// Brackets (groups and calls) nested in one formula.  Choosing the next step
// walks from the root, so its cost grows with the square of the nesting;
// 1024 levels stay fast and are far beyond hand-written formulas.  A deeper
// formula fails to compile with message 1070 at the first bracket past it.
constexpr int CALC_MAX_NESTING = 1024;

// Characters of the offending text a limit message quotes: enough to
// recognise it, short enough that the message cannot itself grow huge.
constexpr int CALC_MAX_QUOTED_LENGTH = 64;

// Characters of number text the number reader (CUtilityCalc::Str2Double)
// looks at: more than any double needs (17 significant digits, sign,
// point, exponent), so a long text costs no more than a short one.
constexpr int CALC_MAX_NUMBER_TEXT = 63;

// Digits in all that RoundStr keeps: a 64-bit integer holds 19 digits.
constexpr int CALC_MAX_ROUND_DIGITS = 19;
// Decimals RoundStr rounds to: beyond 12 a double's text has no exact digits.
constexpr int CALC_MAX_ROUND_DECIMALS = 12;
// Decimals RoundStr pads a number with, so a forged count cannot ask for
// gigabytes of zeros.
constexpr int CALC_MAX_PAD_DECIMALS = 4096;

// Width and precision of one CString::Format directive; a directive beyond
// it is copied literally, so a message text cannot make Format allocate
// without bound.
constexpr int CALC_MAX_FORMAT_FIELD = 4096;

// Digit places ("0" and "#") in either part of a number display pattern: a
// double has no more digits to show, and a long pattern stays cheap.
constexpr int CALC_MAX_PATTERN_DIGITS = 63;

// Integer digits of an amount written in Chinese capital numerals: the units
// go up to the thirteenth place (a trillion).
constexpr int CALC_MAX_RMB_DIGITS = 13;
// Integer digits englishNum writes: its words go up to the billions.
constexpr int CALC_MAX_ENGLISH_DIGITS = 12;

// Bytes of one string pool block: its offsets are 32-bit and its streams
// are read whole, so 1 GiB keeps both safe.
constexpr unsigned long long CALC_MAX_POOL_BYTES = 1ull << 30;

// Characters CVek::Pad pads to: a padded text is a text value like any other.
constexpr int CALC_MAX_PAD_LENGTH = CALC_MAX_TEXT_LENGTH;
