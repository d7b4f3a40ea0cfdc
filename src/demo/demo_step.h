#pragma once

#include <QString>

#include <functional>
#include <utility>

// One step of a scripted match: do something, then wait until a condition holds (checked
// whenever a player reports anything, and after `poll` every 100 ms), then check what came
// of it. A step that is not done within its time, or whose check says something, ends the
// match with that reason.
struct DemoStep
{
    DemoStep(QString what, std::function<void()> act = {}, std::function<bool()> done = {},
             std::function<void()> poll = {}, std::function<QString()> check = {},
             int timeoutMs = 30000)
        : what(std::move(what))
        , act(std::move(act))
        , done(std::move(done))
        , poll(std::move(poll))
        , check(std::move(check))
        , timeoutMs(timeoutMs)
    {
    }

    QString what;
    std::function<void()> act;
    std::function<bool()> done;    // empty: done at once
    std::function<void()> poll;    // while waiting, e.g. asking for the players' state
    std::function<QString()> check;  // empty or "" when all is well
    int timeoutMs;
};
