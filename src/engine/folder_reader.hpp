// Reads one folder into memory: asks for its attributes, opens it, and packs what the enumeration
// hands out into pieces. Knows nothing of the tree, of threads or of an index.
//
// Most folders are one piece. A piece ends early when it holds as many bytes as were asked for;
// the enumeration then stays open, and the next reading goes on where this one stopped.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/platform.hpp"

namespace system_search {

enum class ChildKind : std::uint8_t {
    kFile,        // links and junctions, too
    kFolder,      // may be entered
    kUnreadable,  // the system named it but not its type; has no name here
};

// One child, followed by its names: what the system needs to open it (folders only), and what an
// entry holds.
struct ChildRecord {
    std::uint32_t next_folder;  // kFolder: where in the piece the next one is, 0 when there is none
    std::uint16_t record_bytes;
    std::uint16_t wide_units;
    std::uint16_t name_bytes;
    ChildKind kind;
    bool has_valid_name;  // false: the name is not valid UTF-16, and name() is empty

    std::u16string_view wide_name() const {
        return {reinterpret_cast<const char16_t*>(this + 1), wide_units};
    }
    // UTF-8, without a backslash.
    std::string_view name() const {
        return {reinterpret_cast<const char*>(this + 1) + wide_units * sizeof(char16_t),
                name_bytes};
    }
};

// Children of one folder in the system's order: a header and the records behind it, in one block.
// Never changes once it was handed out.
struct Piece {
    Piece* next;  // for whoever keeps pieces in a queue
    std::uint32_t bytes;
    std::uint32_t first_folder;  // where its record is, 0 when there is none
    std::uint32_t children;

    const ChildRecord* record(std::uint32_t offset) const {
        return reinterpret_cast<const ChildRecord*>(reinterpret_cast<const char*>(this) + offset);
    }
};

struct PieceDeleter {
    void operator()(Piece* piece) const noexcept { ::operator delete(piece); }
};
using PiecePtr = std::unique_ptr<Piece, PieceDeleter>;

// What the disk has answered about one folder so far.
struct FolderAnswers {
    bool has_attributes = false;  // asked for once, however often the reading is tried
    bool is_refused = false;      // a reparse point, or cannot be asked: is not entered
    bool is_open = false;         // its first child was handed out
    bool has_ended = false;       // nothing more will come, and `error` says why
    platform::Error error = platform::kSuccess;
    platform::Enumeration enumeration;
};

// The flags that end a reading before its next child; what it did is then worth nothing.
struct StopFlags {
    const std::atomic<bool>& cancel;
    const std::atomic<bool>& no_longer_needed;

    bool any() const { return cancel || no_longer_needed; }
};

// One for each thread that reads: its buffer is kept from folder to folder.
class FolderReader {
public:
    // Reads on in the folder at `path` until its end, or until the piece holds `most_bytes` or a
    // little more. Null when no child came. When memory runs out, no child is lost: either nothing
    // was done and std::bad_alloc is thrown, or the piece ends early.
    PiecePtr read(const std::u16string& path, FolderAnswers& folder, std::size_t most_bytes,
                  const StopFlags& stop);
    // Whether memory ran out in the last reading that gave a piece.
    bool ran_out_of_memory() const { return ran_out_of_memory_; }

private:
    bool has_room() noexcept;
    void append() noexcept;
    PiecePtr take_piece() noexcept;
    ChildRecord* record_at(std::uint32_t offset) noexcept {
        return reinterpret_cast<ChildRecord*>(reinterpret_cast<char*>(buffer_.get()) + offset);
    }

    PiecePtr buffer_;  // the piece that is being filled
    std::size_t capacity_bytes_ = 0;
    std::size_t used_bytes_ = 0;
    std::uint32_t last_folder_ = 0;  // where its record is
    bool ran_out_of_memory_ = false;
    platform::Child child_;
};

}  // namespace system_search
