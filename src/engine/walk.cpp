// One folder's children are read, and each subfolder is entered at the moment it is met. The open
// enumerations form an explicit stack, so depth costs memory and never the thread's stack. The
// path of the folder in hand is kept twice, in UTF-16 for the system and in UTF-8 for the
// entries; a child's name is converted once and appended.
#include "engine/walk.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "common/child_name.hpp"
#include "common/text.hpp"
#include "platform/platform.hpp"

namespace system_search {
namespace {

enum class ChildType { kFile, kFolder, kLink };

ChildType child_type(const platform::Child& child) {
    if (platform::is_link(child.attributes, child.reparse_tag)) return ChildType::kLink;
    return (child.attributes & platform::kAttributeDirectory) != 0 ? ChildType::kFolder
                                                                   : ChildType::kFile;
}

class Walk {
public:
    Walk(Engine& engine, Index& index) : engine_(engine), index_(index) {}

    void run(const std::vector<std::u16string>& roots) {
        for (const std::u16string& root : roots) {
            if (engine_.cancel || engine_.limited != 0) break;
            walk_root(root);
        }
        publish_shard(index_, batch_);
    }

private:
    // A folder that is being read. Its path, closed by a separator, is the given length of the two
    // path texts.
    struct Level {
        platform::Enumeration enumeration;
        std::size_t wide_units;
        std::size_t utf8_bytes;
    };

    enum class Step { kAdvance, kEntered, kLimitReached };

    void walk_root(const std::u16string& root) {
        platform::Enumeration enumeration;
        const platform::Error error = enumeration.open(root, child_);
        if (error == platform::kNoMoreFiles) return;
        if (error != platform::kSuccess) {
            ++engine_.skipped;
            return;
        }
        levels_.clear();
        wide_path_ = root;
        utf8_path_ = utf8_from_wide(root);
        replace_backslashes(utf8_path_.data(), utf8_path_.size());
        enter(std::move(enumeration));

        while (!engine_.cancel) {
            const Step step = visit();
            if (step == Step::kLimitReached) return;
            if (step == Step::kAdvance && !advance()) return;
        }
    }

    // Makes the folder whose path the two path texts hold the one in hand; its first child is
    // already read.
    void enter(platform::Enumeration enumeration) {
        if (utf8_path_.back() != '/') {
            utf8_path_ += '/';
            wide_path_ += u'\\';
        }
        levels_.push_back({std::move(enumeration), wide_path_.size(), utf8_path_.size()});
    }

    // Indexes the child in hand, and enters it when it is a folder that can be entered.
    Step visit() {
        if (child_.type_error != platform::kSuccess) {
            ++engine_.skipped;
            return Step::kAdvance;
        }
        const ChildType type = child_type(child_);
        bool descend = type == ChildType::kFolder;
        if (descend) {
            wide_path_.append(child_.name_view());
            // The failure value has the bit as well: what cannot be asked is not entered.
            if (platform::attributes(wide_path_.c_str()) & platform::kAttributeReparsePoint) {
                ++engine_.skipped;
                descend = false;
            }
        }
        if (!name_.convert(child_.name_view())) throw TextError("A file name is not valid UTF-16.");
        const std::string_view name = name_.view();
        if (utf8_path_.size() + name.size() > kMaxPathBytes) {
            ++engine_.skipped;
        } else if (!add(name, type == ChildType::kFolder ? kKindFolder : kKindFile)) {
            return Step::kLimitReached;
        }
        if (descend && open_child(name)) return Step::kEntered;
        if (type == ChildType::kFolder) wide_path_.resize(levels_.back().wide_units);
        return Step::kAdvance;
    }

    // False when the entry would go beyond a size limit. The estimate is raised before the test:
    // the entry that trips it is counted in it, but not indexed.
    bool add(std::string_view name, std::uint32_t kind) {
        estimate_ += memory_estimate(utf8_path_.size() + name.size());
        if (count_ >= kMaxEntries || estimate_ > kMaxMemoryEstimate) {
            engine_.limited = 1;
            return false;
        }
        batch_.add(utf8_path_, name, kind);
        ++count_;
        if (batch_.size() >= kShardEntries) publish_shard(index_, batch_);
        return true;
    }

    // Enters the folder whose path is in `wide_path_`. A folder that cannot be opened is counted
    // and left alone, so that its siblings are still walked. False when there is nothing to enter.
    bool open_child(std::string_view name) {
        platform::Enumeration enumeration;
        const platform::Error error = enumeration.open(wide_path_, child_);
        if (error != platform::kSuccess) {
            if (error != platform::kNoMoreFiles) ++engine_.skipped;
            return false;
        }
        utf8_path_.append(name);
        enter(std::move(enumeration));
        return true;
    }

    // Reads the next child of the folder in hand, or of the nearest one above it that has any
    // left. False when the root is done, or lost to a failing read.
    bool advance() {
        for (;;) {
            const platform::Error error = levels_.back().enumeration.next(child_);
            if (error == platform::kSuccess) return true;
            if (error != platform::kNoMoreFiles) {
                ++engine_.skipped;
                return false;
            }
            levels_.pop_back();
            if (levels_.empty()) return false;
            wide_path_.resize(levels_.back().wide_units);
            utf8_path_.resize(levels_.back().utf8_bytes);
        }
    }

    Engine& engine_;
    Index& index_;
    Batch batch_;                 // found, not yet published
    std::uint32_t count_ = 0;     // entries of this run, all roots
    std::uint64_t estimate_ = 0;  // memory estimate of every entry considered, in bytes

    std::vector<Level> levels_;  // from the root down to the folder in hand
    std::u16string wide_path_;   // the folder in hand, closed by a separator
    std::string utf8_path_;      // the same, as entries hold it
    platform::Child child_;      // the child in hand
    ChildName name_;
};

}  // namespace

void walk(Engine& engine, Index& index, const std::vector<std::u16string>& roots) {
    Walk(engine, index).run(roots);
}

}  // namespace system_search
