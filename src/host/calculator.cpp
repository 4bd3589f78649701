// Calculator and Formula: compile once, calculate clones, answer the engine.
#include "host/bindings_impl.h"

#include <qorcalc/api.h>
#include <qorcalc/calc.h>
#include <qorcalc/func.h>
#include <qorcalc/node.h>

#include <iterator>
#include <optional>

namespace qorcalc::host {

struct Formula::Compiled {
    std::string text;
    std::unique_ptr<CCalcNode> root;
    Error error;
    std::vector<std::string> names;
    std::string written;
    std::string tree;
};

namespace detail {

ICalc& AnalysisCalc() {
    InstallProvider();
    thread_local std::unique_ptr<ICalc> calc(NewCalc(nullptr, nullptr));
    return *calc;
}

std::vector<std::u16string> FoldedNamesOf(const std::u16string& formula) {
    int position = -1;
    std::unique_ptr<CCalcNode> root(AnalysisCalc().Compile(formula.c_str(), &position));
    std::vector<std::u16string> folded;
    if (!root) return folded;
    CStringArray names;
    root->GetNames(names);
    folded.resize(static_cast<size_t>(names.GetSize()));
    for (int i = 0; i < names.GetSize(); ++i) FoldName(names[i].Str(), folded[static_cast<size_t>(i)]);
    return folded;
}

}  // namespace detail

namespace {

using detail::ToUtf8;

const char* KindName(uint8_t kind) {
    static const char* const kNames[] = {"empty", "formula", "group", "function", "argument",
                                         "name",  "number",  "text",  "operator"};
    return kind < std::size(kNames) ? kNames[kind] : "?";
}

// One line per node, indented two blanks per level.
void WriteTree(CCalcNode& node, int depth, std::string& out) {
    out.append(static_cast<size_t>(depth) * 2, ' ');
    out += KindName(node.GetKind());
    CString text;
    switch (node.GetKind()) {
        case NodeFunction:
        case NodeName:
        case NodeOperator:
            out += ' ' + ToUtf8(node.RawText().Str());
            break;
        case NodeNumber:
        case NodeString:
            node.GetText(text, 1);
            out += ' ' + ToUtf8(text.Str());
            break;
        default:
            break;
    }
    out += '\n';
    for (int i = 0; i < node.GetCount(); ++i) WriteTree(*node.GetAt(i), depth + 1, out);
}

// A UTF-16 position as a count of characters (code points).
int CharacterPosition(const std::u16string& text, int position) {
    if (position < 0) return position;
    int pairs = 0;
    for (int i = 1; i < position && i < static_cast<int>(text.size()); ++i)
        if (text[static_cast<size_t>(i)] >= 0xDC00 && text[static_cast<size_t>(i)] <= 0xDFFF &&
            text[static_cast<size_t>(i - 1)] >= 0xD800 && text[static_cast<size_t>(i - 1)] <= 0xDBFF)
            ++pairs;
    return position - pairs;
}

// A clone goes back to the engine, which keeps its nodes for the next one.
struct ReleaseNode {
    void operator()(CCalcNode* node) const { CCalcNode::Release(node); }
};

}  // namespace

Formula::Formula() = default;
Formula::Formula(std::shared_ptr<const Compiled> compiled) : m_compiled(std::move(compiled)) {}
bool Formula::ok() const { return m_compiled && m_compiled->root; }
const std::string& Formula::text() const {
    static const std::string kNone;
    return m_compiled ? m_compiled->text : kNone;
}
const Error& Formula::error() const {
    static const Error kNotCompiled{kMsgBadUtf8, -1, {}};
    return m_compiled ? m_compiled->error : kNotCompiled;
}
std::vector<std::string> Formula::Names() const { return m_compiled ? m_compiled->names : std::vector<std::string>{}; }
std::string Formula::Written() const { return m_compiled ? m_compiled->written : std::string{}; }
std::string Formula::TreeText() const { return m_compiled ? m_compiled->tree : std::string{}; }

struct Calculator::Impl {
    explicit Impl(Options o) : options(std::move(o)), scripts(options.script) {
        detail::InstallProvider();
        calc.reset(NewCalc(nullptr, static_cast<void*>(static_cast<IScriptHost*>(&scripts))));
        if (calc) calc->SetNames(&names);
    }

    Options options;
    detail::ScriptHost scripts;
    std::unique_ptr<ICalc> calc;
    // The names of the calculation under way, answered inside the engine.
    struct Names final : ICalcNames {
        Bindings* owner = nullptr;
        const CString* Answer(std::u16string_view name) noexcept override;
    } names;
    // The copy the last calculation left, whose nodes make the next copy;
    // null while a calculation is under way (a host function that
    // calculates with this calculator meanwhile makes copies of its own).
    std::unique_ptr<CCalcNode, ReleaseNode> spent;
    // Scratch kept between calculations so that answering allocates nothing.
    CString out;
    CString answer;
    detail::TermValue functionValue;
    CString functionName;
    CStringArray arguments;
    std::vector<std::string> argumentTexts;
    std::u16string folded;

    void Enter() { messages::SetThreadLanguage(options.language); }
    std::string Text(uint32_t id, const std::vector<std::string>& args) const {
        return HostText(id, options.language, args);
    }
    // Host message `id` as the failure in `result`; false, for the
    // Answer... members to return.
    bool Fail(Result& result, uint32_t id, const std::vector<std::string>& args) const {
        result = Result::Failure({id, -1, Text(id, args)});
        return false;
    }
    // A failure the engine recorded: its id and its last error text.
    static Result EngineFailure(uint32_t id) {
        return Result::Failure({id, -1, ToUtf8(std::u16string_view(GetLastErrorText()))});
    }

    // Puts `value` into the tree in place of `term`; false when the engine
    // takes no such value.
    bool Put(CCalcNode* root, CCalcNode* term, const detail::TermValue& value) {
        if (!value.standIn) return calc->SetTermValue(root, term, value.text) != 0;
        if (!calc->SetTermValue(root, term, CString(u"'-'"))) return false;
        term->AssignText(value.text);
        return true;
    }
    // Puts `value` into the tree; false with the failure in `result` when it
    // cannot.  A failed substitution is a compile failure of the new text:
    // the error code is not set, the id asked for is the failure's.
    bool Give(CCalcNode* root, CCalcNode* term, const detail::TermValue& value, Result& result) {
        detail::ResetLastAskedId();
        if (Put(root, term, value)) return true;
        result = EngineFailure(detail::LastAskedId() ? detail::LastAskedId() : calc->GetLastErrorCode());
        return false;
    }
    // The Answer... members put the host's answer for `term` into the tree
    // and return true, or return false with the failure in `result`.
    bool AnswerName(CCalcNode* root, CCalcNode* term, Bindings& owner, Result& result);
    std::optional<Result> CallHost(const std::u16string& folded, const std::string& name);
    bool AnswerFunction(CCalcNode* root, CCalcNode* term, Result& result);
    std::string CyclePath(Bindings::Impl& bindings, int start) const;
    void Done(CCalcNode& root, Result& result);
    void Stopped(int code, CCalcNode* pending, Result& result);
};

// The path by which `start`'s formula comes back to `start` through other
// formula-valued names ("a -> b -> a"), or empty when it never does.
std::string Calculator::Impl::CyclePath(Bindings::Impl& bindings, int start) const {
    std::vector<char> visited(bindings.slots.size(), 0);
    std::vector<int> path{start};
    // Depth-first over formula-valued slots; each frame remembers which of
    // its names it tries next.
    std::vector<size_t> next{0};
    while (!path.empty()) {
        const Slot& at = bindings.slots[static_cast<size_t>(path.back())];
        if (next.back() == at.names.size()) {
            path.pop_back();
            next.pop_back();
            continue;
        }
        const int to = bindings.FindFolded(at.names[next.back()++]);
        if (to < 0 || bindings.slots[static_cast<size_t>(to)].answer != Answer::Formula) continue;
        if (to == start) {
            std::string text;
            for (int slot : path) text += bindings.slots[static_cast<size_t>(slot)].name + " -> ";
            return text + bindings.slots[static_cast<size_t>(start)].name;
        }
        if (visited[static_cast<size_t>(to)]) continue;
        visited[static_cast<size_t>(to)] = 1;
        path.push_back(to);
        next.push_back(0);
    }
    return {};
}

// Inline, as Done: each is called from the calculation loop alone, once
// for every name and every value.  The compiler keeps this one a call
// unless told.
[[gnu::always_inline]] inline bool Calculator::Impl::AnswerName(CCalcNode* root, CCalcNode* term, Bindings& owner, Result& result) {
    Bindings::Impl& bindings = *owner.m_impl;
    int slotIndex = bindings.Recent(out.Str());
    if (slotIndex < 0) slotIndex = bindings.Lookup(out.Str(), owner);
    if (slotIndex < 0) return Fail(result, kMsgUnknownName, {ToUtf8(out.Str())});
    Slot& slot = bindings.slots[static_cast<size_t>(slotIndex)];
    bindings.Prepare(slot);
    switch (slot.answer) {
        case Answer::None:
            return Fail(result, kMsgUnknownName, {slot.name});
        case Answer::Failed:
            return Fail(result, kMsgNameFailed, {slot.name, slot.text});
        case Answer::Formula:
            if (const std::string cycle = CyclePath(bindings, slotIndex); !cycle.empty())
                return Fail(result, kMsgCycle, {slot.name, cycle});
            [[fallthrough]];
        case Answer::Value:
        case Answer::Text:
            return Give(root, term, slot.term, result);
    }
    return true;
}

// A name whose value the engine takes as it is (a number or a text) is
// answered without leaving the calculation.  Everything else is left to
// AnswerName, in the calculation loop: a name not bound yet (the source, the
// host's own code, is asked from there alone, and what it throws reaches
// the host as before), a failed one, a formula, a text that needs a
// stand-in, and a lookup that throws (it throws again there).
const CString* Calculator::Impl::Names::Answer(std::u16string_view name) noexcept {
    try {
        Bindings::Impl& bindings = *owner->m_impl;
        const int slotIndex = bindings.FindWide(name);
        if (slotIndex < 0) return nullptr;
        Slot& slot = bindings.slots[static_cast<size_t>(slotIndex)];
        if (slot.answer != Answer::Value && slot.answer != Answer::Text) return nullptr;
        bindings.Prepare(slot);
        return slot.term.standIn ? nullptr : &slot.term.text;
    } catch (...) {
        return nullptr;
    }
}

// The host's function of that name, else its source; none when neither
// knows the function.
std::optional<Result> Calculator::Impl::CallHost(const std::u16string& folded, const std::string& name) {
    if (!options.functions) return std::nullopt;
    const HostFunction* function = options.functions->Find(folded);
    const FunctionSource& source = options.functions->Source();
    if (!function && !source) return std::nullopt;
    argumentTexts.resize(static_cast<size_t>(arguments.GetSize()));
    for (int i = 0; i < arguments.GetSize(); ++i)
        detail::Utf16ToUtf8(arguments[i].Str(), argumentTexts[static_cast<size_t>(i)]);
    if (function) return (*function)(argumentTexts);
    return source(name, argumentTexts);
}

bool Calculator::Impl::AnswerFunction(CCalcNode* root, CCalcNode* term, Result& result) {
    // Raw: argument texts exactly, which a "\r\n"-joined call text cannot
    // promise when an argument holds a line break.
    term->GetFunctionCall(functionName, arguments, 1);
    detail::FoldName(functionName.Str(), folded);
    const std::string name = ToUtf8(functionName.Str());
    const std::optional<Result> called = CallHost(folded, name);
    if (!called) return Fail(result, kMsgUnknownFunction, {name});
    if (!called->ok) return Fail(result, kMsgFunctionFailed, {name, called->error.message});
    detail::MakeTermValue(called->value.text, called->value.kind == Kind::Number, functionValue);
    return Give(root, term, functionValue, result);
}

// The finished value into `result`, whose strings keep their storage.
inline void Calculator::Impl::Done(CCalcNode& root, Result& result) {
    if (options.format) root.GetDisplayText(answer, 0, options.format);
    else root.GetText(answer, 0);
    result.ok = true;
    result.value.kind = root.GetKind() == NodeNumber ? Kind::Number : Kind::Text;
    detail::Utf16ToUtf8(answer.Str(), result.value.text);
    // A success carries the empty error Result::Success gives it.
    result.error.id = 0;
    result.error.position = -1;
    result.error.message.clear();
}

// A calculation the engine ended without a value: a refused host function,
// or a failure it recorded.
void Calculator::Impl::Stopped(int code, CCalcNode* pending, Result& result) {
    if (code == CALC_REFUSED) {
        CString name;
        CStringArray ignored;
        if (pending) pending->GetFunctionCall(name, ignored, 1);
        Fail(result, kMsgRefused, {ToUtf8(name.Str())});
        return;
    }
    result = EngineFailure(static_cast<uint32_t>(calc->GetLastErrorCode()));
    // The engine reports a failed script as a failed function; the script
    // host knows what went wrong.
    if (!scripts.failure().empty()) result.error.message = scripts.failure();
}

Calculator::Calculator(Options options) : m_impl(std::make_unique<Impl>(std::move(options))) {}
Calculator::~Calculator() = default;

const Options& Calculator::options() const { return m_impl->options; }
void Calculator::SetLanguage(Language language) { m_impl->options.language = language; }
void Calculator::SetFormat(uint8_t format) { m_impl->options.format = format; }

Formula Calculator::Compile(std::string_view text) {
    m_impl->Enter();
    auto compiled = std::make_shared<Formula::Compiled>();
    compiled->text.assign(text);
    if (!IsValidUtf8(text)) {
        compiled->error = {kMsgBadUtf8, -1, m_impl->Text(kMsgBadUtf8, {})};
        return Formula(std::move(compiled));
    }
    const std::u16string wide = detail::ToUtf16(text);
    int position = -1;
    detail::ResetLastAskedId();
    compiled->root.reset(m_impl->calc->Compile(wide.c_str(), &position));
    if (!compiled->root) {
        compiled->error = {detail::LastAskedId(), CharacterPosition(wide, position),
                           ToUtf8(std::u16string_view(GetLastErrorText()))};
        return Formula(std::move(compiled));
    }
    CStringArray names;
    compiled->root->GetNames(names);
    for (int i = 0; i < names.GetSize(); ++i) compiled->names.push_back(ToUtf8(names[i].Str()));
    CString written;
    compiled->root->GetFormula(written);
    compiled->written = ToUtf8(written.Str());
    WriteTree(*compiled->root, 0, compiled->tree);
    return Formula(std::move(compiled));
}

Result Calculator::Evaluate(const Formula& formula, Bindings& bindings) {
    Result result;
    Evaluate(formula, bindings, result);
    return result;
}

void Calculator::Evaluate(const Formula& formula, Bindings& bindings, Result& result) {
    // ok(), read in place: this runs for every cell.
    const Formula::Compiled* compiled = formula.m_compiled.get();
    if (!compiled || !compiled->root) {
        result = Result::Failure(formula.error());
        return;
    }
    Impl& impl = *m_impl;
    impl.Enter();
    impl.scripts.Forget();
    impl.names.owner = &bindings;
    // The compiled root is shared and never touched: every calculation
    // rewrites a copy of its own, made of the last one's nodes, and leaves
    // it for the next.
    struct Leaving {
        std::unique_ptr<CCalcNode, ReleaseNode>& spent;
        std::unique_ptr<CCalcNode, ReleaseNode> root;
        ~Leaving() {
            if (!spent) spent = std::move(root);
        }
    } copy{impl.spent, std::unique_ptr<CCalcNode, ReleaseNode>(compiled->root->CloneReusing(impl.spent.release()))};
    CCalcNode* const root = copy.root.get();
    for (bool answered = true; answered;) {
        CCalcNode* pending = nullptr;
        const int code = impl.calc->Calculate(root, impl.out, pending, 0, impl.options.format);
        switch (code) {
            case CALC_DONE:
                impl.Done(*root, result);
                return;
            case CALC_NEED_NAME:
                answered = impl.AnswerName(root, pending, bindings, result);
                break;
            case CALC_NEED_FUNCTION:
                answered = impl.AnswerFunction(root, pending, result);
                break;
            default:
                impl.Stopped(code, pending, result);
                return;
        }
    }
}

Result Calculator::Evaluate(std::string_view text, Bindings& bindings) { return Evaluate(Compile(text), bindings); }

std::vector<Category> FunctionCatalogue(Language language) {
    messages::SetThreadLanguage(language);
    CFuncMnger* manager = detail::AnalysisCalc().GetFuncMnger();
    std::vector<Category> categories;
    for (int number = 0;; ++number) {
        CPtrArray items;
        if (!manager->GetFuncsOfCategory(number, items)) break;
        Category category;
        category.number = number;
        for (int i = 0; i < items.GetSize(); ++i) {
            std::unique_ptr<CFuncItem> item(static_cast<CFuncItem*>(items[i]));
            if (category.name.empty()) category.name = ToUtf8(item->m_strCategory.Str());
            FunctionInfo info{ToUtf8(item->m_strName.Str()), ToUtf8(item->m_strDesc.Str()), {}};
            for (int u = 0; u < item->m_arrUsage.GetSize(); ++u) info.usage.push_back(ToUtf8(item->m_arrUsage[u].Str()));
            category.functions.push_back(std::move(info));
        }
        categories.push_back(std::move(category));
    }
    return categories;
}

}  // namespace qorcalc::host
