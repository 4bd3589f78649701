#include "csv.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace qorcalc::tool {
namespace {

// Outside quotes a stretch of a line runs to a quote or a line end; the
// commas on the way end fields.
constexpr ByteSet kLineStops("\"\r\n");
// Inside quotes: at the closing (or doubled) quote, and at a line break to count.
constexpr ByteSet kQuotedStops("\"\n");

constexpr uint64_t kOnes = 0x0101010101010101u;
constexpr uint64_t kHighBits = 0x8080808080808080u;

// The high bit of each byte of `word` that equals `byte`, and no other bit.
uint64_t BytesEqual(uint64_t word, unsigned char byte) {
    constexpr uint64_t kLow7 = 0x7F7F7F7F7F7F7F7Fu;
    const uint64_t x = word ^ (kOnes * byte);
    return ~(((x & kLow7) + kLow7) | x | kLow7);
}

// Whether a byte of `word` lies below `limit` (at most 0x80): such a byte,
// and only such, borrows into its own high bit.
bool AnyBelow(uint64_t word, unsigned char limit) { return ((word - kOnes * limit) & ~word & kHighBits) != 0; }

}  // namespace

int CsvReader::Refill() {
    m_before += static_cast<long long>(m_size);
    m_size = std::fread(m_buffer, 1, sizeof m_buffer, m_file);
    m_at = 0;
    return m_size == 0 ? EOF : static_cast<unsigned char>(m_buffer[m_at++]);
}

void CsvReader::QuotedStretch(std::string& text) {
    const auto* begin = reinterpret_cast<const unsigned char*>(m_buffer) + m_at;
    const auto* end = reinterpret_cast<const unsigned char*>(m_buffer) + m_size;
    const auto* p = begin;
    unsigned char high = 0;
    while (p != end && !kQuotedStops.at[*p]) high |= *p++;
    if (p == begin) return;
    m_high |= high;
    text.append(reinterpret_cast<const char*>(begin), static_cast<size_t>(p - begin));
    m_at += static_cast<size_t>(p - begin);
}

// Eight bytes at a time where the machine reads a word's bytes from the
// low end: one word's comparisons find the commas, and whether a quote, CR
// or LF ends the stretch within it, without a test per byte.
void CsvReader::Stretch(CsvRecord& record) {
    const auto* begin = reinterpret_cast<const unsigned char*>(m_buffer) + m_at;
    const auto* end = reinterpret_cast<const unsigned char*>(m_buffer) + m_size;
    const size_t at = record.m_text.size();
    uint64_t bits = 0;  // the stretch's bytes or-ed together, for the high bits
    const auto* p = begin;
    bool stopped = false;
    while (std::endian::native == std::endian::little && !stopped && end - p >= 8) {
        uint64_t word;
        std::memcpy(&word, p, sizeof word);
        // The stops all lie below '#', so most words need one test for them.
        const uint64_t stops =
            AnyBelow(word, '"' + 1) ? BytesEqual(word, '"') | BytesEqual(word, '\r') | BytesEqual(word, '\n') : 0;
        uint64_t commas = BytesEqual(word, ',');
        int length = 8;
        if (stops) {
            length = __builtin_ctzll(stops) / 8;
            const uint64_t before = (uint64_t{1} << (length * 8)) - 1;
            commas &= before;
            word &= before;
            stopped = true;
        }
        for (; commas; commas &= commas - 1)
            record.m_ends.push_back(at + static_cast<size_t>(p - begin) + static_cast<size_t>(__builtin_ctzll(commas) / 8));
        bits |= word;
        p += length;
    }
    for (; !stopped && p != end && !kLineStops.at[*p]; ++p) {
        bits |= *p;
        if (*p == ',') record.m_ends.push_back(at + static_cast<size_t>(p - begin));
    }
    if (p == begin) return;
    if (bits & kHighBits) m_high |= 0x80;
    record.m_text.append(reinterpret_cast<const char*>(begin), static_cast<size_t>(p - begin));
    m_at += static_cast<size_t>(p - begin);
}

void CsvReader::Append(std::string& text, int c) {
    m_high |= static_cast<unsigned char>(c);
    text += static_cast<char>(c);
}

bool CsvReader::Quoted(std::string& text) {
    for (;;) {
        QuotedStretch(text);
        const int c = Get();
        if (c == EOF) return false;
        if (c == '"') {
            const int next = Get();
            if (next != '"') {
                if (next != EOF) Unget();  // the byte after the closing quote is the field's again
                return true;
            }
        } else if (c == '\n') {
            ++m_line;
        }
        Append(text, c);
    }
}

CsvReader::Status CsvReader::Fields(CsvRecord& record, int& c) {
    std::string& text = record.m_text;
    text.clear();
    record.m_ends.clear();
    // A record object seen for the first time is given room for one like
    // the last, rather than growing into it step by step.
    if (record.m_ends.capacity() == 0) {
        text.reserve(m_lastLength);
        record.m_ends.reserve(m_lastFields);
    }
    // A quoted field, a quote inside a field or a lone CR means a cell that
    // must be written with quotes, or may be: the record is written cell by
    // cell then.
    record.m_plain = true;
    for (;;) {
        Stretch(record);
        c = Get();
        if (c == EOF || c == '\n') break;
        const size_t fieldStart = record.m_ends.empty() ? 0 : record.m_ends.back() + 1;
        if (c == ',') {  // the first byte of a fresh buffer
            record.m_ends.push_back(text.size());
            text += ',';
        } else if (c == '"' && text.size() == fieldStart) {
            record.m_plain = false;
            if (!Quoted(text)) return Status::OpenQuote;
        } else if (c == '\r') {
            const int next = Get();
            if (next == '\n') break;
            record.m_plain = false;
            Append(text, '\r');
            if (next == EOF) {
                c = EOF;
                break;
            }
            Unget();  // the byte after a lone CR is data
        } else {
            record.m_plain &= c != '"';
            Append(text, c);  // a quote inside a field, or a byte from a fresh buffer
        }
    }
    record.m_ends.push_back(text.size());
    m_lastLength = text.size();
    m_lastFields = record.m_ends.size();
    return Status::Record;
}

CsvReader::Status CsvReader::Next(CsvRecord& record) {
    if (!m_started) {
        m_started = true;
        // A byte-order mark is no part of the first column's name.
        m_size = std::fread(m_buffer, 1, sizeof m_buffer, m_file);
        if (m_size >= 3 && std::memcmp(m_buffer, "\xEF\xBB\xBF", 3) == 0) m_at = 3;
    }
    for (;;) {
        m_recordLine = m_line;
        m_high = 0;
        const long long start = consumed();
        int c;
        if (Fields(record, c) == Status::OpenQuote) return Status::OpenQuote;
        if (c != EOF) ++m_line;
        if (c == EOF && consumed() == start) return Status::End;
        // A line with nothing on it is no record.
        if (record.size() == 1 && record.text().empty()) {
            if (c == EOF) return Status::End;
            continue;
        }
        return Status::Record;
    }
}

void AppendQuotedCell(std::string_view text, std::string& out) {
    out += '"';
    for (size_t quote; (quote = text.find('"')) != std::string_view::npos; text.remove_prefix(quote + 1)) {
        out.append(text.substr(0, quote + 1));
        out += '"';
    }
    out += text;
    out += '"';
}

}  // namespace qorcalc::tool
