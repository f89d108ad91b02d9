#pragma once

#include <QObject>
#include <QTimer>

#include <functional>

// Runs `action` once, `ms` milliseconds later, on the main thread. Screens with timed
// effects take one, so their tests can run those timers in simulated time.
using Delay = std::function<void(int ms, std::function<void()> action)>;

// Real timers tied to `context`: a pending action dies with it, never before.
inline Delay timerDelay(QObject *context)
{
    return [context](int ms, std::function<void()> action) { QTimer::singleShot(ms, context, std::move(action)); };
}
