// CString operations.  Positions and counts are clamped to the text so that
// no call can step outside it, whatever the caller passes.
//
// Every routine that allocates runs shielded (qorcalc/api.h): the
// constructors and the routines that change the text in place leave it
// empty on failure, those that return a text return an empty one, Insert
// and Replace return -1 with the text as it was.
#include <qorcalc/api.h>
#include <qorcalc/string.h>

#include "support/text.h"

#include <algorithm>

namespace {

using qorcalc::detail::Shielded;
using qorcalc::detail::ShieldedInto;

size_t Clamp(int pos, size_t size) {
    if (pos <= 0) return 0;
    return std::min(static_cast<size_t>(pos), size);
}

bool InSet(char16_t ch, const char16_t* chars) {
    for (const char16_t* p = chars; p && *p; ++p)
        if (*p == ch) return true;
    return false;
}

}  // namespace

CString::CString(const char16_t* text) {
    if (text) ShieldedInto(u"CString", [&] { m_str.assign(text); }, *this);
}

CString::CString(const char16_t* text, int length) {
    if (text && length > 0) ShieldedInto(u"CString", [&] { m_str.assign(text, static_cast<size_t>(length)); }, *this);
}

CString::CString(char16_t ch, int repeat) {
    if (repeat <= 0) return;
    ShieldedInto(u"CString", [&] {
        qorcalc::detail::CheckTextLength(static_cast<size_t>(repeat), std::u16string_view(&ch, 1));
        m_str.assign(static_cast<size_t>(repeat), ch);
    }, *this);
}

CString& CString::operator=(const char16_t* text) {
    if (!text) m_str.clear();
    ShieldedInto(u"CString::operator=", [&] { m_str.assign(text ? text : u""); }, *this);
    return *this;
}

CString& CString::operator=(char16_t ch) {
    ShieldedInto(u"CString::operator=", [&] { m_str.assign(1, ch); }, *this);
    return *this;
}

CString CString::FromUtf8(std::string_view utf8) {
    return Shielded(u"CString::FromUtf8", CString(), [&] { return CString(qorcalc::support::Utf8ToUtf16(utf8)); });
}

std::string CString::ToUtf8() const {
    return Shielded(u"CString::ToUtf8", std::string(), [&] { return qorcalc::support::Utf16ToUtf8(m_str); });
}

char16_t CString::GetAt(int index) const {
    if (index < 0 || static_cast<size_t>(index) >= m_str.size()) return 0;
    return m_str[static_cast<size_t>(index)];
}

void CString::SetAt(int index, char16_t ch) {
    if (index < 0 || static_cast<size_t>(index) >= m_str.size()) return;
    m_str[static_cast<size_t>(index)] = ch;
}

CString& CString::operator+=(const char16_t* text) {
    if (text) ShieldedInto(u"CString::operator+=", [&] { m_str += text; }, *this);
    return *this;
}

void CString::Append(const char16_t* text, int length) {
    if (text && length > 0) ShieldedInto(u"CString::Append", [&] { m_str.append(text, static_cast<size_t>(length)); }, *this);
}

int CString::Compare(const char16_t* text) const {
    return qorcalc::support::wcscmp16(m_str.c_str(), text ? text : u"");
}

int CString::CompareNoCase(const char16_t* text) const {
    return qorcalc::support::wcsicmp16(m_str.c_str(), text ? text : u"");
}

// Collation works on copies; without memory for them the ordinal order is
// the best answer left.
int CString::Collate(const char16_t* text) const {
    return Shielded(u"CString::Collate", Compare(text),
                    [&] { return qorcalc::support::wcscoll16(m_str.c_str(), text ? text : u""); });
}

int CString::CollateNoCase(const char16_t* text) const {
    return Shielded(u"CString::CollateNoCase", CompareNoCase(text),
                    [&] { return qorcalc::support::wcsicoll16(m_str.c_str(), text ? text : u""); });
}

int CString::Find(char16_t ch, int start) const {
    size_t pos = m_str.find(ch, Clamp(start, m_str.size()));
    return pos == std::u16string::npos ? -1 : static_cast<int>(pos);
}

int CString::Find(const char16_t* text, int start) const {
    if (!text || !*text || start > GetLength()) return -1;
    size_t pos = m_str.find(text, Clamp(start, m_str.size()));
    return pos == std::u16string::npos ? -1 : static_cast<int>(pos);
}

int CString::ReverseFind(char16_t ch) const {
    size_t pos = m_str.rfind(ch);
    return pos == std::u16string::npos ? -1 : static_cast<int>(pos);
}

int CString::FindOneOf(const char16_t* chars) const {
    if (!chars || !*chars) return -1;
    const size_t pos = qorcalc::support::FindFirstOf(m_str, chars);
    return pos == std::u16string::npos ? -1 : static_cast<int>(pos);
}

namespace {

// The characters [from, from + count) of `s`, both clamped.
CString Part(const std::u16string& s, size_t from, size_t count) {
    return Shielded(u"CString::Mid", CString(), [&] { return CString(s.substr(from, count)); });
}

}  // namespace

CString CString::Mid(int first) const { return Part(m_str, Clamp(first, m_str.size()), std::u16string::npos); }

CString CString::Mid(int first, int count) const {
    if (count <= 0) return CString();
    return Part(m_str, Clamp(first, m_str.size()), static_cast<size_t>(count));
}

CString CString::Left(int count) const { return Part(m_str, 0, Clamp(count, m_str.size())); }

CString CString::Right(int count) const { return Part(m_str, m_str.size() - Clamp(count, m_str.size()), std::u16string::npos); }

namespace {

// `what`: the arguments of the std::u16string::insert that inserts it.  A
// unit goes in as one count of it: as a text of one, GCC's profiled build
// warned of overlapping copies that cannot happen.
template <class... What>
int InsertInto(std::u16string& s, int index, What... what) {
    return Shielded(u"CString::Insert", -1, [&] {
        s.insert(Clamp(index, s.size()), what...);
        return static_cast<int>(s.size());
    });
}

std::u16string_view View(const char16_t* text) { return text ? std::u16string_view(text) : std::u16string_view(); }

}  // namespace

int CString::Insert(int index, char16_t ch) { return InsertInto(m_str, index, size_t{1}, ch); }
int CString::Insert(int index, const char16_t* text) { return InsertInto(m_str, index, View(text)); }

int CString::Delete(int index, int count) {
    if (index < 0 || count <= 0) return GetLength();
    size_t from = Clamp(index, m_str.size());
    m_str.erase(from, static_cast<size_t>(count));
    return GetLength();
}

int CString::Remove(char16_t ch) {
    size_t before = m_str.size();
    m_str.erase(std::remove(m_str.begin(), m_str.end(), ch), m_str.end());
    return static_cast<int>(before - m_str.size());
}

int CString::Replace(char16_t from, char16_t to) {
    int count = 0;
    for (char16_t& c : m_str)
        if (c == from) {
            c = to;
            ++count;
        }
    return count;
}

// One pass that builds the result, so replacing in a long text stays linear.
// A text that would grow past CALC_MAX_TEXT_LENGTH is refused before the
// result is built: a short text with many short matches and a long
// replacement would otherwise ask for gigabytes.
int CString::Replace(const char16_t* from, const char16_t* to) {
    if (!from || !*from) return 0;
    const std::u16string_view needle(from);
    const std::u16string_view repl = to ? std::u16string_view(to) : std::u16string_view();
    int count = 0;
    for (size_t pos = m_str.find(needle); pos != std::u16string::npos; pos = m_str.find(needle, pos + needle.size()))
        ++count;
    if (count == 0) return 0;
    return Shielded(u"CString::Replace", -1, [&] {
        if (repl.size() > needle.size())
            qorcalc::detail::CheckTextLength(m_str.size() + count * (repl.size() - needle.size()), m_str);
        std::u16string out;
        out.reserve(m_str.size());
        size_t last = 0;
        for (size_t pos = m_str.find(needle); pos != std::u16string::npos; pos = m_str.find(needle, last)) {
            out.append(m_str, last, pos - last);
            out.append(repl);
            last = pos + needle.size();
        }
        out.append(m_str, last, std::u16string::npos);
        m_str.swap(out);
        return count;
    });
}

namespace {

template <class Pred>
void TrimLeftIf(std::u16string& s, Pred drop) {
    size_t i = 0;
    while (i < s.size() && drop(s[i])) ++i;
    s.erase(0, i);
}

template <class Pred>
void TrimRightIf(std::u16string& s, Pred drop) {
    size_t n = s.size();
    while (n > 0 && drop(s[n - 1])) --n;
    s.resize(n);
}

using qorcalc::support::iswspace16;

}  // namespace

CString& CString::Trim() { return TrimRight().TrimLeft(); }
CString& CString::Trim(char16_t ch) { return TrimRight(ch).TrimLeft(ch); }
CString& CString::Trim(const char16_t* chars) { return TrimRight(chars).TrimLeft(chars); }

CString& CString::TrimLeft() {
    TrimLeftIf(m_str, iswspace16);
    return *this;
}

CString& CString::TrimLeft(char16_t ch) {
    TrimLeftIf(m_str, [ch](char16_t c) { return c == ch; });
    return *this;
}

CString& CString::TrimLeft(const char16_t* chars) {
    TrimLeftIf(m_str, [chars](char16_t c) { return InSet(c, chars); });
    return *this;
}

CString& CString::TrimRight() {
    TrimRightIf(m_str, iswspace16);
    return *this;
}

CString& CString::TrimRight(char16_t ch) {
    TrimRightIf(m_str, [ch](char16_t c) { return c == ch; });
    return *this;
}

CString& CString::TrimRight(const char16_t* chars) {
    TrimRightIf(m_str, [chars](char16_t c) { return InSet(c, chars); });
    return *this;
}

CString& CString::MakeUpper() {
    for (char16_t& c : m_str) c = qorcalc::support::towupper16(c);
    return *this;
}

CString& CString::MakeLower() {
    for (char16_t& c : m_str) c = qorcalc::support::towlower16(c);
    return *this;
}

CString& CString::MakeReverse() {
    std::reverse(m_str.begin(), m_str.end());
    return *this;
}

bool CString::operator==(const char16_t* text) const {
    return m_str == (text ? std::u16string_view(text) : std::u16string_view());
}

namespace {

CString Joined(std::u16string_view a, std::u16string_view b) {
    return Shielded(u"CString::operator+", CString(), [&] {
        std::u16string r;
        r.reserve(a.size() + b.size());
        r.append(a).append(b);
        return CString(std::move(r));
    });
}

}  // namespace

CString operator+(const CString& a, const CString& b) { return Joined(a.Str(), b.Str()); }
CString operator+(const CString& a, const char16_t* b) { return Joined(a.Str(), View(b)); }
CString operator+(const char16_t* a, const CString& b) { return Joined(View(a), b.Str()); }
CString operator+(const CString& a, char16_t b) { return Joined(a.Str(), std::u16string_view(&b, 1)); }
CString operator+(char16_t a, const CString& b) { return Joined(std::u16string_view(&a, 1), b.Str()); }
