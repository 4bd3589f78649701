// Byte buffers and text builders of the support layer.
//
// CMem is a growable block of bytes; CBuffer adds the conversions between
// UTF-16 and UTF-8 content.  CWriter is where formula text is written;
// CStringBuilder is the CWriter that collects into UTF-16 text.  Every
// position and count is clamped to the data, so no call reads or writes
// outside the block.
//
// No routine defined in the library throws: on exhausted memory the block
// or builder being filled is left empty and a returned text is empty, with
// the failure (message 1305) as the last error.  The members defined here
// in the header (AddByte, Copy, the capacity constructors) are the caller's
// own code and may throw std::bad_alloc.
#pragma once

#include <qorcalc/export.h>
#include <qorcalc/string.h>

#include <cstdint>
#include <vector>

class QORCALC_API CMem {
public:
    CMem() = default;
    explicit CMem(uint32_t capacity) { m_bytes.reserve(capacity); }
    virtual ~CMem() = default;

    uint32_t GetSize() const { return static_cast<uint32_t>(m_bytes.size()); }
    uint8_t* GetData() { return m_bytes.data(); }
    const uint8_t* GetData() const { return m_bytes.data(); }
    void Empty() { m_bytes.clear(); }
    void Copy(const CMem& other) { m_bytes = other.m_bytes; }

    void Add(const void* data, uint32_t size);
    void AddByte(uint8_t byte) { m_bytes.push_back(byte); }
    // Inserts at `pos` (appends past the end).  Add and Insert may be given
    // bytes of this block itself.
    void Insert(uint32_t pos, const void* data, uint32_t size);
    // Removes up to `size` bytes from `pos`.
    void Delete(uint32_t pos, uint32_t size);
    // Releases spare capacity once loading is over.
    void Finish() { m_bytes.shrink_to_fit(); }

    // The content read as UTF-16 code units (an odd last byte is ignored).
    const char16_t* GetWideData() const { return reinterpret_cast<const char16_t*>(m_bytes.data()); }
    uint32_t GetWideLength() const { return GetSize() / 2; }

    std::vector<uint8_t>& Bytes() { return m_bytes; }
    const std::vector<uint8_t>& Bytes() const { return m_bytes; }

protected:
    std::vector<uint8_t> m_bytes;
};

class QORCALC_API CBuffer : public CMem {
public:
    CBuffer() = default;
    explicit CBuffer(uint32_t capacity) : CMem(capacity) {}

    // The content becomes the UTF-16 code units of `text` (no terminator).
    void SetString(const CString& text);
    // The content becomes the code units of `text` narrowed to single bytes.
    void SetAscii(const CString& text);
    // Re-encodes the content in place; malformed input becomes U+FFFD.
    void UTF16ToUTF8();
    void UTF8ToUTF16();
    // The content read as UTF-16, or as single-byte characters.
    CString GetString() const;
    CString GetAsciiString() const;
};

// Removes white space at the front of a buffer of UTF-16 text.
QORCALC_API void StrBuffer_TrimLeft(CMem& buffer);

class QORCALC_API CWriter {
public:
    virtual ~CWriter() = default;
    virtual void Write(const char16_t* text, int length) = 0;
    void Write(const char16_t* text);
    void Write(const CString& text) { Write(text.GetString(), text.GetLength()); }
    void Write(char16_t ch) { Write(&ch, 1); }
};

class QORCALC_API CStringBuilder : public CWriter {
public:
    explicit CStringBuilder(int capacity = 256);
    using CWriter::Write;
    void Write(const char16_t* text, int length) override;
    int GetLength() const { return static_cast<int>(m_text.size()); }
    void Empty() { m_text.clear(); }
    CString ToString() const { return CString(m_text); }
    void GetString(CString& out) const { out = CString(m_text); }

private:
    std::u16string m_text;
};
