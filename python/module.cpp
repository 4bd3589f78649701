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
// The GIL is held except while evaluate_table's workers calculate
// (table.cpp); host functions and sources written in Python take it back for
// each call.
#include "bridge.h"

#include <pybind11/eval.h>
#include <pybind11/stl.h>

#include <cmath>
#include <optional>
#include <string_view>

namespace qorcalc::python {
namespace {

py::object g_formulaError;  // qorcalc.FormulaError, made at import

}  // namespace

host::Language ParseLanguage(const std::string& name) {
    if (name == "en") return host::Language::English;
    if (name == "zh") return host::Language::Chinese;
    throw py::value_error("lang must be \"en\" or \"zh\", not \"" + name + "\"");
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
        text = host::DecimalText(number);
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

namespace {

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

}  // namespace

PyFormula::PyFormula(const std::string& text, const py::object& functions, const std::string& lang)
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


// Names from a mapping or a callable.  The callable is asked, through
// the table's source, for each name a calculation reaches, once; one it
// does not know (KeyError) stays without a value, and any other
// exception it raises comes out of the calculation as it is.
host::Result PyFormula::Outcome(const py::object& names) const {
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
    return calculator.Evaluate(m_formula, bindings);
}

host::Value PyFormula::Value(const py::object& names) const {
    host::Result result = Outcome(names);
    if (!result.ok) Raise(result.error);
    return result.value;
}


void PyFormula::Bind(host::Bindings& bindings, int slot, const py::handle& value) {
    std::string text;
    if (value.is_none()) bindings.SetText(slot, "");
    else if (PythonNumberText(value, text)) bindings.SetValue(slot, text);
    else if (py::isinstance<py::str>(value)) bindings.SetText(slot, value.cast<std::string>());
    else if (py::isinstance<PyFormula>(value)) bindings.SetFormula(slot, value.cast<const PyFormula&>().m_formula.text());
    else throw py::type_error("the value of " + bindings.Name(slot) + " is a " + py::str(value.get_type().attr("__name__")).cast<std::string>() +
                              "; give a number, a str, None or a compiled Formula");
}


namespace {

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
}  // namespace qorcalc::python

PYBIND11_MODULE(_qorcalc, module) {
    using namespace qorcalc::python;
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

    module.def("_evaluate_columns", &EvaluateColumns);
    module.def("_evaluate_records", &EvaluateRecords);
    module.def("functions", &FunctionReference, py::arg("lang") = "en",
               "The function reference: one dict per built-in with name, category, category_number, description and usage.");
}
