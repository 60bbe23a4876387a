#include "engine/read_ahead.hpp"

#include <algorithm>
#include <new>
#include <utility>

namespace system_search {
namespace {

// How often the walk looks at `cancel` while it waits for a reader.
constexpr std::uint32_t kCancelCheckMilliseconds = 20;

// One more reader is worth it when the walk has waited for the disk so long, over at least so many
// folders, and each of them took longer than the processor needs for one in the system's cache.
constexpr std::int64_t kLongWaitNanoseconds = 5'000'000;
constexpr std::uint32_t kFewFolders = 4;
constexpr std::int64_t kFolderNanoseconds = 40'000;
constexpr std::int64_t kChildNanoseconds = 1'000;

constexpr std::size_t kFolderBytes = sizeof(Folder);

// Unlocks on construction and locks again on destruction. Clang's analysis wants RELEASE on the
// destructor of every scoped capability, whichever way round it works.
class SS_SCOPED_CAPABILITY Unlocked {
public:
    explicit Unlocked(platform::Mutex& mutex) noexcept SS_RELEASE(mutex) : mutex_(mutex) {
        mutex_.unlock();
    }
    ~Unlocked() SS_RELEASE() { mutex_.lock(); }
    Unlocked(const Unlocked&) = delete;
    Unlocked& operator=(const Unlocked&) = delete;

private:
    platform::Mutex& mutex_;
};

}  // namespace

Folder::~Folder() {
    while (first_piece_ != nullptr) {
        const PiecePtr piece(std::exchange(first_piece_, first_piece_->next));
    }
}

ReadAhead::ReadAhead(const std::u16string& root, const std::atomic<bool>& cancel,
                     ReaderThreads& threads, const ReadAheadOptions& options)
    : stop_{cancel, stopped_},
      options_(options),
      first_listed_(&root_),
      threads_(threads),
      most_readers_(std::min(options.readers, kMostReaders)) {
    root_.name_ = root;
    root_.answers_.has_attributes = true;  // nobody asks: a root is entered whatever it is
}

ReadAhead::~ReadAhead() {
    {
        const platform::MutexLock lock(mutex_);
        stopped_ = true;
        work_.notify_all();
    }
    for (std::uint32_t i = 0; i < reader_count_; ++i) readers_[i]->end_body();
    // Not by recursion: readers may have gone thousands of levels ahead.
    for (Folder* next = root_.first_claimed_; next != nullptr;) {
        const std::unique_ptr<Folder> folder(next);
        next = folder->next_claimed_;
        if (folder->first_claimed_ != nullptr) {
            folder->last_claimed_->next_claimed_ = next;
            next = folder->first_claimed_;
        }
    }
}

// ---- What is claimed next -----------------------------------------------------------------------

// Every listed folder that nobody reads has something to claim. At most one for each thread is
// being read.
Folder* ReadAhead::first_claimable() {
    Folder* folder = first_listed_;
    while (folder != nullptr && folder->state_ == Folder::State::kReading) folder = folder->after_;
    return folder;
}

void ReadAhead::unlist_if_done(Folder& folder) {
    const bool has_more = folder.state_ != Folder::State::kRead || folder.unclaimed_ != 0 ||
                          !folder.answers_.has_ended;
    if (has_more) return;
    (folder.before_ == nullptr ? first_listed_ : folder.before_->after_) = folder.after_;
    if (folder.after_ != nullptr) folder.after_->before_ = folder.before_;
}

Folder* ReadAhead::claim_subfolder(Folder& parent, std::unique_ptr<Folder>& unused) {
    const ChildRecord& record = *parent.claims_->record(parent.unclaimed_);
    Folder* const folder = unused.release();
    used_bytes_ += kFolderBytes;
    folder->parent_ = &parent;
    folder->name_ = record.wide_name();
    (parent.first_claimed_ == nullptr ? parent.first_claimed_
                                      : parent.last_claimed_->next_claimed_) = folder;
    parent.last_claimed_ = folder;

    folder->before_ = parent.before_;
    folder->after_ = &parent;
    (parent.before_ == nullptr ? first_listed_ : parent.before_->after_) = folder;
    parent.before_ = folder;

    parent.unclaimed_ = record.next_folder;
    unlist_if_done(parent);
    return folder;
}

// For a reader: what is needed soonest and fits. Null when there is nothing.
Folder* ReadAhead::claim(std::unique_ptr<Folder>& unused) {
    if (!readers_have_room()) return nullptr;
    Folder* const folder = first_claimable();
    if (folder == nullptr || folder->unclaimed_ == 0) return folder;
    return claim_subfolder(*folder, unused);
}

void ReadAhead::wake_reader() {
    if (idle_readers_ == 0 || !readers_have_room()) return;
    if (first_claimable() != nullptr) work_.notify_one();
}

// ---- Reading ------------------------------------------------------------------------------------

// Put together from its end, so that a chain of thousands costs no more than its own length.
void Folder::path_into(std::u16string& path) const {
    std::size_t units = 0;
    const Folder* root = this;
    for (; root->parent_ != nullptr; root = root->parent_) units += 1 + root->name_.size();
    const bool is_closed = root->name_.ends_with(u'\\');
    path.resize(root->name_.size() + units - (is_closed && units > 0 ? 1 : 0));
    char16_t* end = path.data() + path.size();
    for (const Folder* folder = this; folder != root; folder = folder->parent_) {
        end -= folder->name_.size();
        folder->name_.copy(end, folder->name_.size());
        *--end = u'\\';
    }
    root->name_.copy(path.data(), root->name_.size());
}

// Unlocks while the disk answers. When it throws, the folder is as it was, except that
// its attributes may be known.
void ReadAhead::read(Folder& folder, FolderReader& reader, std::u16string& path,
                     std::size_t most_bytes) {
    folder.state_ = Folder::State::kReading;
    used_bytes_ += most_bytes;
    wake_reader();
    PiecePtr piece;
    try {
        const Unlocked unlocked(mutex_);
        folder.path_into(path);
        piece = reader.read(path, folder.answers_, most_bytes, stop_);
    } catch (...) {
        store_answer(folder, nullptr, most_bytes);
        throw;
    }
    store_answer(folder, std::move(piece), most_bytes);
}

void ReadAhead::store_answer(Folder& folder, PiecePtr piece, std::size_t reserved_bytes) {
    used_bytes_ -= reserved_bytes;
    const bool is_read = folder.answers_.is_open || folder.answers_.has_ended;
    folder.state_ = is_read ? Folder::State::kRead : Folder::State::kUnread;
    if (piece != nullptr) {
        // Everything in the pieces before was claimed, or this one would not have been read.
        used_bytes_ += piece->bytes;
        folder.claims_ = piece.get();
        folder.unclaimed_ = piece->first_folder;
        (folder.first_piece_ == nullptr ? folder.first_piece_ : folder.last_piece_->next) =
            piece.get();
        folder.last_piece_ = piece.release();
    }
    unlist_if_done(folder);
    if (awaited_ == &folder) answered_.notify_one();
    wake_reader();
}

// The body of a reader. It returns for good when memory runs out: the walk does without it.
void ReadAhead::read_until_stopped() noexcept {
    FolderReader reader;
    std::u16string path;
    std::unique_ptr<Folder> unused;
    for (;;) {
        if (unused == nullptr) unused.reset(new (std::nothrow) Folder);
        if (unused == nullptr) return;
        const platform::MutexLock lock(mutex_);
        Folder* folder = nullptr;
        while (!stop_.any() && (folder = claim(unused)) == nullptr) {
            ++idle_readers_;
            work_.wait(mutex_);
            --idle_readers_;
        }
        if (folder == nullptr) return;
        try {
            read(*folder, reader, path, options_.piece_bytes);
        } catch (...) {
            return;
        }
    }
}

// ---- For the walk -------------------------------------------------------------------------------

Folder& ReadAhead::enter_root() {
    const platform::MutexLock lock(mutex_);
    if (options_.readers != ReadAheadOptions::kAsNeeded) {
        while (reader_count_ < most_readers_) start_reader();
    }
    await_piece(root_);
    return root_;
}

Folder& ReadAhead::enter_next(Folder& parent) {
    if (unused_ == nullptr) unused_ = std::make_unique<Folder>();
    const platform::MutexLock lock(mutex_);
    if (parent.first_claimed_ == nullptr) claim_subfolder(parent, unused_);
    Folder& folder = *parent.first_claimed_;
    ++folders_;
    await_piece(folder);
    return folder;
}

void ReadAhead::next_piece(Folder& folder) {
    const platform::MutexLock lock(mutex_);
    used_bytes_ -= folder.current_->bytes;
    folder.current_.reset();
    wake_reader();
    await_piece(folder);
}

void ReadAhead::leave_first(Folder& parent) {
    std::unique_ptr<Folder> left;
    const platform::MutexLock lock(mutex_);
    left.reset(parent.first_claimed_);
    parent.first_claimed_ = left->next_claimed_;
    used_bytes_ -= kFolderBytes;
    wake_reader();
}

// Makes the next piece of the folder the current one, or none when it has come to its end.
void ReadAhead::await_piece(Folder& folder) {
    const auto is_answered = [&folder] {
        return folder.first_piece_ != nullptr ||
               (folder.state_ == Folder::State::kRead && folder.answers_.has_ended);
    };
    if (!is_answered()) {
        const std::int64_t begin = platform::monotonic_nanoseconds();
        do {
            if (stop_.cancel) return;
            if (needs_reader(folder)) {
                start_reader();
            } else if (folder.state_ == Folder::State::kReading) {
                awaited_ = &folder;
                answered_.wait_for(mutex_, kCancelCheckMilliseconds);
                awaited_ = nullptr;
            } else {
                const bool fits = used_bytes_ + options_.piece_bytes <= options_.most_bytes;
                read(folder, reader_, path_,
                     fits ? options_.piece_bytes : options_.small_piece_bytes);
                if (reader_.ran_out_of_memory()) throw std::bad_alloc();
            }
        } while (!is_answered());
        waited_nanoseconds_ += platform::monotonic_nanoseconds() - begin;
    }
    if (folder.first_piece_ == nullptr) return;
    folder.current_.reset(std::exchange(folder.first_piece_, folder.first_piece_->next));
    children_ += folder.current_->children;
}

bool ReadAhead::needs_reader(const Folder& awaited) {
    if (reader_count_ >= most_readers_ || folders_ < kFewFolders) return false;
    if (waited_nanoseconds_ < kLongWaitNanoseconds) return false;
    const bool is_slow =
        waited_nanoseconds_ >= folders_ * kFolderNanoseconds + children_ * kChildNanoseconds;
    waited_nanoseconds_ = 0;
    folders_ = 0;
    children_ = 0;
    if (!is_slow) return false;
    const Folder* folder = first_listed_;
    while (folder != nullptr && (folder == &awaited || folder->state_ == Folder::State::kReading)) {
        folder = folder->after_;
    }
    return folder != nullptr;
}

void ReadAhead::start_reader() {
    const Unlocked unlocked(mutex_);
    const auto body = [](void* read_ahead) noexcept {
        static_cast<ReadAhead*>(read_ahead)->read_until_stopped();
    };
    platform::Thread* const reader = threads_.start(body, this);
    if (reader != nullptr) {
        readers_[reader_count_++] = reader;
    } else {
        most_readers_ = reader_count_;
    }
}

}  // namespace system_search
