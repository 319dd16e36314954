#pragma once

#include <utility>

// Runs an action when the scope is left, also by an exception: the engine
// puts its working text back into strScanText this way.
template <class Action>
class AtExit {
public:
    explicit AtExit(Action action) : action_(std::move(action)) {}
    ~AtExit() { action_(); }
    AtExit(const AtExit&) = delete;
    AtExit& operator=(const AtExit&) = delete;

private:
    Action action_;
};
