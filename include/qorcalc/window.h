// Host windows for the `js` built-in.  A host registers a handler under a
// handle; IsWindow and SendMessageW then reach it exactly as the built-in
// expects of a window, without any windowing system.
//
// Nothing here throws: RegisterHostWindow gives null without memory, and
// SendMessageW gives 0 when the handler throws or cannot be copied; the
// failure (1305 for memory, else 1306) is the last error.
#pragma once

#include <qorcalc/export.h>

#include <cstdint>
#include <functional>

struct HWND__;
using HWND = HWND__*;

using WindowHandler = std::function<intptr_t(uint32_t message, uintptr_t wParam, intptr_t lParam)>;

// Registers `handler` and returns its new handle (never null).
QORCALC_API HWND RegisterHostWindow(WindowHandler handler);
QORCALC_API void UnregisterHostWindow(HWND window);
QORCALC_API int IsWindow(HWND window);
// Calls the window's handler; 0 for a handle that is not registered.
QORCALC_API intptr_t SendMessageW(HWND window, uint32_t message, uintptr_t wParam, intptr_t lParam);
