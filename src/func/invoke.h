// The invocation routine: the one way a function, built-in or host item,
// is run on a call record.
#pragma once

#include <qorcalc/message_ids.h>

#include <qorcalc/func.h>

#include <cstdint>

namespace qorcalc::func {

// Message ids of failures inside a function, formatted with the call text.
inline constexpr uint32_t kMsgWrongArgCount = CALC_MSG_BAD_EXPRESSION;
inline constexpr uint32_t kMsgBadArgValue = CALC_MSG_BAD_ARGUMENT;

// "name(arg1, arg2)": the call text that messages about a call are
// formatted with.
CString CallText(const CString& name, const CStringArray& args);

// Who keeps the arguments a failure is reported with: a built-in keeps them
// itself (KeepArguments) before it changes them, and only then; a host's
// function may change them in any way, so they are kept before it runs.
enum class ArgumentKeeping { ByFunction, Before };

// Unquotes the arguments of `para`, runs `fn` (not null) on them and turns
// its status into 1 (the result, quoted by `kind`, is in the record) or 0
// (the failure text is the last error and the result is empty).  With
// `text` given, a result is never quoted: *text says whether it would be.
int Invoke(CFuncPara& para, PFN_CALCFUNC fn, uint8_t kind, ArgumentKeeping keeping, bool* text = nullptr);

// For a built-in about to change the arguments of its call record
// (normalising them, handing them to host code): keeps them as they were
// handed over, for a failure to be reported with.  Only the first keeping
// of a call counts.
void KeepArguments(const CFuncPara& para);

}  // namespace qorcalc::func
