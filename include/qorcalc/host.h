// The host layer: what every front end of the engine does, done once.
//
// The qorcalc tool, the Python module, the SQL extension and the dataframe
// mapper are thin layers over this header; none of them runs a host loop of
// its own.  It compiles a formula once and calculates clones of it per
// record (RecordCalculator: report columns over records); answers the names
// a formula asks for from Bindings or their source; runs host functions
// given as callbacks, by name or through a source, and `js` scripts; stops a
// name whose answer asks for itself, directly or through others; and turns
// every outcome into a Value with its kind or an Error with its message id,
// position and text.
//
// Text at this interface is UTF-8.  Names are matched without regard to ASCII
// letter case and independently of the process locale.
//
// Threads: a Calculator serves one thread at a time (use one per thread);
// a Formula is immutable once compiled and may be shared by any number of
// calculators on any threads; Bindings belong to one calculation at a time;
// a Functions table is read-only while calculators use it, so its callbacks
// must be safe to call from every thread that calculates.
#pragma once

#include <qorcalc/messages.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class CCalcNode;

namespace qorcalc::host {

using messages::Language;

// Ids of the host layer's own messages; their texts, in every language of
// the catalogue, are with the other messages.
enum HostMessage : uint32_t {
    kMsgUnknownName = 2000,      // a name without a value
    kMsgUnknownFunction = 2001,  // a function neither built in nor given by the host
    kMsgCycle = 2002,            // a name whose formula asks for itself
    kMsgFunctionFailed = 2003,   // a host function reported a failure
    kMsgRefused = 2004,          // a restricted host function was refused
    kMsgBadUtf8 = 2005,          // text that is not valid UTF-8
    kMsgNameFailed = 2006,       // a name whose value is an earlier failure
    kMsgScriptError = 2010,      // a js script threw or did not compile
    kMsgScriptTimeout = 2011,    // a js script ran past its time limit
    kMsgScriptMemory = 2012,     // a js script passed its memory limit
};

// The text of host message `id` in `language`, its "%s" replaced in order by
// `args`.
std::string HostText(uint32_t id, Language language, const std::vector<std::string>& args = {});

enum class Kind : uint8_t { Number, Text };

struct Value {
    Kind kind = Kind::Text;
    std::string text;
};

struct Error {
    uint32_t id = 0;          // message id of the failure
    int position = -1;        // character position in the formula for a compile failure, else -1
    std::string message;      // the text, in the calculator's language
};

// A calculation's outcome: a value when ok, else an error.
struct Result {
    bool ok = false;
    Value value;
    Error error;

    static Result Success(Value value) { return {true, std::move(value), {}}; }
    static Result Failure(Error error) { return {false, {}, std::move(error)}; }
};

// What a name stands for.
enum class Answer : uint8_t {
    None,     // declared, without a value: asking for it is an error
    Value,    // a number when it reads as one, otherwise a text (never a formula)
    Text,     // always a text, even when it reads as a number
    Formula,  // formula text substituted for the name as written
    Failed,   // the failure of an earlier calculation (a computed column that failed)
};

class Bindings;

// Answers a name the table has no slot for: called with the name as the
// formula spells it and the slot just declared for it, it sets that slot
// (SetValue, SetText, SetFormula...) or leaves it without a value.  Asked at
// most once per name and table, only for names a calculation reaches, so a
// formula-valued answer's own names are asked for in turn.
using NameSource = std::function<void(std::string_view name, Bindings& bindings, int slot)>;

// A table of named values.  Every name has a slot, stable for the life of
// the table, so per-record front ends declare their columns once and then
// set values by slot with no lookups and, after the first record, no
// allocation.
class Bindings {
public:
    Bindings();
    ~Bindings();
    Bindings(const Bindings&);
    Bindings& operator=(const Bindings&);
    Bindings(Bindings&&) noexcept;
    Bindings& operator=(Bindings&&) noexcept;

    // The slot of `name`, made (without a value) when the table has none.
    int Declare(std::string_view name);
    // The slot of `name`, or -1.
    int Find(std::string_view name) const;
    int size() const;
    // The name as first declared.
    const std::string& Name(int slot) const;
    Answer AnswerOf(int slot) const;
    // The value, formula or failure text of the slot (empty for None).
    const std::string& TextOf(int slot) const;

    void SetValue(int slot, std::string_view text);
    void SetText(int slot, std::string_view text);
    void SetFormula(int slot, std::string_view formula);
    // A computed result: its value with its kind, or its failure.
    void SetResult(int slot, const Result& result);
    void Unset(int slot);

    void SetValue(std::string_view name, std::string_view text) { SetValue(Declare(name), text); }
    void SetText(std::string_view name, std::string_view text) { SetText(Declare(name), text); }
    void SetFormula(std::string_view name, std::string_view formula) { SetFormula(Declare(name), formula); }

    // Where names without a slot are looked up; none by default (such a
    // name is unknown).
    void SetSource(NameSource source);

private:
    friend class Calculator;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

// A host function: the evaluated argument texts in, a value or a failure
// (its error message says why) out.
using HostFunction = std::function<Result(const std::vector<std::string>& args)>;

// Answers a call of any function neither built in nor added by name: the
// name as the formula spells it and the evaluated argument texts in; no
// result when the host does not know the function either.
using FunctionSource = std::function<std::optional<Result>(std::string_view name, const std::vector<std::string>& args)>;

// Functions the host adds to the engine's built-ins.  A built-in of the same
// name wins: the engine runs its own before it asks the host; a function
// added by name wins over the source.
class Functions {
public:
    Functions();
    ~Functions();
    Functions(const Functions&) = delete;
    Functions& operator=(const Functions&) = delete;

    // Adds or replaces `name` (ASCII letter case ignored).
    void Add(std::string_view name, HostFunction function);
    const HostFunction* Find(std::u16string_view foldedName) const;
    // Asked for every function not found by name.
    void SetSource(FunctionSource source);
    const FunctionSource& Source() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

// A compiled formula: immutable, cheap to copy, shareable across threads.
class Formula {
public:
    Formula();
    bool ok() const;
    const std::string& text() const;
    // The compile failure when not ok.
    const Error& error() const;
    // The distinct names the formula asks the host for, first spelling kept.
    std::vector<std::string> Names() const;
    // The formula as the engine writes it back.
    std::string Written() const;
    // The compiled tree, one node per line, indented by depth.
    std::string TreeText() const;

private:
    friend class Calculator;
    struct Compiled;
    explicit Formula(std::shared_ptr<const Compiled> compiled);
    std::shared_ptr<const Compiled> m_compiled;
};

struct ScriptLimits {
    std::chrono::milliseconds time{2000};   // per call of js
    std::size_t memory = 64u << 20;         // bytes a script's heap may hold
};

struct Options {
    Language language = Language::English;
    uint8_t format = 0;                     // display-format byte of the result (0: the value text)
    ScriptLimits script;
    const Functions* functions = nullptr;   // not owned; must outlive the calculator
};

// One engine calculator with its script host.  One per thread.
class Calculator {
public:
    explicit Calculator(Options options = {});
    ~Calculator();
    Calculator(const Calculator&) = delete;
    Calculator& operator=(const Calculator&) = delete;

    const Options& options() const;
    void SetLanguage(Language language);
    void SetFormat(uint8_t format);

    Formula Compile(std::string_view text);
    // Calculates a fresh clone of `formula`, answering names from `bindings`.
    Result Evaluate(const Formula& formula, Bindings& bindings);
    // The same into `result`, whose strings keep their storage: a caller
    // that calculates record after record into the same Result allocates
    // nothing for a value that fits what it held before.
    void Evaluate(const Formula& formula, Bindings& bindings, Result& result);
    // Compile and Evaluate in one.
    Result Evaluate(std::string_view text, Bindings& bindings);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

// A computed column of a report: its name and its formula.
struct ReportColumn {
    std::string name;
    Formula formula;
};

// Report columns record by record, as every front end that maps formulas
// over rows calculates them: a record's fields are values (numbers when they
// read as one), then each column is calculated in order and may use the
// fields and the columns before it, never a column of an earlier record.
// One per thread; the columns must outlive it.
class RecordCalculator {
public:
    RecordCalculator(const std::vector<std::string>& fields, const std::vector<ReportColumn>& columns,
                     Options options = {});

    // The value of field `index` (in the order given) for the next record.
    void SetField(size_t index, std::string_view text);
    // The columns' results for the record whose fields were set, in order;
    // valid until the next call.
    const std::vector<Result>& Evaluate();

private:
    const std::vector<ReportColumn>& m_columns;
    Calculator m_calculator;
    Bindings m_bindings;
    std::vector<int> m_fieldSlots;
    std::vector<int> m_columnSlots;
    std::vector<Result> m_results;
};

// The function reference, from the engine's catalogue in `language`.
struct FunctionInfo {
    std::string name;
    std::string description;
    std::vector<std::string> usage;
};
struct Category {
    int number = 0;
    std::string name;
    std::vector<FunctionInfo> functions;
};
std::vector<Category> FunctionCatalogue(Language language);

// Whether `text` is valid UTF-8 (no overlong forms, no surrogates).
bool IsValidUtf8(std::string_view text);

// Numbers between the engine's texts and a front end's machine numbers.
// The shortest plain decimal that reads back as `value` (finite): the
// engine reads no exponents.
std::string DecimalText(double value);
// A number's text as an integer when it is a whole number that fits 64
// bits, else as a double; false when it reads as neither (a number in a
// display format).
struct MachineNumber {
    bool whole = false;
    int64_t integer = 0;
    double real = 0;
};
bool ReadNumber(std::string_view text, MachineNumber& number);

}  // namespace qorcalc::host
