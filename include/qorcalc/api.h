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

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

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

// Guards running on this thread.  Guarded counts itself in, so that a
// toolbox routine called inside an operation lets its exception pass on to
// the operation's guard: the operation is abandoned as a whole instead of
// carrying on with one routine's failure value.
// Every toolbox routine asks, so the count is read inline.
extern constinit thread_local int t_guardDepth;
inline bool InsideGuard() noexcept { return t_guardDepth > 0; }
class GuardDepth {
public:
    GuardDepth() noexcept { ++t_guardDepth; }
    ~GuardDepth() { --t_guardDepth; }
    GuardDepth(const GuardDepth&) = delete;
    GuardDepth& operator=(const GuardDepth&) = delete;
};

// Reports the exception being handled as an engine-level failure: a limit's
// own id and text, 1305 for exhausted memory, else 1306, with `where` as the
// message's "%s".  Call it from a catch handler only.
void ReportCurrentException(const char16_t* where) noexcept;

// Throws LimitExceeded (CALC_MSG_TEXT_TOO_LONG, quoting the start of
// `source`) when a text of `length` characters would pass
// CALC_MAX_TEXT_LENGTH; called before the text is built.
void CheckTextLength(size_t length, std::u16string_view source);

// Runs `body` and returns its result; an exception becomes the failure value
// `failed`, with the failure reported as ReportCurrentException does.
// Every exported entry point that does real work runs inside it.
template <class Body, class Result>
Result Guarded(const char16_t* where, Result failed, Body&& body) noexcept;

// Guarded for the exported toolbox routines: inside another guard the body
// runs bare and its exception reaches that guard; the outermost call on a
// thread turns it into `failed` and empties each of `emptied` (texts,
// arrays, blocks), so no half-built output is left behind.
template <class Body, class Result, class... Outputs>
Result Shielded(const char16_t* where, Result failed, Body&& body, Outputs&... emptied);

// Shielded for a routine without a failure return: on failure its outputs
// are emptied, and the recorded failure says why.
template <class Body, class... Outputs>
void ShieldedInto(const char16_t* where, Body&& body, Outputs&... emptied);

// Makes room for one more element ahead of a step that must not fail
// later, growing by half so that a run of additions stays linear.
template <class Vector>
void ReserveOneMore(Vector& items) {
    if (items.size() == items.capacity()) items.reserve(items.size() + items.size() / 2 + 1);
}

template <class Output>
void EmptyOutput(Output& output) noexcept {
    if constexpr (requires { output.RemoveAll(); })
        output.RemoveAll();
    else
        output.Empty();
}
}  // namespace qorcalc::detail

template <class Body, class Result>
Result qorcalc::detail::Guarded(const char16_t* where, Result failed, Body&& body) noexcept {
    try {
        const GuardDepth depth;
        return body();
    } catch (...) {
        ReportCurrentException(where);
    }
    return failed;
}

template <class Body, class Result, class... Outputs>
Result qorcalc::detail::Shielded(const char16_t* where, Result failed, Body&& body, Outputs&... emptied) {
    if (InsideGuard()) return body();
    bool done = false;
    Result result = Guarded(where, std::move(failed), [&]() -> Result {
        Result value = body();
        done = true;
        return value;
    });
    if (!done) (EmptyOutput(emptied), ...);
    return result;
}

template <class Body, class... Outputs>
void qorcalc::detail::ShieldedInto(const char16_t* where, Body&& body, Outputs&... emptied) {
    Shielded(where, false, [&] { return body(), true; }, emptied...);
}
