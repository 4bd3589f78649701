// The inside of Bindings, shared by the table and the calculator that
// answers from it.
//
// Invariants: `index` maps every slot's folded name to the slot; `term`
// holds what the engine is given for a Value, Text or Formula slot's `text`
// whenever `stale` is false (made once per change, however often the name is
// asked for); `names` lists, folded,
// the names a Formula slot's formula asks for.
#pragma once

#include "host/internal.h"

#include <array>
#include <cstring>
#include <functional>
#include <unordered_map>

namespace qorcalc::host {

struct Slot {
    std::string name;
    Answer answer = Answer::None;
    std::string text;
    detail::TermValue term;
    bool stale = true;
    std::vector<std::u16string> names;
};

// A name as the engine wrote it, with its slot.
struct RecentName {
    std::u16string name;
    int slot = -1;
};

struct Bindings::Impl {
    std::vector<Slot> slots;
    std::unordered_map<std::u16string, int> index;
    std::u16string scratch;
    NameSource source;
    // Names found lately, spelt as asked, by a hash of their spelling: a
    // table of records asks for the same few names record after record.
    // Slots are never removed, so an entry stays true once made.
    std::array<RecentName, 32> recent;

    int FindFolded(const std::u16string& folded) const;
    // Where `name` is kept among the recent names.
    RecentName& RecentEntry(std::u16string_view name) {
        const size_t hash = name.empty() ? 0 : name.size() * 31 + name.front() * 7 + name.back() + name[name.size() / 2];
        return recent[hash % recent.size()];
    }
    // The slot of a name as the engine wrote it when it was found lately,
    // else -1.  Compared as bytes: the standard comparison of char16_t
    // texts goes unit by unit, several times slower for a name of a few
    // letters.
    int Recent(std::u16string_view name) {
        const RecentName& seen = RecentEntry(name);
        if (seen.slot >= 0 && seen.name.size() == name.size() &&
            std::memcmp(seen.name.data(), name.data(), name.size() * sizeof(char16_t)) == 0)
            return seen.slot;
        return -1;
    }
    // The slot of a name as the engine wrote it, or -1.
    int FindWide(std::u16string_view name);
    // The slot of a name as the engine wrote it, asking the source for a
    // name without one; -1 when there is neither.
    int Lookup(std::u16string_view name, Bindings& owner);
    void Set(int slot, Answer answer, std::string_view text) {
        Slot& s = slots.at(static_cast<size_t>(slot));
        s.answer = answer;
        // A text from elsewhere, the usual case, is cleared and appended,
        // which costs half what the general assign does; only a text that
        // lies in the slot's own string (a slot set from its own TextOf)
        // needs the latter.
        const std::less<const char*> before;
        const char* own = s.text.data();
        if (!before(text.data(), own) && before(text.data(), own + s.text.size())) {
            s.text.assign(text);
        } else {
            s.text.clear();
            s.text.append(text);
        }
        s.stale = true;
        s.names.clear();
    }
    // Brings `term` up to date with `text`.
    void Prepare(Slot& s) {
        if (s.stale) Refresh(s);
    }
    void Refresh(Slot& s);
};

}  // namespace qorcalc::host
