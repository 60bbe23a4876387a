/* How long the user waited, from a key to the painted list. */
#pragma once

#include <string>
#include <vector>

namespace window {

class Latencies {
public:
    void add(double milliseconds) { milliseconds_.push_back(milliseconds); }
    bool empty() const { return milliseconds_.empty(); }

    /* "keys 12, median 4.1 ms, 95 of 100 within 7.9 ms, at most 12.0 ms" */
    std::string summary() const;

private:
    std::vector<double> milliseconds_;
};

}  // namespace window
