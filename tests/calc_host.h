// A host as users write one: it compiles a formula, calculates, answers the
// names the engine asks for from a table (recording every question), runs
// the functions the engine hands over, and calculates again.
#pragma once

#include <qorcalc/qorcalc.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace calctest {

struct Outcome {
    int code = CALC_ERROR;   // the last result of Calculate (or of Compile: -1)
    std::string value;       // the root's text, quoted when it is a string
    int errorCode = 0;       // the calculator's error code
    int errorPos = -1;       // the compile's error position
    std::string errorText;   // the last error text
};

class TestHost {
public:
    explicit TestHost(CFuncMnger* mnger = nullptr, void* hostData = nullptr)
        : m_calc(NewCalc(mnger, hostData)) {}

    // Names and their answers: quoted text, a number, or a formula.
    std::map<std::string, std::string> names;
    // When set, answers every name instead of the table (a host with rules of
    // its own, such as names matched without regard to letter case).
    std::function<std::string(const std::string&)> answerName;
    // Functions the engine cannot run: name -> answer from the argument texts.
    std::map<std::string, std::function<std::string(const std::vector<std::string>&)>> functions;
    // Every name and call text asked for, in order.
    std::vector<std::string> asked;
    // The same questions with the code Calculate returned for each.
    std::vector<std::pair<int, std::string>> requests;
    // Handed to Calculate: non-zero refuses restricted host functions.
    int check = 0;
    // When set, names are answered while Calculate runs (ICalcNames) and
    // are asked for all the same; those in `leftToHost` are declined there,
    // and come back as CALC_NEED_NAME.
    bool answerInside = false;
    std::function<bool(const std::string&)> leftToHost;
    // The names answered while Calculate ran.
    int answeredInside = 0;

    ICalc& Calc() { return *m_calc; }

    Outcome Run(const std::string& formula, uint8_t format = 0) {
        Outcome o;
        int pos = -1;
        std::unique_ptr<CCalcNode> root(m_calc->Compile(CString::FromUtf8(formula), &pos));
        o.errorPos = pos;
        if (!root) return Finish(o, CALC_ERROR, nullptr);
        return Drive(o, root.get(), format);
    }

    Outcome Drive(Outcome& o, CCalcNode* root, uint8_t format = 0) {
        m_calc->SetNames(answerInside ? &m_inside : nullptr);
        for (int round = 0; round < 10000; ++round) {
            CString out;
            CCalcNode* pending = nullptr;
            m_inside.last.reset();
            const int code = m_calc->Calculate(root, out, pending, check, format);
            if (code != CALC_NEED_NAME && code != CALC_NEED_FUNCTION) return Finish(o, code, root);
            const std::string question = out.ToUtf8();
            // An answer the engine would not take inside (a formula, a text
            // too long) comes back as the same question, asked once.
            if (code == CALC_NEED_NAME && m_inside.last == question) {
                --answeredInside;
            } else {
                asked.push_back(question);
            }
            requests.emplace_back(code, question);
            if (!m_calc->SetTermValue(root, pending, CString::FromUtf8(Answer(code, question))))
                return Finish(o, CALC_ERROR, root);
        }
        return Finish(o, CALC_ERROR, root);
    }

private:
    struct InsideNames final : ICalcNames {
        explicit InsideNames(TestHost* owner) : host(owner) {}
        TestHost* host;
        CString value;
        std::optional<std::string> last;  // answered since Calculate was called
        const CString* Answer(std::u16string_view name) noexcept override {
            const std::string question = CString(name).ToUtf8();
            if (host->leftToHost && host->leftToHost(question)) return nullptr;
            host->asked.push_back(question);
            last = question;
            ++host->answeredInside;
            value = CString::FromUtf8(host->Answer(CALC_NEED_NAME, question));
            return &value;
        }
    };

    std::string Answer(int code, const std::string& question) {
        if (code == CALC_NEED_NAME) {
            if (answerName) return answerName(question);
            auto it = names.find(question);
            return it == names.end() ? "'?" + question + "'" : it->second;
        }
        CStringArray items;
        CVek::CString2Array(items, CString::FromUtf8(question), u"\r\n");
        std::vector<std::string> parts;
        for (const CString& item : items) parts.push_back(item.ToUtf8());
        const std::string name = parts.empty() ? std::string() : parts.front();
        if (!parts.empty()) parts.erase(parts.begin());
        auto it = functions.find(name);
        return it == functions.end() ? "'?" + name + "'" : it->second(parts);
    }

    Outcome& Finish(Outcome& o, int code, CCalcNode* root) {
        o.code = code;
        if (root && code == CALC_DONE) {
            CString text;
            root->GetText(text, 1);
            o.value = text.ToUtf8();
        }
        o.errorCode = m_calc->GetLastErrorCode();
        o.errorText = CString(GetLastErrorText()).ToUtf8();
        return o;
    }

    std::unique_ptr<ICalc> m_calc;
    InsideNames m_inside{this};
};

}  // namespace calctest
