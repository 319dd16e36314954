#pragma once

#include <QDateTime>
#include <functional>
#include <map>

#include "Clock.h"
#include "EventPump.h"

// Counts yields and runs a scripted action at chosen ones (1-based), for
// example pressing Cancel at the third yield.
class ScriptedPump : public EventPump {
public:
    void yield() override {
        ++count;
        auto it = actions.find(count);
        if (it != actions.end()) {
            it->second();
        }
        if (every) {
            every(count);
        }
    }
    void at(long n, std::function<void()> action) { actions[n] = std::move(action); }

    long count = 0;
    std::map<long, std::function<void()>> actions;
    std::function<void(long)> every;
};

// A clock that always says the same moment (default: 7 Mar 2026, 09:05).
class FixedClock : public Clock {
public:
    QDateTime now() const override { return moment; }
    QDateTime moment{QDate(2026, 3, 7), QTime(9, 5)};
};
