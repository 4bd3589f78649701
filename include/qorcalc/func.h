// The function call interface: the call record handed to every function the
// engine calls, the catalogue item that describes one function, and the
// function manager that finds and calls them.
//
// CFuncPara lives for one call: the calculator fills the name, the evaluated
// argument texts and the host context, the function writes the result text.
// Its destructor is deliberately not virtual: records are never deleted
// through a derived type.
//
// CFuncItem describes one catalogue entry (built-in or registered by the
// host) for lookup, display and invocation.  Copy copies every field, so an
// item can be handed out by value to the host.
//
// Neither throws: SetResult(double) and ResetDoubleString give 0 without
// memory (the result text empty), Copy then leaves a default item; the
// failure (message 1305) is the last error.
//
// CFuncMnger holds the host's items beside the process-wide catalogue of
// built-ins; see the class for its invariants.
#pragma once

#include <qorcalc/collections.h>
#include <qorcalc/export.h>
#include <qorcalc/string.h>
#include <qorcalc/window.h>

#include <cstdint>

class CFuncPara;

// A function's implementation: the call record and the argument count in,
// a status out (1 success, 0 wrong argument count, -1 bad argument value,
// any other value a failure whose text the function left as the result).
using PFN_CALCFUNC = int (*)(CFuncPara* para, int argc);

class QORCALC_API CFuncPara {
public:
    CFuncPara() = default;
    ~CFuncPara() = default;

    // The result becomes `d` with as many decimals as it needs, in the
    // engine's normalised number text.  Returns 1.
    virtual int SetResult(double d);
    // The result becomes `n` in decimal.
    virtual void SetResult(int n);

    // Normalises the result text (`bArgs` 0) and returns its status, or every
    // argument in order (`bArgs` non-zero): the first argument that fails is
    // left as it was, stops the run (later ones untouched) and gives 0.
    int ResetDoubleString(int bArgs);

    CString m_strFuncName;      // the function name as written
    CString m_strResult;        // the result text
    CStringArray m_arrParas;    // the evaluated argument texts, in call order
    void* m_pHostData = nullptr;  // the host data given to NewCalc (see IScriptHost)
    HWND m_hHostWnd = nullptr;    // set from the manager before each call
    uint32_t m_nHostMsg = 0;      // likewise
};

// Bits of CFuncItem::m_nFlags.
enum ENUM_FUNC_FLAG : uint32_t {
    FUNCFLAG_RESTRICTED = 1,  // refused unless the manager permits restricted functions
    FUNCFLAG_EXEMPT = 2,      // never refused, even when restricted
};

class QORCALC_API CFuncItem {
public:
    CFuncItem() = default;
    // A usage id of -1 adds no usage id.
    CFuncItem(const char16_t* name, int descId, int usageId, uint8_t kind);
    CFuncItem(const CFuncItem&) = default;
    CFuncItem& operator=(const CFuncItem&) = default;
    virtual ~CFuncItem() = default;

    // Copies every field of `from` (null: nothing happens).
    virtual void Copy(const CFuncItem* from);

    int64_t m_nValue64 = 0;         // free for the host
    int m_nCategoryId = 0;          // message id of the category; 0 or less: a named category
    int m_nDescId = 0;              // message id of the description
    int m_nValue32 = 0;             // free for the host
    uint8_t m_nReturnKind = 0;      // 0 any, 1 text, 2 whole number, 3 date and time, 4 date, 6 number
    PFN_CALCFUNC m_pfnCall = nullptr;
    CString m_strName;
    CString m_strCategory;          // category text, used without a category id
    CString m_strGroup;             // group text of a named category
    CString m_strDesc;
    CStringArray m_arrUsage;        // usage lines
    CUIntArray m_arrUsageIds;       // message ids of further usage lines
    uint32_t m_nFlags = 0;          // ENUM_FUNC_FLAG bits
    CString m_strText1;             // two further texts shown with the item
    CString m_strText2;
    CMapUInt32 m_mapExtra;          // free for the host
};

// A script host: what runs the scripts of the `js` built-in.
//
// `js(script, args...)` first offers the call record to the manager's host
// window (m_hHostWnd, m_nHostMsg) when that names a live window.  Otherwise it
// looks at the record's host data, the pointer given to NewCalc: that pointer
// is used as a script host only when it is exactly a registered one.  So a
// host that runs scripts
//   - registers its script host once: RegisterScriptHost(&scripts);
//   - hands NewCalc the same pointer, converted to void* from IScriptHost*:
//     NewCalc(mnger, static_cast<void*>(static_cast<IScriptHost*>(&scripts)))
//     (from a class derived from IScriptHost, convert to IScriptHost* first,
//     or the address may differ);
//   - unregisters it (UnregisterScriptHost) before destroying it, and not
//     while a calculator may be running `js` with it.
// Any other host data (null, a document, a record) is never called through:
// `js` then fails (status 0, message CALC_MSG_NO_SCRIPT_HOST formatted with
// the call text), and the calculator reports the failed function (1072).
class QORCALC_API IScriptHost {
public:
    virtual ~IScriptHost() = default;
    // Runs `script` with the remaining call arguments.  Returns 1 with the
    // value in `result`, or 0 when the script failed: `result` then holds the
    // host's text of the failure, or stays empty, in which case the call
    // fails as one with a bad argument (message 1004).
    virtual int RunScript(const CString& script, CStringArray& args, CString& result) = 0;
};

extern "C" {
// Declares `host` a script host (null is ignored, a second registration of
// the same host is harmless).  Process-wide and thread safe.
QORCALC_API void RegisterScriptHost(IScriptHost* host);
// Withdraws `host`; unknown or null hosts are ignored.
QORCALC_API void UnregisterScriptHost(IScriptHost* host);
}

// Statuses of CFuncMnger::Call.
enum ENUM_CALL_STATUS {
    CALL_REFUSED = -2,        // restricted host function, permission flag 0
    CALL_NOT_FOUND = -1,      // unknown name (message 1000), or no implementation (empty last error)
    CALL_FAILED = 0,          // the function ran and failed; the last error holds the text
    CALL_OK = 1,              // the result text is in the record
};

// The function manager: finds and calls the 66 built-in functions and the
// host's own catalogue items.
//
// The built-in catalogue is process-wide, built once (under a lock) by the
// first managers constructed, and read-only afterwards, so lookups and calls
// take no lock.  The host items belong to one manager, which owns and deletes
// them; the list must not change while the manager is calling.  A manager is
// used by one thread at a time.
//
// Indexes: a built-in has its catalogue index 0..65, a host item 1000 plus
// its position in the list.
class QORCALC_API CFuncMnger {
public:
    static constexpr int kHostIndexBase = 1000;

    // A new manager, or null when memory for it or its catalogue fails.
    static CFuncMnger* NewFuncMnger();

    // Builds the built-in catalogue on first use; without memory for it the
    // failure (1305) is the last error and the manager finds no built-in
    // until a later manager builds the catalogue.
    CFuncMnger();
    CFuncMnger(const CFuncMnger&) = delete;
    CFuncMnger& operator=(const CFuncMnger&) = delete;
    // Deletes every host item.
    virtual ~CFuncMnger();

    // Calls the function named in `para` (index -1) or the built-in `index`
    // (0..65; any other index is looked up by name as -1 is).  Returns an
    // ENUM_CALL_STATUS.  A host item without an implementation gives -1 with
    // an empty last error, so that the calculator hands the call to the host.
    // With `bCheck` set, a restricted
    // host item (flag bit 0 without bit 1) is refused while
    // m_bPermitRestricted is 0.
    virtual int Call(CFuncPara& para, int bCheck, int index);
    // Call for the calculator, which reads the result at once: with `text`
    // given, a result that Call would put in quotes to mark it as text is
    // left as the function wrote it, and *text says it is one.
    QORCALC_LOCAL int CallInto(CFuncPara& para, int bCheck, int index, bool* text);
    // Describes the function `name` (blanks around it ignored) in `out`, its
    // texts taken from the message provider; 0 when there is none.
    virtual int GetFuncInfo(const char16_t* name, CFuncItem& out);
    // The index of `name` (case ignored, not trimmed), built-ins first; -1 when unknown.
    virtual int Find(const char16_t* name);
    // The first host item called `name` (case ignored), or null.  Never a built-in.
    virtual CFuncItem* GetItem(const char16_t* name);
    // Appends to `out` a new CFuncItem (owned by the caller, delete it as a
    // CFuncItem*) for every function of category number `category`:
    // first the category message ids in ascending order (with the built-ins
    // alone 0 logic, 1 mathematics, 2 text, 3 date), then the host's named
    // categories "group\category" in list order.  0 when there is no such
    // category.
    virtual int GetFuncsOfCategory(int category, CPtrArray& out);

    // Appends a host item, which the manager then owns; returns its index
    // (1000 + position).
    int AddItem(CFuncItem* item);

    CPtrArray m_arrItems;                // host items (CFuncItem*), owned
    int m_bPermitRestricted = 1;         // restricted host items may run
    HWND m_hHostWnd = nullptr;           // copied into every call record
    uint32_t m_nHostMsg = 0;             // likewise

private:
    QORCALC_LOCAL CFuncItem* HostItem(int position) const;
    QORCALC_LOCAL int FindHostItem(const char16_t* name) const;
};
