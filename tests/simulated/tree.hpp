// What the files of the simulated volume share: its nodes, the way from a path to a node, and the
// check that every platform function begins with.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <memory_resource>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "simulated/faults.hpp"
#include "simulated/volume.hpp"

namespace system_search::simulated {

// The bytes of a file. An open file keeps them when the file is replaced or removed.
struct Contents {
    std::string bytes;
    std::uint64_t declared_size = 0;  // zero bytes up to here are not stored

    std::uint64_t size() const {
        return bytes.size() > declared_size ? bytes.size() : declared_size;
    }
};

// Names are compared without regard to the case of ASCII letters; in the key of a share, the two
// separators are the same too.
inline char16_t fold(char16_t unit) {
    if (unit >= u'A' && unit <= u'Z') return static_cast<char16_t>(unit + 32);
    return unit == u'/' ? u'\\' : unit;
}
struct NameHash {
    std::size_t operator()(std::u16string_view name) const {
        std::size_t hash = 14695981039346656037u;
        for (const char16_t unit : name) hash = (hash ^ fold(unit)) * 1099511628211u;
        return hash;
    }
};
struct NameEqual {
    bool operator()(std::u16string_view a, std::u16string_view b) const {
        if (a.size() != b.size()) return false;
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (fold(a[i]) != fold(b[i])) return false;
        }
        return true;
    }
};

using ChildHooks = std::vector<std::pair<std::uint64_t, std::function<void()>>>;

struct Node {
    std::u16string name;
    std::uint32_t attributes = 0;
    std::uint32_t reparse_tag = 0;
    std::uint64_t last_write = kDefaultLastWrite;
    bool removed = false;
    Node* parent = nullptr;  // null: a root, or removed
    std::optional<std::u16string> target;
    std::shared_ptr<Contents> contents;  // null: not a file
    std::shared_ptr<const GeneratedFolder> generated;
    std::vector<std::shared_ptr<Node>> children;
    std::unordered_map<std::u16string_view, std::shared_ptr<Node>, NameHash, NameEqual> by_name;
    std::unique_ptr<NodeFaults> faults;
    std::shared_ptr<const ChildHooks> hooks;

    bool is_folder() const { return (attributes & platform::kAttributeDirectory) != 0; }
    bool is_link() const {
        return (attributes & platform::kAttributeReparsePoint) != 0 &&
               (reparse_tag == platform::kTagMountPoint ||
                reparse_tag == platform::kTagSymbolicLink);
    }
};
using NodePtr = std::shared_ptr<Node>;

void attach(Node& parent, const NodePtr& child);
void detach(Node& child);

// One lock guards everything that can change; only the counters of open handles do without.
struct Volume {
    std::mutex mutex;
    std::unordered_map<std::u16string, NodePtr, NameHash, NameEqual> roots;
    std::vector<std::pair<std::u16string, std::uint32_t>> drives;
    std::u16string current_folder = u"C:\\";
    std::size_t largest_read = 0;
    std::size_t reads_cut_short = 0;  // how many are left
    std::uint64_t disk_room = UINT64_MAX;
    bool partial_writes = false;
    std::int64_t clock = 0;  // while it is frozen
    std::atomic<bool> clock_is_frozen{false};
    std::atomic<std::uint64_t> slept_milliseconds{0};

    std::atomic<std::uint64_t> open_enumerations{0};
    std::atomic<std::uint64_t> most_open_enumerations{0};
    std::atomic<std::uint64_t> open_files{0};
    std::atomic<std::uint64_t> threads{0};
};
Volume& volume();

// ---- From a path to a node ----------------------------------------------------------------------

struct ParsedPath {
    platform::Error error = platform::kSuccess;
    std::u16string made_absolute;  // what the views point into when the path was relative
    std::u16string_view prefix;    // the text up to the end of the root
    std::u16string_view root;      // the key in Volume::roots
    bool is_share = false;
    bool ends_with_separator = false;
    // The first names lie in the object: a walk over a generated tree spends its time here.
    std::byte first_names[32 * sizeof(std::u16string_view)];
    std::pmr::monotonic_buffer_resource memory{first_names, sizeof first_names};
    std::pmr::vector<std::u16string_view> names{&memory};

    ParsedPath() = default;
    ParsedPath(const ParsedPath&) = delete;
    ParsedPath& operator=(const ParsedPath&) = delete;
};
void parse(std::u16string_view path, std::u16string_view current_folder, ParsedPath& out);
bool is_valid_name(std::u16string_view name);

// The item that a path leads to: a stored node, or something below a generated folder.
struct Location {
    platform::Error error = platform::kSuccess;
    NodePtr node;                                      // null: not stored
    std::shared_ptr<const GeneratedFolder> generated;  // not stored: null means a file
};
// With the volume's lock held.
Location locate(std::u16string_view path, bool follow_last_link);

struct ParentLocation {
    platform::Error error = platform::kSuccess;
    NodePtr folder;  // null without an error: the path is a root
    std::u16string name;
    NodePtr child;  // null: nothing of that name
};
// The folder in which a path lies; links on the way are followed, the last name is not.
ParentLocation locate_parent(std::u16string_view path);

inline platform::Error fault(const Node& node, platform::Error NodeFaults::* which) {
    return node.faults ? (*node.faults).*which : platform::kSuccess;
}

// ---- Faults -------------------------------------------------------------------------------------

extern std::atomic<bool> calls_are_planned;
platform::Error planned_call(Call call);
// Keeps a thread of the library until whoever joins it ends its calls.
void hang_until_ended();

// Every platform function begins with this: the error to fail with, or success to go on.
inline platform::Error enter_call(Call call) {
    if (!calls_are_planned.load(std::memory_order_relaxed)) [[likely]] {
        return platform::kSuccess;
    }
    return planned_call(call);
}

extern std::atomic<bool> disk_is_slow;
void wait_for_disk(std::int64_t Latencies::* which);

// What the disk needs to answer, with no lock held.
inline void answer_takes(std::int64_t Latencies::* which) {
    if (disk_is_slow.load(std::memory_order_relaxed)) wait_for_disk(which);
}

// Whether the allocation that is asked for now has to fail. Counts it.
bool allocation_fails(std::size_t bytes = 0) noexcept;

void reset_faults();

}  // namespace system_search::simulated
