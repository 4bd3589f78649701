// The host layer through its public interface: how names, host functions
// and scripts are answered, and what a failure reports.
#include <qorcalc/host.h>

#include <gtest/gtest.h>

#include <thread>

using namespace qorcalc::host;

namespace {

struct Case {
    const char* formula;
    bool ok;
    const char* value;  // the value text, or a part of the error message
    Kind kind = Kind::Text;
    uint32_t id = 0;
};

void Check(Calculator& calculator, Bindings& bindings, const Case& c) {
    SCOPED_TRACE(c.formula);
    const Result r = calculator.Evaluate(c.formula, bindings);
    ASSERT_EQ(r.ok, c.ok) << r.error.message;
    if (c.ok) {
        EXPECT_EQ(r.value.text, c.value);
        EXPECT_EQ(r.value.kind, c.kind);
    } else {
        EXPECT_EQ(r.error.id, c.id);
        EXPECT_NE(r.error.message.find(c.value), std::string::npos) << r.error.message;
    }
}

TEST(HostBindings, FieldValuesArriveAsNumbersOrExactTexts) {
    Bindings b;
    b.SetValue("qty", "3");
    b.SetValue("Price", "1.25");
    b.SetValue("both", "it's \"x\"");
    b.SetValue("wrapped", "'abc'");
    b.SetValue("dq", "\"q\"");
    b.SetValue("formulaish", "qty+1");
    b.SetValue("empty", "");
    b.SetText("code", "007");
    b.SetValue("zh", "张三");
    b.SetValue("mixed", "ab张c😀d");
    // A slot set from its own text, whole or in part.
    const int same = b.Declare("same"), tail = b.Declare("tail");
    b.SetValue(same, "0070");
    b.SetText(same, b.TextOf(same));
    b.SetValue(tail, "x12345");
    b.SetValue(tail, std::string_view(b.TextOf(tail)).substr(1, 4));
    Calculator calc;
    const Case cases[] = {
        {"QTY * price", true, "3.75", Kind::Number},
        {"both", true, "it's \"x\""},
        {"wrapped", true, "'abc'"},
        {"dq", true, "\"q\""},
        {"formulaish", true, "qty+1"},
        {"empty", true, ""},
        {"code", true, "007"},
        {"zh + wrapped", true, "张三'abc'"},
        {"mixed", true, "ab张c😀d"},
        {"wrapped + mixed", true, "'abc'ab张c😀d"},
        // Half of a surrogate pair comes out as U+FFFD.
        {"'é' + left('😀', 1) + 'ß' + right('x😀', 1)", true, "é\xEF\xBF\xBDß\xEF\xBF\xBD"},
        {"same", true, "0070"},
        {"tail + 1", true, "1235", Kind::Number},
        {"missing + 1", false, "missing", Kind::Text, kMsgUnknownName},
    };
    for (const Case& c : cases) Check(calc, b, c);
}

TEST(HostBindings, FormulaValuesAreSubstitutedAndCyclesNamed) {
    Bindings b;
    b.SetFormula("x", "21");
    b.SetFormula("sum2", "x+1");
    b.SetFormula("greeting", "'hi'");
    b.SetFormula("a", "b+1");
    b.SetFormula("b", "c*2");
    b.SetFormula("c", "a");
    b.SetFormula("self", "self+1");
    b.SetFormula("reachesCycle", "a");
    b.SetFormula("broken", "1+(");
    Calculator calc;
    const Case cases[] = {
        {"x*2", true, "42", Kind::Number},
        // Substituted as written: 21+1*2.
        {"sum2*2", true, "23", Kind::Number},
        {"greeting", true, "hi"},
        {"a", false, "a -> b -> c -> a", Kind::Text, kMsgCycle},
        {"self", false, "self -> self", Kind::Text, kMsgCycle},
        {"reachesCycle", false, "a -> b -> c -> a", Kind::Text, kMsgCycle},
        {"broken", false, "", Kind::Text, 1070},
    };
    for (const Case& c : cases) Check(calc, b, c);
}

TEST(HostBindings, ComputedResultsKeepTheirKindAndFailuresPropagate) {
    Bindings b;
    b.SetResult(b.Declare("n"), Result::Success({Kind::Number, "12"}));
    b.SetResult(b.Declare("t"), Result::Success({Kind::Text, "12"}));
    b.SetResult(b.Declare("f"), Result::Failure({1004, -1, "bad argument"}));
    Calculator calc;
    const Case cases[] = {
        {"n + 1", true, "13", Kind::Number},
        {"t + 'x'", true, "12x"},
        {"f", false, "bad argument", Kind::Text, kMsgNameFailed},
    };
    for (const Case& c : cases) Check(calc, b, c);
}

// Calculating into one Result again and again leaves in it exactly what a
// fresh Result would hold: nothing of the outcome before survives.
TEST(HostBindings, AReusedResultHoldsOnlyTheLatestOutcome) {
    Bindings b;
    b.SetValue("name", "a rather long customer name, past any short-string room");
    Calculator calc;
    const char* const formulas[] = {
        "name", "missing", "len(name)", "1+(", "'x'", "name & '!'", "1/0", "", "2.50 * 2",
    };
    Result reused;
    for (const char* formula : formulas) {
        SCOPED_TRACE(formula);
        const Result fresh = calc.Evaluate(formula, b);
        calc.Evaluate(calc.Compile(formula), b, reused);
        EXPECT_EQ(reused.ok, fresh.ok);
        EXPECT_EQ(reused.value.kind, fresh.value.kind);
        EXPECT_EQ(reused.value.text, fresh.value.text);
        EXPECT_EQ(reused.error.id, fresh.error.id);
        EXPECT_EQ(reused.error.position, fresh.error.position);
        EXPECT_EQ(reused.error.message, fresh.error.message);
    }
}

// A column sees the record's fields and the columns before it, never itself,
// a later column or anything of the record before; a name that is a field's
// and a column's is the column's, without a value until it is calculated.
TEST(HostRecords, ColumnsSeeOnlyThisRecordsFieldsAndEarlierColumns) {
    Calculator compiler;
    const std::vector<std::string> fields = {"id", "qty", "Price", "shared", "unused"};
    const std::pair<const char*, const char*> formulas[] = {
        {"early", "late + 1"},      // 0: a later column has no value yet
        {"total", "qty * price"},   // 1
        {"self", "self + 1"},       // 2: nor has the column itself
        {"double", "TOTAL * 2"},    // 3: an earlier column, any spelling
        {"shared", "shared + 1"},   // 4: the field of that name is the column's
        {"late", "id"},             // 5
        {"again", "late + double"}, // 6
        {"total", "total + 1"},     // 7: a second column of a name sees the first
        {"after", "total"},         // 8: ... and so does every column after it
    };
    std::vector<ReportColumn> columns;
    for (const auto& [name, formula] : formulas) columns.push_back({name, compiler.Compile(formula)});
    RecordCalculator records(fields, columns);
    struct Want {
        std::vector<std::string> values;  // the field values
        std::vector<std::string> cells;   // each column's value, or "!" and its error id
    } cases[] = {
        {{"7", "2", "1.5", "40", "x"}, {"!2000", "3", "!2000", "6", "!2000", "7", "13", "4", "4"}},
        {{"9", "4", "2", "41", "y"}, {"!2000", "8", "!2000", "16", "!2000", "9", "25", "9", "9"}},
    };
    for (const Want& want : cases) {
        for (size_t i = 0; i < fields.size(); ++i) records.SetField(i, want.values[i]);
        const std::vector<Result>& results = records.Evaluate();
        ASSERT_EQ(results.size(), want.cells.size());
        for (size_t k = 0; k < results.size(); ++k) {
            SCOPED_TRACE(formulas[k].second);
            const Result& r = results[k];
            EXPECT_EQ(r.ok ? r.value.text : "!" + std::to_string(r.error.id), want.cells[k]);
        }
    }
}

// Whether a text is UTF-8, wherever in it the fault lies: among runs of
// ASCII long and short, at its very end, in a character split by a comma.
TEST(HostText, Utf8IsValidatedWhereverTheFaultLies) {
    const std::string ascii = "plain ASCII text, longer than a machine word";
    const struct {
        std::string text;
        bool valid;
    } cases[] = {
        {"", true},
        {ascii, true},
        {ascii + "\xC3\xA9" + ascii + "\xF0\x9F\x98\x80" + ascii, true},
        {"\xE5\x8C\x97\xE4\xBA\xAC" + ascii, true},
        {ascii + "\xFF" + ascii, false},                 // no such byte
        {ascii.substr(0, 7) + "\xFF" + ascii, false},    // ... last of eight
        {ascii.substr(0, 8) + "\xFF" + ascii, false},    // ... first of eight
        {ascii + "\xC3", false},                         // cut short at the end
        {"12345678\xE5\x8C,\x97" + ascii, false},      // a comma inside a character
        {ascii.substr(0, 8) + "\xC0\xAF", false},       // overlong
        {ascii.substr(0, 9) + "\xED\xA0\x80", false},  // a surrogate
        {ascii.substr(0, 7) + "\xF4\x90\x80\x80", false},  // past U+10FFFF
        {ascii.substr(0, 16) + "\x80" + ascii, false},   // a continuation byte alone
    };
    for (const auto& c : cases) EXPECT_EQ(IsValidUtf8(c.text), c.valid) << c.text;
}

TEST(HostCompile, ErrorsCarryTheAskedIdAndACharacterPosition) {
    Calculator calc;
    struct CompileCase {
        const char* text;
        uint32_t id;
        int position;
    } cases[] = {
        {"1+(2", 1070, 2},
        // Characters, not UTF-16 units: the emoji before the bracket counts once.
        {"'😀'+(2", 1070, 4},
        {"\xff", kMsgBadUtf8, -1},
    };
    for (const auto& c : cases) {
        const Formula f = calc.Compile(c.text);
        ASSERT_FALSE(f.ok()) << c.text;
        EXPECT_EQ(f.error().id, c.id) << c.text;
        EXPECT_EQ(f.error().position, c.position) << c.text;
        EXPECT_FALSE(f.error().message.empty()) << c.text;
    }
    const Formula names = calc.Compile("Qty * price + qty");
    ASSERT_TRUE(names.ok());
    EXPECT_EQ(names.Names(), (std::vector<std::string>{"Qty", "price"}));
}

TEST(HostFunctions, CallbacksGetExactArgumentsAndTheirFailuresAreNamed) {
    Functions functions;
    functions.Add("Join", [](const std::vector<std::string>& args) {
        std::string out;
        for (const auto& a : args) out += "[" + a + "]";
        return Result::Success({Kind::Text, out});
    });
    functions.Add("twice", [](const std::vector<std::string>& args) {
        return Result::Success({Kind::Number, std::to_string(std::stoi(args.at(0)) * 2)});
    });
    functions.Add("refuse", [](const std::vector<std::string>&) { return Result::Failure({0, -1, "no stock"}); });
    Options options;
    options.functions = &functions;
    Calculator calc(options);
    Bindings b;
    b.SetValue("note", "two\r\nlines");
    b.SetValue("q", "'x'");
    const Case cases[] = {
        {"join(note, q, 5)", true, "[two\r\nlines]['x'][5]"},
        {"twice(4) + 1", true, "9", Kind::Number},
        {"refuse()", false, "no stock", Kind::Text, kMsgFunctionFailed},
        {"nosuch(1)", false, "nosuch", Kind::Text, kMsgUnknownFunction},
        // A built-in of the same name wins over the host's.
        {"sum(1, 2)", true, "3", Kind::Number},
    };
    for (const Case& c : cases) Check(calc, b, c);
}

// A host function may calculate with the calculator that called it: each
// calculation keeps its own copy of its formula, before and after, and the
// copy one leaves behind serves the next.
TEST(HostFunctions, AFunctionMayCalculateWithItsOwnCalculator) {
    Functions functions;
    Calculator* self = nullptr;
    Bindings inner;
    inner.SetValue("k", "5");
    functions.Add("inner", [&](const std::vector<std::string>& args) {
        return self->Evaluate(args.at(0) + " * k", inner);
    });
    Options options;
    options.functions = &functions;
    Calculator calc(options);
    self = &calc;
    Bindings b;
    b.SetValue("a", "3");
    const Case cases[] = {
        {"a + inner(2) + a", true, "16", Kind::Number},
        {"inner(inner(1)) - a", true, "22", Kind::Number},
        {"a * 2", true, "6", Kind::Number},
        {"inner(a) + inner(a)", true, "30", Kind::Number},
    };
    for (int round = 0; round < 2; ++round)
        for (const Case& c : cases) Check(calc, b, c);
}

// A name without a slot goes to the table's source once, and only when a
// calculation reaches it; a formula it answers asks for its own names in turn.
TEST(HostBindings, NamesWithoutASlotAreAskedOfTheSourceOnce) {
    std::vector<std::string> asked;
    Bindings b;
    b.SetValue("given", "10");
    b.SetSource([&asked](std::string_view name, Bindings& table, int slot) {
        asked.emplace_back(name);
        if (name == "Qty") table.SetValue(slot, "4");
        else if (name == "label") table.SetText(slot, "007");
        else if (name == "total") table.SetFormula(slot, "(qty * unit)");
        else if (name == "unit") table.SetValue(slot, "2.5");
        else if (name == "loop") table.SetFormula(slot, "loop + 1");
    });
    Calculator calc;
    const Case cases[] = {
        {"Qty + given", true, "14", Kind::Number},
        {"qty * 2", true, "8", Kind::Number},  // answered by the slot made for "Qty"
        {"label", true, "007"},
        {"total + 1", true, "11", Kind::Number},
        {"if(given > 1, 'yes', skipped)", true, "yes"},
        {"nobody + 1", false, "nobody", Kind::Text, kMsgUnknownName},
        {"nobody", false, "nobody", Kind::Text, kMsgUnknownName},
        {"loop", false, "loop -> loop", Kind::Text, kMsgCycle},
    };
    for (const Case& c : cases) Check(calc, b, c);
    EXPECT_EQ(asked, (std::vector<std::string>{"Qty", "label", "total", "unit", "nobody", "loop"}));
}

// Functions not added by name go to the source; one it does not know is an
// unknown function, a failure it reports is the function's failure.
TEST(HostFunctions, TheSourceAnswersFunctionsNotAddedByName) {
    Functions functions;
    functions.Add("twice", [](const std::vector<std::string>& args) {
        return Result::Success({Kind::Number, std::to_string(std::stoi(args.at(0)) * 2)});
    });
    functions.SetSource([](std::string_view name, const std::vector<std::string>& args) -> std::optional<Result> {
        if (name == "Count") return Result::Success({Kind::Number, std::to_string(args.size())});
        if (name == "twice") return Result::Success({Kind::Text, "source"});
        if (name == "broken") return Result::Failure({0, -1, "offline"});
        return std::nullopt;
    });
    Options options;
    options.functions = &functions;
    Calculator calc(options);
    Bindings b;
    const Case cases[] = {
        {"Count(1, 'a', 3) * 10", true, "30", Kind::Number},
        {"twice(4)", true, "8", Kind::Number},  // added by name: the source is not asked
        {"broken()", false, "offline", Kind::Text, kMsgFunctionFailed},
        {"other(1)", false, "other", Kind::Text, kMsgUnknownFunction},
        {"left('abc', 2)", true, "ab"},
    };
    for (const Case& c : cases) Check(calc, b, c);
}

TEST(HostScripts, JsRunsWithinItsLimits) {
    Options options;
    options.script.time = std::chrono::milliseconds(200);
    options.script.memory = 8u << 20;
    Calculator calc(options);
    Bindings b;
    b.SetValue("name", "张三");
    const Case cases[] = {
        {"js('return arguments[0] + \"!\" + arguments.length', name, 2)", true, "张三!2"},
        {"js('return \"😀\".length')", true, "2"},
        {"js('return undefined')", true, ""},
        {"js('return nope')", false, "nope", Kind::Text, 1072},
        {"js('return (')", false, "SyntaxError", Kind::Text, 1072},
        {"js('while (true) { try { for(;;){} } catch (e) {} }')", false, "200 ms", Kind::Text, 1072},
        {"js('var a = []; for (;;) a.push(new Array(10000))')", false, "8 MB", Kind::Text, 1072},
        // The heap after a limit is a fresh one, and globals stay untouched.
        {"js('Math.max = null; x = 1; return typeof Math.max')", true, "function"},
        {"js('return 6 * 7') + 0", true, "42", Kind::Number},
    };
    for (const Case& c : cases) Check(calc, b, c);
}

TEST(HostThreads, OneCompiledFormulaServesCalculatorsOnManyThreads) {
    Calculator compiler;
    const Formula f = compiler.Compile("round(qty * price, 2) + len(name)");
    ASSERT_TRUE(f.ok());
    std::vector<std::string> results(4);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            Calculator calc;
            Bindings b;
            const int qty = b.Declare("qty"), price = b.Declare("price"), name = b.Declare("name");
            std::string all;
            for (int i = 0; i < 500; ++i) {
                b.SetValue(qty, std::to_string(i));
                b.SetValue(price, "0.333");
                b.SetValue(name, i % 2 ? "ab" : "abc");
                all += calc.Evaluate(f, b).value.text + ",";
            }
            results[static_cast<size_t>(t)] = all;
        });
    }
    for (auto& thread : threads) thread.join();
    for (const auto& r : results) EXPECT_EQ(r, results[0]);
    EXPECT_EQ(results[0].substr(0, 23), "3,2.33,3.67,3,4.33,3.67");
}

}  // namespace
