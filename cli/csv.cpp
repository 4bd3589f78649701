#include "csv.h"

#include <cstring>

namespace qorcalc::tool {

int CsvReader::Get() {
    if (m_at == m_size) {
        m_size = std::fread(m_buffer, 1, sizeof m_buffer, m_file);
        m_at = 0;
        if (m_size == 0) return EOF;
    }
    ++m_consumed;
    return static_cast<unsigned char>(m_buffer[m_at++]);
}

CsvReader::Status CsvReader::Next(std::vector<std::string>& fields) {
    if (!m_started) {
        m_started = true;
        // A byte-order mark is no part of the first column's name.
        m_size = std::fread(m_buffer, 1, sizeof m_buffer, m_file);
        if (m_size >= 3 && std::memcmp(m_buffer, "\xEF\xBB\xBF", 3) == 0) m_at = m_consumed = 3;
    }
    size_t count = 0;
    auto field = [&]() -> std::string& {
        if (fields.size() <= count) fields.emplace_back();
        return fields[count];
    };
    for (;;) {
        m_recordLine = m_line;
        count = 0;
        field().clear();
        bool quoted = false, any = false;
        int c;
        while ((c = Get()) != EOF) {
            any = true;
            if (quoted) {
                if (c == '"') {
                    const int next = Get();
                    if (next == '"') {
                        field() += '"';
                        continue;
                    }
                    quoted = false;
                    if (next == EOF) break;
                    c = next;
                } else {
                    if (c == '\n') ++m_line;
                    field() += static_cast<char>(c);
                    continue;
                }
            }
            if (c == ',') {
                ++count;
                field().clear();
            } else if (c == '"' && field().empty()) {
                quoted = true;
            } else if (c == '\n') {
                ++m_line;
                break;
            } else if (c == '\r') {
                const int next = Get();
                if (next == '\n') {
                    ++m_line;
                    break;
                }
                field() += '\r';
                if (next == EOF) break;
                --m_at;  // the byte after a lone CR is data
                --m_consumed;
            } else {
                field() += static_cast<char>(c);
            }
        }
        if (quoted) return Status::OpenQuote;
        if (!any) return Status::End;
        // A line with nothing on it is no record.
        if (count == 0 && fields[0].empty()) {
            if (c == EOF) return Status::End;
            continue;
        }
        fields.resize(count + 1);
        return Status::Record;
    }
}

}  // namespace qorcalc::tool
