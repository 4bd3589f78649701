// Streams the engine serialises its values to: IStreamOutput and
// IStreamInput, with memory-backed implementations.
//
// Values are little-endian.  Every read reports success (non-zero) or
// failure (0, the value untouched); a failed read of a value never consumes
// input.  A failed ReadMem has consumed the block's count and leaves the
// block empty or untouched.
// The second argument of each call is a flag kept for the host's own
// streams; the memory streams ignore it.  A memory block is written as its
// 32-bit byte count followed by the bytes, and reading one checks that the
// bytes are there before it allocates anything.
//
// The memory streams never throw: without memory a write fails (0), ReadMem
// leaves the block empty, and an input stream that cannot copy its data is
// empty; the failure (message 1305) is the last error.
#pragma once

#include <qorcalc/export.h>

#include <cstddef>
#include <cstdint>
#include <vector>

class CMem;

class QORCALC_API IStreamOutput {
public:
    virtual ~IStreamOutput() = default;
    virtual int Write8(uint8_t value, int flag = 1) = 0;
    virtual int Write16(uint16_t value, int flag = 1) = 0;
    virtual int Write32(uint32_t value, int flag = 1) = 0;
    virtual int WriteBytes(const void* data, uint32_t size) = 0;
    virtual int WriteMem(const CMem& block, int flag = 1);
};

class QORCALC_API IStreamInput {
public:
    virtual ~IStreamInput() = default;
    virtual int Read8(uint8_t& value, int flag = 1) = 0;
    virtual int Read16(uint16_t& value, int flag = 1) = 0;
    virtual int Read32(uint32_t& value, int flag = 1) = 0;
    virtual int ReadBytes(void* data, uint32_t size) = 0;
    // Bytes left to read, or -1 when the stream cannot tell.
    virtual int64_t Remaining() const { return -1; }
    virtual int ReadMem(CMem& block, int flag = 1);
};

class QORCALC_API CMemStreamOutput : public IStreamOutput {
public:
    int Write8(uint8_t value, int flag = 1) override;
    int Write16(uint16_t value, int flag = 1) override;
    int Write32(uint32_t value, int flag = 1) override;
    int WriteBytes(const void* data, uint32_t size) override;
    const std::vector<uint8_t>& GetBytes() const { return m_bytes; }

private:
    std::vector<uint8_t> m_bytes;
};

class QORCALC_API CMemStreamInput : public IStreamInput {
public:
    CMemStreamInput(const void* data, uint32_t size);
    explicit CMemStreamInput(std::vector<uint8_t> bytes) : m_bytes(std::move(bytes)) {}
    int Read8(uint8_t& value, int flag = 1) override;
    int Read16(uint16_t& value, int flag = 1) override;
    int Read32(uint32_t& value, int flag = 1) override;
    int ReadBytes(void* data, uint32_t size) override;
    int64_t Remaining() const override { return static_cast<int64_t>(m_bytes.size() - m_pos); }

private:
    std::vector<uint8_t> m_bytes;
    size_t m_pos = 0;
};
