// evaluate_table: report columns over many rows on several threads.
//
// Python objects are only touched with the GIL, and the GIL is one thread at
// a time, so whatever is done per cell under it does not get faster with
// more jobs.  The input columns are therefore read into compact cells in one
// pass (a number stays a machine number, a text is copied once into a
// character store), the workers then make the field texts, calculate and
// read the results back into cells without the GIL, and the calling thread
// makes the Python objects of the results while the others calculate.
#include "bridge.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <atomic>
#include <charconv>
#include <cmath>
#include <exception>
#include <limits>
#include <stdexcept>
#include <mutex>
#include <thread>

namespace qorcalc::python {
namespace {

// One value of an input field or a computed column.
struct Cell {
    enum Kind : uint8_t { Missing, Integer, Real, Text, BigInteger, Failed };
    Kind kind = Missing;
    uint32_t length = 0;  // Text and BigInteger: bytes in the character store
    union {
        int64_t integer = 0;
        double real;
        size_t offset;  // Text and BigInteger: first byte in the store; Failed: index of the error
    };
};

// Cells with the characters and failures they refer to.
struct Cells {
    std::vector<Cell> cells;
    std::string chars;
    std::vector<host::Error> errors;

    void AddText(std::string_view text, Cell::Kind kind = Cell::Text) {
        // Far past any text the engine takes, but never cut short silently.
        if (text.size() > std::numeric_limits<uint32_t>::max()) throw std::length_error("a cell's text passes 4 GiB");
        Cell cell;
        cell.kind = kind;
        cell.offset = chars.size();
        cell.length = static_cast<uint32_t>(text.size());
        chars.append(text);
        cells.push_back(cell);
    }
    void AddInteger(int64_t value) {
        Cell cell;
        cell.kind = Cell::Integer;
        cell.integer = value;
        cells.push_back(cell);
    }
    void AddReal(double value) {
        Cell cell;
        cell.kind = std::isfinite(value) ? Cell::Real : Cell::Missing;
        cell.real = value;
        cells.push_back(cell);
    }
    std::string_view TextOf(const Cell& cell) const { return std::string_view(chars).substr(cell.offset, cell.length); }

    // A calculation's outcome, kept as the Python value it will become.
    void AddResult(const host::Result& result) {
        if (!result.ok) {
            Cell cell;
            cell.kind = Cell::Failed;
            cell.offset = errors.size();
            errors.push_back(result.error);
            cells.push_back(cell);
            return;
        }
        const std::string& text = result.value.text;
        host::MachineNumber number;
        if (result.value.kind == host::Kind::Text || !host::ReadNumber(text, number)) AddText(text);  // incl. display formats
        else if (number.whole) AddInteger(number.integer);
        else if (text.find_first_not_of("+-0123456789") == std::string::npos) AddText(text, Cell::BigInteger);
        else AddReal(number.real);
    }

    // The field text of an input cell: empty when missing.
    void FieldText(const Cell& cell, std::string& out) const {
        char digits[24];
        switch (cell.kind) {
            case Cell::Integer: {
                const auto end = std::to_chars(digits, digits + sizeof digits, cell.integer).ptr;
                out.assign(digits, end);
                break;
            }
            case Cell::Real:
                out = host::DecimalText(cell.real);
                break;
            case Cell::Text:
            case Cell::BigInteger:
                out.assign(TextOf(cell));
                break;
            default:
                out.clear();
        }
    }

    py::object ToObject(const Cell& cell) const {
        switch (cell.kind) {
            case Cell::Integer:
                return py::reinterpret_steal<py::object>(PyLong_FromLongLong(cell.integer));
            case Cell::Real:
                return py::reinterpret_steal<py::object>(PyFloat_FromDouble(cell.real));
            case Cell::BigInteger:
                // Past 64 bits an integer's text still makes a Python int.
                return py::int_(py::str(TextOf(cell).data(), cell.length));
            case Cell::Failed:
                return ErrorObject(errors[cell.offset]);
            default:
                return py::str(TextOf(cell).data(), cell.length);
        }
    }
};

// An input column read in one pass: numpy arrays of numbers as they are,
// anything else value by value.
class FieldColumn {
public:
    explicit FieldColumn(std::string name) : m_name(std::move(name)) {}
    FieldColumn(std::string name, const py::handle& values) : m_name(std::move(name)) {
        if (py::isinstance<py::array>(values) && ReadArray(py::reinterpret_borrow<py::array>(values))) return;
        if (PyList_Check(values.ptr())) {
            const Py_ssize_t count = PyList_GET_SIZE(values.ptr());
            m_store.cells.reserve(static_cast<size_t>(count));
            for (Py_ssize_t i = 0; i < count; ++i) Append(PyList_GET_ITEM(values.ptr(), i));
            return;
        }
        for (const py::handle value : values) Append(value.ptr());
    }

    const std::string& name() const { return m_name; }
    size_t size() const { return m_store.cells.size(); }
    void FieldText(size_t row, std::string& out) const { m_store.FieldText(m_store.cells[row], out); }

    // The same reading as a single name's value, except that NaN and a
    // missing value (null) are missing and anything else stands for its
    // str().
    void Append(PyObject* object) {
        if (!object || object == Py_None) {
            m_store.cells.emplace_back();
        } else if (PyUnicode_Check(object)) {
            Py_ssize_t length = 0;
            const char* utf8 = PyUnicode_AsUTF8AndSize(object, &length);
            if (!utf8) throw py::error_already_set();
            m_store.AddText(std::string_view(utf8, static_cast<size_t>(length)));
        } else if (PyFloat_Check(object)) {
            const double number = PyFloat_AS_DOUBLE(object);
            if (std::isinf(number)) throw py::value_error("a name's value must be a finite number");
            m_store.AddReal(number);
        } else if (PyLong_Check(object)) {
            int overflow = 0;
            const long long number = PyLong_AsLongLongAndOverflow(object, &overflow);
            if (overflow) m_store.AddText(py::str(object).cast<std::string>(), Cell::BigInteger);
            else m_store.AddInteger(number);  // bool too: 1 and 0
        } else {
            m_store.AddText(py::str(object).cast<std::string>());
        }
    }

private:
    bool ReadArray(const py::array& array) {
        const char kind = array.dtype().kind();
        if (kind == 'f') {
            const auto reals = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(array);
            m_store.cells.reserve(static_cast<size_t>(reals.size()));
            for (py::ssize_t i = 0; i < reals.size(); ++i) m_store.AddReal(reals.data()[i]);  // NaN is missing
            return true;
        }
        if (kind == 'i' || kind == 'u' || kind == 'b') {
            const auto integers = py::array_t<int64_t, py::array::c_style | py::array::forcecast>::ensure(array);
            m_store.cells.reserve(static_cast<size_t>(integers.size()));
            for (py::ssize_t i = 0; i < integers.size(); ++i) m_store.AddInteger(integers.data()[i]);
            return true;
        }
        return false;
    }

    std::string m_name;
    Cells m_store;
};

// The fields of rows given as dicts (any other mapping is copied into
// one): every key of any row, in the order first met, as a column; a row
// without a key has that field missing.
std::vector<FieldColumn> ReadRecords(const py::list& rows) {
    py::dict positions;  // key -> its column
    std::vector<py::handle> keys;
    for (const py::handle row : rows) {
        PyObject* key = nullptr;
        PyObject* value = nullptr;
        Py_ssize_t at = 0;
        for (size_t i = 0; PyDict_Next(row.ptr(), &at, &key, &value); ++i) {
            // Rows mostly share their keys, in the same order.
            if (i < keys.size() && keys[i].ptr() == key) continue;
            if (!positions.contains(key)) {
                positions[key] = keys.size();
                keys.push_back(key);
            }
        }
    }
    std::vector<FieldColumn> fields;
    for (const py::handle key : keys) fields.emplace_back(py::str(key).cast<std::string>());
    for (const py::handle row : rows) {
        for (size_t i = 0; i < keys.size(); ++i) {
            PyObject* value = PyDict_GetItemWithError(row.ptr(), keys[i].ptr());
            if (!value && PyErr_Occurred()) throw py::error_already_set();
            fields[i].Append(value);
        }
    }
    return fields;
}

// The computed columns of every row, calculated as `qorcalc report`
// calculates a record: each thread with its own calculator and table of
// names.  Rows go in chunks that the threads take in turn, so a thread that
// gets less of the machine takes fewer.  The calling thread takes chunks
// too, and between two of its own makes the Python objects of the chunks
// finished so far: the work under the GIL overlaps the calculation instead
// of waiting for all of it.
class Table {
public:
    Table(const std::vector<std::pair<std::string, std::string>>& formulas, std::vector<FieldColumn> fields,
          size_t rows, int jobs, const py::object& functions, const std::string& lang)
        : m_fields(std::move(fields)), m_rows(rows), m_chunks((rows + kChunkRows - 1) / kChunkRows) {
        if (jobs < 1) throw py::value_error("jobs must be at least 1");
        for (const FieldColumn& field : m_fields)
            if (field.size() != rows) throw py::value_error("column " + field.name() + " does not have one value per row");
        Compile(formulas, functions, lang);
        m_threads = std::min<size_t>(static_cast<size_t>(jobs), std::max<size_t>(m_chunks.size(), 1));
    }

    // Evaluates every row, calling `use(row, column, value)` with the GIL
    // for every computed cell, the cells of a row in column order.
    template <typename Use>
    void Run(Use&& use) {
        std::vector<std::thread> pool;
        {
            py::gil_scoped_release release;
            for (size_t i = 1; i < m_threads; ++i) pool.emplace_back([this] { Work(); });
        }
        try {
            std::unique_ptr<host::RecordCalculator> records;
            for (bool more = true; more;) {
                {
                    py::gil_scoped_release release;
                    if (!records) records = NewCalculator();
                    more = TakeChunk(*records);
                }
                Deliver(use);
            }
        } catch (...) {
            Stop(std::current_exception());
        }
        {
            py::gil_scoped_release release;
            for (std::thread& thread : pool) thread.join();
        }
        if (m_failure) std::rethrow_exception(m_failure);
        Deliver(use);
    }

private:
    static constexpr size_t kChunkRows = 1024;

    struct Chunk {
        Cells results;  // row by row, the columns of a row in order
        std::atomic<bool> done{false};
        bool delivered = false;
    };

    // One compile carries the host functions; every formula shares them.
    void Compile(const std::vector<std::pair<std::string, std::string>>& formulas, const py::object& functions,
                 const std::string& lang) {
        for (const auto& [name, text] : formulas) {
            if (!m_first) {
                m_first = std::make_unique<PyFormula>(text, functions, lang);
                m_columns.push_back({name, m_first->formula()});
                continue;
            }
            host::Formula formula = host::Calculator(m_first->Options()).Compile(text);
            if (!formula.ok()) Raise(formula.error());
            m_columns.push_back({name, std::move(formula)});
        }
    }

    std::unique_ptr<host::RecordCalculator> NewCalculator() const {
        std::vector<std::string> names;
        for (const FieldColumn& field : m_fields) names.push_back(field.name());
        return std::make_unique<host::RecordCalculator>(names, m_columns, m_first ? m_first->Options() : host::Options{});
    }

    void Work() {
        try {
            const std::unique_ptr<host::RecordCalculator> records = NewCalculator();
            while (TakeChunk(*records)) {
            }
        } catch (...) {
            Stop(std::current_exception());
        }
    }

    // Evaluates the next chunk nobody has taken; false when none is left.
    bool TakeChunk(host::RecordCalculator& records) {
        const size_t index = m_next.fetch_add(1);
        if (index >= m_chunks.size() || m_stopped.load()) return false;
        Chunk& chunk = m_chunks[index];
        const size_t first = index * kChunkRows, last = std::min(m_rows, first + kChunkRows);
        chunk.results.cells.reserve((last - first) * m_columns.size());
        std::string text;
        for (size_t row = first; row < last; ++row) {
            for (size_t i = 0; i < m_fields.size(); ++i) {
                m_fields[i].FieldText(row, text);
                records.SetField(i, text);
            }
            for (const host::Result& result : records.Evaluate()) chunk.results.AddResult(result);
        }
        chunk.done.store(true, std::memory_order_release);
        return true;
    }

    // Hands over the cells of every chunk finished and not yet handed over,
    // then lets their memory go.
    template <typename Use>
    void Deliver(Use& use) {
        for (size_t index = m_delivered; index < m_chunks.size(); ++index) {
            Chunk& chunk = m_chunks[index];
            if (chunk.delivered || !chunk.done.load(std::memory_order_acquire)) continue;
            const Cell* cell = chunk.results.cells.data();
            for (size_t row = index * kChunkRows, last = std::min(m_rows, row + kChunkRows); row < last; ++row)
                for (size_t k = 0; k < m_columns.size(); ++k) use(row, k, chunk.results.ToObject(*cell++));
            chunk.results = Cells();
            chunk.delivered = true;
        }
        while (m_delivered < m_chunks.size() && m_chunks[m_delivered].delivered) ++m_delivered;
    }

    void Stop(std::exception_ptr failure) {
        std::lock_guard lock(m_failureMutex);
        if (!m_failure) m_failure = std::move(failure);
        m_stopped.store(true);
    }

    std::vector<FieldColumn> m_fields;
    size_t m_rows;
    std::unique_ptr<PyFormula> m_first;
    std::vector<host::ReportColumn> m_columns;
    std::vector<Chunk> m_chunks;
    size_t m_threads = 1;
    std::atomic<size_t> m_next{0};
    std::atomic<bool> m_stopped{false};
    std::mutex m_failureMutex;
    std::exception_ptr m_failure;
    size_t m_delivered = 0;  // chunks before it are all handed over
};

}  // namespace

py::list EvaluateColumns(const std::vector<std::pair<std::string, std::string>>& formulas,
                         const std::vector<std::pair<std::string, py::object>>& columns, size_t rows, int jobs,
                         const py::object& functions, const std::string& lang) {
    std::vector<FieldColumn> fields;
    for (const auto& [name, values] : columns) fields.emplace_back(name, values);
    Table table(formulas, std::move(fields), rows, jobs, functions, lang);
    std::vector<py::list> lists;
    for (size_t k = 0; k < formulas.size(); ++k) lists.emplace_back(rows);
    table.Run([&lists](size_t row, size_t k, py::object value) {
        PyList_SET_ITEM(lists[k].ptr(), static_cast<Py_ssize_t>(row), value.release().ptr());
    });
    py::list out;
    for (const py::list& list : lists) out.append(list);
    return out;
}

py::list EvaluateRecords(const std::vector<std::pair<std::string, std::string>>& formulas, const py::iterable& rowsIn,
                         int jobs, const py::object& functions, const std::string& lang) {
    py::list rows;
    for (const py::handle row : rowsIn)
        rows.append(PyDict_Check(row.ptr()) ? py::reinterpret_borrow<py::object>(row) : py::dict(py::reinterpret_borrow<py::object>(row)));
    Table table(formulas, ReadRecords(rows), rows.size(), jobs, functions, lang);
    std::vector<py::str> names;
    for (const auto& formula : formulas) names.emplace_back(formula.first);
    py::list out(rows.size());
    auto copy = [&rows, &out](size_t row) {
        PyObject* record = PyDict_Copy(PyList_GET_ITEM(rows.ptr(), static_cast<Py_ssize_t>(row)));
        if (!record) throw py::error_already_set();
        PyList_SET_ITEM(out.ptr(), static_cast<Py_ssize_t>(row), record);
        return record;
    };
    if (formulas.empty()) {
        for (size_t row = 0; row < rows.size(); ++row) copy(row);
        return out;
    }
    // A row's copy is made with its first computed cell, so that copying
    // too overlaps the calculation.
    PyObject* record = nullptr;
    table.Run([&](size_t row, size_t k, py::object value) {
        if (k == 0) record = copy(row);
        if (PyDict_SetItem(record, names[k].ptr(), value.ptr()) != 0) throw py::error_already_set();
    });
    return out;
}

}  // namespace qorcalc::python
