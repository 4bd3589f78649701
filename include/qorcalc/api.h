// The engine's C entry points and the module state they keep: the two date
// display formats, the message-text provider and the last error text.
//
// Module state is process-wide and unguarded: the host sets the provider
// and the formats before it calculates.  The provider must be set before any
// operation that can fail; the engine does not check it for null.
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
QORCALC_API ICalc* NewCalc(CFuncMnger* funcMnger, void* hostData);
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
// The provider's text of message `id` (empty when the provider returns null).
CString MessageText(uint32_t id);
// The provider's translation of `text`, in place.
void TranslateText(CString& text);
// Records the provider's text of `id`, formatted with `argument` as its one
// "%s", as the last error; returns that text.
CString ReportMessage(uint32_t id, const CString& argument);
}  // namespace qorcalc::detail
