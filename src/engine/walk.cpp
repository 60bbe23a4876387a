// Everything below a root, in order: each child is indexed, and each subfolder is entered at the
// moment it is met. The folders come read into memory (folder_reader) and perhaps ahead of time
// (read_ahead); what is indexed, what counts as skipped and where a limit ends it is decided here
// alone. The folders that the walk is in form an explicit stack, so depth costs memory and never
// the thread's stack.
#include "engine/walk.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/text.hpp"
#include "platform/platform.hpp"

namespace system_search {
namespace {

class Walk {
public:
    Walk(Engine& engine, Index& index, const ReadAheadOptions& options)
        : engine_(engine), index_(index), options_(options) {}

    void run(const std::vector<std::u16string>& roots) {
        for (const std::u16string& root : roots) {
            if (engine_.cancel || engine_.limited != 0) break;
            const std::u16string system_root = platform::as_system_reads(root);
            ReadAhead read_ahead(system_root, engine_.cancel, engine_.readers, options_);
            walk_root(read_ahead, root);
        }
        publish_shard(index_, batch_);
    }

private:
    // A folder that the walk is in. Its path, closed by a separator, is the given length of the
    // path text; its children up to `next` are indexed.
    struct Level {
        Folder* folder;
        std::uint32_t next;  // in the folder's current piece
        std::size_t path_bytes;
    };

    void walk_root(ReadAhead& read_ahead, const std::u16string& root) {
        Folder& folder = read_ahead.enter_root();
        if (engine_.cancel) return;
        if (folder.piece() == nullptr) {
            if (folder.error() != platform::kNoMoreFiles) ++engine_.skipped;
            return;
        }
        levels_.clear();
        path_ = utf8_from_wide(root);
        replace_backslashes(path_.data(), path_.size());
        descend(folder);
        while (!engine_.cancel) {
            Level& level = levels_.back();
            const Piece& piece = *level.folder->piece();
            if (level.next == piece.bytes) {
                if (!go_on(read_ahead)) return;
                continue;
            }
            const ChildRecord& child = *piece.record(level.next);
            level.next += child.record_bytes;
            if (!visit(read_ahead, child)) return;
        }
    }

    // Into the folder whose path the path text holds.
    void descend(Folder& folder) {
        if (path_.back() != '/') path_ += '/';
        levels_.push_back({&folder, kFirstRecord, path_.size()});
    }

    // Indexes a child, and enters it when it is a folder that can be entered. False when the walk
    // is over: at a limit, or cancelled.
    bool visit(ReadAhead& read_ahead, const ChildRecord& child) {
        if (child.kind == ChildKind::kUnreadable) {
            ++engine_.skipped;
            return true;
        }
        if (child.kind == ChildKind::kFile) return index_child(child, kKindFile);

        Folder& parent = *levels_.back().folder;
        Folder& folder = read_ahead.enter_next(parent);
        // What failed may have failed because it was cancelled.
        if (engine_.cancel) return false;
        if (folder.is_refused()) ++engine_.skipped;
        if (!index_child(child, kKindFolder)) return false;
        if (folder.piece() != nullptr) {
            path_.append(child.name());
            descend(folder);
            return true;
        }
        // A folder that cannot be opened is counted and left alone, so that its siblings are still
        // walked.
        if (!folder.is_refused() && folder.error() != platform::kNoMoreFiles) ++engine_.skipped;
        read_ahead.leave_first(parent);
        return true;
    }

    // False when the entry would go beyond a size limit. The estimate is raised before the test:
    // the entry that trips it is counted in it, but not indexed.
    bool index_child(const ChildRecord& child, std::uint32_t kind) {
        if (!child.has_valid_name) throw TextError(bad_name_text());
        const std::string_view name = child.name();
        if (path_.size() + name.size() > kMaxPathBytes) {
            ++engine_.skipped;
            return true;
        }
        estimate_ += memory_estimate(path_.size() + name.size());
        if (count_ >= kMaxEntries || estimate_ > kMaxMemoryEstimate) {
            engine_.limited = 1;
            return false;
        }
        batch_.add(path_, name, kind);
        ++count_;
        if (batch_.size() >= kShardEntries) publish_shard(index_, batch_);
        return true;
    }

    // The folder with the bad name in it, without the separator that closes it unless it is a
    // drive.
    std::string bad_name_text() const {
        std::string_view folder = path_;
        if (!folder.ends_with(":/")) folder.remove_suffix(1);
        return "A file name in " + std::string(folder) + " is not valid UTF-16.";
    }

    // From the end of a piece to the next one, or back to the folder above. False when the root is
    // done, lost to a failing read, or cancelled.
    bool go_on(ReadAhead& read_ahead) {
        Level& level = levels_.back();
        read_ahead.next_piece(*level.folder);
        if (engine_.cancel) return false;
        if (level.folder->piece() != nullptr) {
            level.next = kFirstRecord;
            return true;
        }
        if (level.folder->error() != platform::kNoMoreFiles) {
            ++engine_.skipped;
            return false;
        }
        levels_.pop_back();
        if (levels_.empty()) return false;
        read_ahead.leave_first(*levels_.back().folder);
        path_.resize(levels_.back().path_bytes);
        return true;
    }

    static constexpr std::uint32_t kFirstRecord = sizeof(Piece);

    Engine& engine_;
    Index& index_;
    const ReadAheadOptions& options_;
    Batch batch_;                 // found, not yet published
    std::uint32_t count_ = 0;     // entries of this run, all roots
    std::uint64_t estimate_ = 0;  // memory estimate of every entry considered, in bytes

    std::vector<Level> levels_;  // from the root down to the current folder
    std::string path_;           // the current folder as entries hold it, closed by a separator
};

}  // namespace

void walk(Engine& engine, Index& index, const std::vector<std::u16string>& roots,
          const ReadAheadOptions& options) {
    Walk(engine, index, options).run(roots);
}

}  // namespace system_search
