// The toolbox routines that read host or author text, fed any text: the
// first byte picks a second argument from the rest, so that patterns and
// values of every shape meet.
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::InstallMessages();
    if (size == 0) return 0;
    const std::string_view all(reinterpret_cast<const char*>(data) + 1, size - 1);
    const size_t cut = data[0] % (all.size() + 1);
    const CString a = CString::FromUtf8(all.substr(0, cut));
    const CString b = CString::FromUtf8(all.substr(cut));
    using U = CUtilityCalc;

    CString s = a;
    U::RoundStr(s, static_cast<int8_t>(data[0]));
    s = a;
    U::FormatNum(s, b);
    s = a;
    U::ConvertToDispFormat(s, data[0], 1, 1);
    CString out, amount = a;
    U::RMB(out, amount, 1);
    COleDateTime date;
    U::String2Time(a, &date, data[0] & 1);
    CString pattern = b;
    U::FormatDate(a, pattern);
    U::MyFormatDateTime(out, date, b);
    s = a;
    U::EncodeURI(s, data[0] & 1);
    U::DecodeURI(s);
    s = a;
    U::DecodeURI(s);
    CStringArray names, values, args;
    CString base, name;
    U::ParseURL(a, base, names, values, 1);
    U::GenURL(out, base, names, values, 1);
    U::ParseFunction(a, name, args);
    args.Add(a);
    args.Add(b);
    U::SumDim(out, args);
    int bad = 0;
    U::IsValidVarName(a, 1, 1, 1, bad);
    CRowCols range;
    int at1 = 0, at2 = 0;
    U::CellName2RowCols(range, a, at1, at2);
    CString format = a;
    out.Format(format, b, 1, 2.5);
    return U::IsPureNumber(a, 1) + static_cast<int>(U::Str2Double(a) > 0);
}
