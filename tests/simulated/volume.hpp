// A volume in memory that stands in for the operating system behind platform/platform.hpp, so that
// every rule of the core runs natively and any failure can be produced. This header builds the
// tree, the drives and the files; faults.hpp makes calls fail and holds threads at known points.
//
//     reset();
//     add_file(u"C:\\music\\song.mp3", /*size=*/1000);
//     add_junction(u"C:\\music\\again", u"C:\\music");
//     NodeFaults denied;
//     denied.open = platform::kAccessDenied;
//     add_folder(u"C:\\music\\private");
//     set_faults(u"C:\\music\\private", denied);
//     ... run the library on "C:\music" ...
//     EXPECT_EQ(open_handles(), OpenHandles{});
//
// Paths are what the platform takes: either separator, a drive letter, \\server\share, the device
// prefixes, dots resolved by text alone, relative to the current folder; a path that begins with
// \\?\ is taken literally, so that "/" and dots are invalid names there. Names may hold any UTF-16
// units and are found without regard to the case of ASCII letters. Unlike Windows, trailing blanks
// and dots of a name count, and no path is too long.
//
// The children of a folder are enumerated in the order in which they were added. Every function
// may be called from any thread, also while the library runs. The functions that build the tree
// throw std::invalid_argument on a path that makes no sense, because the test is then wrong.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.hpp"

namespace system_search::simulated {

inline constexpr std::uint32_t kAttributeReadOnly = 0x1;
inline constexpr std::uint32_t kAttributeArchive = 0x20;
inline constexpr std::uint32_t kAttributeDevice = 0x40;
inline constexpr std::uint64_t kDefaultLastWrite = 133'000'000'000'000'000;  // in June 2022

// Back to a machine without drives, folders and faults. No handle may be open.
void reset();

// ---- The tree: missing parents are created ------------------------------------------------------

void add_folder(std::u16string_view path);  // an existing folder stays as it is
// `size` zero bytes that take no memory.
void add_file(std::u16string_view path, std::uint64_t size = 0,
              std::uint64_t last_write = kDefaultLastWrite);
// A link without a target cannot be followed (file not found). A target may be relative to the
// link's folder, missing, or the link itself.
void add_junction(std::u16string_view path, std::u16string_view target = {});
void add_folder_symlink(std::u16string_view path, std::u16string_view target = {});
void add_file_symlink(std::u16string_view path, std::u16string_view target = {});
// Any attributes and tag for a node that exists, or for a new one without children or contents.
void set_type(std::u16string_view path, std::uint32_t attributes, std::uint32_t reparse_tag = 0);
void set_last_write(std::u16string_view path, std::uint64_t last_write);
// A read-only file can be neither replaced, removed nor written (access denied).
void set_read_only(std::u16string_view path, bool read_only = true);

bool exists(std::u16string_view path);       // links are not followed
void remove_tree(std::u16string_view path);  // with everything below; nothing there: no matter
// Moves a node with everything below; nothing may be at `to`.
void rename(std::u16string_view from, std::u16string_view to);
std::vector<std::u16string> list_names(std::u16string_view folder);  // children, in order

// What relative paths are relative to. After reset: C:\ (which need not exist).
void set_current_folder(std::u16string_view path);

// ---- Folders that are computed, not stored ------------------------------------------------------

// The children of a folder made up on the spot: millions of them cost no memory, and one costs
// what child() costs plus a few nanoseconds. Called from any thread; nothing here may throw. No
// lock is held around count() and child(), so that a test may hold a thread there; folder() is
// called with the volume locked and must not call back into it.
class GeneratedFolder {
public:
    virtual ~GeneratedFolder() = default;
    virtual std::uint64_t count() const = 0;
    // Fills name and attributes of child `index`; tag and type_error are 0 already.
    virtual void child(std::uint64_t index, platform::Child& out) const = 0;
    // The folder behind the child of that name; null when the child is a file. Every name that is
    // asked about counts as existing. A folder may return itself: a chain without an end.
    virtual std::shared_ptr<const GeneratedFolder> folder(std::u16string_view name) const;
};

void add_generated_folder(std::u16string_view path,
                          std::shared_ptr<const GeneratedFolder> children);

// `count` files "f00000000", "f00000001", ...
std::shared_ptr<const GeneratedFolder> numbered_files(std::uint64_t count);
// A folder called `name` that holds a folder called `name` ... `depth` of them.
std::shared_ptr<const GeneratedFolder> folder_chain(std::u16string_view name, std::uint64_t depth);
void set_name(platform::Child& child, std::u16string_view name);

// ---- Drives -------------------------------------------------------------------------------------

// Adds to the list of drives, in order, and creates the root folder. A list of more than 512 units
// is reported as too long for the caller's buffer, as Windows does.
void add_drive(std::u16string_view root, std::uint32_t type);

// ---- Files --------------------------------------------------------------------------------------

std::string read_file(std::u16string_view path);                    // throws when it is not a file
void write_file(std::u16string_view path, std::string_view bytes);  // creates or replaces
// A single read gives at most so many bytes. 0: as many as asked for. Only the next `reads` of them
// are cut short.
void set_largest_read(std::size_t bytes, std::size_t reads = SIZE_MAX);
// How many more bytes the disk takes before it is full. Removing a file gives nothing back.
void set_disk_room(std::uint64_t bytes);

// ---- Time, and what is still open ---------------------------------------------------------------

// From now on the monotonic clock stands at `nanoseconds`, and only platform::sleep moves it, until
// reset.
void freeze_clock(std::int64_t nanoseconds);
// How long the library has slept since the last reset. No time passes while it does.
std::uint64_t slept_milliseconds();

struct OpenHandles {
    std::uint64_t enumerations = 0;
    std::uint64_t files = 0;
    std::uint64_t threads = 0;  // started and not joined
    bool operator==(const OpenHandles&) const = default;
};
OpenHandles open_handles();
// Enumerations that were open at one time since reset, at most.
std::uint64_t most_open_enumerations();
std::uint64_t thread_buffers();  // those not freed yet

}  // namespace system_search::simulated
