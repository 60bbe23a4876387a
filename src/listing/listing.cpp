#include "listing/listing.hpp"

#include <string_view>
#include <utility>

#include "common/child_name.hpp"
#include "common/guard.hpp"
#include "common/owned_job.hpp"
#include "common/path.hpp"
#include "common/text.hpp"
#include "platform/platform.hpp"
#include "query/search.hpp"

namespace system_search {
namespace {

class Listing {
public:
    explicit Listing(Query& query) : query_(query) {}

    // Reads the folder and publishes its children. Returns SS_QUERY_RUNNING when they are there to
    // be searched, else the query's final state. Throws TextError and std::bad_alloc.
    std::uint32_t read(const std::string& directory) {
        wide_path_ = wide_from_utf8(directory);
        if (!is_absolute_path(wide_path_)) return SS_QUERY_FAILED;
        utf8_prefix_ = stored_prefix();
        wide_path_ = platform::as_system_reads(wide_path_);
        folder_units_ = wide_path_.size();

        platform::Enumeration enumeration;
        platform::Error error = enumeration.open(wide_path_, child_);
        for (; error == platform::kSuccess; error = enumeration.next(child_)) {
            if (query_.cancel) return SS_QUERY_CANCELLED;
            if (query_.index_entries >= kMaxEntries || estimate_ >= kMaxMemoryEstimate) {
                query_.index_incomplete = 1;
                break;
            }
            ++query_.index_entries;
            visit();
        }
        if (error != platform::kSuccess && error != platform::kNoMoreFiles) return SS_QUERY_FAILED;

        add_shard();
        query_.shards = std::move(shards_);
        return SS_QUERY_RUNNING;
    }

private:
    // What every stored path begins with. A child's path is normalised as a whole; its name is
    // never "." or "..", so all that can change stands before it and is the same for every child.
    std::string stored_prefix() const {
        std::u16string path = wide_path_;
        append_component(path, u"x");
        path = lexically_normal(path);
        path.pop_back();
        std::string prefix = utf8_from_wide(path);
        replace_backslashes(prefix.data(), prefix.size());
        return prefix;
    }

    void visit() {
        if (child_.type_error != platform::kSuccess) {
            query_.index_incomplete = 1;
            return;
        }
        if (platform::is_link(child_.attributes, child_.reparse_tag)) return;
        const bool folder = (child_.attributes & platform::kAttributeDirectory) != 0;
        if (folder && is_reparse_point()) return;
        add(folder ? kKindFolder : kKindFile);
    }

    // Asks again, by path. The failure value has the bit as well: a folder that cannot be asked is
    // left out, silently.
    bool is_reparse_point() {
        append_component(wide_path_, child_.name_view());
        const std::uint32_t attributes = platform::attributes(wide_path_.c_str());
        wide_path_.resize(folder_units_);
        return (attributes & platform::kAttributeReparsePoint) != 0;
    }

    void add(std::uint32_t kind) {
        if (!name_.convert(child_.name_view())) throw TextError("A file name is not valid UTF-16.");
        const std::size_t path_bytes = utf8_prefix_.size() + name_.view().size();
        if (path_bytes > kMaxPathBytes) {
            query_.index_incomplete = 1;
            return;
        }
        batch_.add(utf8_prefix_, name_.view(), kind);
        // Raised after the child was kept and tested before the next one: the last child may go
        // beyond the limit.
        estimate_ += memory_estimate(path_bytes);
        // A shard at a time, because a destroyed query waits for no more than that.
        if (batch_.size() == kShardEntries) add_shard();
    }

    void add_shard() {
        if (batch_.empty()) return;
        shards_.push_back(std::make_shared<const Shard>(batch_));
        batch_.clear();
    }

    Query& query_;
    ShardList shards_;
    Batch batch_;                 // the children that no shard holds yet
    std::uint64_t estimate_ = 0;  // memory estimate of the children kept, in bytes
    std::u16string wide_path_;    // the folder, as the system reads what the host gave
    std::size_t folder_units_ = 0;
    std::string utf8_prefix_;  // the folder as entries hold it, closed by a separator
    platform::Child child_;    // the current child
    ChildName name_;
};

}  // namespace

void run_listing(const ListingJob& job) noexcept {
    Query& query = *job.query;
    const std::uint32_t state =
        guarded<std::uint32_t>(SS_QUERY_FAILED, [&] { return Listing(query).read(job.directory); });
    if (state == SS_QUERY_RUNNING) {
        search(query, job.arguments);
    } else {
        query.state = state;
    }
}

platform::Error start_listing(std::unique_ptr<ListingJob> job) noexcept {
    platform::Thread& thread = job->query->thread;
    return start_owned<run_listing>(thread, std::move(job));
}

}  // namespace system_search
