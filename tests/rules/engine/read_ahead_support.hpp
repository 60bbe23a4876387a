// What the tests of the walk that reads ahead share: the outcome of a walk, and the one of the
// plain walk to compare it with.
#pragma once

#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "engine/index_cache.hpp"
#include "engine/read_ahead.hpp"
#include "engine/walk.hpp"
#include "rules/engine/engine_test_support.hpp"
#include "rules/engine/plain_walk.hpp"

namespace system_search {

using Roots = std::vector<std::u16string>;

inline constexpr std::uint64_t kForGood = UINT64_MAX / 2;
inline constexpr std::uint32_t kDiskCalls = kOpenFolder | kNextChild | kAttributes;

inline ReadAheadOptions with_readers(std::uint32_t readers) {
    ReadAheadOptions options;
    options.readers = readers;
    return options;
}

// Pieces of two or three children, and room for a handful of them.
inline ReadAheadOptions in_tiny_pieces(std::uint32_t readers) {
    ReadAheadOptions options;
    options.readers = readers;
    options.piece_bytes = 96;
    options.small_piece_bytes = 1;
    options.readers_bytes = 3000;
    options.most_bytes = 4000;
    return options;
}

struct Outcome {
    Listing listing;
    std::uint32_t skipped = 0;
    std::uint32_t limited = 0;
    std::string error;
    std::string cache;
    bool operator==(const Outcome&) const = default;
};

inline void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << outcome.listing.size() << " entries, " << outcome.skipped << " skipped, limited "
         << outcome.limited << ", \"" << outcome.error << "\"\n";
    for (const std::string& path : outcome.listing) *out << "  " << path << "\n";
}

class ReadAheadTest : public VolumeTest {
protected:
    static constexpr const char* kCache = "X:\\cache";

    void SetUp() override {
        VolumeTest::SetUp();
        add_folder(u"X:\\");
    }

    static std::string cache_of(Engine& engine, const Index& index) {
        forget_call_plans();
        set_latencies({});
        save_index_cache(engine, index, "scope", kCache);
        return read_file(u"X:\\cache");
    }

    static Outcome walk_with(const ReadAheadOptions& options, const Roots& roots) {
        Engine engine;
        const auto index = std::make_shared<Index>();
        Outcome outcome;
        try {
            walk(engine, *index, roots, options);
        } catch (const TextError& error) {
            outcome.error = error.what();
        }
        engine.readers.join();
        EXPECT_EQ(open_handles(), OpenHandles{});
        outcome.listing = listing_of(take_snapshot(*index));
        outcome.skipped = engine.skipped;
        outcome.limited = engine.limited;
        outcome.cache = cache_of(engine, *index);
        return outcome;
    }

    static Outcome plain_outcome(const Roots& roots) {
        PlainWalk plain(roots);
        Engine engine;
        engine.skipped = plain.skipped;
        Outcome outcome;
        outcome.listing = listing_of(take_snapshot(plain.index));
        outcome.skipped = plain.skipped;
        outcome.cache = cache_of(engine, plain.index);
        return outcome;
    }
};

// Folders, files, junctions and faults at random.
class RandomTree {
public:
    explicit RandomTree(std::uint32_t seed) : random_(seed) {
        fill(u"C:\\root", 0);
        fill(u"D:\\", 3);
        add_folder(u"C:\\root");
    }

private:
    bool one_in(std::uint32_t n) { return random_() % n == 0; }

    std::u16string name(std::uint32_t number) {
        static constexpr std::u16string_view kStems[] = {u"n", u"Name ", u"\u00E4\u20AC",
                                                         u"\U0001F600"};
        std::u16string name(kStems[random_() % std::size(kStems)]);
        if (one_in(20)) name.append(200, u'l');
        for (const char digit : std::to_string(number)) name += static_cast<char16_t>(digit);
        if (one_in(400)) name += char16_t{0xD800};
        return name;
    }

    void fill(const std::u16string& folder, std::uint32_t depth) {
        const std::uint32_t children = static_cast<std::uint32_t>(random_() % 9);
        for (std::uint32_t i = 0; i < children; ++i) {
            const std::u16string path = folder + u"\\" + name(i);
            if (one_in(20)) {
                add_junction(path, u"C:\\root");
            } else if (one_in(3) || depth > 8) {
                add_file(path);
            } else {
                add_folder(path);
                if (depth < 4 || one_in(3)) fill(path, depth + 1);
                if (one_in(30)) {
                    set_type(path, platform::kAttributeDirectory | platform::kAttributeReparsePoint,
                             0x9000001A);
                }
            }
            if (one_in(12)) break_node(path);
        }
        if (one_in(40)) break_node(folder);
    }

    void break_node(const std::u16string& path) {
        if (!exists(path)) return;
        NodeFaults faults;
        switch (random_() % 6) {
            case 0:
                faults.open = platform::kAccessDenied;
                break;
            case 1:
                faults.open = platform::kNoMoreFiles;
                break;
            case 2:
                faults.attributes = platform::kAccessDenied;
                break;
            case 3:
                faults.type = platform::kAccessDenied;
                break;
            case 4:
                if (!one_in(3)) return;  // it ends the root, and most of a tree with it
                faults.next = platform::kCannotAccessFile;
                faults.next_after = 1 + random_() % 5;
                break;
            default:
                return;
        }
        set_faults(path, faults);
    }

    std::mt19937 random_;
};

// `files` files behind as many subfolders as asked for, and the same again below each of them.
class Branching : public GeneratedFolder {
public:
    Branching(std::uint64_t folders, std::uint64_t files, std::uint64_t depth)
        : folders_(depth > 0 ? folders : 0), files_(files) {
        if (depth > 0) below_ = std::make_shared<Branching>(folders, files, depth - 1);
    }
    std::uint64_t count() const override { return folders_ + files_; }
    void child(std::uint64_t index, platform::Child& out) const override {
        const bool is_folder = index < folders_;
        out.attributes = is_folder ? platform::kAttributeDirectory : kAttributeArchive;
        set_name(out, is_folder ? u"d0000000" : u"a file called 0000000");
        for (std::uint32_t at = out.name_units; index > 0; index /= 10) {
            out.name[--at] = static_cast<char16_t>(u'0' + index % 10);
        }
    }
    std::shared_ptr<const GeneratedFolder> folder(std::u16string_view name) const override {
        return name[0] == u'd' ? below_ : nullptr;
    }

private:
    std::uint64_t folders_;
    std::uint64_t files_;
    std::shared_ptr<Branching> below_;
};

}  // namespace system_search
