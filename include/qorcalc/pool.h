// The string pool and sorted lookup.
//
// ISortedStringQuery adds lookup (binary search over a list sorted by
// ordinal comparison, and a linear scan) to any list that can give its size
// and its string at an index.  CStringPool is such a list: many UTF-16
// strings, each zero-terminated, back to back in one memory block, addressed
// by index through a table of byte offsets, with a parallel array of 32-bit
// tags that belong to the host.
//
// Invariants kept by CStringPool:
//   - the block is a copy of what was loaded: every offset is even and
//     inside the block, or at its very end for the empty last string of a
//     buffer that ended on a separator; every string inside the block ends
//     with a terminator there, so GetAt always yields a zero-terminated
//     string (or null for an index outside the pool);
//   - the tags stay aligned with the strings on insertion and removal; there
//     may be fewer tags than strings;
//   - the block never shrinks while strings are edited in place: RemoveAt and
//     a shorter SetAt leave their bytes behind;
//   - Deserialize accepts only streams that keep these invariants, sizes
//     nothing beyond what the stream holds, and leaves the pool empty on
//     failure.
// Limits: the block holds at most 1 GiB; an Add, InsertAt or SetAt that
// would grow it further does nothing (Add returns -1), and LoadSortedBuf
// and Deserialize refuse a larger block.
// Nothing here throws: on exhausted memory Add returns -1 and Add, InsertAt
// and SetAt leave the pool as it was; Copy, Load, LoadSortedBuf (0) and
// Deserialize (0) leave it empty; the failure (message 1305) is the last
// error.
#pragma once

#include <qorcalc/buffer.h>
#include <qorcalc/collections.h>
#include <qorcalc/export.h>
#include <qorcalc/string.h>

#include <cstdint>

class IStreamInput;
class IStreamOutput;

class QORCALC_API ISortedStringQuery {
public:
    // The string at `index`, or null outside the list.
    virtual const char16_t* GetAt(int index) const = 0;
    virtual int GetSize() const = 0;
    // The index of `key` in a list sorted by ordinal comparison, or -1.
    virtual int BSearch(const char16_t* key) const;
    // The first index whose string matches `key`, or -1.  With `bPrefix` 0 the
    // string must equal the key (ignoring case when `bCase` is 0); with
    // `bPrefix` non-zero the string must be a prefix of the key, always
    // compared case-sensitively.
    virtual int Find(const char16_t* key, int bCase, int bPrefix) const;

protected:
    // Lists are never deleted through this interface.
    ~ISortedStringQuery() = default;
};

class QORCALC_API CStringPool : public ISortedStringQuery {
public:
    CStringPool() = default;
    CStringPool(const CStringPool&) = default;
    CStringPool& operator=(const CStringPool&) = default;

    const char16_t* GetAt(int index) const override;
    int GetSize() const override { return m_offsets.GetSize(); }
    virtual ~CStringPool() = default;

    virtual void Empty();
    virtual void Copy(const CStringPool* other);
    // Builds the pool from `buf`, a sorted run of strings each followed by
    // `separator` (null or empty: each followed by a terminator).  Only the
    // separator's first character is compared; the characters after it are
    // skipped unseen.  With `bLower` non-zero "A".."Z" are lower-cased.  The
    // block is the buffer's characters with every separator character made a
    // terminator; a buffer ending in a separator gets a last, empty string
    // whose offset is the block's size, and only a buffer that does not end
    // in one gets a terminator after its last string.  An odd last byte is
    // dropped.  Returns 0 for a buffer of fewer than 2 bytes (the pool is
    // left as it was), else 1.
    virtual int LoadSortedBuf(CMem& buf, int bLower, const char16_t* separator);
    virtual void Load(const CStringArray& items);
    // Appends `s` and returns its index.
    virtual int Add(const CString& s);
    // Inserts `s` before the string at `index` (0 <= index < size).
    virtual void InsertAt(int index, const CString& s);
    virtual void RemoveAt(int index);
    // Replaces the string at `index` in place, growing its slot when needed.
    virtual void SetAt(int index, const CString& s);
    // Returns 1 when every write succeeded.
    virtual int Serialize(IStreamOutput* out) const;
    // Returns 1 on success; on failure the pool is empty and 0 is returned.
    // Reads back every stream Serialize writes, and closes an open last
    // string of a foreign block with a terminator.
    virtual int Deserialize(IStreamInput* in);

    CUIntArray& GetTags() { return m_tags; }
    const CUIntArray& GetTags() const { return m_tags; }
    const CMem& GetBlock() const { return m_mem; }

private:
    // Whether the block may grow by `bytes` without passing the limit.
    QORCALC_LOCAL bool CanGrow(uint64_t bytes) const;
    // Opens a gap of `gap` zero bytes at byte `pos` of the block, then writes
    // `s` and its terminator from `pos` on.
    QORCALC_LOCAL void PlaceString(uint32_t pos, const CString& s, uint32_t gap);
    // Adds `delta` to every offset after `index`.
    QORCALC_LOCAL void ShiftOffsetsAfter(int index, uint32_t delta);
    QORCALC_LOCAL bool OffsetsAreValid() const;
    QORCALC_LOCAL void CloseOpenTail();

    CMem m_mem;
    CUIntArray m_offsets;
    CUIntArray m_tags;
};
