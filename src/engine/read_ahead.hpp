// Decides which folder of a root is read next, and by whom: the walk goes through the tree in order
// and takes one answered folder after the other; a few reader threads read ahead of it.
//
// The walk's order is "a folder, its children, the next sibling". Every folder that still has
// something to claim (itself, its next subfolder, its next piece) stands in one list in that order:
//
//     the walk is in A        A            list: B C A     B, C: claimed, being read or read
//                           / | \                          A: D is not claimed yet
//                          B  C  D...
//
// Readers claim from the first element that nobody is reading. What they claim below it is inserted
// right before it, because all of that comes before whatever the element has left: so the list
// stays in order without ever being sorted, and a million subfolders cost nothing before they are
// claimed. The walk itself claims what it needs and nobody has begun.
//
// Bounds: readers claim while all pieces and folders that the walk has not passed yet, and the
// pieces that are being read now, stay within kReadersBytes. Beyond kMostBytes the walk itself
// reads in small pieces, so that a chain of giants, each entered at its first child, cannot exceed
// it by more than a small piece for each level.
//
// Locks: `mutex_` guards everything but what says otherwise; no system call is made and no name
// converted under it. Readers only read: they never touch the index or a counter.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "engine/folder_reader.hpp"
#include "engine/reader_threads.hpp"
#include "platform/platform.hpp"

namespace system_search {

// One folder, from the moment somebody claims it until the walk leaves it.
class Folder {
public:
    Folder() = default;
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    // For the walk, once it got the folder from ReadAhead. Null: there is no piece (any more), and
    // the folder was not to be entered, or ended with `error`.
    const Piece* piece() const { return current_.get(); }
    bool is_refused() const { return answers_.is_refused; }
    platform::Error error() const { return answers_.error; }

private:
    friend class ReadAhead;

    enum class State { kUnread, kReading, kRead };

    void path_into(std::u16string& path) const;

    // Constant once claimed. The name lies in a piece of the parent, which the walk does not free
    // before it has left this folder; the root's is its path.
    Folder* parent_ = nullptr;
    std::u16string_view name_;

    // Touched by whoever reads while kReading, and by nobody else then.
    FolderAnswers answers_;

    // The walk's.
    PiecePtr current_;

    // Guarded by ReadAhead::mutex_.
    State state_ = State::kUnread;
    Piece* first_piece_ = nullptr;  // read and not yet taken by the walk, owned
    Piece* last_piece_ = nullptr;
    const Piece* claims_ = nullptr;    // the newest piece; in older ones everything is claimed
    std::uint32_t unclaimed_ = 0;      // its next subfolder to claim, 0 when there is none
    Folder* first_claimed_ = nullptr;  // subfolders, in order, owned; the walk is in the first
    Folder* last_claimed_ = nullptr;
    Folder* next_claimed_ = nullptr;
    Folder* before_ = nullptr;  // neighbours in the list of what can be claimed
    Folder* after_ = nullptr;
};

inline constexpr std::uint32_t kMostReaders = 4;

struct ReadAheadOptions {
    // As many readers as the answers of the disk are worth.
    static constexpr std::uint32_t kAsNeeded = UINT32_MAX;

    std::uint32_t readers = kAsNeeded;  // or so many from the start, at most kMostReaders
    std::size_t piece_bytes = std::size_t{1} << 20;
    std::size_t small_piece_bytes = std::size_t{2} << 10;
    std::size_t readers_bytes = std::size_t{6} << 20;  // what readers stay within
    std::size_t most_bytes = std::size_t{8} << 20;     // from where on the walk reads small pieces
};

class ReadAhead {
public:
    // `root`, `cancel` and `threads` outlive this.
    ReadAhead(const std::u16string& root, const std::atomic<bool>& cancel, ReaderThreads& threads,
              const ReadAheadOptions& options);
    // Ends the work of the readers, and the system call that each is in. Their threads are left to
    // whoever joins `threads`.
    ~ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    // The rest is for the walk alone. Where a folder has to be answered, they wait for its reader
    // or read it here; they throw what reading throws, and come back at once, with nothing, when
    // `cancel` is set: look at it first.

    Folder& enter_root();
    // The next subfolder of `parent`, in order. To be left before the next one is entered.
    Folder& enter_next(Folder& parent);
    // Makes the next piece of `folder` its piece().
    void next_piece(Folder& folder);
    // Frees the subfolder of `parent` that was entered. Only when its pieces came to their end, or
    // it had none.
    void leave_first(Folder& parent);

private:
    void read_until_stopped() noexcept;
    Folder* claim(std::unique_ptr<Folder>& unused) SS_REQUIRES(mutex_);
    Folder* first_claimable() SS_REQUIRES(mutex_);
    Folder* claim_subfolder(Folder& parent, std::unique_ptr<Folder>& unused) SS_REQUIRES(mutex_);
    void read(Folder& folder, FolderReader& reader, std::u16string& path, std::size_t most_bytes)
        SS_REQUIRES(mutex_);
    void store_answer(Folder& folder, PiecePtr piece, std::size_t reserved_bytes)
        SS_REQUIRES(mutex_);
    void unlist_if_done(Folder& folder) SS_REQUIRES(mutex_);
    bool readers_have_room() const SS_REQUIRES(mutex_) {
        return used_bytes_ + options_.piece_bytes <= options_.readers_bytes;
    }
    void wake_reader() SS_REQUIRES(mutex_);

    void await_piece(Folder& folder) SS_REQUIRES(mutex_);
    bool needs_reader(const Folder& awaited) SS_REQUIRES(mutex_);
    void start_reader() SS_REQUIRES(mutex_);

    const StopFlags stop_;
    const ReadAheadOptions options_;

    platform::Mutex mutex_;
    platform::Condition work_;      // a reader may find something to claim
    platform::Condition answered_;  // the folder that the walk waits for was answered
    Folder* first_listed_ SS_GUARDED_BY(mutex_);
    std::size_t used_bytes_ SS_GUARDED_BY(mutex_) = 0;
    std::uint32_t idle_readers_ SS_GUARDED_BY(mutex_) = 0;
    const Folder* awaited_ SS_GUARDED_BY(mutex_) = nullptr;
    std::atomic<bool> stopped_{false};  // written under the lock

    // The walk's.
    Folder root_;
    std::unique_ptr<Folder> unused_;  // made before the lock is taken, for the next claim
    FolderReader reader_;
    std::u16string path_;
    ReaderThreads& threads_;
    platform::Thread* readers_[kMostReaders] = {};
    std::uint32_t reader_count_ = 0;
    std::uint32_t most_readers_;
    // Since the last decision about one more reader.
    std::int64_t waited_nanoseconds_ = 0;
    std::int64_t folders_ = 0;
    std::int64_t children_ = 0;
};

}  // namespace system_search
