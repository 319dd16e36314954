#pragma once

#include <QDateTime>
#include <string>

// The present date and time; tests supply a fixed one.
class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;
};

class SystemClock : public Clock {
public:
    QDateTime now() const override { return QDateTime::currentDateTime(); }
};

// The process-time text "mmm-d-yy h:mm": English month abbreviation, day
// without leading zero, two-digit year, 24-hour clock hour without leading
// zero, two-digit minutes (for example "Mar-7-26 9:05").
std::string ProcessTimeText(const QDateTime& when);
