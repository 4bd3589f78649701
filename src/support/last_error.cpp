// The last error text, one per thread.
#include <qorcalc/api.h>
#include <qorcalc/vek.h>

namespace {
thread_local std::u16string t_lastError;
}

// Without memory for the copy the old text stays and the failure is
// reported, which records the shorter "out of memory" text in its place.
void CVek::Error(const char16_t* text) {
    if (!text) {
        t_lastError.clear();
        return;
    }
    qorcalc::detail::Shielded(u"CVek::Error", false, [&] { return t_lastError = text, true; });
}

const char16_t* CVek::GetLastError() { return t_lastError.c_str(); }
