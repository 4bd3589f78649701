// What the parts of the qorcalc._qorcalc module share: the conversions
// between Python objects and the host layer's texts, and the compiled
// formula that carries its language and host functions.
//
// Every function here needs the GIL.
#pragma once

#include <qorcalc/host.h>

#include <pybind11/pybind11.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qorcalc::python {

namespace py = pybind11;
namespace host = qorcalc::host;

host::Language ParseLanguage(const std::string& name);
// A Python number (int, float, bool as 1 and 0) as its text, or false when
// `value` is no number.  A float that is not finite is refused.
bool PythonNumberText(const py::handle& value, std::string& text);
// A result for Python: int, float or str.
py::object ToPython(const host::Value& value);
// The qorcalc.FormulaError for `error`, made or raised.
py::object ErrorObject(const host::Error& error);
[[noreturn]] void Raise(const host::Error& error);

// A compiled formula with what it is calculated with: its language and the
// host functions given at compile time (a mapping of callables, or one
// callable answering every function the engine does not know).
class PyFormula {
public:
    PyFormula(const std::string& text, const py::object& functions, const std::string& lang);

    host::Options Options() const {
        host::Options options;
        options.language = m_language;
        options.functions = m_functions.get();
        return options;
    }
    const host::Formula& formula() const { return m_formula; }

    // The outcome for names from a mapping or a callable (None: no names).
    host::Result Outcome(const py::object& names) const;
    py::object Evaluate(const py::object& names) const { return ToPython(Value(names)); }
    std::string EvaluateText(const py::object& names) const { return Value(names).text; }

private:
    host::Value Value(const py::object& names) const;
    static void Bind(host::Bindings& bindings, int slot, const py::handle& value);

    host::Language m_language;
    std::shared_ptr<host::Functions> m_functions;
    host::Formula m_formula;
};

// evaluate_table's engine: the computed columns of rows given as field
// columns (one list per formula), or of rows given as mappings (a new dict
// per row, its fields and then its computed columns).
py::list EvaluateColumns(const std::vector<std::pair<std::string, std::string>>& formulas,
                         const std::vector<std::pair<std::string, py::object>>& columns, size_t rows, int jobs,
                         const py::object& functions, const std::string& lang);
py::list EvaluateRecords(const std::vector<std::pair<std::string, std::string>>& formulas, const py::iterable& rows,
                         int jobs, const py::object& functions, const std::string& lang);

}  // namespace qorcalc::python
