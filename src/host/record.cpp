// RecordCalculator: report columns over records, one table of names reused
// for every record.
//
// Only what a column can read is kept up to date: a field no column asks
// for is not copied into the table, and a column's result is bound under
// its name only when a later column asks for it.  Every other such slot
// stays without a value, which is what an earlier column, or the column
// itself, must find there anyway; the table is private, so nothing else
// reads it.  A slot that is a field's and a column's both is always kept.
#include <qorcalc/host.h>

#include <algorithm>

namespace qorcalc::host {
namespace {

// The index of the last column that asks for each slot of `bindings`, -1
// for a slot no column asks for.
std::vector<int> LastAskers(const Bindings& bindings, const std::vector<ReportColumn>& columns) {
    std::vector<int> last(static_cast<size_t>(bindings.size()), -1);
    for (size_t k = 0; k < columns.size(); ++k)
        for (const std::string& name : columns[k].formula.Names())
            if (const int slot = bindings.Find(name); slot >= 0) last[static_cast<size_t>(slot)] = static_cast<int>(k);
    return last;
}

bool Holds(const std::vector<int>& slots, int slot) { return std::find(slots.begin(), slots.end(), slot) != slots.end(); }

}  // namespace

RecordCalculator::RecordCalculator(const std::vector<std::string>& fields, const std::vector<ReportColumn>& columns,
                                   Options options)
    : m_columns(columns), m_calculator(std::move(options)), m_results(columns.size()) {
    for (const std::string& name : fields) m_fieldSlots.push_back(m_bindings.Declare(name));
    for (const ReportColumn& column : columns) m_columnSlots.push_back(m_bindings.Declare(column.name));
    // -1 marks a slot left alone.
    const std::vector<int> last = LastAskers(m_bindings, columns);
    std::vector<int> fieldSlots = m_fieldSlots;
    for (int& slot : m_fieldSlots)
        if (last[static_cast<size_t>(slot)] < 0 && !Holds(m_columnSlots, slot)) slot = -1;
    for (size_t k = 0; k < m_columnSlots.size(); ++k) {
        const int slot = m_columnSlots[k];
        if (last[static_cast<size_t>(slot)] <= static_cast<int>(k) && !Holds(fieldSlots, slot)) m_columnSlots[k] = -1;
    }
}

void RecordCalculator::SetField(size_t index, std::string_view text) {
    if (const int slot = m_fieldSlots.at(index); slot >= 0) m_bindings.SetValue(slot, text);
}

const std::vector<Result>& RecordCalculator::Evaluate() {
    // A column computed for the last record is no value for this one.
    for (int slot : m_columnSlots)
        if (slot >= 0) m_bindings.Unset(slot);
    for (size_t k = 0; k < m_columns.size(); ++k) {
        m_calculator.Evaluate(m_columns[k].formula, m_bindings, m_results[k]);
        if (m_columnSlots[k] >= 0) m_bindings.SetResult(m_columnSlots[k], m_results[k]);
    }
    return m_results;
}

}  // namespace qorcalc::host
