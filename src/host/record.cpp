// RecordCalculator: report columns over records, one table of names reused
// for every record.
#include <qorcalc/host.h>

namespace qorcalc::host {

RecordCalculator::RecordCalculator(const std::vector<std::string>& fields, const std::vector<ReportColumn>& columns,
                                   Options options)
    : m_columns(columns), m_calculator(std::move(options)), m_results(columns.size()) {
    for (const std::string& name : fields) m_fieldSlots.push_back(m_bindings.Declare(name));
    for (const ReportColumn& column : columns) m_columnSlots.push_back(m_bindings.Declare(column.name));
}

void RecordCalculator::SetField(size_t index, std::string_view text) { m_bindings.SetValue(m_fieldSlots.at(index), text); }

const std::vector<Result>& RecordCalculator::Evaluate() {
    // A column computed for the last record is no value for this one.
    for (int slot : m_columnSlots) m_bindings.Unset(slot);
    for (size_t k = 0; k < m_columns.size(); ++k) {
        m_calculator.Evaluate(m_columns[k].formula, m_bindings, m_results[k]);
        m_bindings.SetResult(m_columnSlots[k], m_results[k]);
    }
    return m_results;
}

}  // namespace qorcalc::host
