// Pieces the host layer's sources share: UTF-8 <-> UTF-16 conversion into
// reusable buffers, locale-free name folding, values as the engine takes
// them in place of a name or a call, the message provider that remembers
// which id the engine asked for, and the js script host.
//
// Invariants: converters append to or overwrite the caller's buffer and keep
// its capacity, so per-record use allocates nothing once warmed up; the
// provider bridge is installed once per process and answers in the language
// the calling thread chose (messages::SetThreadLanguage).
#pragma once

#include <qorcalc/func.h>
#include <qorcalc/host.h>
#include <qorcalc/string.h>
#include <qorcalc/utility.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class ICalc;

namespace qorcalc::host::detail {

// `utf8` (assumed valid) as UTF-16 into `out`, replacing its contents.
void Utf8ToUtf16(std::string_view utf8, std::u16string& out);
// `text` as UTF-8 into `out`, replacing its contents; an unpaired surrogate
// becomes U+FFFD.
void Utf16ToUtf8(std::u16string_view text, std::string& out);
std::string ToUtf8(std::u16string_view text);
std::u16string ToUtf16(std::string_view utf8);

// `name` with ASCII letters lower-cased, into `out`.  Only ASCII folds: the
// same name must match whatever locale the process runs under.
void FoldName(std::u16string_view name, std::u16string& out);

// A value as the engine takes it in place of a name or a function call:
// `text` is handed over as it is, unless `standIn` says it is a text the
// engine cannot be given quoted, which goes in after a stand-in.
struct TermValue {
    CString text;
    bool standIn = false;
};
// `utf8` as a TermValue into `value`, reusing its storage: as it is when
// `numeric` and it reads as a number, else as a text.  A text always
// arrives as a text: quoted, so the engine never reads it as a number or a
// formula.  Always inline: it runs for every field a record's columns ask
// for, and the compiler keeps it a call unless told.
[[gnu::always_inline]] inline void MakeTermValue(std::string_view utf8, bool numeric, TermValue& value) {
    std::u16string& text = value.text.Str();
    Utf8ToUtf16(utf8, text);
    value.standIn = false;
    // Empty text is a text: the engine would read it as the number 0.
    if (numeric && !text.empty() && CUtilityCalc::IsPureNumber(text.c_str(), 1)) return;
    // The engine strips every pair of like quotes around a value, so a text
    // that itself begins and ends with one quote character is given a
    // stand-in first and then its exact text.
    if (text.size() >= 2 && text.front() == text.back() && (text.front() == u'\'' || text.front() == u'"')) {
        value.standIn = true;
        return;
    }
    text.insert(text.begin(), u'\'');
    text += u'\'';
}

// A calculator for compiling texts whose tree only needs looking at (the
// names of a formula-valued answer, the function catalogue): one per thread.
ICalc& AnalysisCalc();
// The names `formula` asks for, folded; none when it does not compile.
std::vector<std::u16string> FoldedNamesOf(const std::u16string& formula);

// Installs the provider bridge as the engine's message provider (once).
void InstallProvider();
// The id the engine last asked the provider for on this thread; reset with
// 0.  Read and reset inline: a reset precedes every answer to the engine.
extern constinit thread_local uint32_t t_lastAsked;
inline uint32_t LastAskedId() { return t_lastAsked; }
inline void ResetLastAskedId() { t_lastAsked = 0; }

// Runs `js` scripts in an embedded JavaScript engine: one heap per script
// host, made on the first script and kept, with the time and memory limits
// of its calculator.  Registered with the engine for its whole life.
class ScriptHost final : public IScriptHost {
public:
    explicit ScriptHost(const ScriptLimits& limits);
    ~ScriptHost() override;
    ScriptHost(const ScriptHost&) = delete;
    ScriptHost& operator=(const ScriptHost&) = delete;

    int RunScript(const CString& script, CStringArray& args, CString& result) override;

    // The text of the last failure since Forget(), empty when none.
    const std::string& failure() const { return m_failure; }
    void Forget() { m_failure.clear(); }
    void SetLimits(const ScriptLimits& limits) { m_limits = limits; }

    // What the heap's allocator and time check read; public for the C hooks.
    struct HeapState {
        std::size_t used = 0;
        std::size_t limit = 0;
        bool allocationFailed = false;
        std::chrono::steady_clock::time_point deadline;
        bool timedOut = false;
    };

private:
    bool EnsureHeap();
    void DestroyHeap();
    bool PushFunction(const CString& script);

    ScriptLimits m_limits;
    HeapState m_state;
    void* m_ctx = nullptr;  // duk_context*
    int m_cached = 0;       // compiled scripts in the heap's cache
    std::string m_failure;
    std::string m_scratch;
};

}  // namespace qorcalc::host::detail
