#include "model/latencies.hpp"

#include <algorithm>
#include <cstdio>

namespace window {

std::string Latencies::summary() const {
    if (milliseconds_.empty()) return "keys 0";
    std::vector<double> sorted = milliseconds_;
    std::sort(sorted.begin(), sorted.end());
    // The smallest value that this share of all values does not exceed.
    const auto at_share = [&](std::size_t percent) {
        return sorted[(sorted.size() * percent + 99) / 100 - 1];
    };
    char text[160];
    (void)std::snprintf(text, sizeof text,
                        "keys %zu, median %.1f ms, 95 of 100 within %.1f ms, at most %.1f ms",
                        sorted.size(), at_share(50), at_share(95), sorted.back());
    return text;
}

}  // namespace window
