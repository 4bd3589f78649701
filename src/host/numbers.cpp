// Numbers between the engine's texts and machine numbers, for front ends.
#include <qorcalc/host.h>

#include <charconv>

namespace qorcalc::host {

std::string DecimalText(double value) {
    // The largest double written in full takes 309 digits.
    char buffer[400];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed).ptr;
    return std::string(buffer, end);
}

bool ReadNumber(std::string_view text, MachineNumber& number) {
    const char* first = text.data();
    const char* last = first + text.size();
    const auto whole = std::from_chars(first, last, number.integer);
    number.whole = whole.ec == std::errc() && whole.ptr == last;
    if (number.whole) {
        number.real = static_cast<double>(number.integer);
        return true;
    }
    const auto real = std::from_chars(first, last, number.real);
    return real.ec == std::errc() && real.ptr == last && !text.empty();
}

}  // namespace qorcalc::host
