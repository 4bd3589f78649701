// The engine's C entry points and the module state they keep: the two date
// display formats, the message-text provider and the last error text.
//
// Module state is process-wide and unguarded: the host sets the provider
// and the formats before it calculates.  Until a provider is set (or after
// SetLggInterface(nullptr)) a failure records the neutral text "error <id>",
// so a host that forgot the provider still learns which message it missed.
#pragma once

#include <qorcalc/datetime.h>
#include <qorcalc/export.h>
#include <qorcalc/string.h>

#include <cstdint>

class ICalc;
class CFuncMnger;

// The host's message catalogue.  The engine holds no message texts: every
// error is a message id that the provider turns into text.
class QORCALC_API ILggInterface {
public:
    // The text of message `id`; the engine copies it at once.  May be null.
    virtual const char16_t* GetText(uint32_t id) = 0;
    // Translates a text in place (used for the host's own catalogue texts).
    virtual void Translate(CString& text) = 0;

protected:
    ~ILggInterface() = default;
};

extern "C" {
// A new calculator over `funcMnger` (null: it makes its own on first need),
// handing `hostData` to every function call.  Delete it through ICalc.
//
// `hostData` is the host's and opaque to the engine, which only copies it
// into every call record (CFuncPara::m_pHostData) for the host's own
// functions, with one exception: the `js` built-in runs scripts through it
// when it is a registered script host.  A host that wants `js` must pass
// static_cast<void*>(scriptHost), where scriptHost is an IScriptHost* given
// to RegisterScriptHost (see qorcalc/func.h); null or any other pointer is
// fine for every other function, and `js` then fails cleanly.
QORCALC_API ICalc* NewCalc(CFuncMnger* funcMnger, void* hostData);
// The message catalogue (not owned); null withdraws it.
QORCALC_API void SetLggInterface(ILggInterface* provider);
QORCALC_API const char16_t* GetLastErrorText();
// `bDate` non-zero selects the date format, zero the date-time format.
QORCALC_API void SetDateTimeFormat(const char16_t* format, int bDate);
QORCALC_API void GetDateTimeFormat(CString& out, int bDate);
}
QORCALC_API CString TimeToString(const COleDateTime& time, int bDate);

namespace qorcalc::detail {
// The provider's text of message `id` (empty when the provider returns null;
// "error <id>" when there is no provider).
CString MessageText(uint32_t id);
// The provider's translation of `text`, in place (none without a provider).
void TranslateText(CString& text);
// The provider's text of `id`, formatted with `argument` as its one "%s".
CString FormatMessage(uint32_t id, const CString& argument);
// Records FormatMessage(id, argument) as the last error; returns that text.
CString ReportMessage(uint32_t id, const CString& argument);
}  // namespace qorcalc::detail
