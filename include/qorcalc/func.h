// The function call interface: the call record handed to every function the
// engine calls, and the catalogue item that describes one function.
//
// CFuncPara lives for one call: the calculator fills the name, the evaluated
// argument texts and the host context, the function writes the result text.
// Its destructor is deliberately not virtual: records are never deleted
// through a derived type.
//
// CFuncItem describes one catalogue entry (built-in or registered by the
// host) for lookup, display and invocation.  Copy copies every field, so an
// item can be handed out by value to the host.
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
    void* m_pHostData = nullptr;  // the host object given to NewCalc
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
