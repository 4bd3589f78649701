// ICalc: the host's handle on the engine.
//
// A calculator compiles formula text into an expression tree (Compile),
// reduces it step by step (Calculate), and takes values that only the host
// knows (SetTermValue).  Calculation is cooperative:
//
//   root = calc->Compile(text, &errorPos);
//   for (;;) {
//       int code = calc->Calculate(root, out, pending, 0, 0);
//       if (code == CALC_NEED_NAME || code == CALC_NEED_FUNCTION) {
//           calc->SetTermValue(root, pending, ValueOf(out));  // then go on
//           continue;
//       }
//       break;  // CALC_DONE: read the root; CALC_REFUSED or CALC_ERROR: stop
//   }
//   delete root;
//
// Ownership: the host owns the calculator and every root Compile returns; the
// calculator owns a function manager it created itself, never one it was given.
// A calculator and its roots serve one thread at a time.
#pragma once

#include <qorcalc/export.h>
#include <qorcalc/string.h>

#include <cstdint>
#include <string_view>

class CCalcNode;
class CFuncMnger;

// Result codes of ICalc::Calculate.
enum ENUM_CALC_RESULT {
    CALC_ERROR = -1,          // failed: GetLastErrorText and (mostly) the error code tell why
    CALC_DONE = 0,            // the root holds the value
    CALC_NEED_NAME = 2,       // `out` is a name whose value the host must give
    CALC_NEED_FUNCTION = 3,   // `out` is a call the host must run: name and arguments, "\r\n"-joined
    CALC_REFUSED = 6,         // a restricted host function was refused
};

// Values a host gives names from while Calculate runs, so that a name it
// knows costs no return from Calculate.  Answering through it is the same
// as returning CALC_NEED_NAME and answering with SetTermValue: same values,
// same failures, same order.
class QORCALC_API ICalcNames {
public:
    // The value for `name` (as the tree spells it) in the form SetTermValue
    // takes, valid until the next call; null leaves the name to the host:
    // Calculate returns CALC_NEED_NAME for it.  It must not throw: a lookup
    // that can fail leaves the name to the host.
    virtual const CString* Answer(std::u16string_view name) noexcept = 0;

protected:
    ~ICalcNames() = default;
};

class QORCALC_API ICalc {
public:
    ICalc() = default;
    ICalc(const ICalc& other) : m_nErrorCode(other.m_nErrorCode) {}
    ICalc& operator=(const ICalc& other) {
        m_nErrorCode = other.m_nErrorCode;
        return *this;
    }
    virtual ~ICalc();

    // The function manager; made on first use when none was given.
    virtual CFuncMnger* GetFuncMnger() = 0;
    // The expression root of `text`, or null with *errorPos and the last error set.
    virtual CCalcNode* Compile(const char16_t* text, int* errorPos) = 0;
    // Puts the host's value for `term` into the tree: quoted text, a number, or
    // else a formula that is compiled in its place.  1 on success.
    virtual int SetTermValue(CCalcNode* root, CCalcNode* term, const CString& valueText) = 0;
    // Runs the tree until it is done or needs the host; see ENUM_CALC_RESULT.
    // `bCheck` asks the manager to refuse restricted host functions; `format`
    // is the display-format byte for numbers turned into text.
    virtual int Calculate(CCalcNode* root, CString& out, CCalcNode*& pending, int bCheck, uint8_t format) = 0;
    // The names Calculate answers without returning (null: none, as at the
    // start).  Not owned; a calculator that answers none itself ignores it.
    virtual void SetNames(ICalcNames* names) { (void)names; }

    // The message id of this calculator's last failure.
    int GetLastErrorCode() const { return m_nErrorCode; }

protected:
    int m_nErrorCode = 0;
};
