// qorcalc._qorcalc: the Python face of the host layer.
//
// Everything here converts between Python objects and the host layer's
// texts; compiling, answering names and running host functions is the host
// layer's.  Conversions keep one rule each way:
//   in:  int and float (and bool, as 1 and 0) are numbers, str is a text,
//        None is an empty text, a compiled Formula stands for its text;
//        table fields follow the report rule instead: a field is a number
//        when its text reads as one, else a text, and a missing one is empty.
//   out: a number result becomes int when its text is an integer, float
//        otherwise; a text result stays str.
// The GIL is held except while evaluate_table's workers calculate; host
// functions written in Python take it back for each call.
#include <qorcalc/host.h>

#include <pybind11/eval.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cmath>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace py = pybind11;
namespace host = qorcalc::host;

namespace {

py::object g_formulaError;  // qorcalc.FormulaError, made at import

host::Language ParseLanguage(const std::string& name) {
    if (name == "en") return host::Language::English;
    if (name == "zh") return host::Language::Chinese;
    throw py::value_error("lang must be \"en\" or \"zh\", not \"" + name + "\"");
}

std::string NumberText(double value) { return host::DecimalText(value); }
std::string NumberText(int64_t value) { return std::to_string(value); }

bool IsMissing(const py::handle& value) {
    return value.is_none() || (py::isinstance<py::float_>(value) && std::isnan(value.cast<double>()));
}

// A Python number as its text, or false when `value` is no number.
bool PythonNumberText(const py::handle& value, std::string& text) {
    if (py::isinstance<py::bool_>(value)) {
        text = value.cast<bool>() ? "1" : "0";
    } else if (py::isinstance<py::int_>(value)) {
        text = py::str(value).cast<std::string>();
    } else if (py::isinstance<py::float_>(value)) {
        const double number = value.cast<double>();
        if (!std::isfinite(number)) throw py::value_error("a name's value must be a finite number");
        text = NumberText(number);
    } else {
        return false;
    }
    return true;
}

// A result for Python: int, float or str.
py::object ToPython(const host::Value& value) {
    if (value.kind == host::Kind::Text) return py::str(value.text);
    host::MachineNumber number;
    if (host::ReadNumber(value.text, number)) {
        if (number.whole) return py::int_(number.integer);
        // Past 64 bits an integer's text still makes a Python int.
        if (value.text.find_first_not_of("+-0123456789") == std::string::npos) return py::int_(py::str(value.text));
        return py::float_(number.real);
    }
    return py::str(value.text);  // a number written in a display format
}

py::object ErrorObject(const host::Error& error) {
    return g_formulaError(error.id, error.position, error.message);
}

[[noreturn]] void Raise(const host::Error& error) {
    py::object exception = ErrorObject(error);
    PyErr_SetObject(g_formulaError.ptr(), exception.ptr());
    throw py::error_already_set();
}

// Python arguments for a host function: texts that read as numbers are
// passed as numbers, the others as str.
py::list PythonArguments(const std::vector<std::string>& args) {
    py::list arguments(args.size());
    for (size_t i = 0; i < args.size(); ++i) {
        host::MachineNumber number;
        const bool isNumber = host::ReadNumber(args[i], number);
        arguments[i] = isNumber ? ToPython({host::Kind::Number, args[i]}) : py::str(args[i]);
    }
    return arguments;
}

// What a host function written in Python returned, as a result.
host::Result HostResult(const py::handle& value) {
    std::string text;
    if (PythonNumberText(value, text)) return host::Result::Success({host::Kind::Number, text});
    if (value.is_none()) return host::Result::Success({host::Kind::Text, ""});
    return host::Result::Success({host::Kind::Text, py::str(value).cast<std::string>()});
}

host::Result CallFailure(const py::error_already_set& failure) {
    return host::Result::Failure({0, -1, py::str(failure.value()).cast<std::string>()});
}

// A Python callable as a host function; an exception is the call's failure.
host::HostFunction WrapFunction(py::object function) {
    auto shared = std::make_shared<py::object>(std::move(function));
    return [shared](const std::vector<std::string>& args) -> host::Result {
        py::gil_scoped_acquire gil;
        try {
            return HostResult((*shared)(*PythonArguments(args)));
        } catch (py::error_already_set& failure) {
            return CallFailure(failure);
        }
    };
}

// A Python callable taking (name, args) as the answer to every function not
// given by name: KeyError says it does not know the function either.
host::FunctionSource WrapFunctionSource(py::object source) {
    auto shared = std::make_shared<py::object>(std::move(source));
    return [shared](std::string_view name, const std::vector<std::string>& args) -> std::optional<host::Result> {
        py::gil_scoped_acquire gil;
        try {
            return HostResult((*shared)(py::str(name.data(), name.size()), PythonArguments(args)));
        } catch (py::error_already_set& failure) {
            if (failure.matches(PyExc_KeyError)) return std::nullopt;
            return CallFailure(failure);
        }
    };
}

// A compiled formula with what it is calculated with: its language and the
// host functions given at compile time.
class PyFormula {
public:
    PyFormula(const std::string& text, const py::object& functions, const std::string& lang)
        : m_language(ParseLanguage(lang)), m_functions(std::make_shared<host::Functions>()) {
        if (PyCallable_Check(functions.ptr())) {
            m_functions->SetSource(WrapFunctionSource(functions));
        } else if (!functions.is_none()) {
            for (const auto& [name, function] : functions.cast<py::dict>()) {
                if (!PyCallable_Check(function.ptr()))
                    throw py::type_error("functions[" + py::str(name).cast<std::string>() + "] is not callable");
                m_functions->Add(py::str(name).cast<std::string>(), WrapFunction(py::reinterpret_borrow<py::object>(function)));
            }
        }
        m_formula = host::Calculator(Options()).Compile(text);
        if (!m_formula.ok()) Raise(m_formula.error());
    }

    host::Options Options() const {
        host::Options options;
        options.language = m_language;
        options.functions = m_functions.get();
        return options;
    }
    const host::Formula& formula() const { return m_formula; }

    // Names from a mapping or a callable.  The callable is asked, through
    // the table's source, for each name a calculation reaches, once; one it
    // does not know (KeyError) stays without a value, and any other
    // exception it raises comes out of the calculation as it is.
    host::Result Calculate(const py::object& names) const {
        host::Bindings bindings;
        if (PyCallable_Check(names.ptr())) {
            bindings.SetSource([&names](std::string_view name, host::Bindings& table, int slot) {
                try {
                    Bind(table, slot, names(py::str(name.data(), name.size())));
                } catch (py::error_already_set& failure) {
                    if (!failure.matches(PyExc_KeyError)) throw;
                }
            });
        } else if (!names.is_none()) {
            for (const auto& [name, value] : names.cast<py::dict>()) {
                const std::string text = py::str(name).cast<std::string>();
                Bind(bindings, bindings.Declare(text), value);
            }
        }
        host::Calculator calculator(Options());
        return calculator.Calculate(m_formula, bindings);
    }

    py::object Evaluate(const py::object& names) const { return ToPython(Value(names)); }
    std::string EvaluateText(const py::object& names) const { return Value(names).text; }

private:
    host::Value Value(const py::object& names) const {
        host::Result result = Calculate(names);
        if (!result.ok) Raise(result.error);
        return result.value;
    }

    static void Bind(host::Bindings& bindings, int slot, const py::handle& value) {
        std::string text;
        if (value.is_none()) bindings.SetText(slot, "");
        else if (PythonNumberText(value, text)) bindings.SetValue(slot, text);
        else if (py::isinstance<py::str>(value)) bindings.SetText(slot, value.cast<std::string>());
        else if (py::isinstance<PyFormula>(value)) bindings.SetFormula(slot, value.cast<const PyFormula&>().m_formula.text());
        else throw py::type_error("the value of " + bindings.Name(slot) + " is a " + py::str(value.get_type().attr("__name__")).cast<std::string>() +
                                  "; give a number, a str, None or a compiled Formula");
    }

    host::Language m_language;
    std::shared_ptr<host::Functions> m_functions;
    host::Formula m_formula;
};

// One input column of evaluate_table, held in C++ so that workers read it
// without the GIL: numeric columns as numbers, the others as field texts.
struct FieldColumn {
    std::string name;
    py::array_t<double> reals;  // float columns (NaN is missing)
    py::array_t<int64_t> integers;
    std::vector<std::string> texts;
    bool isReal = false, isInteger = false;

    void FieldText(size_t row, std::string& out) const {
        if (isReal) {
            const double value = reals.data()[row];
            out = std::isfinite(value) ? NumberText(value) : std::string();
        } else if (isInteger) {
            out = NumberText(integers.data()[row]);
        } else {
            out = texts[row];
        }
    }
};

FieldColumn ReadColumn(const std::string& name, const py::object& values) {
    FieldColumn column{name, {}, {}, {}, false, false};
    if (py::isinstance<py::array>(values)) {
        const py::array array = values.cast<py::array>();
        const char kind = array.dtype().kind();
        if (kind == 'f') {
            column.reals = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(array);
            column.isReal = true;
            return column;
        }
        if (kind == 'i' || kind == 'u' || kind == 'b') {
            column.integers = py::array_t<int64_t, py::array::c_style | py::array::forcecast>::ensure(array);
            column.isInteger = true;
            return column;
        }
    }
    for (const py::handle value : values) {
        std::string text;
        if (IsMissing(value)) text.clear();
        else if (!PythonNumberText(value, text)) text = py::str(value).cast<std::string>();
        column.texts.push_back(std::move(text));
    }
    return column;
}

// evaluate_table's engine: the rows split into `jobs` runs of consecutive
// rows, each calculated by a thread with its own calculator and table of
// names, exactly as `qorcalc report` calculates a record.
py::list EvaluateTable(const std::vector<std::pair<std::string, std::string>>& formulas,
                       const std::vector<std::pair<std::string, py::object>>& columnsIn, size_t rows, int jobs,
                       const py::object& functions, const std::string& lang) {
    if (jobs < 1) throw py::value_error("jobs must be at least 1");
    std::vector<FieldColumn> columns;
    for (const auto& [name, values] : columnsIn) {
        columns.push_back(ReadColumn(name, values));
        const size_t length = columns.back().isReal      ? static_cast<size_t>(columns.back().reals.size())
                              : columns.back().isInteger ? static_cast<size_t>(columns.back().integers.size())
                                                         : columns.back().texts.size();
        if (length != rows) throw py::value_error("column " + name + " does not have one value per row");
    }
    std::vector<PyFormula> compiled;
    for (const auto& [name, text] : formulas) compiled.emplace_back(text, functions, lang);
    const host::Options options = compiled.empty() ? host::Options{} : compiled.front().Options();

    std::vector<host::Result> results(rows * formulas.size());
    const size_t threads = std::min<size_t>(static_cast<size_t>(jobs), std::max<size_t>(rows, 1));
    std::vector<std::exception_ptr> failures(threads);
    auto work = [&](size_t part) {
        try {
            host::Calculator calculator(options);
            host::Bindings bindings;
            std::vector<int> fieldSlots, columnSlots;
            for (const FieldColumn& column : columns) fieldSlots.push_back(bindings.Declare(column.name));
            for (const auto& formula : formulas) columnSlots.push_back(bindings.Declare(formula.first));
            std::string field;
            for (size_t row = rows * part / threads; row < rows * (part + 1) / threads; ++row) {
                for (int slot : columnSlots) bindings.Unset(slot);
                for (size_t i = 0; i < columns.size(); ++i) {
                    columns[i].FieldText(row, field);
                    bindings.SetValue(fieldSlots[i], field);
                }
                for (size_t k = 0; k < compiled.size(); ++k) {
                    host::Result& result = results[row * formulas.size() + k];
                    result = calculator.Calculate(compiled[k].formula(), bindings);
                    bindings.SetResult(columnSlots[k], result);
                }
            }
        } catch (...) {
            failures[part] = std::current_exception();
        }
    };
    {
        py::gil_scoped_release release;
        std::vector<std::thread> pool;
        for (size_t part = 1; part < threads; ++part) pool.emplace_back(work, part);
        work(0);
        for (std::thread& thread : pool) thread.join();
    }
    for (const std::exception_ptr& failure : failures)
        if (failure) std::rethrow_exception(failure);

    // Column-major: one list per computed column, a FormulaError in a cell
    // whose calculation failed.
    py::list out;
    for (size_t k = 0; k < formulas.size(); ++k) {
        py::list column(rows);
        for (size_t row = 0; row < rows; ++row) {
            const host::Result& result = results[row * formulas.size() + k];
            column[row] = result.ok ? ToPython(result.value) : ErrorObject(result.error);
        }
        out.append(column);
    }
    return out;
}

py::list FunctionReference(const std::string& lang) {
    py::list out;
    for (const host::Category& category : host::FunctionCatalogue(ParseLanguage(lang))) {
        for (const host::FunctionInfo& function : category.functions) {
            py::dict entry;
            entry["name"] = function.name;
            entry["category"] = category.name;
            entry["category_number"] = category.number;
            entry["description"] = function.description;
            entry["usage"] = function.usage;
            out.append(entry);
        }
    }
    return out;
}

}  // namespace

PYBIND11_MODULE(_qorcalc, module) {
    module.doc() = "QORCalc formula engine (compiled part; use the qorcalc package)";
    py::dict scope;
    scope["__builtins__"] = py::module_::import("builtins");
    py::exec(R"(
class FormulaError(Exception):
    """A formula that did not compile or calculate: the message id, the
    character position in the formula (compile failures, else -1) and the
    message in the language asked for."""
    def __init__(self, id, position, message):
        super().__init__(id, position, message)
        self.id = id
        self.position = position
        self.message = message
    def __str__(self):
        return f"error {self.id}: {self.message}"
    def __eq__(self, other):
        return isinstance(other, FormulaError) and self.args == other.args
    def __hash__(self):
        return hash(self.args)
    def __reduce__(self):
        return (FormulaError, self.args)
FormulaError.__module__ = "qorcalc"
)", scope);
    g_formulaError = scope["FormulaError"];
    module.attr("FormulaError") = g_formulaError;
    // Dropped before the interpreter goes: a Python object must not outlive it.
    module.add_object("_cleanup", py::capsule([] { g_formulaError = py::object(); }));

    py::class_<PyFormula>(module, "Formula")
        .def(py::init<const std::string&, const py::object&, const std::string&>(), py::arg("formula"),
             py::arg("functions") = py::none(), py::arg("lang") = "en")
        .def_property_readonly("text", [](const PyFormula& f) { return f.formula().text(); })
        .def_property_readonly("names", [](const PyFormula& f) { return f.formula().Names(); })
        .def("_evaluate", &PyFormula::Evaluate)
        .def("_evaluate_text", &PyFormula::EvaluateText)
        .def("__repr__", [](const PyFormula& f) { return "qorcalc.Formula(" + py::repr(py::str(f.formula().text())).cast<std::string>() + ")"; });

    module.def("_evaluate_table", &EvaluateTable);
    module.def("functions", &FunctionReference, py::arg("lang") = "en",
               "The function reference: one dict per built-in with name, category, category_number, description and usage.");
}
