// HostText: the host layer's and the tool's messages from the catalogue,
// with their "%s" filled in order.
#include "host/internal.h"

namespace qorcalc::host {

std::string HostText(uint32_t id, Language language, const std::vector<std::string>& args) {
    const char16_t* text = messages::Text(id, language);
    if (!text) return "error " + std::to_string(id);
    const std::string format = detail::ToUtf8(text);
    std::string out;
    size_t next = 0;
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] == '%' && i + 1 < format.size() && format[i + 1] == 's') {
            if (next < args.size()) out += args[next];
            ++next;
            ++i;
        } else {
            out += format[i];
        }
    }
    return out;
}

}  // namespace qorcalc::host
