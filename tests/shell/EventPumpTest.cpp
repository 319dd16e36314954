// The window's event pump during a long run: yields stay cheap, and the
// window still gets its events (a click on Cancel, repaints) many times a
// second.
#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include "QtPorts.h"

namespace {

TEST(QtEventPump, ARunOfYieldsHandsOverOftenButNotEveryTime) {
    QtEventPump pump;
    int handOvers = 0;
    pump.beforeYield = [&handOvers] { ++handOvers; };
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&ticks] { ++ticks; });
    timer.start(10);
    QElapsedTimer run;
    run.start();
    long yields = 0;
    while (run.elapsed() < 200) {
        pump.yield();
        ++yields;
    }
    // 200 ms of yields: the timer (every 10 ms) still fires, as a click
    // would be seen, while only a small share of the yields hand over.
    EXPECT_GE(ticks, 10);
    EXPECT_GE(handOvers, 10);
    EXPECT_LE(handOvers, 200 * 1'000'000 / QtEventPump::kIntervalNs + 1);
    EXPECT_GT(yields, 100 * handOvers);
}

}  // namespace
