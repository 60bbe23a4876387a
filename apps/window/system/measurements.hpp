/* What `--measure` writes: how long the window took to open, and the list to follow each key. */
#pragma once

#include <windows.h>

#include <chrono>
#include <fstream>
#include <optional>
#include <string>

#include "model/latencies.hpp"

namespace window {

class Measurements {
public:
    /* Nothing is written for an empty path. False when the file cannot be made. */
    bool open(const std::string& path);

    /* "window 112.0 ms": the time since the process was started. */
    void since_start(const char* what);

    /* A key has been taken from the queue of messages, where it may have waited. */
    void key_pressed(const MSG& message);
    /* The text has changed, by a key or without one. */
    void text_changed();
    /* The list shows the answer to all keys so far, and is painted. */
    void list_painted(unsigned names, unsigned matched, double search_milliseconds);
    /* There will be no answer. */
    void forget_keys() { waiting_since_.reset(); }

    /* The sum of it all. */
    void finish();

private:
    using Clock = std::chrono::steady_clock;
    void write(const std::string& line);

    std::ofstream file_;
    Latencies latencies_;
    std::optional<Clock::time_point> key_at_;
    std::optional<Clock::time_point> waiting_since_;  // the first key without an answer
};

}  // namespace window
