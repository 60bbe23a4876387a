#include "index/cache_reader.hpp"

#include <cstring>

#include "common/bytes.hpp"
#include "common/path.hpp"
#include "common/text.hpp"
#include "index/cache_format.hpp"

namespace system_search {
namespace {

// Large enough that the calls cost nothing beside the copying, small enough to stay in the
// processor's cache until the bytes are parsed.
constexpr std::size_t kPieceBytes = std::size_t{1} << 20;

// The most that is asked for at once: one longest path and the kind behind it. What is left of a
// piece when the next one is read is less.
constexpr std::size_t kMaxRequestBytes = kCacheMaxTextBytes + kCacheIntegerBytes;

// Behind the buffer's end, so that a vector may be loaded from any byte of it.
constexpr std::size_t kPaddingBytes = 16;

// The bytes of the file not yet taken, read in whole pieces into one buffer. What the last piece
// left over is moved in front of the place where every piece is read to.
class Input {
public:
    explicit Input(platform::File& file)
        : file_(file),
          buffer_(std::make_unique_for_overwrite<char[]>(kMaxRequestBytes + kPieceBytes +
                                                         kPaddingBytes)),
          next_(buffer_.get() + kMaxRequestBytes),
          end_(next_) {}

    // Makes `bytes` (at most kMaxRequestBytes) available at next(), which may move what is there;
    // false when the file ends before them.
    bool has(std::size_t bytes) {
        if (static_cast<std::size_t>(end_ - next_) >= bytes) return true;
        return refill(bytes);
    }
    const char* next() const { return next_; }
    void skip(std::size_t bytes) { next_ += bytes; }

    bool failed() const { return failed_; }

private:
    bool refill(std::size_t bytes) {
        const auto left = static_cast<std::size_t>(end_ - next_);
        char* const piece = buffer_.get() + kMaxRequestBytes;
        std::memmove(piece - left, next_, left);
        next_ = piece - left;
        end_ = piece;
        while (static_cast<std::size_t>(end_ - next_) < bytes) {
            const std::size_t room = kPieceBytes - static_cast<std::size_t>(end_ - piece);
            std::size_t got = 0;
            failed_ = failed_ || file_.read(end_, room, got) != platform::kSuccess;
            if (failed_ || got == 0) return false;
            end_ += got;
        }
        return true;
    }

    platform::File& file_;
    std::unique_ptr<char[]> buffer_;
    char* next_;
    char* end_;
    bool failed_ = false;
};

CacheReadResult read_integer(Input& input, std::uint32_t& value) {
    if (!input.has(kCacheIntegerBytes)) return CacheReadResult::kTruncated;
    value = decode_cache_integer(input.next());
    input.skip(kCacheIntegerBytes);
    return CacheReadResult::kComplete;
}

struct TextFound {
    std::uint32_t bytes = 0;
    bool is_ascii = false;
};

// Leaves the text in the input, at next().
CacheReadResult find_text(Input& input, TextFound& text) {
    std::uint32_t bytes = 0;
    const CacheReadResult result = read_integer(input, bytes);
    if (result != CacheReadResult::kComplete) return result;
    if (bytes > kCacheMaxTextBytes) return CacheReadResult::kTextTooLong;
    if (!input.has(bytes)) return CacheReadResult::kBadText;
    const ByteKinds kinds = byte_kinds_padded(input.next(), bytes);
    text = {bytes, !kinds.non_ascii};
    return kinds.nul ? CacheReadResult::kBadText : CacheReadResult::kComplete;
}

CacheReadResult read_expected_text(Input& input, std::string_view expected) {
    TextFound text;
    const CacheReadResult result = find_text(input, text);
    if (result != CacheReadResult::kComplete) return result;
    if (std::string_view(input.next(), text.bytes) != expected) return CacheReadResult::kNotUsable;
    input.skip(text.bytes);
    return CacheReadResult::kComplete;
}

struct Counts {
    std::uint32_t entries = 0;
    std::uint32_t skipped = 0;
    std::uint32_t limited = 0;
};

CacheReadResult read_header(Input& input, std::string_view scope, Counts& counts) {
    CacheReadResult result = read_expected_text(input, kCacheMagic);
    if (result == CacheReadResult::kComplete) result = read_expected_text(input, scope);
    for (std::uint32_t* count : {&counts.entries, &counts.skipped, &counts.limited}) {
        if (result == CacheReadResult::kComplete) result = read_integer(input, *count);
    }
    if (result != CacheReadResult::kComplete) return result;
    const bool usable = counts.entries <= kMaxEntries && counts.limited <= 1;
    return usable ? CacheReadResult::kComplete : CacheReadResult::kNotUsable;
}

// Reads one record into the batch.
CacheReadResult read_record(Input& input, std::uint64_t& estimate, Batch& batch) {
    TextFound text;
    const CacheReadResult result = find_text(input, text);
    if (result != CacheReadResult::kComplete) return result;
    const std::size_t path_bytes = text.bytes;
    if (!input.has(path_bytes + kCacheIntegerBytes)) return CacheReadResult::kTruncated;

    const std::string_view path(input.next(), path_bytes);
    const std::uint32_t kind = decode_cache_integer(input.next() + path_bytes);
    estimate += memory_estimate(path_bytes);
    const bool usable = !path.empty() && (text.is_ascii || is_valid_utf8(path)) &&
                        is_absolute_path(path) && (kind == kKindFile || kind == kKindFolder) &&
                        estimate <= kMaxMemoryEstimate;
    if (!usable) return CacheReadResult::kNotUsable;
    batch.add(path, kind);
    input.skip(path_bytes + kCacheIntegerBytes);
    return CacheReadResult::kComplete;
}

}  // namespace

CacheReadResult read_index_cache(platform::File& file, std::string_view scope,
                                 const std::atomic<bool>& cancel, CachedIndex& out) {
    Input input(file);
    Counts counts;
    CacheReadResult result = read_header(input, scope, counts);
    if (result != CacheReadResult::kComplete) return result;

    const auto index = std::make_shared<Index>();
    Batch batch;
    std::uint64_t estimate = 0;
    for (std::uint32_t i = 0; i < counts.entries; ++i) {
        if (cancel) return CacheReadResult::kCancelled;
        result = read_record(input, estimate, batch);
        if (result != CacheReadResult::kComplete) return result;
        if (batch.size() == kShardEntries) publish_shard(*index, batch);
    }
    if (input.has(1) || input.failed()) return CacheReadResult::kNotUsable;
    publish_shard(*index, batch);
    index->complete = counts.limited == 0;
    out = {index, counts.skipped, counts.limited};
    return CacheReadResult::kComplete;
}

}  // namespace system_search
