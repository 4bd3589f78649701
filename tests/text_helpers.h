// Small conversions the toolbox tests share: UTF-8 literals in, UTF-8 out.
#pragma once

#include <qorcalc/collections.h>
#include <qorcalc/string.h>

#include <string>
#include <vector>

inline CString U(const char* utf8) { return CString::FromUtf8(utf8); }
inline std::string U8(const CString& s) { return s.ToUtf8(); }

inline std::vector<std::string> Items(const CStringArray& a) {
    std::vector<std::string> out;
    for (int i = 0; i < a.GetSize(); ++i) out.push_back(U8(a[i]));
    return out;
}
