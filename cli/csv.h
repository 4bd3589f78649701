// CSV in and out.  A streaming RFC 4180 reader: quoted fields with commas,
// doubled quotes and line breaks; a leading byte-order mark; LF or CRLF
// line ends.  Empty lines are skipped.  Memory is one buffer and the fields
// of one record, reused from record to record.  The writer's side is one
// cell at a time, quoted only when it must be.
//
// Runs of ordinary bytes are copied into a field a span at a time; only the
// bytes that mean something to CSV (comma, quote, CR, LF) and the bytes at a
// buffer's end go through the byte-at-a-time path, so a field or a quoted
// line break may straddle two buffers.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace qorcalc::tool {

class CsvReader {
public:
    explicit CsvReader(std::FILE* file) : m_file(file) {}

    enum class Status { Record, End, OpenQuote };
    // The next record into `fields` (resized to its field count).
    Status Next(std::vector<std::string>& fields);
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
    void Span(std::string& field, const bool* stops);
    void Append(std::string& field, int c);
    // The rest of a quoted field after its opening quote; false when the
    // file ends first.
    bool Quoted(std::string& field);

    std::FILE* m_file;
    char m_buffer[1 << 16];
    size_t m_size = 0;
    size_t m_at = 0;
    long long m_before = 0;  // bytes of the buffers before this one
    long m_line = 1;
    long m_recordLine = 1;
    unsigned char m_high = 0;  // the record's bytes or-ed together
    bool m_started = false;
};

// `text` as a CSV cell appended to `out`: in quotes, inner quotes doubled,
// when it holds a comma, a quote or a line break, else as it is.
void AppendCsvCell(std::string_view text, std::string& out);

}  // namespace qorcalc::tool
