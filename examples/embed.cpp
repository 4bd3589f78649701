// A minimal host: for every record of a CSV file, calculates every formula
// of a formula file, answering the names the engine asks for from the
// record's columns.
//
//   qorcalc_demo embed_orders.csv formulas.txt
#include <qorcalc/qorcalc.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

// Message texts; a real host loads them from its own catalogue.
class Messages : public ILggInterface {
public:
    const char16_t* GetText(uint32_t id) override {
        switch (id) {
            case 1003: return u"cannot calculate %s";
            case 1004: return u"bad argument in %s";
            case 1072: return u"a function failed";
            default: m_text.Format(u"error %u in %%s", id); return m_text;
        }
    }
    void Translate(CString&) override {}

private:
    CString m_text;
};

std::vector<std::string> SplitCsv(const std::string& line) {
    std::vector<std::string> cells;
    std::stringstream in(line);
    for (std::string cell; std::getline(in, cell, ',');) cells.push_back(cell);
    return cells;
}

// A column's value as formula text: numbers bare, anything else quoted.
CString ValueText(const std::string& cell) {
    CString text = CString::FromUtf8(cell);
    if (text.IsEmpty() || !CUtilityCalc::IsPureNumber(text, 0)) CUtilityCalc::Attach_Quotes(text);
    return text;
}

std::string Calculate(ICalc& calc, const CString& formula, const std::map<std::string, std::string>& record) {
    int errorPos = -1;
    std::unique_ptr<CCalcNode> root(calc.Compile(formula, &errorPos));
    if (!root) return "compile error at " + std::to_string(errorPos) + ": " + CString(GetLastErrorText()).ToUtf8();
    for (;;) {
        CString out;
        CCalcNode* pending = nullptr;
        const int code = calc.Calculate(root.get(), out, pending, 0, 0);
        if (code == CALC_DONE) {
            CString value;
            root->GetText(value, 0);
            return value.ToUtf8();
        }
        if (code == CALC_NEED_FUNCTION) return "no function " + out.Left(out.Find(u'\r')).ToUtf8();
        if (code != CALC_NEED_NAME) return "error: " + CString(GetLastErrorText()).ToUtf8();
        auto it = record.find(out.ToUtf8());
        if (it == record.end()) return "unknown name " + out.ToUtf8();
        calc.SetTermValue(root.get(), pending, ValueText(it->second));
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s records.csv formulas.txt\n", argv[0]);
        return 2;
    }
    std::ifstream csv(argv[1]), formulaFile(argv[2]);
    if (!csv || !formulaFile) {
        std::fprintf(stderr, "cannot read %s or %s\n", argv[1], argv[2]);
        return 1;
    }
    std::vector<std::pair<std::string, CString>> formulas;
    for (std::string line; std::getline(formulaFile, line);) {
        const size_t eq = line.find(" = ");
        if (line.empty() || line[0] == '#' || eq == std::string::npos) continue;
        formulas.emplace_back(line.substr(0, eq), CString::FromUtf8(line.substr(eq + 3)));
    }

    Messages messages;
    SetLggInterface(&messages);
    SetDateTimeFormat(u"%Y-%m-%d %H:%M:%S", 0);
    std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));

    std::string header;
    std::getline(csv, header);
    const std::vector<std::string> columns = SplitCsv(header);
    for (std::string line; std::getline(csv, line);) {
        const std::vector<std::string> cells = SplitCsv(line);
        std::map<std::string, std::string> record;
        for (size_t i = 0; i < columns.size() && i < cells.size(); ++i) record[columns[i]] = cells[i];
        std::printf("%s\n", line.c_str());
        for (const auto& [label, formula] : formulas)
            std::printf("  %-14s %s\n", label.c_str(), Calculate(*calc, formula, record).c_str());
    }
    return 0;
}
