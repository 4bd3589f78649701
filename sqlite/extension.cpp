// The SQLite extension: report columns computed where the data lives.
//
//   qorcalc(formula, name1, value1, ...)        the value, or a SQL error
//   qorcalc_error(formula, name1, value1, ...)  the error text, or NULL
//
// Values map as a SQL user expects: INTEGER and REAL are numbers, TEXT is a
// text (even when it reads as a number), NULL is an empty text (as an empty
// field of a report), a BLOB is a text of its bytes.  A NULL formula gives
// NULL.  A number result comes back as INTEGER when it is a whole number
// that fits, REAL otherwise; a text result as TEXT.  Error texts read
// "error ID: MESSAGE".
//
// The compiled formula, with its table of names, is kept as the formula
// argument's auxiliary data, so a statement whose formula is a constant
// compiles it once.  Each thread calculates with a calculator of its own.
#include <qorcalc/host.h>

#include <sqlite3ext.h>
SQLITE_EXTENSION_INIT1

#include <cmath>
#include <memory>
#include <string>

namespace host = qorcalc::host;

namespace {

struct Compiled {
    host::Formula formula;
    host::Bindings bindings;
};

host::Calculator& ThreadCalculator() {
    thread_local host::Calculator calculator;
    return calculator;
}

std::string ErrorText(const host::Error& error) {
    return "error " + std::to_string(error.id) + ": " + error.message;
}

std::string Text(sqlite3_value* value) {
    const auto* bytes = static_cast<const char*>(sqlite3_value_blob(value));
    return bytes ? std::string(bytes, static_cast<size_t>(sqlite3_value_bytes(value))) : std::string();
}

// Sets the names of one call; false (with the SQL error set) for arguments
// no formula can use.
bool Bind(sqlite3_context* context, host::Bindings& bindings, int argc, sqlite3_value** argv) {
    if (argc % 2 == 0) {
        sqlite3_result_error(context, "qorcalc: every name needs a value (qorcalc(formula, name1, value1, ...))", -1);
        return false;
    }
    // A name the last row set but this one does not is no value of this row.
    for (int slot = 0; slot < bindings.size(); ++slot) bindings.Unset(slot);
    for (int i = 1; i < argc; i += 2) {
        if (sqlite3_value_type(argv[i]) != SQLITE_TEXT) {
            sqlite3_result_error(context, ("qorcalc: argument " + std::to_string(i + 1) + " must be a name (text)").c_str(), -1);
            return false;
        }
        const int slot = bindings.Declare(Text(argv[i]));
        sqlite3_value* value = argv[i + 1];
        switch (sqlite3_value_type(value)) {
            case SQLITE_INTEGER:
                bindings.SetValue(slot, std::to_string(sqlite3_value_int64(value)));
                break;
            case SQLITE_FLOAT: {
                const double number = sqlite3_value_double(value);
                if (!std::isfinite(number)) {
                    sqlite3_result_error(context, ("qorcalc: the value of " + bindings.Name(slot) + " is not a finite number").c_str(), -1);
                    return false;
                }
                bindings.SetValue(slot, host::DecimalText(number));
                break;
            }
            case SQLITE_NULL:
                bindings.SetText(slot, "");
                break;
            default:
                bindings.SetText(slot, Text(value));
                break;
        }
    }
    return true;
}

// The call's outcome; false when there is none to give (a NULL formula, or
// a SQL error already set).
bool Evaluate(sqlite3_context* context, int argc, sqlite3_value** argv, host::Result& result) {
    if (argc < 1 || sqlite3_value_type(argv[0]) == SQLITE_NULL) {
        sqlite3_result_null(context);
        return false;
    }
    auto* compiled = static_cast<Compiled*>(sqlite3_get_auxdata(context, 0));
    std::unique_ptr<Compiled> fresh;
    if (!compiled) {
        fresh.reset(new Compiled{ThreadCalculator().Compile(Text(argv[0])), {}});
        compiled = fresh.get();
    }
    if (!Bind(context, compiled->bindings, argc, argv)) return false;
    result = ThreadCalculator().Evaluate(compiled->formula, compiled->bindings);
    // Kept for the statement's next row when the formula is one of its
    // constants; SQLite frees it at once otherwise.
    if (fresh) sqlite3_set_auxdata(context, 0, fresh.release(), [](void* data) { delete static_cast<Compiled*>(data); });
    return true;
}

void ResultValue(sqlite3_context* context, const host::Value& value) {
    host::MachineNumber number;
    if (value.kind == host::Kind::Number && host::ReadNumber(value.text, number)) {
        if (number.whole) sqlite3_result_int64(context, number.integer);
        else sqlite3_result_double(context, number.real);
        return;
    }
    sqlite3_result_text(context, value.text.data(), static_cast<int>(value.text.size()), SQLITE_TRANSIENT);
}

void QorcalcFunction(sqlite3_context* context, int argc, sqlite3_value** argv) {
    host::Result result;
    if (!Evaluate(context, argc, argv, result)) return;
    if (result.ok) {
        ResultValue(context, result.value);
    } else {
        const std::string text = ErrorText(result.error);
        sqlite3_result_error(context, text.c_str(), static_cast<int>(text.size()));
    }
}

void QorcalcErrorFunction(sqlite3_context* context, int argc, sqlite3_value** argv) {
    host::Result result;
    if (!Evaluate(context, argc, argv, result)) return;
    if (result.ok) {
        sqlite3_result_null(context);
    } else {
        const std::string text = ErrorText(result.error);
        sqlite3_result_text(context, text.c_str(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int sqlite3_qorcalc_init(sqlite3* db, char** error,
                                                                            const sqlite3_api_routines* api) {
    SQLITE_EXTENSION_INIT2(api);
    (void)error;
    // Deterministic: the same formula and names give the same value, so
    // SQLite may use the functions in indexes and factor constant calls.
    const int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
    int rc = sqlite3_create_function(db, "qorcalc", -1, flags, nullptr, QorcalcFunction, nullptr, nullptr);
    if (rc == SQLITE_OK)
        rc = sqlite3_create_function(db, "qorcalc_error", -1, flags, nullptr, QorcalcErrorFunction, nullptr, nullptr);
    return rc;
}
