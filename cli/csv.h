// A streaming RFC 4180 reader: quoted fields with commas, doubled quotes
// and line breaks; a leading byte-order mark; LF or CRLF line ends.  Empty
// lines are skipped.  Memory is one buffer and the fields of one record,
// reused from record to record.
#pragma once

#include <cstdio>
#include <string>
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
    long long consumed() const { return m_consumed; }

private:
    int Get();

    std::FILE* m_file;
    char m_buffer[1 << 16];
    size_t m_size = 0;
    size_t m_at = 0;
    long m_line = 1;
    long m_recordLine = 1;
    long long m_consumed = 0;
    bool m_started = false;
};

}  // namespace qorcalc::tool
