#include <qorcalc/api.h>

// The calculator object is not part of this build yet; hosts get null, the
// documented answer for a calculator that could not be made.
ICalc* NewCalc(CFuncMnger*, void*) { return nullptr; }
