// CSV in and out.  A streaming RFC 4180 reader: quoted fields with commas,
// doubled quotes and line breaks; a leading byte-order mark; LF or CRLF
// line ends.  Empty lines are skipped.  Memory is one buffer and the text
// of one record, reused from record to record.  The writer's side is one
// cell at a time, quoted only when it must be; a record whose fields need
// no quotes is written back whole.
//
// Runs of ordinary bytes are copied into a record a stretch at a time
// (commas only noted where they end a field); only quotes, CR, LF and the
// bytes at a buffer's end go through the byte-at-a-time path, so a field or
// a quoted line break may straddle two buffers.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace qorcalc::tool {

// One record as read: its fields' texts one after another with a comma
// between each two, and where each field ends.  Reused from record to
// record, it keeps its storage.
class CsvRecord {
public:
    size_t size() const { return m_ends.size(); }
    std::string_view operator[](size_t i) const {
        const size_t begin = i ? m_ends[i - 1] + 1 : 0;
        return std::string_view(m_text.data() + begin, m_ends[i] - begin);
    }
    // The fields joined by commas.
    const std::string& text() const { return m_text; }
    // Whether no field holds a byte that makes a cell need quotes, so that
    // text() is the record written as CSV.
    bool plain() const { return m_plain; }

private:
    friend class CsvReader;
    std::string m_text;
    std::vector<size_t> m_ends;
    bool m_plain = true;
};

class CsvReader {
public:
    explicit CsvReader(std::FILE* file) : m_file(file) {}

    enum class Status { Record, End, OpenQuote };
    // The next record into `record`.
    Status Next(CsvRecord& record);
    // The line the last record began on (1 for the first line).
    long line() const { return m_recordLine; }
    // Bytes consumed so far.
    long long consumed() const { return m_before + static_cast<long long>(m_at); }
    // Whether every byte of the last record was ASCII, which is valid UTF-8
    // without a closer look.
    bool ascii() const { return m_high < 0x80; }

private:
    // The next byte, or EOF.
    int Get() { return m_at < m_size ? static_cast<unsigned char>(m_buffer[m_at++]) : Refill(); }
    int Refill();
    void Unget() { --m_at; }
    // Appends to the record the bytes from the read position to the next
    // quote, CR or LF or the buffer's end, whichever comes first; a comma on
    // the way ends a field.
    void Stretch(CsvRecord& record);
    // The same inside quotes, up to a quote or LF, into `text`.
    void QuotedStretch(std::string& text);
    void Append(std::string& text, int c);
    // The rest of a quoted field after its opening quote; false when the
    // file ends first.
    bool Quoted(std::string& text);
    // One line's fields into `record`, with `c` left as what ended the
    // line ('\n' or EOF); OpenQuote when a quoted field never closes.
    Status Fields(CsvRecord& record, int& c);

    std::FILE* m_file;
    char m_buffer[1 << 16];
    size_t m_size = 0;
    size_t m_at = 0;
    long long m_before = 0;  // bytes of the buffers before this one
    long m_line = 1;
    long m_recordLine = 1;
    unsigned char m_high = 0;  // the high bit set when a byte of the record has it
    bool m_started = false;
    size_t m_lastLength = 0;  // of the last record's text
    size_t m_lastFields = 0;
};

// A set of bytes, looked up by a byte's value.
struct ByteSet {
    bool at[256] = {};
    constexpr explicit ByteSet(const char* bytes) {
        for (; *bytes; ++bytes) at[static_cast<unsigned char>(*bytes)] = true;
    }
};
// The bytes that make a cell need quotes when written.
inline constexpr ByteSet kNeedQuotes(",\"\r\n");

inline bool NeedsQuotes(std::string_view text) {
    // Such bytes are rare: or the lookups together, four at a time, rather
    // than stop at the first.
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* end = p + text.size();
    bool special = false;
    for (; end - p >= 4; p += 4)
        special |= kNeedQuotes.at[p[0]] | kNeedQuotes.at[p[1]] | kNeedQuotes.at[p[2]] | kNeedQuotes.at[p[3]];
    for (; p != end; ++p) special |= kNeedQuotes.at[*p];
    return special;
}

// `text` in quotes, inner quotes doubled, appended to `out`.
void AppendQuotedCell(std::string_view text, std::string& out);

// `text` as a CSV cell appended to `out`: quoted when it holds a comma, a
// quote or a line break, else as it is.  Inline: it runs for every cell.
inline void AppendCsvCell(std::string_view text, std::string& out) {
    if (NeedsQuotes(text)) AppendQuotedCell(text, out);
    else out += text;
}

}  // namespace qorcalc::tool
