// Small conversions the toolbox and cell tests share: UTF-8 literals in,
// UTF-8 out, long repeated texts, and a range's corners as one comparable value.
#pragma once

#include <qorcalc/cells.h>
#include <qorcalc/collections.h>
#include <qorcalc/string.h>

#include <string>
#include <tuple>
#include <vector>

inline CString U(const char* utf8) { return CString::FromUtf8(utf8); }
inline std::string U8(const CString& s) { return s.ToUtf8(); }
inline std::string U8(const char16_t* s) { return CString(s).ToUtf8(); }

inline CString Repeat(const char16_t* unit, int times) {
    CString s;
    for (int i = 0; i < times; ++i) s += unit;
    return s;
}

// The text after `edit` has changed a copy of it in place.
template <class Edit>
std::string Edited(const CString& text, Edit edit) {
    CString s = text;
    edit(s);
    return U8(s);
}

inline std::vector<std::string> Items(const CStringArray& a) {
    std::vector<std::string> out;
    for (int i = 0; i < a.GetSize(); ++i) out.push_back(U8(a[i]));
    return out;
}

using Corners = std::tuple<int, int, int, int>;
inline Corners Of(const CRowCols& r) { return {r.m_nRow1, r.m_nCol1, r.m_nRow2, r.m_nCol2}; }
inline CRowCols Range(const Corners& c) { return {std::get<0>(c), std::get<1>(c), std::get<2>(c), std::get<3>(c)}; }
