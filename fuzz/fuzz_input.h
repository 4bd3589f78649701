// What every fuzz target shares: the message provider the engine needs
// before anything can fail, a reader that cuts the fuzzer's bytes into the
// pieces a target asks for, and a property check that stops the run.
//
// Inputs are laid out as pieces separated by zero bytes, so that the seeds
// (texts taken from the tests) read naturally and the fuzzer can grow any
// piece without shifting the others' meaning.
#pragma once

#include <qorcalc/qorcalc.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace fuzzing {

class Messages : public ILggInterface {
public:
    const char16_t* GetText(uint32_t) override { return u"failed: %s"; }
    void Translate(CString& text) override { text.Insert(0, u"~"); }
};

inline void InstallMessages() {
    static Messages messages;
    SetLggInterface(&messages);
}

// A property that must hold whatever the input: a violation aborts, which
// the fuzzer records as a crash with the input that caused it.
inline void Require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "property violated: %s\n", what);
    std::abort();
}

class Input {
public:
    Input(const uint8_t* data, size_t size) : m_rest(reinterpret_cast<const char*>(data), size) {}

    bool Empty() const { return m_rest.empty(); }
    std::string_view Rest() const { return m_rest; }

    // The next byte, or 0 once the input is spent.
    uint8_t Byte() {
        if (m_rest.empty()) return 0;
        const uint8_t b = static_cast<uint8_t>(m_rest.front());
        m_rest.remove_prefix(1);
        return b;
    }

    // The next piece: the bytes up to the next zero byte (dropped) or the end.
    std::string_view Piece() {
        const size_t end = m_rest.find('\0');
        const std::string_view piece = m_rest.substr(0, end);
        m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
        return piece;
    }

    CString Text() { return CString::FromUtf8(Piece()); }

private:
    std::string_view m_rest;
};

}  // namespace fuzzing
