// qorcalc report: every `column = formula` line of a formulas file for every
// record of a CSV file.
//
// The formulas compile once.  Records stream through batches: the reader
// fills a batch, a worker (one calculator and one table of names each)
// calculates it and formats its rows into one text, and the main thread
// writes the batches' texts in input order, so the output is the same
// whatever the number of jobs and memory holds a bounded number of batches
// whatever the size of the file.
#include "csv.h"
#include "tool.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <fstream>
#include <memory>
#include <mutex>
#include <thread>

namespace qorcalc::tool {
namespace {

using host::Result;

constexpr size_t kBatchRecords = 512;
constexpr size_t kTableSample = 1000;  // records that decide the table's column widths

using Column = host::ReportColumn;

// A column's failing cells: how many, and the first one.
struct Failure {
    long count = 0;
    long firstLine = 0;
    std::string firstMessage;
};

struct Batch {
    std::vector<CsvRecord> records;
    std::vector<long> lines;
    size_t count = 0;
    // What the worker made of the records: their rows, formatted, and each
    // column's failures among them.
    std::string text;
    std::vector<Failure> failures;
    bool done = false;
};

std::string Trim(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    const size_t last = text.find_last_not_of(" \t");
    return std::string(text.substr(first, last - first + 1));
}

int Characters(std::string_view text) {
    int n = 0;
    for (unsigned char c : text) n += (c & 0xC0) != 0x80;
    return n;
}

std::string LowerAscii(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

// Reads the `column = formula` lines; a false return has printed why.
bool LoadFormulas(const std::string& path, std::istream& in, const std::vector<std::string>& header,
                  host::Calculator& calculator, std::vector<Column>& columns, Language language) {
    std::vector<std::string> taken;
    for (const std::string& name : header) taken.push_back(LowerAscii(name));
    auto fail = [&](uint32_t id, const std::vector<std::string>& args) {
        std::fprintf(stderr, "qorcalc: %s\n", Say(id, language, args).c_str());
        return false;
    };
    std::string line;
    for (long number = 1; std::getline(in, line); ++number) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (number == 1 && line.compare(0, 3, "\xEF\xBB\xBF") == 0) line.erase(0, 3);
        const std::string at = std::to_string(number);
        if (!host::IsValidUtf8(line)) return fail(kMsgCsvNotUtf8, {path, at});
        const std::string trimmed = Trim(line);
        if (trimmed.empty() || trimmed[0] == '#') continue;
        const size_t eq = line.find('=');
        const size_t nameStart = line.find_first_not_of(" \t");
        if (eq == std::string::npos || eq == nameStart) {
            // Where the `=` was looked for: after the first word.
            size_t where = eq == nameStart ? eq : line.find_first_of(" \t", nameStart);
            if (where != std::string::npos) where = line.find_first_not_of(" \t", where);
            if (where == std::string::npos) where = line.size();
            return fail(kMsgNotAFormulaLine, {path, at, std::to_string(Characters(line.substr(0, where)) + 1)});
        }
        const std::string name = Trim(line.substr(0, eq));
        const size_t formulaStart = line.find_first_not_of(" \t", eq + 1);
        if (formulaStart == std::string::npos)
            return fail(kMsgNotAFormulaLine, {path, at, std::to_string(Characters(line) + 1)});
        const std::string lowered = LowerAscii(name);
        if (std::find(taken.begin(), taken.end(), lowered) != taken.end())
            return fail(kMsgColumnTwice, {path, at, std::to_string(Characters(line.substr(0, nameStart)) + 1), name});
        host::Formula formula = calculator.Compile(Trim(line.substr(formulaStart)));
        if (!formula.ok()) {
            const int column = Characters(line.substr(0, formulaStart)) + std::max(formula.error().position, 0) + 1;
            return fail(kMsgFormulaLineError, {path, at, std::to_string(column), formula.error().message});
        }
        taken.push_back(lowered);
        columns.push_back({name, std::move(formula)});
    }
    if (columns.empty()) return fail(kMsgNoFormulas, {path});
    return true;
}

std::string CellText(const Result& result) {
    return result.ok ? result.value.text : "#ERROR " + std::to_string(result.error.id) + ": " + result.error.message;
}

// A report's rows in one of its forms.  Format runs on the worker threads
// and only reads the output's state; Header, Write and Finish run on the
// main thread, Write with each batch's text in input order.
class Output {
public:
    virtual ~Output() = default;
    virtual void Header(const std::vector<std::string>& names) = 0;
    // Appends a record's row to `out`.
    virtual void Format(const CsvRecord& fields, const std::vector<Result>& results, std::string& out) const = 0;
    virtual void Write(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }
    virtual void Finish() {}
};

class CsvOutput final : public Output {
public:
    void Header(const std::vector<std::string>& names) override {
        std::string line;
        for (size_t i = 0; i < names.size(); ++i) {
            if (i) line += ',';
            AppendCsvCell(names[i], line);
        }
        Write(line + '\n');
    }
    // A record whose fields need no quotes is copied whole.
    void Format(const CsvRecord& fields, const std::vector<Result>& results, std::string& out) const override {
        if (fields.plain()) {
            out += fields.text();
        } else {
            for (size_t i = 0; i < fields.size(); ++i) {
                if (i) out += ',';
                AppendCsvCell(fields[i], out);
            }
        }
        for (const Result& result : results) {
            out += ',';
            if (result.ok)
                AppendCsvCell(result.value.text, out);
            else
                AppendCsvCell(CellText(result), out);
        }
        out += '\n';
    }
};

class JsonOutput final : public Output {
public:
    void Header(const std::vector<std::string>& names) override { m_names = names; }
    void Format(const CsvRecord& fields, const std::vector<Result>& results, std::string& out) const override {
        out += '{';
        size_t k = 0;
        for (size_t i = 0; i < fields.size(); ++i) Key(k++, out), AppendJson(fields[i], out);
        for (const Result& result : results) {
            Key(k++, out);
            if (result.ok) {
                AppendJson(result.value.text, out);
            } else {
                out += "{\"error\": {\"id\": " + std::to_string(result.error.id) + ", \"message\": ";
                AppendJson(result.error.message, out);
                out += "}}";
            }
        }
        out += "}\n";
    }

private:
    void Key(size_t k, std::string& out) const {
        if (k) out += ", ";
        AppendJson(m_names[k], out);
        out += ": ";
    }
    std::vector<std::string> m_names;
};

// An aligned table for a terminal.  The first records decide the widths;
// a later, wider cell widens its line only, so memory stays bounded.  A
// table wider than the terminal (`columns`; 0: no limit) has its widest
// columns narrowed until it fits, and every cell cut to its column, the
// cut marked; a table that would not fit even so is shown a record at a
// time, a line per column.  A note on stderr tells how many cells lost text.
class TableOutput final : public Output {
public:
    TableOutput(int columns, Language language) : m_columns(columns), m_language(language) {}
    void Header(const std::vector<std::string>& names) override {
        m_rows.push_back(names);
        m_cells = names.size();
    }
    // Every cell ends with a line break, which no cell holds once flattened,
    // so Write can cut a batch's text back into rows of cells.
    void Format(const CsvRecord& fields, const std::vector<Result>& results, std::string& out) const override {
        for (size_t i = 0; i < fields.size(); ++i) AppendFlat(fields[i], out);
        for (const Result& result : results) AppendFlat(CellText(result), out);
    }
    void Write(const std::string& text) override {
        std::vector<std::string> row;
        for (size_t at = 0; at < text.size();) {
            const size_t end = text.find('\n', at);
            row.emplace_back(text, at, end - at);
            at = end + 1;
            if (row.size() == m_cells) {
                Row(std::move(row));
                row.clear();
            }
        }
    }
    void Finish() override {
        if (m_widths.empty()) PrintSample();
        if (m_cut > 0)
            std::fprintf(stderr, "qorcalc: %s\n",
                         Say(kMsgTableShortened, m_language, {std::to_string(m_cut), std::to_string(m_columns)}).c_str());
    }

private:
    // Line breaks inside a cell would break the table.
    static void AppendFlat(std::string_view cell, std::string& out) {
        for (char c : cell) {
            if (c == '\r' || c == '\n')
                out += "\xE2\x86\xB5";
            else
                out += c;
        }
        out += '\n';
    }
    // How the rows are shown: as they are, in narrowed columns, or a record
    // at a time.
    enum class Layout { Whole, Narrowed, Records };
    // A column no narrower than this keeps enough of a value to tell it.
    static constexpr int kNarrowest = 6;

    void Row(std::vector<std::string> row) {
        if (m_widths.empty()) {
            m_rows.push_back(std::move(row));
            if (m_rows.size() > kTableSample) PrintSample();
        } else {
            PrintRow(row);
        }
    }
    void PrintSample() {
        m_widths.assign(m_rows[0].size(), 0);
        for (const auto& row : m_rows)
            for (size_t i = 0; i < row.size() && i < m_widths.size(); ++i)
                m_widths[i] = std::max(m_widths[i], DisplayWidth(row[i]));
        m_layout = m_columns > 0 ? Narrow(m_widths, m_columns) : Layout::Whole;
        m_names = m_rows[0];
        for (const std::string& name : m_names) m_nameWidth = std::max(m_nameWidth, DisplayWidth(name));
        if (m_layout != Layout::Records) {
            PrintRow(m_names);
            std::string rule;
            for (size_t i = 0; i < m_widths.size(); ++i) rule += (i ? "  " : "") + std::string(static_cast<size_t>(m_widths[i]), '-');
            std::printf("%s\n", rule.c_str());
        }
        for (size_t r = 1; r < m_rows.size(); ++r) PrintRow(m_rows[r]);
        m_rows.clear();
    }
    void PrintRow(const std::vector<std::string>& row) {
        if (m_layout == Layout::Records) return PrintRecord(row);
        std::string line;
        for (size_t i = 0; i < row.size(); ++i) {
            if (i) line += "  ";
            const std::string cell = Fitted(row[i], m_layout == Layout::Narrowed && i < m_widths.size() ? m_widths[i] : 0);
            line += cell;
            if (i + 1 < row.size() && i < m_widths.size())
                line.append(static_cast<size_t>(std::max(0, m_widths[i] - DisplayWidth(cell))), ' ');
        }
        std::printf("%s\n", line.c_str());
    }
    // "-[ record N ]" across the terminal, then each column's name and value.
    void PrintRecord(const std::vector<std::string>& row) {
        const int valueWidth = std::max(kNarrowest, m_columns - m_nameWidth - 2);
        std::string rule = "-[ record " + std::to_string(++m_records) + " ]";
        rule.append(static_cast<size_t>(std::max(0, m_columns - DisplayWidth(rule))), '-');
        std::printf("%s\n", rule.c_str());
        for (size_t i = 0; i < row.size() && i < m_names.size(); ++i) {
            std::string line = m_names[i];
            line.append(static_cast<size_t>(m_nameWidth - DisplayWidth(m_names[i]) + 2), ' ');
            line += Fitted(row[i], valueWidth);
            std::printf("%s\n", line.c_str());
        }
    }
    // `cell` cut to `width` columns when wider, counted (0: never cut).
    std::string Fitted(const std::string& cell, int width) {
        if (width <= 0 || DisplayWidth(cell) <= width) return cell;
        ++m_cut;
        return FitWidth(cell, width);
    }
    // Lowers the widest columns to one common width, the largest with which
    // the table fits in `columns`; a table that would need columns narrower
    // than kNarrowest is left as it is, to be shown a record at a time.
    static Layout Narrow(std::vector<int>& widths, int columns) {
        auto total = [&](int cap) {
            int sum = 2 * static_cast<int>(widths.size() - 1);
            for (const int w : widths) sum += std::min(w, cap);
            return sum;
        };
        if (widths.empty()) return Layout::Whole;
        const int widest = *std::max_element(widths.begin(), widths.end());
        if (total(widest) <= columns) return Layout::Whole;
        int cap = widest;
        while (cap > kNarrowest && total(cap) > columns) --cap;
        if (total(cap) > columns) return Layout::Records;
        for (int& w : widths) w = std::min(w, cap);
        return Layout::Narrowed;
    }
    std::vector<std::vector<std::string>> m_rows;
    std::vector<std::string> m_names;
    int m_nameWidth = 0;  // the widest name, for the record layout
    std::vector<int> m_widths;
    size_t m_cells = 0;
    const int m_columns;
    const Language m_language;
    Layout m_layout = Layout::Whole;
    long long m_cut = 0;
    long long m_records = 0;
};

// One worker's engine: the report's columns over the batches it is given,
// each record's row formatted as soon as it is calculated.
class Worker {
public:
    Worker(const std::vector<std::string>& header, const std::vector<Column>& columns, const Output& output,
           Language language)
        : m_fieldCount(header.size()),
          m_records(header, columns, host::Options{language, 0, {}, nullptr}),
          m_output(output) {}

    void Evaluate(Batch& batch) {
        batch.text.clear();
        batch.failures.assign(batch.failures.size(), {});
        for (size_t r = 0; r < batch.count; ++r) {
            const CsvRecord& record = batch.records[r];
            for (size_t i = 0; i < m_fieldCount; ++i) m_records.SetField(i, record[i]);
            const std::vector<Result>& results = m_records.Evaluate();
            m_output.Format(record, results, batch.text);
            for (size_t k = 0; k < results.size(); ++k) {
                if (results[k].ok) continue;
                Failure& failure = batch.failures[k];
                if (failure.count++ == 0) {
                    failure.firstLine = batch.lines[r];
                    failure.firstMessage = results[k].error.message;
                }
            }
        }
    }

private:
    size_t m_fieldCount;
    host::RecordCalculator m_records;
    const Output& m_output;
};

// A progress bar on stderr once a run on a terminal passes a second.
class Progress {
public:
    explicit Progress(long long total) : m_total(total), m_enabled(isatty(STDERR_FILENO) && total > 0) {}
    void Update(long long done, long records) {
        if (!m_enabled) return;
        const auto now = std::chrono::steady_clock::now();
        if (now - m_start < std::chrono::seconds(1) || now - m_last < std::chrono::milliseconds(100)) return;
        m_last = now;
        const int percent = static_cast<int>(done * 100 / m_total);
        const int filled = percent * 30 / 100;
        std::fprintf(stderr, "\r[%s%s] %3d%%  %ld", std::string(static_cast<size_t>(filled), '#').c_str(),
                     std::string(static_cast<size_t>(30 - filled), ' ').c_str(), percent, records);
        m_shown = true;
    }
    ~Progress() {
        if (m_shown) std::fprintf(stderr, "\r\033[K");
    }

private:
    long long m_total;
    bool m_enabled;
    bool m_shown = false;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point m_last{};
};

// Evaluates batches on worker threads; the caller gets them back in order.
class Pool {
public:
    Pool(int jobs, const std::vector<std::string>& header, const std::vector<Column>& columns, const Output& output,
         Language language) {
        for (int i = 0; i < jobs; ++i) m_workers.push_back(std::make_unique<Worker>(header, columns, output, language));
        if (jobs > 1)
            for (int i = 0; i < jobs; ++i) m_threads.emplace_back([this, i] { Serve(*m_workers[static_cast<size_t>(i)]); });
    }
    ~Pool() {
        {
            std::lock_guard lock(m_mutex);
            m_closing = true;
        }
        m_work.notify_all();
        for (std::thread& thread : m_threads) thread.join();
    }
    void Submit(Batch& batch) {
        if (m_threads.empty()) {
            m_workers[0]->Evaluate(batch);
            batch.done = true;
            return;
        }
        std::lock_guard lock(m_mutex);
        batch.done = false;
        m_queue.push_back(&batch);
        m_work.notify_one();
    }
    void Wait(Batch& batch) {
        std::unique_lock lock(m_mutex);
        m_finished.wait(lock, [&] { return batch.done; });
    }

private:
    void Serve(Worker& worker) {
        for (;;) {
            Batch* batch;
            {
                std::unique_lock lock(m_mutex);
                m_work.wait(lock, [&] { return m_closing || !m_queue.empty(); });
                if (m_queue.empty()) return;
                batch = m_queue.front();
                m_queue.pop_front();
            }
            worker.Evaluate(*batch);
            {
                std::lock_guard lock(m_mutex);
                batch->done = true;
            }
            m_finished.notify_all();
        }
    }
    std::vector<std::unique_ptr<Worker>> m_workers;
    std::vector<std::thread> m_threads;
    std::mutex m_mutex;
    std::condition_variable m_work, m_finished;
    std::deque<Batch*> m_queue;
    bool m_closing = false;
};

std::unique_ptr<Output> MakeOutput(ReportFormat format, Language language) {
    if (format == ReportFormat::Auto) format = isatty(STDOUT_FILENO) ? ReportFormat::Table : ReportFormat::Csv;
    if (format == ReportFormat::Json) return std::make_unique<JsonOutput>();
    if (format == ReportFormat::Table) return std::make_unique<TableOutput>(TerminalColumns(), language);
    return std::make_unique<CsvOutput>();
}

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};

}  // namespace

int RunReport(const ReportArgs& args, Language language) {
    auto say = [&](uint32_t id, const std::vector<std::string>& a) {
        std::fprintf(stderr, "qorcalc: %s\n", Say(id, language, a).c_str());
        return 1;
    };
    std::unique_ptr<std::FILE, FileCloser> data(std::fopen(args.data.c_str(), "rb"));
    if (!data) return say(kMsgCannotOpen, {args.data, std::strerror(errno)});
    std::ifstream formulaFile(args.formulas, std::ios::binary);
    if (!formulaFile) return say(kMsgCannotOpen, {args.formulas, std::strerror(errno)});

    CsvReader reader(data.get());
    CsvRecord firstLine;
    const CsvReader::Status first = reader.Next(firstLine);
    if (first == CsvReader::Status::End) return say(kMsgEmptyCsv, {args.data});
    if (first == CsvReader::Status::OpenQuote) return say(kMsgOpenQuote, {args.data, std::to_string(reader.line())});
    if (!host::IsValidUtf8(firstLine.text())) return say(kMsgCsvNotUtf8, {args.data, "1"});
    std::vector<std::string> header;
    for (size_t i = 0; i < firstLine.size(); ++i) header.emplace_back(firstLine[i]);

    host::Calculator compiler(host::Options{language, 0, {}, nullptr});
    std::vector<Column> columns;
    if (!LoadFormulas(args.formulas, formulaFile, header, compiler, columns, language)) return 1;

    std::unique_ptr<Output> output = MakeOutput(args.format, language);
    std::vector<std::string> names(header);
    for (const Column& column : columns) names.push_back(column.name);
    output->Header(names);

    struct stat info {};
    Progress progress(fstat(fileno(data.get()), &info) == 0 && S_ISREG(info.st_mode) ? info.st_size : 0);
    Pool pool(args.jobs, header, columns, *output, language);
    // Enough batches in flight to keep every job busy while one is written.
    const size_t inFlight = static_cast<size_t>(args.jobs) * 2 + 1;
    std::vector<std::unique_ptr<Batch>> batches;
    std::deque<Batch*> pending;
    std::vector<Failure> failures(columns.size());
    long records = 0, failed = 0;
    int status = 0;

    auto writeOldest = [&] {
        Batch& batch = *pending.front();
        pending.pop_front();
        pool.Wait(batch);
        output->Write(batch.text);
        for (size_t k = 0; k < columns.size(); ++k) {
            const Failure& more = batch.failures[k];
            if (more.count && failures[k].count == 0) failures[k] = more;
            else failures[k].count += more.count;
            failed += more.count;
        }
        records += static_cast<long>(batch.count);
        progress.Update(reader.consumed(), records);
        return &batch;
    };

    // A record that stops the run has its line named; 0 for a good one.
    // The fields' text is valid UTF-8 when each field is: a comma between
    // two is no part of any character.
    auto reject = [&](CsvReader::Status got, const CsvRecord& record) {
        const bool utf8 = reader.ascii() || host::IsValidUtf8(record.text());
        if (got == CsvReader::Status::Record && record.size() == header.size() && utf8) return 0;
        const std::string line = std::to_string(reader.line());
        if (got == CsvReader::Status::OpenQuote) return say(kMsgOpenQuote, {args.data, line});
        if (record.size() != header.size())
            return say(kMsgRaggedRecord, {args.data, line, std::to_string(record.size()), std::to_string(header.size())});
        return say(kMsgCsvNotUtf8, {args.data, line});
    };

    bool more = true;
    while (more) {
        Batch* batch;
        if (batches.size() < inFlight) {
            batches.push_back(std::make_unique<Batch>());
            batch = batches.back().get();
            batch->failures.resize(columns.size());
        } else {
            batch = writeOldest();
        }
        batch->count = 0;
        while (batch->count < kBatchRecords) {
            if (batch->records.size() <= batch->count) {
                batch->records.emplace_back();
                batch->lines.push_back(0);
            }
            CsvRecord& record = batch->records[batch->count];
            const CsvReader::Status got = reader.Next(record);
            if (got == CsvReader::Status::End) {
                more = false;
                break;
            }
            status = reject(got, record);
            if (status) {
                more = false;
                break;
            }
            batch->lines[batch->count++] = reader.line();
        }
        pool.Submit(*batch);
        pending.push_back(batch);
    }
    while (!pending.empty()) writeOldest();
    output->Finish();
    std::fflush(stdout);

    if (failed) {
        const long cells = records * static_cast<long>(columns.size());
        std::fprintf(stderr, "qorcalc: %s\n", Say(kMsgSummary, language, {std::to_string(failed), std::to_string(cells)}).c_str());
        for (size_t k = 0; k < columns.size(); ++k)
            if (failures[k].count)
                std::fprintf(stderr, "%s\n", Say(kMsgSummaryColumn, language, {columns[k].name, std::to_string(failures[k].count),
                                                                        std::to_string(failures[k].firstLine), failures[k].firstMessage}).c_str());
        status = 1;
    }
    return status;
}

}  // namespace qorcalc::tool
