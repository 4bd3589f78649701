#include <qorcalc/api.h>
#include <qorcalc/limits.h>
#include <qorcalc/pool.h>

#include <qorcalc/limits.h>

#include <qorcalc/streams.h>
#include <qorcalc/vek.h>

#include "support/text.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>

using qorcalc::support::Len;
using qorcalc::support::wcscmp16;
using qorcalc::support::wcsicmp16;

// Offsets and tags are stored as raw 32-bit words, which the stream format
// defines as little-endian.
static_assert(std::endian::native == std::endian::little, "the pool stream format is little-endian");

using qorcalc::detail::Shielded;
using qorcalc::detail::ShieldedInto;

namespace {

constexpr uint64_t kMaxBlockBytes = CALC_MAX_POOL_BYTES;
// Arrays read from a stream that cannot tell its length grow by this many
// elements at a time, so a forged count costs at most one chunk.
constexpr uint32_t kReadChunk = 1u << 14;

bool IsEqual(const char16_t* s, const char16_t* key, int bCase) {
    if (!s) return false;
    return (bCase ? wcscmp16(s, key) : wcsicmp16(s, key)) == 0;
}

// Whether `s` is a prefix of `key`.  Case always counts: the lookups built on
// it (function names typed so far) rely on that.
bool IsPrefixOf(const char16_t* s, const char16_t* key) {
    if (!s) return false;
    for (; *s; ++s, ++key)
        if (*s != *key) return false;  // the key's terminator never equals *s
    return true;
}

uint64_t ByteSize(const CString& s) { return (static_cast<uint64_t>(s.GetLength()) + 1) * 2; }

bool ReadWords(IStreamInput* in, CUIntArray& array, uint32_t count) {
    const int64_t left = in->Remaining();
    if (left >= 0 && uint64_t{count} * 4 > static_cast<uint64_t>(left)) return false;
    std::vector<uint32_t>& words = array.Items();
    words.clear();
    for (uint32_t done = 0; done < count;) {
        const uint32_t n = std::min(count - done, kReadChunk);
        words.resize(done + n);
        if (!in->ReadBytes(words.data() + done, n * 4)) return false;
        done += n;
    }
    return true;
}

}  // namespace

// --- ISortedStringQuery ------------------------------------------------------

int ISortedStringQuery::BSearch(const char16_t* key) const {
    if (!key) return -1;
    const int size = GetSize();
    int lo = 0;
    int hi = size - 1;
    int mid = hi / 2;
    // Short lists are scanned; longer ones are halved until the range is
    // small enough to scan.
    if (size >= 3) {
        while (mid < hi) {
            const char16_t* s = GetAt(mid);
            const int cmp = wcscmp16(key, s);
            if (cmp == 0 && s) return mid;
            if (cmp < 0)
                hi = mid - 1;
            else
                lo = mid + 1;
            if (lo > hi) return -1;
            mid = lo + (hi - lo) / 2;
            if (mid <= lo) break;
        }
    }
    for (int i = lo; i <= hi && i < size; ++i)
        if (IsEqual(GetAt(i), key, 1)) return i;
    return -1;
}

int ISortedStringQuery::Find(const char16_t* key, int bCase, int bPrefix) const {
    if (!key) return -1;
    const int size = GetSize();
    for (int i = 0; i < size; ++i) {
        const char16_t* s = GetAt(i);
        if (bPrefix ? IsPrefixOf(s, key) : IsEqual(s, key, bCase)) return i;
    }
    return -1;
}

// --- CStringPool -------------------------------------------------------------

const char16_t* CStringPool::GetAt(int index) const {
    if (index < 0 || index >= GetSize()) return nullptr;
    const uint32_t offset = m_offsets[index];
    // A buffer that ends on a separator leaves its last offset at the block's
    // end: that string is empty and has no bytes of its own.
    if (offset >= m_mem.GetSize()) return u"";
    return reinterpret_cast<const char16_t*>(m_mem.GetData() + offset);
}

void CStringPool::Empty() {
    m_mem.Empty();
    m_offsets.RemoveAll();
    m_tags.RemoveAll();
}

void CStringPool::Copy(const CStringPool* other) {
    if (other) ShieldedInto(u"CStringPool::Copy", [&] { *this = *other; }, *this);
}

int CStringPool::LoadSortedBuf(CMem& buf, int bLower, const char16_t* separator) {
    return Shielded(u"CStringPool::LoadSortedBuf", 0, [&]() -> int {
        if (buf.GetSize() < 2) return 0;
        // Whole characters only: an odd last byte belongs to no character.
        const uint32_t length = buf.GetWideLength();
        if (uint64_t{length} * 2 + 2 > kMaxBlockBytes) return 0;
        m_mem.Empty();
        m_mem.Add(buf.GetData(), length * 2);

        const bool bySeparator = separator && separator[0];
        const uint32_t sepLength =
            bySeparator ? static_cast<uint32_t>(std::min<size_t>(Len(separator), INT_MAX)) : 1;
        const char16_t sepChar = bySeparator ? separator[0] : u'\0';
        char16_t* chars = reinterpret_cast<char16_t*>(m_mem.GetData());

        const int expected = bySeparator ? CVek::strstrs(chars, static_cast<int>(length), separator,
                                                         static_cast<int>(sepLength), 1)
                                         : 10;
        m_offsets.RemoveAll();
        m_offsets.Items().reserve(static_cast<size_t>(std::clamp<int64_t>(expected, 0, length)) + 1);
        m_offsets.Add(0);

        for (uint32_t i = 0; i < length; ++i) {
            if (chars[i] == sepChar) {
                // Only the first separator character is compared; the rest of the
                // separator is skipped unseen.
                chars[i] = 0;
                const uint32_t next = static_cast<uint32_t>(std::min<uint64_t>(uint64_t{i} + sepLength, length));
                m_offsets.Add(next * 2);
                i = next - 1;
            } else if (bLower && chars[i] >= u'A' && chars[i] <= u'Z') {
                chars[i] = static_cast<char16_t>(chars[i] + (u'a' - u'A'));
            }
        }

        CloseOpenTail();
        m_mem.Finish();
        return 1;
    }, *this);
}

void CStringPool::Load(const CStringArray& items) {
    ShieldedInto(u"CStringPool::Load", [&] {
        m_mem.Empty();
        m_offsets.RemoveAll();
        m_offsets.Items().reserve(static_cast<size_t>(items.GetSize()));
        for (const CString& s : items) Add(s);
    }, *this);
}

// Add and InsertAt reserve the offsets and tags before they place the
// string: the placing is the one step that may fail, and a failed one
// leaves the pool as it was.
int CStringPool::Add(const CString& s) {
    if (!CanGrow(ByteSize(s))) return -1;
    return Shielded(u"CStringPool::Add", -1, [&] {
        qorcalc::detail::ReserveOneMore(m_offsets.Items());
        const uint32_t pos = m_mem.GetSize();
        PlaceString(pos, s, static_cast<uint32_t>(ByteSize(s)));
        return m_offsets.Add(pos);
    });
}

void CStringPool::InsertAt(int index, const CString& s) {
    if (index < 0 || index >= GetSize() || !CanGrow(ByteSize(s))) return;
    Shielded(u"CStringPool::InsertAt", false, [&] {
        qorcalc::detail::ReserveOneMore(m_offsets.Items());
        if (index < m_tags.GetSize()) qorcalc::detail::ReserveOneMore(m_tags.Items());
        const uint32_t bytes = static_cast<uint32_t>(ByteSize(s));
        const uint32_t pos = m_offsets[index];
        PlaceString(pos, s, bytes);
        m_offsets.InsertAt(index, pos);
        ShiftOffsetsAfter(index, bytes);
        if (index < m_tags.GetSize()) m_tags.InsertAt(index, 0);
        return true;
    });
}

void CStringPool::RemoveAt(int index) {
    m_offsets.RemoveAt(index);
    m_tags.RemoveAt(index);
}

void CStringPool::SetAt(int index, const CString& s) {
    if (index < 0 || index >= GetSize()) return;
    const uint32_t start = m_offsets[index];
    const uint32_t end = index + 1 < GetSize() ? m_offsets[index + 1] : m_mem.GetSize();
    const uint64_t slot = end > start ? end - start : 0;
    const uint64_t need = ByteSize(s);
    // The slot grows when the string does not fit; a shorter string leaves
    // the slot's tail (and every later offset) as it was.
    const uint32_t extra = static_cast<uint32_t>(need > slot ? need - slot : 0);
    if (!CanGrow(extra)) return;
    Shielded(u"CStringPool::SetAt", false, [&] {
        PlaceString(start, s, extra);
        ShiftOffsetsAfter(index, extra);
        return true;
    });
}

int CStringPool::Serialize(IStreamOutput* out) const {
    if (!out) return 0;
    const uint32_t size = static_cast<uint32_t>(GetSize());
    const uint32_t tagCount = static_cast<uint32_t>(m_tags.GetSize());
    if (tagCount > UINT32_MAX / 4) return 0;
    if (!out->Write32(size, 1) || !out->Write32(tagCount, 1)) return 0;
    if (size == 0) return 1;
    return out->WriteMem(m_mem, 1) && out->WriteBytes(m_offsets.GetData(), size * 4) &&
           out->WriteBytes(m_tags.GetData(), tagCount * 4);
}

int CStringPool::Deserialize(IStreamInput* in) {
    return Shielded(u"CStringPool::Deserialize", 0, [&]() -> int {
        Empty();
        if (!in) return 0;
        uint32_t size = 0;
        uint32_t tagCount = 0;
        if (!in->Read32(size, 1) || !in->Read32(tagCount, 1)) return 0;
        if (size == 0) return 1;
        if (size > INT_MAX || tagCount > INT_MAX || !in->ReadMem(m_mem, 1) ||
            m_mem.GetSize() > kMaxBlockBytes || !ReadWords(in, m_offsets, size) ||
            !ReadWords(in, m_tags, tagCount) || !OffsetsAreValid()) {
            Empty();
            return 0;
        }
        CloseOpenTail();
        return 1;
    }, *this);
}

bool CStringPool::CanGrow(uint64_t bytes) const { return m_mem.GetSize() + bytes <= kMaxBlockBytes; }

void CStringPool::PlaceString(uint32_t pos, const CString& s, uint32_t gap) {
    std::vector<uint8_t>& bytes = m_mem.Bytes();
    bytes.insert(bytes.begin() + pos, gap, 0);
    const size_t textBytes = static_cast<size_t>(s.GetLength()) * 2;
    if (textBytes) std::memcpy(bytes.data() + pos, s.GetString(), textBytes);
    bytes[pos + textBytes] = 0;
    bytes[pos + textBytes + 1] = 0;
}

void CStringPool::ShiftOffsetsAfter(int index, uint32_t delta) {
    if (delta == 0) return;
    for (int i = index + 1; i < m_offsets.GetSize(); ++i) m_offsets[i] += delta;
}

// A block is sound when it holds whole characters and every offset is even
// and inside it or at its very end (the empty last string of a buffer that
// ended on a separator).  The block need not end with a terminator: an open
// last string is closed by CloseOpenTail.
bool CStringPool::OffsetsAreValid() const {
    const uint32_t blockSize = m_mem.GetSize();
    if (blockSize < 2 || blockSize % 2 != 0) return false;
    return std::all_of(m_offsets.begin(), m_offsets.end(),
                       [blockSize](uint32_t offset) { return offset <= blockSize && offset % 2 == 0; });
}

// A buffer that does not end on a separator leaves its last string without a
// terminator; one is added after it so that every string ends inside the
// block.  Blocks whose strings are all closed are left exactly as they are.
void CStringPool::CloseOpenTail() {
    const char16_t* chars = m_mem.GetWideData();
    const uint32_t length = m_mem.GetWideLength();
    uint32_t tail = length;  // the first character after the last terminator
    while (tail > 0 && chars[tail - 1] != 0) --tail;
    const bool open = std::any_of(m_offsets.begin(), m_offsets.end(), [&](uint32_t offset) {
        return offset / 2 >= tail && offset / 2 < length;
    });
    if (!open) return;
    m_mem.AddByte(0);
    m_mem.AddByte(0);
}
