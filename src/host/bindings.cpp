// Bindings and Functions: the names and host functions a calculation is
// answered from.
#include "host/bindings_impl.h"

namespace qorcalc::host {

Bindings::Bindings() : m_impl(std::make_unique<Impl>()) {}
Bindings::~Bindings() = default;
Bindings::Bindings(const Bindings& other) : m_impl(std::make_unique<Impl>(*other.m_impl)) {}
Bindings& Bindings::operator=(const Bindings& other) {
    if (this != &other) *m_impl = *other.m_impl;
    return *this;
}
Bindings::Bindings(Bindings&&) noexcept = default;
Bindings& Bindings::operator=(Bindings&&) noexcept = default;

int Bindings::Impl::FindFolded(const std::u16string& folded) const {
    const auto it = index.find(folded);
    return it == index.end() ? -1 : it->second;
}

int Bindings::Impl::FindWide(std::u16string_view name) {
    if (const int seen = Recent(name); seen >= 0) return seen;
    detail::FoldName(name, scratch);
    const int found = FindFolded(scratch);
    if (found >= 0) RecentEntry(name) = {std::u16string(name), found};
    return found;
}

int Bindings::Impl::Lookup(std::u16string_view name, Bindings& owner) {
    const int found = FindWide(name);
    if (found >= 0 || !source) return found;
    // Declared before asking, so a name is asked for once whatever the answer.
    const int slot = owner.Declare(detail::ToUtf8(name));
    source(slots[static_cast<size_t>(slot)].name, owner, slot);
    return slot;
}

void Bindings::Impl::Refresh(Slot& s) {
    if (s.answer == Answer::Formula) {
        // As written: the engine substitutes the formula's text for the name.
        detail::Utf8ToUtf16(s.text, s.term.text.Str());
        s.term.standIn = false;
    } else if (s.answer == Answer::Value || s.answer == Answer::Text) {
        detail::MakeTermValue(s.text, s.answer == Answer::Value, s.term);
    }
    s.stale = false;
}

int Bindings::Declare(std::string_view name) {
    std::u16string folded;
    detail::FoldName(detail::ToUtf16(name), folded);
    const int found = m_impl->FindFolded(folded);
    if (found >= 0) return found;
    const int slot = static_cast<int>(m_impl->slots.size());
    m_impl->slots.push_back({});
    m_impl->slots.back().name.assign(name);
    m_impl->index.emplace(std::move(folded), slot);
    return slot;
}

int Bindings::Find(std::string_view name) const {
    std::u16string folded;
    detail::FoldName(detail::ToUtf16(name), folded);
    return m_impl->FindFolded(folded);
}

int Bindings::size() const { return static_cast<int>(m_impl->slots.size()); }
const std::string& Bindings::Name(int slot) const { return m_impl->slots.at(static_cast<size_t>(slot)).name; }
Answer Bindings::AnswerOf(int slot) const { return m_impl->slots.at(static_cast<size_t>(slot)).answer; }
const std::string& Bindings::TextOf(int slot) const { return m_impl->slots.at(static_cast<size_t>(slot)).text; }

void Bindings::SetSource(NameSource source) { m_impl->source = std::move(source); }

void Bindings::SetValue(int slot, std::string_view text) { m_impl->Set(slot, Answer::Value, text); }
void Bindings::SetText(int slot, std::string_view text) { m_impl->Set(slot, Answer::Text, text); }
void Bindings::Unset(int slot) { m_impl->Set(slot, Answer::None, {}); }

void Bindings::SetFormula(int slot, std::string_view formula) {
    m_impl->Set(slot, Answer::Formula, formula);
    Slot& s = m_impl->slots[static_cast<size_t>(slot)];
    m_impl->Prepare(s);
    // The names it asks for are the edges along which a name can come back
    // to itself.
    s.names = detail::FoldedNamesOf(s.term.text.Str());
}

void Bindings::SetResult(int slot, const Result& result) {
    if (!result.ok) m_impl->Set(slot, Answer::Failed, result.error.message);
    else m_impl->Set(slot, result.value.kind == Kind::Number ? Answer::Value : Answer::Text, result.value.text);
}

struct Functions::Impl {
    std::unordered_map<std::u16string, HostFunction> functions;
    FunctionSource source;
};

Functions::Functions() : m_impl(std::make_unique<Impl>()) {}
Functions::~Functions() = default;

void Functions::Add(std::string_view name, HostFunction function) {
    std::u16string folded;
    detail::FoldName(detail::ToUtf16(name), folded);
    m_impl->functions[folded] = std::move(function);
}

const HostFunction* Functions::Find(std::u16string_view foldedName) const {
    const auto it = m_impl->functions.find(std::u16string(foldedName));
    return it == m_impl->functions.end() ? nullptr : &it->second;
}

void Functions::SetSource(FunctionSource source) { m_impl->source = std::move(source); }
const FunctionSource& Functions::Source() const { return m_impl->source; }

}  // namespace qorcalc::host
