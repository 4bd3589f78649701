// Scratch storage a thread keeps between uses, so that the hot paths of a
// calculation (the walks' stacks, the copy of a call's arguments) allocate
// nothing once the thread has run them before.
//
// CThreadSpare<T> lends the thread's one spare T to one user at a time; a
// user that finds it lent (a host function calling back into the engine)
// gets a T of its own instead.  When a user is done, `Tidy` readies the
// spare for the next one and says whether its storage is worth keeping (the
// spare is reset when not); while the thread ends, after its spare is gone,
// every user gets a T of its own.
#pragma once

#include <cstddef>

namespace qorcalc::support {

// Elements of a spare vector that are worth keeping: about a page.
inline constexpr size_t kMaxSpareElements = 4096;
// Characters of a text kept with a spare, and texts of an array: a short
// value's storage serves the next value; a long one is let go of.
inline constexpr size_t kMaxSpareText = 64;
inline constexpr int kMaxSpareTexts = 64;

template <class Text>
bool IsShortText(const Text& text) {
    return text.Str().capacity() <= kMaxSpareText;
}

// The tidying of a spare array of texts: kept as they are (assigning the
// next texts reuses their storage) while they are few and short.
struct CShortTexts {
    template <class Texts>
    bool operator()(const Texts& texts) const {
        if (texts.GetSize() > kMaxSpareTexts) return false;
        for (const auto& text : texts)
            if (!IsShortText(text)) return false;
        return true;
    }
};

// The tidying of a spare text: emptied, its storage kept while short.
struct CShortText {
    template <class Text>
    bool operator()(Text& text) const {
        text.Empty();
        return IsShortText(text);
    }
};

// The default tidying: a container left empty, its storage kept up to
// kMaxSpareElements elements.
struct CEmptied {
    template <class Items>
    bool operator()(Items& items) const {
        items.clear();
        return items.capacity() <= kMaxSpareElements;
    }
};

// This thread's one T, made on first use; null once the thread has begun
// to end and its T is gone (objects in thread-local storage of their own
// may still be torn down after it).
template <class T>
T* ThreadOwned() {
    // Trivially destructible, so it can still be read while the thread ends.
    thread_local bool gone = false;
    struct Owner {
        T value;
        bool* gone;
        ~Owner() { *gone = true; }
    };
    if (gone) return nullptr;
    thread_local Owner owner{{}, &gone};
    return &owner.value;
}

template <class T, class Tidy = CEmptied>
class CThreadSpare {
public:
    CThreadSpare() {
        if (Slot* slot = TheSlot(); slot && !slot->lent) {
            m_pSlot = slot;
            slot->lent = true;
        }
    }
    ~CThreadSpare() {
        if (!m_pSlot) return;
        if (!Tidy()(m_pSlot->value)) m_pSlot->value = T();
        m_pSlot->lent = false;
    }
    CThreadSpare(const CThreadSpare&) = delete;
    CThreadSpare& operator=(const CThreadSpare&) = delete;

    T& operator*() { return m_pSlot ? m_pSlot->value : m_own; }
    T* operator->() { return &**this; }

private:
    struct Slot {
        T value;
        bool lent = false;
    };
    static Slot* TheSlot() { return ThreadOwned<Slot>(); }

    Slot* m_pSlot = nullptr;
    T m_own;
};

}  // namespace qorcalc::support
