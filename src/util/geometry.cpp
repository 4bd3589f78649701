// CUtilityCalc's integer math, geometry and array-stream helpers.
#include <qorcalc/utility.h>

#include <utility>

void CUtilityCalc::ExchangeInt(int& a, int& b) { std::swap(a, b); }
