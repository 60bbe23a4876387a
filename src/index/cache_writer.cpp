#include "index/cache_writer.hpp"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "common/bytes.hpp"
#include "common/path.hpp"
#include "index/cache_format.hpp"
#include "index/signature.hpp"
#include "platform/platform.hpp"

namespace system_search {
namespace {

// What stands at `path`, links followed: kSuccess is a folder, kInvalidDirectory with `exists` set
// anything else.
platform::Error find_folder(std::u16string path, bool& exists) {
    if (is_device_path(path)) path += u'\\';
    platform::Status status{};
    const platform::Error error = platform::status_following_links(path.c_str(), status);
    exists = error == platform::kSuccess;
    if (!exists) return error;
    const bool is_folder = (status.attributes & platform::kAttributeDirectory) != 0;
    return is_folder ? platform::kSuccess : platform::kInvalidDirectory;
}

bool create_folders(std::u16string path) {
    std::vector<std::u16string> missing;  // the deepest first
    for (bool exists = false;;) {
        const platform::Error error = find_folder(path, exists);
        if (error == platform::kSuccess) break;
        if (exists || !platform::is_not_found(error)) return false;
        std::u16string parent(parent_path(path));
        const bool is_topmost = parent.empty() || parent.size() == path.size();
        missing.push_back(std::move(path));
        if (is_topmost) break;
        path = std::move(parent);
    }
    for (auto folder = missing.rbegin(); folder != missing.rend(); ++folder) {
        const platform::Error error = platform::create_folder(folder->c_str());
        if (error == platform::kSuccess) continue;
        // Another process may have made it meanwhile.
        bool exists = false;
        if (error != platform::kAlreadyExists) return false;
        if (find_folder(*folder, exists) != platform::kSuccess) return false;
    }
    return true;
}

// A buffered stream into one file. The first failure sticks and everything after it is dropped.
class Output {
public:
    explicit Output(TemporaryFile& temporary)
        : file_(temporary.file()),
          buffer_(std::make_unique_for_overwrite<char[]>(kCachePieceBytes + kTextPadding)) {
        failed_ = temporary.create() != platform::kSuccess;
    }

    bool failed() const { return failed_; }

    void integer(std::uint32_t value) {
        if (kCachePieceBytes - used_ < kCacheIntegerBytes) flush();
        encode_cache_integer(value, buffer_.get() + used_);
        used_ += kCacheIntegerBytes;
    }

    void text(std::string_view text) {
        integer(static_cast<std::uint32_t>(text.size()));
        bytes(text);
    }

    // The path is `folder` followed by `name`, behind both of which kTextPadding bytes may be read.
    void record(std::string_view folder, std::string_view name, std::uint32_t kind) {
        const std::size_t path_bytes = folder.size() + name.size();
        if (kCachePieceBytes - used_ < cache_record_bytes(path_bytes)) flush();
        char* const out = buffer_.get() + used_;
        encode_cache_integer(static_cast<std::uint32_t>(path_bytes), out);
        copy_padded(folder, out + kCacheIntegerBytes);
        copy_padded(name, out + kCacheIntegerBytes + folder.size());
        encode_cache_integer(kind, out + kCacheIntegerBytes + path_bytes);
        used_ += cache_record_bytes(path_bytes);
    }

    void flush() {
        if (!failed_ && used_ > 0) {
            failed_ = file_.write(buffer_.get(), used_) != platform::kSuccess;
        }
        used_ = 0;
    }

    // Called before the file replaces another. Otherwise a power cut could leave the new name and
    // none of the bytes, and the old cache would be gone as well.
    void flush_to_disk() {
        if (!failed_) failed_ = file_.flush() != platform::kSuccess;
    }

private:
    // Copies in steps of kTextPadding bytes, up to so many past the end of the text; both sides
    // have that room. Most texts are a few steps long, and a call of memcpy for each would take
    // twice the time.
    static void copy_padded(std::string_view from, char* to) {
        for (std::size_t at = 0; at < from.size(); at += kTextPadding) {
            std::memcpy(to + at, from.data() + at, kTextPadding);
        }
    }

    // A scope text has no limit, so a text may be larger than the buffer.
    void bytes(std::string_view bytes) {
        while (bytes.size() > kCachePieceBytes - used_) {
            const std::size_t part = kCachePieceBytes - used_;
            std::memcpy(buffer_.get() + used_, bytes.data(), part);
            used_ += part;
            flush();
            bytes.remove_prefix(part);
        }
        std::memcpy(buffer_.get() + used_, bytes.data(), bytes.size());
        used_ += bytes.size();
    }

    platform::File& file_;
    std::unique_ptr<char[]> buffer_;
    std::size_t used_ = 0;
    bool failed_ = false;
};

// Each record that is written also prefetches a cache line of the next shard's texts: without that
// a quarter of the time went into waiting for memory. `stored` is scratch room for the texts of
// this shard in their stored spelling; it is kept from shard to shard.
void write_shard(const Shard& shard, const Shard& next, std::vector<char>& stored, Output& output) {
    const char* const ahead = next.texts().data();
    const std::string_view texts = shard.texts();
    if (stored.size() < texts.size() + 2 * kTextPadding) {
        stored.resize(texts.size() + 2 * kTextPadding);
    }
    shard.restore(texts, stored.data());
    const auto stored_text = [&](std::string_view folded) {
        return std::string_view(stored.data() + (folded.data() - texts.data()), folded.size());
    };
    for (const FolderRun& run : shard.runs()) {
        const std::string_view folder = stored_text(shard.folded_folder(run));
        for (std::uint32_t i = run.first; i < shard.end_of(run); ++i) {
            prefetch_line(ahead + i * kCacheLineBytes);
            output.record(folder, stored_text(shard.folded_name(i)),
                          shard.has(kFolderBit, i) ? kKindFolder : kKindFile);
        }
    }
}

void write_contents(const CacheContents& contents, const std::atomic<bool>& cancel,
                    Output& output) {
    const Snapshot snapshot = take_snapshot(contents.index);
    output.text(kCacheMagic);
    output.text(contents.scope);
    output.integer(snapshot.entry_count);
    output.integer(contents.skipped);
    output.integer(contents.limited);
    std::vector<char> stored;
    const ShardList& shards = snapshot.shards;
    for (std::size_t i = 0; i < shards.size(); ++i) {
        if (cancel || output.failed()) return;
        write_shard(*shards[i], *shards[std::min(i + 1, shards.size() - 1)], stored, output);
    }
}

// False when not all of it could be written, whether or not a cancel request came as well.
bool write_file(TemporaryFile& temporary, const CacheContents& contents,
                const std::atomic<bool>& cancel) {
    Output output(temporary);
    write_contents(contents, cancel, output);
    output.flush();
    if (!cancel) output.flush_to_disk();
    return !output.failed();
}

}  // namespace

CacheWriteResult write_index_cache(TemporaryFile& temporary, const CacheContents& contents,
                                   const std::atomic<bool>& cancel) {
    const std::u16string_view folder = parent_path(temporary.cache_path());
    if (!folder.empty() && !create_folders(std::u16string(folder))) {
        return CacheWriteResult::kFolderFailed;
    }
    const bool written = write_file(temporary, contents, cancel);
    // What only the closing reports is not looked at: every byte was taken by then.
    temporary.file().close();
    if (!written) return CacheWriteResult::kWriteFailed;
    if (cancel) return CacheWriteResult::kCancelled;
    const platform::Error error = temporary.replace_cache(cancel);
    return error == platform::kSuccess ? CacheWriteResult::kReplaced
                                       : CacheWriteResult::kReplaceFailed;
}

}  // namespace system_search
