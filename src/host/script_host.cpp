// The js script host over Duktape.
//
// Limits: the heap's allocator counts every byte it hands out and refuses
// what would pass the memory limit; the interpreter calls
// qorcalc_js_timed_out every few thousand instructions, and once the
// deadline has passed it keeps saying so, so the script cannot catch its way
// out: it unwinds to our protected call.  A heap that hit a limit is thrown
// away and the next script gets a fresh one.
//
// Text: the interpreter's strings are UTF-16 code units stored as CESU-8,
// so the engine's UTF-16 goes in and comes out unit by unit and a string's
// length in a script is what JavaScript says it is.
//
// Determinism: the global object and everything reachable from it are
// frozen when the heap is made, so one call cannot leave state behind for
// the next, and a report computes the same with one thread or many.
#include "host/internal.h"

#include <duktape.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" int qorcalc_js_timed_out(void* udata) {
    auto* state = static_cast<qorcalc::host::detail::ScriptHost::HeapState*>(udata);
    if (state->timedOut) return 1;
    if (std::chrono::steady_clock::now() < state->deadline) return 0;
    state->timedOut = true;
    return 1;
}

namespace qorcalc::host::detail {
namespace {

using State = ScriptHost::HeapState;
constexpr size_t kHeader = alignof(std::max_align_t);
constexpr int kMaxCachedScripts = 256;
constexpr auto kNever = std::chrono::steady_clock::time_point::max();

size_t BlockSize(void* ptr) {
    size_t size;
    std::memcpy(&size, static_cast<unsigned char*>(ptr) - kHeader, sizeof size);
    return size;
}

void* Place(void* block, size_t size) {
    std::memcpy(block, &size, sizeof size);
    return static_cast<unsigned char*>(block) + kHeader;
}

bool Fits(State& state, size_t more) {
    if (more <= state.limit - state.used) return true;
    state.allocationFailed = true;
    return false;
}

void* Allocate(void* udata, duk_size_t size) {
    auto& state = *static_cast<State*>(udata);
    if (size == 0 || !Fits(state, size)) return nullptr;
    void* block = std::malloc(size + kHeader);
    if (!block) return state.allocationFailed = true, nullptr;
    state.used += size;
    return Place(block, size);
}

void Release(void* udata, void* ptr) {
    if (!ptr) return;
    static_cast<State*>(udata)->used -= BlockSize(ptr);
    std::free(static_cast<unsigned char*>(ptr) - kHeader);
}

void* Reallocate(void* udata, void* ptr, duk_size_t size) {
    if (!ptr) return Allocate(udata, size);
    if (size == 0) return Release(udata, ptr), nullptr;
    auto& state = *static_cast<State*>(udata);
    const size_t old = BlockSize(ptr);
    if (size > old && !Fits(state, size - old)) return nullptr;
    void* block = std::realloc(static_cast<unsigned char*>(ptr) - kHeader, size + kHeader);
    if (!block) return state.allocationFailed = true, nullptr;
    state.used = state.used - old + size;
    return Place(block, size);
}

// Reached only on an error outside every protected call, which our calls
// never leave room for: the interpreter's state is then beyond repair.
[[noreturn]] void Fatal(void*, const char* message) {
    std::fprintf(stderr, "qorcalc: the JavaScript interpreter failed: %s\n", message ? message : "");
    std::abort();
}

constexpr const char* kFreezeGlobals = R"((function (root) {
    var seen = [];
    function freeze(o) {
        if (o === null || (typeof o !== 'object' && typeof o !== 'function') || seen.indexOf(o) >= 0) return;
        seen.push(o);
        Object.getOwnPropertyNames(o).forEach(function (k) {
            var d = Object.getOwnPropertyDescriptor(o, k);
            if (d && 'value' in d) freeze(d.value);
        });
        freeze(Object.getPrototypeOf(o));
        Object.freeze(o);
    }
    freeze(root);
})(this))";

void AppendCesu8(std::u16string_view text, std::string& out) {
    for (char16_t unit : text) {
        if (unit < 0x80) {
            out += static_cast<char>(unit);
        } else if (unit < 0x800) {
            out += static_cast<char>(0xC0 | unit >> 6);
            out += static_cast<char>(0x80 | (unit & 0x3F));
        } else {
            out += static_cast<char>(0xE0 | unit >> 12);
            out += static_cast<char>(0x80 | (unit >> 6 & 0x3F));
            out += static_cast<char>(0x80 | (unit & 0x3F));
        }
    }
}

// The interpreter's string back as UTF-16: CESU-8, or UTF-8 for a
// character it made from a code point of its own.
void DecodeInterpreterText(const char* text, size_t length, std::u16string& out) {
    out.clear();
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    const auto* end = p + length;
    while (p < end) {
        uint32_t cp = *p++;
        const int more = cp >= 0xF0 ? 3 : cp >= 0xE0 ? 2 : cp >= 0xC0 ? 1 : 0;
        if (more) cp &= 0x3Fu >> more;
        for (int i = 0; i < more && p < end; ++i) cp = cp << 6 | (*p++ & 0x3F);
        if (cp >= 0x10000 && cp <= 0x10FFFF) {
            cp -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (cp >> 10));
            out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        } else {
            out += static_cast<char16_t>(cp > 0xFFFF ? 0xFFFD : cp);
        }
    }
}

}  // namespace

ScriptHost::ScriptHost(const ScriptLimits& limits) : m_limits(limits) { RegisterScriptHost(this); }

ScriptHost::~ScriptHost() {
    UnregisterScriptHost(this);
    DestroyHeap();
}

void ScriptHost::DestroyHeap() {
    if (m_ctx) duk_destroy_heap(static_cast<duk_context*>(m_ctx));
    m_ctx = nullptr;
    m_cached = 0;
}

bool ScriptHost::EnsureHeap() {
    if (m_ctx) return true;
    m_state = HeapState{};
    m_state.limit = m_limits.memory;
    m_state.deadline = kNever;
    duk_context* ctx = duk_create_heap(Allocate, Reallocate, Release, &m_state, Fatal);
    if (!ctx) return false;
    m_ctx = ctx;
    const bool frozen = duk_peval_string(ctx, kFreezeGlobals) == 0;
    duk_pop(ctx);
    duk_push_heap_stash(ctx);
    duk_push_object(ctx);
    duk_put_prop_string(ctx, -2, "scripts");
    duk_pop(ctx);
    if (!frozen) DestroyHeap();
    return frozen;
}

// Leaves the script's function on the stack (true), or its compile error.
bool ScriptHost::PushFunction(const CString& script) {
    auto* ctx = static_cast<duk_context*>(m_ctx);
    if (m_cached >= kMaxCachedScripts) {
        duk_push_heap_stash(ctx);
        duk_push_object(ctx);
        duk_put_prop_string(ctx, -2, "scripts");
        duk_pop(ctx);
        m_cached = 0;
    }
    m_scratch.clear();
    AppendCesu8(script.Str(), m_scratch);
    duk_push_heap_stash(ctx);
    duk_get_prop_string(ctx, -1, "scripts");
    duk_push_lstring(ctx, m_scratch.data(), m_scratch.size());  // [stash cache key]
    duk_dup(ctx, -1);
    if (!duk_get_prop(ctx, -3)) {                              // [stash cache key undefined]
        duk_pop(ctx);
        // The script is the body of a function whose arguments are the
        // remaining texts of the call.
        const std::string source = "function () {" + m_scratch + "\n}";
        if (duk_pcompile_lstring(ctx, DUK_COMPILE_FUNCTION, source.data(), source.size()) != 0) {
            duk_insert(ctx, -4);
            duk_pop_3(ctx);
            return false;
        }
        duk_dup(ctx, -2);
        duk_dup(ctx, -2);
        duk_put_prop(ctx, -5);                                 // [stash cache key fn]
        ++m_cached;
    }
    duk_insert(ctx, -4);
    duk_pop_3(ctx);
    return true;
}

int ScriptHost::RunScript(const CString& script, CStringArray& args, CString& result) {
    result.Empty();
    m_failure.clear();
    const Language language = messages::ThreadLanguage();
    if (!EnsureHeap()) {
        m_failure = HostText(kMsgScriptMemory, language, {std::to_string(m_limits.memory >> 20)});
        result = CString::FromUtf8(m_failure);
        return 0;
    }
    auto* ctx = static_cast<duk_context*>(m_ctx);
    m_state.allocationFailed = false;
    m_state.timedOut = false;
    m_state.deadline = std::chrono::steady_clock::now() + m_limits.time;
    bool ok = PushFunction(script);
    if (ok) {
        for (int i = 0; i < args.GetSize(); ++i) {
            m_scratch.clear();
            AppendCesu8(args[i].Str(), m_scratch);
            duk_push_lstring(ctx, m_scratch.data(), m_scratch.size());
        }
        ok = duk_pcall(ctx, args.GetSize()) == DUK_EXEC_SUCCESS;
    }
    // The value (or the error) as text; converting may run script code, so
    // the limits still hold.
    duk_size_t length = 0;
    const char* text = duk_is_undefined(ctx, -1) ? "" : duk_safe_to_lstring(ctx, -1, &length);
    DecodeInterpreterText(text, length, result.Str());
    duk_pop(ctx);
    m_state.deadline = kNever;
    const bool limited = m_state.timedOut || m_state.allocationFailed;
    if (ok && !limited) return 1;
    if (m_state.timedOut) m_failure = HostText(kMsgScriptTimeout, language, {std::to_string(m_limits.time.count())});
    else if (m_state.allocationFailed) m_failure = HostText(kMsgScriptMemory, language, {std::to_string(m_limits.memory >> 20)});
    else m_failure = HostText(kMsgScriptError, language, {ToUtf8(result.Str())});
    if (limited) DestroyHeap();
    result = CString::FromUtf8(m_failure);
    return 0;
}

}  // namespace qorcalc::host::detail
