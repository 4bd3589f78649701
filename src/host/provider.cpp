// The engine's message provider while the host layer runs: the catalogue's
// provider for the calling thread's language, remembering the id the engine
// asked for.  A compile failure leaves the calculator's error code alone, so
// this id is the only faithful record of which message the failure was.
#include "host/internal.h"

#include <qorcalc/api.h>

#include <mutex>

namespace qorcalc::host::detail {

constinit thread_local uint32_t t_lastAsked = 0;

namespace {

class RecordingProvider final : public ILggInterface {
public:
    const char16_t* GetText(uint32_t id) override {
        t_lastAsked = id;
        return messages::ThreadProvider()->GetText(id);
    }
    void Translate(CString& text) override { messages::ThreadProvider()->Translate(text); }
};

}  // namespace

void InstallProvider() {
    static RecordingProvider provider;
    static std::once_flag once;
    std::call_once(once, [] { SetLggInterface(&provider); });
}

}  // namespace qorcalc::host::detail
