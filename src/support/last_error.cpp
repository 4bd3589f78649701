// The last error text, one per thread.
#include <qorcalc/vek.h>

namespace {
thread_local std::u16string t_lastError;
}

void CVek::Error(const char16_t* text) {
    if (text)
        t_lastError = text;
    else
        t_lastError.clear();
}

const char16_t* CVek::GetLastError() { return t_lastError.c_str(); }
