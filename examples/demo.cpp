// A first look at the engine: text conversions of the support layer.
#include <qorcalc/qorcalc.h>

#include <cstdio>

int main() {
    CString s;
    s.Format(u"%s has %d characters", CString(u"QORCalc"), 7);
    std::printf("%s\n", s.ToUtf8().c_str());
    return 0;
}
