// The walk without an index: a test goes through a root step by step, and sees what readers do
// meanwhile.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "engine/read_ahead.hpp"

namespace system_search {

// Goes through a root as the walk does, but keeps nothing.
class Traversal {
public:
    explicit Traversal(const ReadAheadOptions& options)
        : read_ahead_(root_, cancel_, threads_, options) {}

    ReadAhead& read_ahead() { return read_ahead_; }
    Folder& enter_root() { return read_ahead_.enter_root(); }

    // Everything below, or until so many children were seen.
    void go(Folder& folder, std::uint64_t most_children) {
        std::vector<std::pair<Folder*, std::uint32_t>> levels = {{&folder, sizeof(Piece)}};
        while (!levels.empty() && children_ < most_children) {
            auto& [current, next] = levels.back();
            if (current->piece() == nullptr) {
                levels.pop_back();
                if (!levels.empty()) read_ahead_.leave_first(*levels.back().first);
            } else if (next == current->piece()->bytes) {
                read_ahead_.next_piece(*current);
                next = sizeof(Piece);
            } else {
                const ChildRecord& child = *current->piece()->record(next);
                next += child.record_bytes;
                ++children_;
                if (child.kind == ChildKind::kFolder) {
                    ++folders_;
                    levels.emplace_back(&read_ahead_.enter_next(*current), sizeof(Piece));
                }
            }
        }
    }

    std::uint64_t children() const { return children_; }
    std::uint64_t folders() const { return folders_; }

private:
    const std::u16string root_ = u"C:\\big";
    const std::atomic<bool> cancel_{false};
    ReaderThreads threads_;
    ReadAhead read_ahead_;
    std::uint64_t children_ = 0;
    std::uint64_t folders_ = 1;  // entered
};

}  // namespace system_search
