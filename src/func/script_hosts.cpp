// The process-wide registry of script hosts.
//
// The host data given to NewCalc is an untyped pointer the engine hands to
// every function; `js` may treat it as an IScriptHost only when the host has
// said so by registering that very pointer.  Any other host data (a document,
// a record, null) is then never mistaken for a script host, and a stray
// pointer is never called through.
#include "func/script_hosts.h"

#include <qorcalc/api.h>

#include <algorithm>
#include <mutex>
#include <vector>

namespace {

struct Registry {
    std::mutex lock;
    std::vector<void*> hosts;  // each registered host as static_cast<void*>(host)
};

Registry& Hosts() {
    static Registry registry;
    return registry;
}

}  // namespace

void RegisterScriptHost(IScriptHost* host) {
    if (!host) return;
    Registry& r = Hosts();
    const std::lock_guard<std::mutex> guard(r.lock);
    void* key = static_cast<void*>(host);
    // Without memory the host stays unregistered, the failure is recorded,
    // and js reports that no script host is declared.
    qorcalc::detail::Shielded(u"RegisterScriptHost", false, [&] {
        if (std::find(r.hosts.begin(), r.hosts.end(), key) == r.hosts.end()) r.hosts.push_back(key);
        return true;
    });
}

void UnregisterScriptHost(IScriptHost* host) {
    Registry& r = Hosts();
    const std::lock_guard<std::mutex> guard(r.lock);
    std::erase(r.hosts, static_cast<void*>(host));
}

namespace qorcalc::func {

IScriptHost* RegisteredScriptHost(void* hostData) {
    if (!hostData) return nullptr;
    Registry& r = Hosts();
    const std::lock_guard<std::mutex> guard(r.lock);
    if (std::find(r.hosts.begin(), r.hosts.end(), hostData) == r.hosts.end()) return nullptr;
    // Registered as static_cast<void*>(host): the cast back is exact.
    return static_cast<IScriptHost*>(hostData);
}

}  // namespace qorcalc::func
