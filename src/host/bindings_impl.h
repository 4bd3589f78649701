// The inside of Bindings, shared by the table and the calculator that
// answers from it.
//
// Invariants: `index` maps every slot's folded name to the slot; `wide` and
// `number` describe `text` whenever `stale` is false; `names` lists, folded,
// the names a Formula slot's formula asks for.
#pragma once

#include "host/internal.h"

#include <unordered_map>

namespace qorcalc::host {

struct Slot {
    std::string name;
    Answer answer = Answer::None;
    std::string text;
    std::u16string wide;
    bool stale = true;
    bool number = false;
    std::vector<std::u16string> names;
};

struct Bindings::Impl {
    std::vector<Slot> slots;
    std::unordered_map<std::u16string, int> index;
    std::u16string scratch;
    NameSource source;

    int FindFolded(const std::u16string& folded) const;
    // The slot of a name as the engine wrote it, or -1.
    int FindWide(std::u16string_view name);
    // The slot of a name as the engine wrote it, asking the source for a
    // name without one; -1 when there is neither.
    int Lookup(std::u16string_view name, Bindings& owner);
    void Set(int slot, Answer answer, std::string_view text);
    // Brings `wide` and `number` up to date with `text`.
    void Prepare(Slot& s);
};

}  // namespace qorcalc::host
