// What the date tests share: a wall-clock stamp that compares and prints
// whole, and a scoped TZ so that local time and zone offsets read alike on
// every machine.
#pragma once

#include <qorcalc/datetime.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <ostream>
#include <string>

struct Stamp {
    int year, month, day, hour, minute, second;
    bool operator==(const Stamp&) const = default;
};

inline std::ostream& operator<<(std::ostream& o, const Stamp& s) {
    return o << s.year << '-' << s.month << '-' << s.day << ' ' << s.hour << ':' << s.minute << ':' << s.second;
}

// The parts of a date; an invalid or null date reads -1 in every part.
inline Stamp Parts(const COleDateTime& d) {
    return {d.GetYear(), d.GetMonth(), d.GetDay(), d.GetHour(), d.GetMinute(), d.GetSecond()};
}

inline COleDateTime At(const Stamp& s) { return COleDateTime(s.year, s.month, s.day, s.hour, s.minute, s.second); }

class ScopedTz {
public:
    explicit ScopedTz(const char* zone) {
        if (const char* old = getenv("TZ")) m_old = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedTz() {
        m_old ? setenv("TZ", m_old->c_str(), 1) : unsetenv("TZ");
        tzset();
    }
    ScopedTz(const ScopedTz&) = delete;
    ScopedTz& operator=(const ScopedTz&) = delete;

private:
    std::optional<std::string> m_old;
};
