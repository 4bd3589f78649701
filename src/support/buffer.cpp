// Every routine that allocates runs shielded (qorcalc/api.h): on failure
// the block or builder it fills is left empty, a returned text is empty.
#include <qorcalc/api.h>
#include <qorcalc/buffer.h>

#include "support/text.h"

#include <algorithm>
#include <cstring>
#include <functional>

using qorcalc::detail::Shielded;
using qorcalc::detail::ShieldedInto;

void CMem::Add(const void* data, uint32_t size) { Insert(GetSize(), data, size); }

// The bytes may come from this block itself; they are copied aside first,
// since the insertion moves them.
void CMem::Insert(uint32_t pos, const void* data, uint32_t size) {
    ShieldedInto(u"CMem::Insert", [&] {
        if (!data || size == 0) return;
        const uint8_t* p = static_cast<const uint8_t*>(data);
        const std::less<const uint8_t*> before;
        const bool own = !before(p, m_bytes.data()) && before(p, m_bytes.data() + m_bytes.size());
        const std::vector<uint8_t> aside = own ? std::vector<uint8_t>(p, p + size) : std::vector<uint8_t>();
        if (own) p = aside.data();
        const size_t at = std::min<size_t>(pos, m_bytes.size());
        m_bytes.insert(m_bytes.begin() + static_cast<std::ptrdiff_t>(at), p, p + size);
    }, *this);
}

void CMem::Delete(uint32_t pos, uint32_t size) {
    if (pos >= m_bytes.size()) return;
    const size_t n = std::min<size_t>(size, m_bytes.size() - pos);
    m_bytes.erase(m_bytes.begin() + static_cast<std::ptrdiff_t>(pos),
                  m_bytes.begin() + static_cast<std::ptrdiff_t>(pos + n));
}

void CBuffer::SetString(const CString& text) {
    ShieldedInto(u"CBuffer::SetString", [&] {
        m_bytes.resize(static_cast<size_t>(text.GetLength()) * 2);
        if (!m_bytes.empty()) std::memcpy(m_bytes.data(), text.GetString(), m_bytes.size());
    }, *this);
}

void CBuffer::SetAscii(const CString& text) {
    ShieldedInto(u"CBuffer::SetAscii", [&] {
        m_bytes.clear();
        for (char16_t c : text.Str()) m_bytes.push_back(static_cast<uint8_t>(c));
    }, *this);
}

CString CBuffer::GetString() const {
    return Shielded(u"CBuffer::GetString", CString(), [&]() -> CString {
        std::u16string s(GetWideLength(), u'\0');
        if (!s.empty()) std::memcpy(s.data(), m_bytes.data(), s.size() * 2);
        return CString(std::move(s));
    });
}

CString CBuffer::GetAsciiString() const {
    return Shielded(u"CBuffer::GetAsciiString", CString(), [&]() -> CString {
        std::u16string s(m_bytes.begin(), m_bytes.end());
        return CString(std::move(s));
    });
}

void CBuffer::UTF16ToUTF8() {
    ShieldedInto(u"CBuffer::UTF16ToUTF8", [&] {
        const std::string utf8 = qorcalc::support::Utf16ToUtf8(GetString().Str());
        m_bytes.assign(utf8.begin(), utf8.end());
    }, *this);
}

void CBuffer::UTF8ToUTF16() {
    ShieldedInto(u"CBuffer::UTF8ToUTF16", [&] {
        const std::u16string wide = qorcalc::support::Utf8ToUtf16(
            std::string_view(reinterpret_cast<const char*>(m_bytes.data()), m_bytes.size()));
        m_bytes.resize(wide.size() * 2);
        if (!wide.empty()) std::memcpy(m_bytes.data(), wide.data(), m_bytes.size());
    }, *this);
}

void StrBuffer_TrimLeft(CMem& buffer) {
    const uint32_t n = buffer.GetWideLength();
    uint32_t i = 0;
    while (i < n) {
        char16_t c;
        std::memcpy(&c, buffer.GetData() + i * 2, 2);
        if (!qorcalc::support::iswspace16(c)) break;
        ++i;
    }
    buffer.Delete(0, i * 2);
}

void CWriter::Write(const char16_t* text) {
    if (text) Write(text, static_cast<int>(qorcalc::support::Len(text)));
}

CStringBuilder::CStringBuilder(int capacity) {
    ShieldedInto(u"CStringBuilder::CStringBuilder", [&] {
        if (capacity > 0) m_text.reserve(static_cast<size_t>(capacity));
    }, *this);
}

void CStringBuilder::Write(const char16_t* text, int length) {
    ShieldedInto(u"CStringBuilder::Write", [&] {
        if (text && length > 0) m_text.append(text, static_cast<size_t>(length));
    }, *this);
}
