// A registry of host "windows": handles that name a handler function.  The
// handles are opaque numbers, never dereferenced.
//
// Registering needs memory: without it RegisterHostWindow gives null.
#include <qorcalc/api.h>
#include <qorcalc/window.h>

#include <map>
#include <mutex>

using qorcalc::detail::Shielded;

namespace {

struct Registry {
    std::mutex lock;
    std::map<uintptr_t, WindowHandler> handlers;
    uintptr_t next = 0x1000;
};

Registry& TheRegistry() {
    static Registry registry;
    return registry;
}

}  // namespace

HWND RegisterHostWindow(WindowHandler handler) {
    return Shielded(u"RegisterHostWindow", static_cast<HWND>(nullptr), [&] {
        Registry& r = TheRegistry();
        std::lock_guard<std::mutex> guard(r.lock);
        const uintptr_t id = r.next;
        r.handlers[id] = std::move(handler);
        r.next += 0x10;
        return reinterpret_cast<HWND>(id);
    });
}

void UnregisterHostWindow(HWND window) {
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> guard(r.lock);
    r.handlers.erase(reinterpret_cast<uintptr_t>(window));
}

int IsWindow(HWND window) {
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> guard(r.lock);
    return r.handlers.count(reinterpret_cast<uintptr_t>(window)) ? 1 : 0;
}

// A handler that throws, or a copy of it that finds no memory, gives 0 with
// the failure recorded.
intptr_t SendMessageW(HWND window, uint32_t message, uintptr_t wParam, intptr_t lParam) {
    return Shielded(u"SendMessageW", intptr_t{0}, [&]() -> intptr_t {
        WindowHandler handler;
        {
            Registry& r = TheRegistry();
            std::lock_guard<std::mutex> guard(r.lock);
            auto it = r.handlers.find(reinterpret_cast<uintptr_t>(window));
            if (it == r.handlers.end()) return 0;
            handler = it->second;
        }
        // Called outside the lock: the handler may itself send messages.
        return handler ? handler(message, wParam, lParam) : 0;
    });
}
