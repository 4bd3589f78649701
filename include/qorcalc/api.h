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
#include <qorcalc/limits.h>
#include <qorcalc/message_ids.h>
#include <qorcalc/string.h>

#include <cstdint>
#include <new>

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
// `time` formatted with the selected format; an invalid date gives "".
// Exported by its plain name like the entry points above, although it
// returns a C++ value: hosts find it with dlsym as they find the others.
#if defined(__clang__)
#  pragma clang diagnostic push
#  pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#endif
QORCALC_API CString TimeToString(const COleDateTime& time, int bDate);
#if defined(__clang__)
#  pragma clang diagnostic pop
#endif
}

namespace qorcalc::detail {
// The provider's text of message `id` (empty when the provider returns null;
// "error <id>" when there is no provider).
CString MessageText(uint32_t id);
// The provider's translation of `text`, in place (none without a provider).
void TranslateText(CString& text);
// The provider's text of `id`, formatted with `argument` as its one "%s".
// For the engine-level failures (a limit passed, memory exhausted, an
// internal fault) the argument is cut to CALC_MAX_QUOTED_LENGTH characters:
// the text that passed a limit is huge by definition.
CString FormatMessage(uint32_t id, const CString& argument);
// Records FormatMessage(id, argument) as the last error; returns that text.
// An engine-level failure is also kept, per thread, until TakeEngineFailure.
CString ReportMessage(uint32_t id, const CString& argument);
// True for the ids of engine-level failures: they outrank the failure of the
// function or step they happened in (1072), so the host learns the cause.
bool IsEngineFailure(uint32_t id);
// ReportMessage for an engine-level failure that must not fail itself: when
// the provider or memory fails while reporting, the neutral text
// "error <id>" is recorded instead (or, failing that, none) and the id kept.
void ReportEngineFailure(uint32_t id, const CString& argument) noexcept;
// The engine-level failure reported on this thread since the last call (its
// id, 0 when none, and its text); forgets it.
uint32_t TakeEngineFailure(CString& text);

// Thrown where a limit is passed deep inside a routine that has no failure
// return (a writer); the boundary guard turns it into ReportMessage(id, text).
struct LimitExceeded {
    uint32_t id;
    CString text;
};

// Runs `body` and returns its result; an exception becomes the failure value
// `failed`, with the engine-level failure reported (1305 for exhausted
// memory, the limit's own id, else 1306) and `where` as the message's "%s".
// Every exported entry point that does real work runs inside it.
template <class Body, class Result>
Result Guarded(const char16_t* where, Result failed, Body&& body) noexcept;
}  // namespace qorcalc::detail

template <class Body, class Result>
Result qorcalc::detail::Guarded(const char16_t* where, Result failed, Body&& body) noexcept {
    try {
        return body();
    } catch (const LimitExceeded& e) {
        ReportEngineFailure(e.id, e.text);
    } catch (const std::bad_alloc&) {
        ReportEngineFailure(CALC_MSG_OUT_OF_MEMORY, where);
    } catch (...) {
        ReportEngineFailure(CALC_MSG_INTERNAL, where);
    }
    return failed;
}
