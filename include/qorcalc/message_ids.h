// Every message id the engine raises.  The engine holds no texts: a failure
// asks the host's provider (SetLggInterface) for the text of one of these ids,
// formats it with the formula or call text as its one "%s" where the failing
// operation has one, and records it as the last error.
//
// The ids below 1300 are the engine's own vocabulary of compile, calculation
// and call failures.  From 1300 on are the failures of a bounded, defensive
// engine: a limit of qorcalc/limits.h reached, a host that hands back a term
// the tree no longer holds, a script call without a declared script host,
// memory exhausted.  Ids stay stable across releases: catalogues key on them.
#pragma once

#include <cstdint>

enum ENUM_CALC_MESSAGE : uint32_t {
    CALC_MSG_BAD_FUNCTION_NAME = 1000,  // unknown function, or a malformed function name
    CALC_MSG_BAD_NUMBER = 1001,         // a number that does not read as one
    CALC_MSG_BAD_EXPRESSION = 1003,     // malformed formula, wrong argument count, irreducible list
    CALC_MSG_BAD_ARGUMENT = 1004,       // an argument value a built-in cannot use
    CALC_MSG_MIXED_TYPES = 1005,        // numbers and texts mixed in one operator list
    CALC_MSG_BAD_NAME = 1068,           // a malformed name
    CALC_MSG_BRACKETS = 1070,           // unbalanced or too deeply nested brackets
    CALC_MSG_FUNCTION_FAILED = 1072,    // a known function failed

    CALC_MSG_TEXT_TOO_LONG = 1300,      // a text value would pass CALC_MAX_TEXT_LENGTH
    CALC_MSG_FORMULA_TOO_LONG = 1301,   // formula text longer than CALC_MAX_FORMULA_LENGTH
    CALC_MSG_TREE_TOO_LARGE = 1302,     // a tree would pass CALC_MAX_NODES
    CALC_MSG_STALE_TERM = 1303,         // a term handed back is no longer part of the tree
    CALC_MSG_NO_SCRIPT_HOST = 1304,     // js called without a declared script host
    CALC_MSG_OUT_OF_MEMORY = 1305,      // memory ran out; the operation was abandoned
    CALC_MSG_INTERNAL = 1306,           // an unexpected failure inside the engine
    CALC_MSG_CONVERTED_TOO_LONG = 1307, // a tree's conversions would pass CALC_MAX_CONVERTED_LENGTH
};
