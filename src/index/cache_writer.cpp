#include "index/cache_writer.hpp"

#include <cstring>
#include <memory>
#include <vector>

#include "common/path.hpp"
#include "index/cache_format.hpp"
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
    explicit Output(const std::u16string& path)
        : buffer_(std::make_unique_for_overwrite<char[]>(kCachePieceBytes + kTextPadding)) {
        failed_ = file_.create(path.c_str()) != platform::kSuccess;
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

    // A path with its padding behind it (kTextPadding), and a kind.
    void record(StoredText path, std::uint32_t kind) {
        const std::size_t path_bytes = path.size();
        if (kCachePieceBytes - used_ < cache_record_bytes(path_bytes)) {
            text(path.view());
            integer(kind);
            return;
        }
        char* const out = buffer_.get() + used_;
        encode_cache_integer(static_cast<std::uint32_t>(path_bytes), out);
        copy_padded(path.c_str(), path_bytes, out + kCacheIntegerBytes);
        encode_cache_integer(kind, out + kCacheIntegerBytes + path_bytes);
        used_ += cache_record_bytes(path_bytes);
    }

    void flush() {
        if (!failed_ && used_ > 0) {
            failed_ = file_.write(buffer_.get(), used_) != platform::kSuccess;
        }
        used_ = 0;
    }

    void close() { file_.close(); }

private:
    // Whole vectors, up to kTextPadding - 1 bytes past the end on both sides: most paths take a few
    // of them, and a call of memcpy for each path costs as much again as the copying.
    static void copy_padded(const char* from, std::size_t bytes, char* to) {
        for (std::size_t at = 0; at < bytes; at += kTextPadding) {
            std::memcpy(to + at, from + at, kTextPadding);
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

    platform::File file_;
    std::unique_ptr<char[]> buffer_;
    std::size_t used_ = 0;
    bool failed_ = false;
};

void write_contents(const CacheContents& contents, const std::atomic<bool>& cancel,
                    Output& output) {
    output.text(kCacheMagic);
    output.text(contents.scope);
    output.integer(published_entry_count(contents.index));
    output.integer(contents.skipped);
    output.integer(contents.limited);
    for (const auto& shard : published_shards(contents.index)) {
        if (cancel.load() || output.failed()) return;
        for (const Entry& entry : shard->entries) {
            // Paths lie behind one another, but the processor does not see that from the entries.
            __builtin_prefetch(entry.path.c_str() + 768);
            output.record(entry.path, entry.kind);
        }
    }
}

}  // namespace

const char* cache_write_failure(CacheWriteResult result) noexcept {
    switch (result) {
        case CacheWriteResult::kFolderFailed:
            return "create_directories";
        case CacheWriteResult::kWriteFailed:
            return "Cannot write index cache";
        case CacheWriteResult::kReplaceFailed:
            return "Cannot replace index cache";
        case CacheWriteResult::kReplaced:
        case CacheWriteResult::kCancelled:
            break;
    }
    return "";
}

CacheWriteResult write_index_cache(const std::u16string& cache_path,
                                   const std::u16string& temporary_path,
                                   const CacheContents& contents, const std::atomic<bool>& cancel) {
    const std::u16string_view folder = parent_path(cache_path);
    if (!folder.empty() && !create_folders(std::u16string(folder))) {
        return CacheWriteResult::kFolderFailed;
    }

    Output output(temporary_path);
    write_contents(contents, cancel, output);
    output.flush();
    // What only the closing reports is not looked at: every byte was taken by then.
    const bool failed = output.failed();
    output.close();
    // A failure wins over a cancel request that came with it.
    if (failed) return CacheWriteResult::kWriteFailed;
    if (cancel.load()) return CacheWriteResult::kCancelled;

    const platform::Error error =
        platform::replace_file(temporary_path.c_str(), cache_path.c_str());
    return error == platform::kSuccess ? CacheWriteResult::kReplaced
                                       : CacheWriteResult::kReplaceFailed;
}

}  // namespace system_search
