// The reference implementation of the walk: one thread, one folder after the other, each entered at
// the moment it is met. It fills an index of its own and counts as an engine would.
#pragma once

#include <string>
#include <vector>

#include "common/text.hpp"
#include "index/index.hpp"
#include "index/shard.hpp"
#include "platform/platform.hpp"

namespace system_search {

class PlainWalk {
public:
    explicit PlainWalk(const std::vector<std::u16string>& roots) {
        try {
            for (const std::u16string& root : roots) walk(root);
            publish_shard(index, batch_);
        } catch (const TextError&) {
            failed = true;
        }
    }

    Index index;
    std::uint32_t skipped = 0;
    std::uint32_t folders = 0;  // those that were asked about
    bool failed = false;        // at a name that is not valid UTF-16

private:
    // False when the rest of the root is lost.
    bool walk(const std::u16string& folder) {
        platform::Enumeration enumeration;
        platform::Child child;
        platform::Error error = enumeration.open(folder, child);
        if (error != 0 && error != platform::kNoMoreFiles) ++skipped;
        if (error != 0) return true;
        for (; error == 0; error = enumeration.next(child)) {
            if (!visit(folder + (folder.back() == u'\\' ? u"" : u"\\"), child)) return false;
        }
        if (error != platform::kNoMoreFiles) ++skipped;
        return error == platform::kNoMoreFiles;
    }

    bool visit(std::u16string path, const platform::Child& child) {
        if (child.type_error != 0) {
            ++skipped;
            return true;
        }
        path += child.name_view();
        const bool is_folder = !platform::is_link(child.attributes, child.reparse_tag) &&
                               (child.attributes & platform::kAttributeDirectory) != 0;
        folders += is_folder ? 1 : 0;
        const bool is_entered = is_folder && (platform::attributes(path.c_str()) &
                                              platform::kAttributeReparsePoint) == 0;
        if (is_folder && !is_entered) ++skipped;
        std::string entry = utf8_from_wide(path);
        replace_backslashes(entry.data(), entry.size());
        if (entry.size() > kMaxPathBytes) {
            ++skipped;
        } else {
            const std::size_t name = entry.rfind('/') + 1;
            batch_.add(entry.substr(0, name), entry.substr(name),
                       is_folder ? kKindFolder : kKindFile);
            if (batch_.size() == kShardEntries) publish_shard(index, batch_);
        }
        return !is_entered || walk(path);
    }

    Batch batch_;
};

}  // namespace system_search
