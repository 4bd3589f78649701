// The memory streams allocate as they are written; without memory a write
// fails (0) like any other write, and ReadMem leaves the block empty.
#include <qorcalc/api.h>
#include <qorcalc/streams.h>

#include <qorcalc/buffer.h>

#include <cstring>

using qorcalc::detail::Shielded;

int IStreamOutput::WriteMem(const CMem& block, int flag) {
    return Write32(block.GetSize(), flag) && WriteBytes(block.GetData(), block.GetSize());
}

// The size is checked against what the stream holds before any allocation,
// so a forged size cannot make us reserve gigabytes.
int IStreamInput::ReadMem(CMem& block, int flag) {
    return Shielded(u"IStreamInput::ReadMem", 0, [&]() -> int {
        uint32_t size = 0;
        if (!Read32(size, flag)) return 0;
        const int64_t left = Remaining();
        if (left >= 0 && size > left) return 0;
        block.Empty();
        std::vector<uint8_t>& bytes = block.Bytes();
        // A stream that cannot tell its length is read in bounded chunks.
        constexpr uint32_t kChunk = 1 << 16;
        for (uint32_t done = 0; done < size;) {
            const uint32_t n = size - done < kChunk ? size - done : kChunk;
            bytes.resize(done + n);
            if (!ReadBytes(bytes.data() + done, n)) {
                block.Empty();
                return 0;
            }
            done += n;
        }
        return 1;
    }, block);
}

namespace {

template <class T>
void PutLittleEndian(std::vector<uint8_t>& out, T value) {
    for (size_t i = 0; i < sizeof(T); ++i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

}  // namespace

int CMemStreamOutput::Write8(uint8_t value, int) {
    return Shielded(u"CMemStreamOutput::Write8", 0, [&]() -> int {
        m_bytes.push_back(value);
        return 1;
    });
}

int CMemStreamOutput::Write16(uint16_t value, int) {
    return Shielded(u"CMemStreamOutput::Write16", 0, [&]() -> int {
        PutLittleEndian(m_bytes, value);
        return 1;
    });
}

int CMemStreamOutput::Write32(uint32_t value, int) {
    return Shielded(u"CMemStreamOutput::Write32", 0, [&]() -> int {
        PutLittleEndian(m_bytes, value);
        return 1;
    });
}

int CMemStreamOutput::WriteBytes(const void* data, uint32_t size) {
    return Shielded(u"CMemStreamOutput::WriteBytes", 0, [&]() -> int {
        if (size == 0) return 1;
        if (!data) return 0;
        const uint8_t* p = static_cast<const uint8_t*>(data);
        m_bytes.insert(m_bytes.end(), p, p + size);
        return 1;
    });
}

// Without memory for the copy the stream is empty: every read fails.
CMemStreamInput::CMemStreamInput(const void* data, uint32_t size) {
    if (!data || !size) return;
    const uint8_t* p = static_cast<const uint8_t*>(data);
    qorcalc::detail::Shielded(u"CMemStreamInput", false, [&] { return m_bytes.assign(p, p + size), true; });
}

namespace {

template <class T>
int GetLittleEndian(const std::vector<uint8_t>& in, size_t& pos, T& value) {
    if (in.size() - pos < sizeof(T)) return 0;
    T v = 0;
    for (size_t i = 0; i < sizeof(T); ++i) v = static_cast<T>(v | (static_cast<T>(in[pos + i]) << (8 * i)));
    value = v;
    pos += sizeof(T);
    return 1;
}

}  // namespace

int CMemStreamInput::Read8(uint8_t& value, int) { return GetLittleEndian(m_bytes, m_pos, value); }
int CMemStreamInput::Read16(uint16_t& value, int) { return GetLittleEndian(m_bytes, m_pos, value); }
int CMemStreamInput::Read32(uint32_t& value, int) { return GetLittleEndian(m_bytes, m_pos, value); }

int CMemStreamInput::ReadBytes(void* data, uint32_t size) {
    if (size == 0) return 1;
    if (!data || m_bytes.size() - m_pos < size) return 0;
    std::memcpy(data, m_bytes.data() + m_pos, size);
    m_pos += size;
    return 1;
}
