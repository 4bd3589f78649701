// The stream readers fed any bytes: the first byte picks the reader (string
// pool, CUIntArray with a count of 1, 2 or 4 bytes, CRowCol, CRowCols), the
// rest is the stream.  What a reader accepts must read back identically once
// written, and a pool must stay usable: every string inside its block, edits
// keeping it serialisable.
#include "fuzz_input.h"

#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

Bytes Written(const CStringPool& pool) {
    CMemStreamOutput out;
    fuzzing::Require(pool.Serialize(&out) == 1, "a pool serialises");
    return out.GetBytes();
}

bool SamePool(const CStringPool& a, const CStringPool& b) {
    if (a.GetSize() != b.GetSize() || a.GetTags().GetSize() != b.GetTags().GetSize()) return false;
    for (int i = 0; i < a.GetSize(); ++i)
        if (CString(a.GetAt(i)) != CString(b.GetAt(i))) return false;
    for (int i = 0; i < a.GetTags().GetSize(); ++i)
        if (a.GetTags()[i] != b.GetTags()[i]) return false;
    return true;
}

// Writes the pool, reads it back and checks both copies agree.
void RequireRoundTrip(const CStringPool& pool) {
    const Bytes bytes = Written(pool);
    CMemStreamInput in(bytes);
    CStringPool back;
    fuzzing::Require(back.Deserialize(&in) == 1, "a written pool reads back");
    fuzzing::Require(SamePool(pool, back), "a pool reads back as it was written");
    fuzzing::Require(Written(back) == bytes, "a pool read back writes the same bytes");
}

void FuzzPool(const Bytes& stream) {
    CMemStreamInput in(stream);
    CStringPool pool;
    if (!pool.Deserialize(&in)) {
        fuzzing::Require(pool.GetSize() == 0, "a refused pool stream leaves the pool empty");
        return;
    }
    for (int i = 0; i < pool.GetSize(); ++i) {
        const char16_t* s = pool.GetAt(i);
        fuzzing::Require(s != nullptr, "every index of a pool has a string");
        const int found = pool.BSearch(s);
        fuzzing::Require(found >= -1 && found < pool.GetSize(), "BSearch stays in the pool");
        fuzzing::Require(pool.Find(s, 1, 0) <= i, "Find returns the first equal string");
    }
    RequireRoundTrip(pool);
    const CString added = CString::FromUtf8("added-string");
    pool.Add(added);
    pool.InsertAt(0, added);
    pool.SetAt(pool.GetSize() - 1, added + added);
    pool.SetAt(0, CString(u"x"));
    pool.RemoveAt(pool.GetSize() / 2);
    RequireRoundTrip(pool);
}

void FuzzUIntArray(const Bytes& stream, int width) {
    CMemStreamInput in(stream);
    CUIntArray items;
    if (!CUtilityCalc::DeserializeUIntArray(&in, items, width)) return;
    const size_t used = stream.size() - static_cast<size_t>(in.Remaining());
    CMemStreamOutput out;
    CUtilityCalc::SerializeUIntArray(&out, items, width);
    fuzzing::Require(out.GetBytes() == Bytes(stream.begin(), stream.begin() + static_cast<long>(used)),
                     "an accepted CUIntArray stream writes back as read");
}

template <class Value, class Read, class Write>
void FuzzCoordinates(const Bytes& stream, Read read, Write write, size_t words) {
    CMemStreamInput in(stream);
    Value value;
    if (!(value.*read)(&in)) {
        fuzzing::Require(stream.size() < 4 * words, "a whole stream of packed words is read");
        return;
    }
    CMemStreamOutput out;
    (value.*write)(&out);
    fuzzing::Require(out.GetBytes() == Bytes(stream.begin(), stream.begin() + static_cast<long>(4 * words)),
                     "packed coordinates write back as read");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::InstallMessages();
    if (size == 0) return 0;
    const Bytes stream(data + 1, data + size);
    switch (data[0] % 6) {
    case 0: FuzzPool(stream); break;
    case 1: FuzzUIntArray(stream, 1); break;
    case 2: FuzzUIntArray(stream, 2); break;
    case 3: FuzzUIntArray(stream, 4); break;
    case 4: FuzzCoordinates<CRowCol>(stream, &CRowCol::DeserializeRowCol, &CRowCol::SerializeRowCol, 1); break;
    default:
        FuzzCoordinates<CRowCols>(stream, &CRowCols::DeserializeRowCols, &CRowCols::SerializeRowCols, 2);
        break;
    }
    return 0;
}
