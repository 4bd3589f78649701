// The framework's collections: CStringArray, CUIntArray, CPtrArray and a map
// of 32-bit values.
//
// All indexes are checked: reading outside the array gives a default value
// (an empty text, 0, null), writing or removing outside it does nothing, and
// InsertAt past the end appends.  Counts below 1 are ignored.
#pragma once

#include <qorcalc/export.h>
#include <qorcalc/string.h>

#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <vector>

template <class T>
class CArrayT {
public:
    int GetSize() const { return static_cast<int>(m_items.size()); }
    int GetCount() const { return GetSize(); }
    int GetUpperBound() const { return GetSize() - 1; }
    int IsEmpty() const { return m_items.empty(); }

    // Resizing keeps the elements that fit; new ones are default values.
    void SetSize(int size) { m_items.resize(size > 0 ? static_cast<size_t>(size) : 0); }
    void RemoveAll() { m_items.clear(); }
    void FreeExtra() { m_items.shrink_to_fit(); }

    const T& GetAt(int index) const { return Valid(index) ? m_items[static_cast<size_t>(index)] : Default(); }
    const T& operator[](int index) const { return GetAt(index); }
    // A writable reference; outside the array it refers to a scratch element
    // that nothing reads back.
    T& ElementAt(int index) {
        if (Valid(index)) return m_items[static_cast<size_t>(index)];
        static thread_local T scratch;
        scratch = T();
        return scratch;
    }
    T& operator[](int index) { return ElementAt(index); }
    void SetAt(int index, const T& value) {
        if (Valid(index)) m_items[static_cast<size_t>(index)] = value;
    }
    // Sets the element, growing the array when the index is past its end.
    void SetAtGrow(int index, const T& value) {
        if (index < 0) return;
        if (index >= GetSize()) SetSize(index + 1);
        m_items[static_cast<size_t>(index)] = value;
    }

    int Add(const T& value) {
        m_items.push_back(value);
        return GetSize() - 1;
    }
    void InsertAt(int index, const T& value, int count = 1) {
        if (index < 0 || count < 1) return;
        const size_t at = std::min(static_cast<size_t>(index), m_items.size());
        m_items.insert(m_items.begin() + static_cast<std::ptrdiff_t>(at), static_cast<size_t>(count), value);
    }
    void RemoveAt(int index, int count = 1) {
        if (!Valid(index) || count < 1) return;
        const size_t from = static_cast<size_t>(index);
        const size_t n = std::min(static_cast<size_t>(count), m_items.size() - from);
        m_items.erase(m_items.begin() + static_cast<std::ptrdiff_t>(from),
                      m_items.begin() + static_cast<std::ptrdiff_t>(from + n));
    }
    // `other` may be this array: with the room reserved first, nothing it
    // holds moves while it is copied.
    int Append(const CArrayT& other) {
        const int first = GetSize();
        const size_t n = other.m_items.size();
        m_items.reserve(m_items.size() + n);
        for (size_t i = 0; i < n; ++i) m_items.push_back(other.m_items[i]);
        return first;
    }
    void Copy(const CArrayT& other) { m_items = other.m_items; }

    T* GetData() { return m_items.data(); }
    const T* GetData() const { return m_items.data(); }
    std::vector<T>& Items() { return m_items; }
    const std::vector<T>& Items() const { return m_items; }

    auto begin() { return m_items.begin(); }
    auto end() { return m_items.end(); }
    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }

private:
    bool Valid(int index) const { return index >= 0 && static_cast<size_t>(index) < m_items.size(); }
    static const T& Default() {
        static const T value{};
        return value;
    }

    std::vector<T> m_items;
};

class QORCALC_API CStringArray : public CArrayT<CString> {};
class QORCALC_API CUIntArray : public CArrayT<uint32_t> {};
class QORCALC_API CPtrArray : public CArrayT<void*> {};

// A map from 32-bit keys to 32-bit values.
class QORCALC_API CMapUInt32 {
public:
    int GetCount() const { return static_cast<int>(m_map.size()); }
    int IsEmpty() const { return m_map.empty(); }
    int Lookup(uint32_t key, uint32_t& value) const {
        auto it = m_map.find(key);
        if (it == m_map.end()) return 0;
        value = it->second;
        return 1;
    }
    void SetAt(uint32_t key, uint32_t value) { m_map[key] = value; }
    int RemoveKey(uint32_t key) { return m_map.erase(key) ? 1 : 0; }
    void RemoveAll() { m_map.clear(); }

private:
    std::unordered_map<uint32_t, uint32_t> m_map;
};
