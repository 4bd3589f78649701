// Sets TZ for the life of the object and restores the previous zone, so that
// tests of local time and zone offsets run alike on every machine.
#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

class ScopedTz {
public:
    explicit ScopedTz(const char* zone) {
        if (const char* old = getenv("TZ")) m_old = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedTz() {
        if (m_old)
            setenv("TZ", m_old->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    ScopedTz(const ScopedTz&) = delete;
    ScopedTz& operator=(const ScopedTz&) = delete;

private:
    std::optional<std::string> m_old;
};
