// The sample report of examples/: every formula of report.formulas is
// calculated for every record of orders.csv as the report tool does it
// (fields and earlier columns answered by name, in any letter case; numbers
// as numbers, everything else as text), so the sample cannot rot: nothing
// may fail, and a handful of known cells must come out right.
#include <qorcalc/qorcalc.h>

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "calc_host.h"
#include "test_provider.h"

namespace {

using Record = std::vector<std::string>;

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// RFC 4180 records: quoted fields may hold commas, doubled quotes and line
// breaks; records end with CRLF or LF.
std::vector<Record> ReadCsv(const std::string& text) {
    std::vector<Record> records;
    Record record;
    std::string field;
    bool quoted = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c != '"') field += c;
            else if (i + 1 < text.size() && text[i + 1] == '"') field += text[++i];
            else quoted = false;
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',') {
            record.push_back(std::move(field));
            field.clear();
        } else if (c == '\n' || c == '\r') {
            if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
            record.push_back(std::move(field));
            field.clear();
            records.push_back(std::move(record));
            record.clear();
        } else {
            field += c;
        }
    }
    if (!field.empty() || !record.empty()) {
        record.push_back(field);
        records.push_back(record);
    }
    return records;
}

struct Column {
    int line;
    std::string name, formula;
};

std::vector<Column> ReadFormulas(const std::string& text) {
    std::vector<Column> columns;
    std::istringstream in(text);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.find_first_not_of(' ') == std::string::npos || line[0] == '#') continue;
        const size_t eq = line.find(" = ");
        EXPECT_NE(eq, std::string::npos) << "report.formulas:" << number << ": no \" = \" in " << line;
        if (eq != std::string::npos) columns.push_back({number, line.substr(0, eq), line.substr(eq + 3)});
    }
    return columns;
}

std::string Lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// A field as a value: a number when it reads as one, otherwise always a text,
// quoted so that the engine never reads it as a formula.
std::string FieldValue(const std::string& field) {
    const CString text = CString::FromUtf8(field);
    const bool number = field.find_first_of("0123456789") != std::string::npos &&
                        CUtilityCalc::IsPureNumber(text, 0);
    if (number) return field;
    const char quote = field.find('\'') == std::string::npos ? '\'' : '"';
    return quote + field + quote;
}

// One cell: the value as the engine writes it (texts quoted), or the error.
struct Cell {
    bool ok = false;
    std::string value;
};

Cell Calculate(const std::string& formula, const std::map<std::string, std::string>& names) {
    calctest::TestHost host;
    std::string unknown;
    host.answerName = [&](const std::string& name) {
        const auto it = names.find(Lower(name));
        if (it != names.end()) return it->second;
        unknown += " " + name;
        return std::string("''");
    };
    const calctest::Outcome o = host.Run(formula);
    if (!unknown.empty()) return {false, "unknown names" + unknown};
    if (o.code != CALC_DONE) return {false, "failed at " + std::to_string(o.errorPos) + ": " + o.errorText};
    return {true, o.value};
}

// Every cell of the report, by order number and column name.
std::map<std::string, std::map<std::string, Cell>> RunReport() {
    const std::string dir = std::string(QORCALC_SOURCE_DIR) + "/examples/";
    const std::vector<Record> records = ReadCsv(ReadFile(dir + "orders.csv"));
    const std::vector<Column> columns = ReadFormulas(ReadFile(dir + "report.formulas"));
    std::map<std::string, std::map<std::string, Cell>> report;
    if (records.empty()) return report;
    const Record& header = records.front();
    for (size_t r = 1; r < records.size(); ++r) {
        const Record& record = records[r];
        EXPECT_EQ(record.size(), header.size()) << "record " << r << " is ragged";
        std::map<std::string, std::string> names;
        for (size_t f = 0; f < header.size() && f < record.size(); ++f) names[Lower(header[f])] = FieldValue(record[f]);
        auto& cells = report[record.front()];
        for (const Column& column : columns) {
            const Cell cell = Calculate(column.formula, names);
            cells[column.name] = cell;
            if (cell.ok) names[Lower(column.name)] = cell.value;
        }
    }
    return report;
}

TEST(ReportSample, EveryFormulaCalculatesForEveryOrder) {
    TestProvider provider;
    const auto report = RunReport();
    EXPECT_GE(report.size(), 20u);
    for (const auto& [order, cells] : report) {
        EXPECT_GE(cells.size(), 15u) << order;
        for (const auto& [column, cell] : cells) EXPECT_TRUE(cell.ok) << order << " " << column << ": " << cell.value;
    }
}

TEST(ReportSample, KnownCells) {
    TestProvider provider;
    const auto report = RunReport();
    const struct {
        const char *order, *column, *value;
    } known[] = {
        {"A-1001", "net", "227.89"},
        {"A-1001", "net_in_rmb", "'贰佰贰拾柒元捌角玖分'"},
        {"A-1001", "net_in_words", "'two hundred and twenty seven point eighty nine'"},
        {"A-1001", "on_time", "'yes'"},
        {"A-1002", "net_shown", "'704.00'"},
        {"A-1002", "discount_shown", "'12%'"},
        {"A-1002", "follow_up", "'2014-04-01'"},
        {"A-1003", "customer_key", "'张三-1003'"},
        {"A-1003", "ordered_zh", "'二O一四年十二月三十日'"},
        {"A-1003", "days_to_ship", "4"},
        {"A-1003", "size", "'large'"},
        {"A-1004", "customer_key", "\"O'B-1004\""},
        {"A-1004", "quarter_end", "'2012-03-31'"},
        {"A-1005", "name_length", "11"},
        {"A-1006", "on_time", "'late'"},
        {"A-1009", "on_time", "'late'"},
        {"A-1009", "order_month", "'May 2014'"},
        {"A-1023", "city_short", "'Hong'"},
        {"A-1024", "net_shown", "'742.50'"},
    };
    for (const auto& k : known) {
        const auto order = report.find(k.order);
        ASSERT_NE(order, report.end()) << k.order;
        const auto cell = order->second.find(k.column);
        ASSERT_NE(cell, order->second.end()) << k.order << " " << k.column;
        EXPECT_EQ(cell->second.value, k.value)
            << k.order << " " << k.column << ": expected " << k.value << ", got " << cell->second.value;
    }
}

}  // namespace
