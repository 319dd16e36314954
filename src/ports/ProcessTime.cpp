#include "Clock.h"

#include <array>
#include <cstdio>

std::string ProcessTimeText(const QDateTime& when) {
    static constexpr std::array<const char*, 12> kMonths = {
        "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const QDate d = when.date();
    const QTime t = when.time();
    char buf[32];
    std::snprintf(buf, sizeof buf, "%s-%d-%02d %d:%02d",
                  kMonths[static_cast<size_t>(d.month() - 1)], d.day(), d.year() % 100, t.hour(),
                  t.minute());
    return buf;
}
