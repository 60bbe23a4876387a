// The time of loading and saving the index cache on real paths and real files, each beside the
// least that it could take, measured in the same run:
//
//     load    reading the file in 1 MiB pieces, and touching as many bytes of fresh memory as the
//             index is estimated to take
//     save    writing the same bytes in 1 MiB pieces into a new file, and replacing the old one
//
// The reader and the writer are the library's own. The file functions of the platform are POSIX
// ones, defined here in place of the simulated volume's; nothing is forced out to the disk, on
// either side. Freed memory is given back to the system before each load, so that every load pays
// for its pages. What was loaded and saved is checked before anything is timed.
//
//     cache_bench [--entries 1000000] [--folder FOLDER]
#include <fcntl.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "common/text.hpp"
#include "corpus.hpp"
#include "index/cache_reader.hpp"
#include "index/cache_writer.hpp"
#include "method.hpp"

// ---- The platform's files -----------------------------------------------------------------------

namespace system_search::platform {
namespace {

std::string native(const char16_t* path) {
    return utf8_from_wide(path);
}

Error result_of(bool success) {
    return success ? kSuccess : static_cast<Error>(errno);
}

// A descriptor inside the handle; never null.
void* handle_of(int descriptor) {
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor) + 1);
}

int descriptor_of(void* handle) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle) - 1);
}

}  // namespace

Error File::open_for_reading(const char16_t* path) noexcept {
    const int descriptor = ::open(native(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor >= 0) handle_ = handle_of(descriptor);
    return result_of(descriptor >= 0);
}

Error File::create(const char16_t* path) noexcept {
    const int descriptor =
        ::open(native(path).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (descriptor >= 0) handle_ = handle_of(descriptor);
    return result_of(descriptor >= 0);
}

Error File::read(void* buffer, std::size_t bytes, std::size_t& got) noexcept {
    const ssize_t read = ::read(descriptor_of(handle_), buffer, bytes);
    got = read < 0 ? 0 : static_cast<std::size_t>(read);
    return result_of(read >= 0);
}

Error File::write(const void* buffer, std::size_t bytes) noexcept {
    return result_of(::write(descriptor_of(handle_), buffer, bytes) == static_cast<ssize_t>(bytes));
}

// Not to the disk: what the system's cache takes is what is measured, here and in the plain write.
Error File::flush() noexcept {
    return kSuccess;
}

Error File::close() noexcept {
    if (handle_ == nullptr) return kSuccess;
    const int descriptor = descriptor_of(handle_);
    handle_ = nullptr;
    return result_of(::close(descriptor) == 0);
}

Error remove_file(const char16_t* path) noexcept {
    return result_of(::unlink(native(path).c_str()) == 0);
}

Error replace_file(const char16_t* source, const char16_t* destination) noexcept {
    return result_of(std::rename(native(source).c_str(), native(destination).c_str()) == 0);
}

Error create_folder(const char16_t* path) noexcept {
    return result_of(::mkdir(native(path).c_str(), 0755) == 0);
}

}  // namespace system_search::platform

// ---- The measurements ---------------------------------------------------------------------------

namespace system_search::bench {
namespace {

constexpr std::size_t kPieceBytes = std::size_t{1} << 20;
constexpr int kRuns = 15;
constexpr std::string_view kScope = "C:/";
constexpr double kLoadAim = 1.4;
constexpr double kSaveAim = 1.2;

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "cache_bench: wrong: %s\n", what);
    std::exit(1);
}

struct Fixture {
    // Bare names: the folder is the current one, and not looked for.
    const std::u16string cache = u"index";
    const std::u16string temporary = u"index.1.2.tmp";
    std::uint64_t estimate = 0;
    std::string bytes;  // of the cache file
    Index index;
    std::atomic<bool> cancel{false};
};

void fill(const Corpus& corpus, Fixture& fixture) {
    Batch batch;
    for (const CorpusEntry& entry : corpus.entries) {
        batch.add(entry.path, entry.kind);
        fixture.estimate += memory_estimate(entry.path.size());
        if (batch.size() == kShardEntries) publish_shard(fixture.index, batch);
    }
    publish_shard(fixture.index, batch);
}

void save(Fixture& fixture) {
    TemporaryFile temporary(fixture.cache, /*owner=*/1);
    const CacheWriteResult result =
        write_index_cache(temporary, {fixture.index, kScope, 0, 0}, fixture.cancel);
    require(result == CacheWriteResult::kReplaced, "the save failed");
}

CachedIndex load(const Fixture& fixture) {
    platform::File file;
    CachedIndex cached;
    require(file.open_for_reading(fixture.cache.c_str()) == platform::kSuccess, "no cache file");
    const CacheReadResult result = read_index_cache(file, kScope, fixture.cancel, cached);
    require(result == CacheReadResult::kComplete, "the load failed");
    return cached;
}

// The file piece by piece, into one buffer.
std::size_t read_pieces(const Fixture& fixture, std::string* copy) {
    platform::File file;
    const auto buffer = std::make_unique_for_overwrite<char[]>(kPieceBytes);
    require(file.open_for_reading(fixture.cache.c_str()) == platform::kSuccess, "no cache file");
    std::size_t total = 0;
    for (std::size_t got = 1; got > 0; total += got) {
        require(file.read(buffer.get(), kPieceBytes, got) == platform::kSuccess, "a read failed");
        if (copy != nullptr) copy->append(buffer.get(), got);
    }
    return total;
}

char* touch_memory(std::size_t bytes) {
    void* const memory =
        ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    require(memory != MAP_FAILED, "no memory");
    char* const begin = static_cast<char*>(memory);
    for (std::size_t at = 0; at < bytes; at += 4096) begin[at] = 1;
    return begin;
}

void write_pieces(const Fixture& fixture) {
    platform::File file;
    require(file.create(fixture.temporary.c_str()) == platform::kSuccess, "cannot create");
    for (std::string_view rest = fixture.bytes; !rest.empty();) {
        const std::string_view piece = rest.substr(0, kPieceBytes);
        require(file.write(piece.data(), piece.size()) == platform::kSuccess, "a write failed");
        rest.remove_prefix(piece.size());
    }
    file.close();
    require(platform::replace_file(fixture.temporary.c_str(), fixture.cache.c_str()) ==
                platform::kSuccess,
            "cannot replace");
}

void check(const Corpus& corpus, Fixture& fixture) {
    std::string expected;
    const auto integer = [&](std::size_t value) {
        for (int shift = 0; shift < 32; shift += 8) expected += static_cast<char>(value >> shift);
    };
    const auto text = [&](std::string_view bytes) {
        integer(bytes.size());
        expected += bytes;
    };
    text("system-search-v1");
    text(kScope);
    integer(corpus.entries.size());
    integer(0);
    integer(0);
    for (const CorpusEntry& entry : corpus.entries) {
        text(entry.path);
        integer(entry.kind);
    }
    save(fixture);
    read_pieces(fixture, &fixture.bytes);
    require(fixture.bytes == expected, "the saved bytes");

    const CachedIndex cached = load(fixture);
    std::size_t at = 0;
    for (const auto& shard : take_snapshot(*cached.index).shards) {
        for (std::uint32_t i = 0; i < shard->size(); ++i) {
            const Entry entry = shard->entry(i);
            const CorpusEntry& wanted = corpus.entries[at++];
            require(entry.path == wanted.path && entry.kind == wanted.kind, "an entry");
        }
    }
    require(at == corpus.entries.size(), "the number of entries");
}

double thread_ms() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

// Times two things in turn, so that what else the machine does meets both alike.
struct Pair {
    Times least;
    Times ours;
};

template <typename Prepare, typename Least, typename Ours>
Pair measure_in_turn(Prepare prepare, Least least, Ours ours) {
    std::vector<double> times[2];
    const auto run = [&](std::vector<double>& out, auto body) {
        prepare();
        const double start = thread_ms();
        body();
        out.push_back(thread_ms() - start);
    };
    for (int i = 0; i < kRuns; ++i) {
        run(times[0], least);
        run(times[1], ours);
    }
    for (auto& each : times) std::sort(each.begin(), each.end());
    const auto summary = [](const std::vector<double>& each) {
        return Times{each[each.size() / 2], each.front(), each.back()};
    };
    return {summary(times[0]), summary(times[1])};
}

void report(const char* what, const Pair& pair, double aim) {
    const double median = pair.ours.median_ms / pair.least.median_ms;
    const double best = pair.ours.least_ms / pair.least.least_ms;
    write_figure(what, pair.ours);
    write_figure(std::string(what) + ", least", pair.least);
    std::printf(
        "%-5s %8.1f ms (%.1f to %.1f)   least %8.1f ms (%.1f to %.1f)   x %.2f "
        "(of the fastest runs x %.2f)   aim x %.1f %s\n",
        what, pair.ours.median_ms, pair.ours.least_ms, pair.ours.most_ms, pair.least.median_ms,
        pair.least.least_ms, pair.least.most_ms, median, best, aim,
        median <= aim ? "met" : "MISSED");
}

int run(std::size_t entries) {
    const Corpus corpus = load_corpus(entries);
    Fixture fixture;
    fill(corpus, fixture);
    check(corpus, fixture);
    std::size_t index_bytes = 0;
    for (const auto& shard : take_snapshot(fixture.index).shards) {
        index_bytes += shard->memory_bytes();
    }
    std::printf(
        "corpus    %zu entries from %s\ntimes     of the thread: median of %d (fastest to "
        "slowest)\nfile      %.1f MB; index %.1f MB, estimated %.1f MB\n",
        corpus.entries.size(), corpus.source.c_str(), kRuns,
        static_cast<double>(fixture.bytes.size()) / 1e6, static_cast<double>(index_bytes) / 1e6,
        static_cast<double>(fixture.estimate) / 1e6);

    CachedIndex cached;
    char* touched = nullptr;
    const auto drop = [&] {
        cached = {};
        if (touched != nullptr) ::munmap(touched, fixture.estimate);
        touched = nullptr;
        ::malloc_trim(0);
    };
    report("load",
           measure_in_turn(
               drop,
               [&] {
                   read_pieces(fixture, nullptr);
                   touched = touch_memory(fixture.estimate);
               },
               [&] { cached = load(fixture); }),
           kLoadAim);
    drop();
    report("save", measure_in_turn([] {}, [&] { write_pieces(fixture); }, [&] { save(fixture); }),
           kSaveAim);
    return 0;
}

}  // namespace
}  // namespace system_search::bench

int main(int argc, char** argv) {
    std::size_t entries = 1'000'000;
    std::string folder = (std::filesystem::temp_directory_path() / "cache_bench.XXXXXX").string();
    bool own_folder = true;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--entries") == 0)
            entries = std::strtoull(argv[i + 1], nullptr, 10);
        if (std::strcmp(argv[i], "--folder") == 0) {
            folder = argv[i + 1];
            own_folder = false;
        }
    }
    if (own_folder && ::mkdtemp(folder.data()) == nullptr) return 1;
    system_search::bench::print_method();
    std::filesystem::current_path(folder);
    const int result = system_search::bench::run(entries);
    std::filesystem::current_path("/");
    if (own_folder) std::filesystem::remove_all(folder);
    return result;
}
