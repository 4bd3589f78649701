// The converter: formula text to the children of an expression node.
//
// One left-to-right pass cuts the text into tokens and makes a node per
// token; bracketed groups, calls and arguments convert recursively.  Only
// what can be seen locally is checked here (brackets, commas, two operands
// in a row, operator spellings, the shape of names and numbers); operator
// placement and types are checked after conversion.
//
// Limits: brackets (groups and calls) nest at most CALC_MAX_NESTING deep; a
// deeper formula fails with message 1070 at the first bracket past the
// limit, so that neither the conversion nor the later walks can exhaust the
// stack.  A tree holds at most CALC_MAX_NODES nodes (message 1302 at the
// token that would pass it), also when a host's answers keep growing it.
#pragma once

#include <qorcalc/message_ids.h>

#include <qorcalc/collections.h>
#include <qorcalc/node.h>
#include <qorcalc/string.h>

#include <cstdint>

namespace qorcalc::calc {

constexpr uint32_t kMsgBadFunctionName = CALC_MSG_BAD_FUNCTION_NAME;
constexpr uint32_t kMsgBadNumber = CALC_MSG_BAD_NUMBER;
constexpr uint32_t kMsgBadExpression = CALC_MSG_BAD_EXPRESSION;
constexpr uint32_t kMsgBadName = CALC_MSG_BAD_NAME;
constexpr uint32_t kMsgBrackets = CALC_MSG_BRACKETS;

// The text being converted and the positions of its quoted stretches (the
// opening and closing quote of each, as CVek::FindQuotes gives them).
struct ConvertSource {
    const CString& text;
    const CUIntArray& quoteStarts;
    const CUIntArray& quoteEnds;
};

// Where and why a conversion failed, and the nodes made so far (the root
// included), which may not pass CALC_MAX_NODES.
struct ConvertError {
    int position = -1;
    uint32_t messageId = 0;
    int nodeCount = 1;
};

// Builds the children of `parent` from `pos` on, up to the parent's end: the
// end of the text for the root, the closing bracket of a group or call, the
// comma or bracket that ends an argument.  `pos` comes back after what was
// consumed.  Returns 1, or 0 with `error` set; nodes already added stay in
// the parent (the caller deletes the whole tree).
int Convert(const ConvertSource& source, int& pos, CCalcNode* parent, ConvertError& error);

}  // namespace qorcalc::calc
