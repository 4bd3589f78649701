// A first look at the engine's numeric text: how numbers typed by report
// authors read, round and show.
#include <qorcalc/qorcalc.h>

#include <cstdio>

namespace {

void Show(const char* label, const CString& text) { std::printf("  %-34s %s\n", label, text.ToUtf8().c_str()); }

}  // namespace

int main() {
    std::printf("Reading number text\n");
    for (const char16_t* text : {u"1,234.5", u"  -.5", u"1e3", u"+5", u"12abc"}) {
        CString out;
        CUtilityCalc::Double2Str(out, CUtilityCalc::Str2Double(text), -1);
        Show(CString(u"\"" + CString(text) + u"\"").ToUtf8().c_str(), out);
    }

    std::printf("Decimal rounding on the text itself\n");
    struct { const char16_t* text; int decimals; } rounds[] = {
        {u"2.345", 2}, {u"-2.345", 2}, {u"9.995", 2}, {u"-0.004", 2}, {u"1.2", 4}};
    for (const auto& r : rounds) {
        CString s(r.text), label;
        CUtilityCalc::RoundStr(s, r.decimals);
        label.Format(u"RoundStr(%s, %d)", CString(r.text), r.decimals);
        Show(label.ToUtf8().c_str(), s);
    }

    std::printf("Doubles written back as text\n");
    for (double v : {1.0 / 3, 0.1 + 0.2, 123456789012.3456, -0.001}) {
        CString out, label;
        CUtilityCalc::Double2Str(out, v, -1);
        label.Format(u"%.17g", v);
        Show(label.ToUtf8().c_str(), out);
    }
    return 0;
}
