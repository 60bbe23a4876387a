// The simulated volume has to behave as Windows does, or every test that stands on it is worthless.
#include "simulated/volume.hpp"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <thread>

#include "simulated/volume_test_fixture.hpp"

namespace system_search::simulated {
namespace {

using platform::Child;
using platform::Enumeration;
using platform::Error;
using platform::File;
using platform::Status;
using Names = std::vector<std::u16string>;

// The names of a folder, and the error that ended them.
std::pair<Names, Error> enumerate(const std::u16string& folder) {
    std::pair<Names, Error> result;
    Enumeration enumeration;
    Child child;
    for (result.second = enumeration.open(folder, child); result.second == 0;
         result.second = enumeration.next(child)) {
        result.first.emplace_back(child.name_view());
    }
    return result;
}

std::pair<Error, std::uint32_t> status(const char16_t* path) {
    Status out{};
    const Error error = platform::status_following_links(path, out);
    return {error, out.attributes};
}

std::pair<Error, std::uint32_t> ok(std::uint32_t attributes) {
    return {platform::kSuccess, attributes};
}

std::pair<Error, std::uint32_t> failed(Error error) {
    return {error, 0};
}

using SimulatedVolume = VolumeTest;

TEST_F(SimulatedVolume, enumerates_in_the_order_of_insertion) {
    add_file(u"C:\\m\\b");
    add_folder(u"C:/m/a/");
    add_file(u"C:\\m\\\xD800x");
    EXPECT_EQ(enumerate(u"C:\\m"),
              std::pair(Names{u"b", u"a", u"\xD800x"}, platform::kNoMoreFiles));
    EXPECT_EQ(enumerate(u"c:/M\\").first.size(), 3u);
    EXPECT_EQ(enumerate(u"C:\\m\\a"), std::pair(Names{}, platform::kNoMoreFiles));
    EXPECT_EQ(enumerate(u"C:\\m\\b").second, platform::kInvalidDirectory);
    EXPECT_EQ(enumerate(u"C:\\m\\c").second, platform::kPathNotFound);
}

TEST_F(SimulatedVolume, reports_type_and_tag_of_children) {
    add_junction(u"C:\\m\\j");
    set_type(u"C:\\m\\cloud", kAttributeArchive | platform::kAttributeReparsePoint, 0x9000001A);
    add_file(u"C:\\m\\odd");
    NodeFaults unknown;
    unknown.type = platform::kAccessDenied;
    set_faults(u"C:\\m\\odd", unknown);
    Enumeration enumeration;
    Child child;
    ASSERT_EQ(enumeration.open(u"C:\\m", child), platform::kSuccess);
    EXPECT_EQ(child.attributes, 0x410u);
    EXPECT_EQ(child.reparse_tag, platform::kTagMountPoint);
    ASSERT_EQ(enumeration.next(child), platform::kSuccess);
    EXPECT_EQ(child.attributes, 0x420u);
    EXPECT_EQ(child.reparse_tag, 0x9000001Au);
    EXPECT_EQ(child.type_error, platform::kSuccess);
    ASSERT_EQ(enumeration.next(child), platform::kSuccess);
    EXPECT_EQ(child.type_error, platform::kAccessDenied);
    EXPECT_EQ(open_handles(), (OpenHandles{1, 0, 0}));
    EXPECT_EQ(enumeration.next(child), platform::kNoMoreFiles);
}

TEST_F(SimulatedVolume, understands_every_form_of_path) {
    add_folder(u"C:\\m\\a");
    add_folder(u"\\\\server\\share\\x");
    add_folder(u"D:\\only");
    set_current_folder(u"C:\\m");
    const std::uint32_t folder = platform::kAttributeDirectory;
    struct {
        const char16_t* path;
        std::pair<Error, std::uint32_t> expected;
    } const rows[] = {
        {u"C:\\m\\a", ok(folder)},
        {u"c:/M//A/", ok(folder)},
        {u"C:\\", ok(folder)},
        {u"C:\\m\\.\\gone\\..\\a", ok(folder)},
        {u"C:\\..\\..\\m", ok(folder)},
        {u"\\\\?\\C:\\m\\a", ok(folder)},
        {u"\\\\.\\C:\\m\\a", ok(folder)},
        {u"\\??\\C:\\m\\a", ok(folder)},
        {u"//?/C:/m/a", ok(folder)},
        {u"\\\\?\\C:/m", failed(platform::kInvalidName)},
        {u"\\\\?\\C:\\m\\..\\m", failed(platform::kInvalidName)},
        {u"//SERVER/share/x", ok(folder)},
        {u"\\\\?\\UNC\\server\\share\\x", ok(folder)},
        {u"\\\\server\\other\\x", failed(platform::kBadNetworkPath)},
        {u"\\\\server", failed(platform::kBadPathName)},
        {u"a", ok(folder)},
        {u"..\\m\\a", ok(folder)},
        {u"\\m\\a", ok(folder)},
        {u"C:a", ok(folder)},
        {u"D:only", ok(folder)},
        {u"D:", ok(folder)},
        {u"", failed(platform::kPathNotFound)},
        {u"E:\\m", failed(platform::kPathNotFound)},
        {u"C:\\m\\b", failed(platform::kFileNotFound)},
        {u"C:\\m\\b\\c", failed(platform::kPathNotFound)},
        {u"C:\\m\\b?", failed(platform::kInvalidName)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(std::u16string(row.path)));
        EXPECT_EQ(status(row.path), row.expected);
    }
}

TEST_F(SimulatedVolume, a_file_is_no_folder) {
    add_file(u"C:\\f");
    EXPECT_EQ(status(u"C:\\f"), ok(kAttributeArchive));
    EXPECT_EQ(status(u"C:\\f\\"), failed(platform::kInvalidName));
    EXPECT_EQ(status(u"C:\\f\\x"), failed(platform::kPathNotFound));
}

TEST_F(SimulatedVolume, follows_links_as_windows_does) {
    add_file(u"C:\\real\\f");
    add_junction(u"C:\\j", u"C:\\real");
    add_folder_symlink(u"C:\\d\\relative", u"..\\real");
    add_file_symlink(u"C:\\l", u"C:\\j\\f");
    add_folder_symlink(u"C:\\loop", u"C:\\loop");
    add_junction(u"C:\\one", u"C:\\two");
    add_junction(u"C:\\two", u"C:\\one");
    add_junction(u"C:\\dangling");
    add_junction(u"C:\\missing", u"C:\\gone");
    EXPECT_EQ(status(u"C:\\j"), ok(platform::kAttributeDirectory));
    EXPECT_EQ(status(u"C:\\j\\f"), ok(kAttributeArchive));
    EXPECT_EQ(status(u"C:\\d\\relative\\f"), ok(kAttributeArchive));
    EXPECT_EQ(status(u"C:\\l"), ok(kAttributeArchive));
    EXPECT_EQ(status(u"C:\\loop"), failed(platform::kCannotResolveName));
    EXPECT_EQ(status(u"C:\\one\\x"), failed(platform::kCannotResolveName));
    EXPECT_EQ(status(u"C:\\dangling"), failed(platform::kFileNotFound));
    EXPECT_EQ(status(u"C:\\missing"), failed(platform::kFileNotFound));
    EXPECT_EQ(platform::attributes(u"C:\\j"), 0x410u);
    EXPECT_EQ(platform::attributes(u"C:\\loop"), 0x410u);
    EXPECT_EQ(platform::attributes(u"C:\\gone"), platform::kInvalidAttributes);
    EXPECT_EQ(enumerate(u"C:\\j").first, Names{u"f"});
    platform::FileInformation information{};
    EXPECT_EQ(platform::file_information(u"C:\\l", information), platform::kSuccess);
    EXPECT_EQ(information.attributes, 0x420u);
}

TEST_F(SimulatedVolume, other_reparse_points_are_entered) {
    add_file(u"C:\\cloud\\f");
    set_type(u"C:\\cloud", 0x410, 0x9000001A);
    Status out{};
    EXPECT_EQ(platform::status_following_links(u"C:\\cloud", out), platform::kSuccess);
    EXPECT_EQ(out.attributes, 0x410u);
    EXPECT_EQ(out.reparse_tag, 0x9000001Au);
    EXPECT_EQ(enumerate(u"C:\\cloud").first, Names{u"f"});
}

TEST_F(SimulatedVolume, faults_of_a_node_show_where_they_belong) {
    add_file(u"C:\\m\\a");
    add_file(u"C:\\m\\b");
    add_file(u"C:\\m\\c");
    NodeFaults faults;
    faults.next = 31;
    faults.next_after = 2;
    faults.attributes = platform::kAccessDenied;
    faults.status_result = Status{0x410, platform::kTagMountPoint};
    set_faults(u"C:\\m", faults);
    EXPECT_EQ(enumerate(u"C:\\m"), std::pair(Names{u"a", u"b"}, Error{31}));
    EXPECT_EQ(platform::attributes(u"C:\\m"), platform::kInvalidAttributes);
    EXPECT_EQ(status(u"C:\\m"), ok(0x410));
    faults.open = platform::kNoMoreFiles;
    set_faults(u"C:\\m", faults);
    EXPECT_EQ(enumerate(u"C:\\m"), std::pair(Names{}, platform::kNoMoreFiles));
    faults = {};
    faults.file_information = platform::kAccessDenied;
    set_faults(u"C:\\m\\a", faults);
    platform::FileInformation information{};
    EXPECT_EQ(platform::file_information(u"C:\\m\\a", information), platform::kAccessDenied);
}

TEST_F(SimulatedVolume, a_fault_of_a_link_shows_before_that_of_its_target) {
    add_folder(u"C:\\real");
    add_junction(u"C:\\j", u"C:\\real");
    NodeFaults faults;
    faults.status = platform::kCannotAccessFile;
    set_faults(u"C:\\j", faults);
    EXPECT_EQ(status(u"C:\\j"), failed(platform::kCannotAccessFile));
    EXPECT_EQ(status(u"C:\\real"), ok(platform::kAttributeDirectory));
}

TEST_F(SimulatedVolume, removed_and_renamed_nodes_leave_an_enumeration_whole) {
    for (const char16_t* path : {u"C:\\m\\a", u"C:\\m\\b", u"C:\\m\\c"}) add_file(path);
    on_child(u"C:\\m", 1, [] {
        remove_tree(u"C:\\m\\b");
        rename(u"C:\\m\\c", u"C:\\m\\d");
        add_file(u"C:\\m\\new");
    });
    EXPECT_EQ(enumerate(u"C:\\m"), std::pair(Names{u"a", u"d"}, platform::kNoMoreFiles));
    EXPECT_EQ(list_names(u"C:\\m"), (Names{u"a", u"d", u"new"}));
    EXPECT_FALSE(exists(u"C:\\m\\b"));
    EXPECT_TRUE(exists(u"C:\\m\\D"));
}

TEST_F(SimulatedVolume, generated_folders_have_children_and_depth) {
    add_generated_folder(u"C:\\many", numbered_files(5'000'001));
    std::uint64_t count = 0;
    Enumeration enumeration;
    Child child;
    Error error = enumeration.open(u"C:\\many", child);
    EXPECT_EQ(child.name_view(), u"f00000000");
    for (; error == 0; error = enumeration.next(child)) ++count;
    EXPECT_EQ(count, 5'000'001u);
    EXPECT_EQ(child.name_view(), u"f05000000");
    EXPECT_EQ(error, platform::kNoMoreFiles);
    enumeration.close();

    add_generated_folder(u"C:\\deep", folder_chain(u"x", 2000));
    std::u16string path = u"C:\\deep";
    int depth = 0;
    while (!enumerate(path).first.empty()) {
        path += u"\\x";
        ASSERT_EQ(platform::attributes(path.c_str()), platform::kAttributeDirectory);
        ++depth;
    }
    EXPECT_EQ(depth, 2000);
}

TEST_F(SimulatedVolume, lists_drives_as_windows_does) {
    char16_t buffer[9];
    EXPECT_EQ(platform::drive_strings(buffer, 9), 0u);
    add_drive(u"C:\\", platform::kDriveFixed);
    add_drive(u"E:\\", 5);
    EXPECT_EQ(platform::drive_strings(buffer, 9), 8u);
    EXPECT_EQ(std::u16string_view(buffer, 9), std::u16string_view(u"C:\\\0E:\\\0\0", 9));
    EXPECT_EQ(platform::drive_strings(buffer, 8), 9u);
    EXPECT_EQ(platform::drive_type(u"c:\\"), platform::kDriveFixed);
    EXPECT_EQ(platform::drive_type(u"E:\\"), 5u);
    EXPECT_EQ(platform::drive_type(u"F:\\"), 1u);
    EXPECT_EQ(status(u"E:\\"), ok(platform::kAttributeDirectory));
    fail_platform_call(1, platform::kAccessDenied, kDriveStrings);
    EXPECT_EQ(platform::drive_strings(buffer, 9), 0u);
}

// ---- Files --------------------------------------------------------------------------------------

std::string read_all(File& file) {
    std::string all;
    char buffer[3];
    std::size_t got = 0;
    while (file.read(buffer, sizeof buffer, got) == 0 && got > 0) all.append(buffer, got);
    return all;
}

TEST_F(SimulatedVolume, files_are_written_and_read_in_pieces) {
    add_folder(u"C:\\d");
    File file;
    ASSERT_EQ(file.create(u"C:\\d\\f"), platform::kSuccess);
    EXPECT_EQ(file.write("hello", 5), platform::kSuccess);
    EXPECT_EQ(file.write(" you", 4), platform::kSuccess);
    EXPECT_EQ(open_handles(), (OpenHandles{0, 1, 0}));
    EXPECT_EQ(file.close(), platform::kSuccess);
    EXPECT_EQ(read_file(u"C:\\d\\f"), "hello you");
    set_largest_read(2);
    ASSERT_EQ(file.open_for_reading(u"C:\\d\\f"), platform::kSuccess);
    std::uint64_t size = 0;
    EXPECT_EQ(file.size(size), platform::kSuccess);
    EXPECT_EQ(size, 9u);
    char buffer[8];
    std::size_t got = 0;
    EXPECT_EQ(file.read(buffer, 8, got), platform::kSuccess);
    EXPECT_EQ(std::string(buffer, got), "he");
    EXPECT_EQ(read_all(file), "llo you");
}

TEST_F(SimulatedVolume, a_file_of_5_gib_takes_no_memory) {
    add_file(u"C:\\f", 5'368'709'120, 42);
    platform::FileInformation information{};
    ASSERT_EQ(platform::file_information(u"C:\\f", information), platform::kSuccess);
    EXPECT_EQ(information.size, 5'368'709'120u);
    EXPECT_EQ(information.last_write, 42u);
    File file;
    ASSERT_EQ(file.open_for_reading(u"C:\\f"), platform::kSuccess);
    char buffer[4] = "abc";
    std::size_t got = 0;
    ASSERT_EQ(file.read(buffer, 4, got), platform::kSuccess);
    EXPECT_EQ(std::string(buffer, got), std::string(4, '\0'));
}

TEST_F(SimulatedVolume, an_open_file_keeps_its_contents_when_it_is_replaced) {
    write_file(u"C:\\f", "old");
    write_file(u"C:\\t", "new");
    File file;
    ASSERT_EQ(file.open_for_reading(u"C:\\f"), platform::kSuccess);
    EXPECT_EQ(platform::replace_file(u"C:\\t", u"C:\\f"), platform::kSuccess);
    EXPECT_EQ(read_all(file), "old");
    EXPECT_EQ(read_file(u"C:\\f"), "new");
    EXPECT_EQ(list_names(u"C:\\"), Names{u"f"});
}

TEST_F(SimulatedVolume, file_operations_are_refused_as_windows_refuses_them) {
    write_file(u"C:\\d\\f", "kept");
    write_file(u"C:\\d\\t", "new");
    set_read_only(u"C:\\d\\f");
    add_folder(u"C:\\d\\folder");
    File file;
    EXPECT_EQ(platform::replace_file(u"C:\\d\\t", u"C:\\d\\f"), platform::kAccessDenied);
    EXPECT_EQ(platform::replace_file(u"C:\\d\\t", u"C:\\d\\folder"), platform::kAccessDenied);
    EXPECT_EQ(platform::replace_file(u"C:\\d\\none", u"C:\\d\\t"), platform::kFileNotFound);
    EXPECT_EQ(platform::replace_file(u"C:\\d\\t", u"C:\\none\\t"), platform::kPathNotFound);
    EXPECT_EQ(file.create(u"C:\\d\\f"), platform::kAccessDenied);
    EXPECT_EQ(file.create(u"C:\\d\\folder"), platform::kAccessDenied);
    EXPECT_EQ(file.create(u"C:\\none\\f"), platform::kPathNotFound);
    EXPECT_EQ(file.create(u"C:\\d\\a*"), platform::kInvalidName);
    EXPECT_EQ(file.create(u"C:\\d\\t\\f"), platform::kPathNotFound);
    EXPECT_EQ(file.open_for_reading(u"C:\\d\\none"), platform::kFileNotFound);
    EXPECT_EQ(file.open_for_reading(u"C:\\d\\folder"), platform::kAccessDenied);
    EXPECT_EQ(platform::remove_file(u"C:\\d\\f"), platform::kAccessDenied);
    EXPECT_EQ(platform::remove_file(u"C:\\d\\none"), platform::kFileNotFound);
    EXPECT_EQ(read_file(u"C:\\d\\f"), "kept");
    NodeFaults sealed;
    sealed.change_children = platform::kAccessDenied;
    set_faults(u"C:\\d", sealed);
    EXPECT_EQ(file.create(u"C:\\d\\x"), platform::kAccessDenied);
    EXPECT_EQ(platform::remove_file(u"C:\\d\\t"), platform::kAccessDenied);
    EXPECT_EQ(platform::create_folder(u"C:\\d\\x"), platform::kAccessDenied);
    EXPECT_EQ(list_names(u"C:\\d"), (Names{u"f", u"t", u"folder"}));
}

TEST_F(SimulatedVolume, creating_folders_fails_as_on_windows) {
    add_file(u"C:\\f");
    EXPECT_EQ(platform::create_folder(u"C:\\d"), platform::kSuccess);
    EXPECT_EQ(platform::create_folder(u"C:\\d\\"), platform::kAlreadyExists);
    EXPECT_EQ(platform::create_folder(u"C:\\f"), platform::kAlreadyExists);
    EXPECT_EQ(platform::create_folder(u"C:\\f\\x"), platform::kPathNotFound);
    EXPECT_EQ(platform::create_folder(u"C:\\none\\x"), platform::kPathNotFound);
    EXPECT_EQ(platform::create_folder(u"C:\\a|b"), platform::kInvalidName);
    EXPECT_EQ(platform::create_folder(u"C:\\"), platform::kAccessDenied);
    EXPECT_EQ(platform::create_folder(u"E:\\"), platform::kPathNotFound);
    EXPECT_EQ(platform::attributes(u"C:\\d"), platform::kAttributeDirectory);
}

TEST_F(SimulatedVolume, a_full_disk_takes_what_fits) {
    add_folder(u"C:\\");
    set_disk_room(3);
    File file;
    ASSERT_EQ(file.create(u"C:\\f"), platform::kSuccess);
    EXPECT_EQ(file.write("ab", 2), platform::kSuccess);
    EXPECT_EQ(file.write("cd", 2), platform::kDiskFull);
    EXPECT_EQ(read_file(u"C:\\f"), "abc");
}

// ---- Faults -------------------------------------------------------------------------------------

TEST_F(SimulatedVolume, the_nth_call_of_the_chosen_kinds_fails) {
    add_folder(u"C:\\");
    fail_platform_call(2, platform::kDiskFull, kWriteFile | kCloseFile, /*times=*/2);
    File file;
    ASSERT_EQ(file.create(u"C:\\f"), platform::kSuccess);
    EXPECT_EQ(file.write("ab", 2), platform::kSuccess);
    set_partial_writes(true);
    EXPECT_EQ(file.write("cdef", 4), platform::kDiskFull);
    EXPECT_EQ(file.close(), platform::kDiskFull);
    EXPECT_EQ(file.close(), platform::kSuccess) << "it is closed";
    EXPECT_EQ(read_file(u"C:\\f"), "abcd");
    EXPECT_EQ(failed_platform_calls(), 2u);
    EXPECT_EQ(platform_calls(), 4u);
    EXPECT_EQ(platform_calls(kCreateFile), 1u);
    forget_call_plans();
    ASSERT_EQ(file.create(u"C:\\f"), platform::kSuccess);
    EXPECT_EQ(file.write("x", 1), platform::kSuccess);
}

TEST_F(SimulatedVolume, a_hook_runs_before_the_call_it_waits_for) {
    add_folder(u"C:\\");
    on_platform_call(2, kAttributes, [] { add_file(u"C:\\late"); });
    EXPECT_EQ(platform::attributes(u"C:\\late"), platform::kInvalidAttributes);
    EXPECT_EQ(platform::attributes(u"C:\\late"), kAttributeArchive);
    EXPECT_EQ(platform::attributes(u"C:\\late"), kAttributeArchive) << "it ran twice";
}

TEST_F(SimulatedVolume, a_gate_holds_a_thread_before_a_child) {
    for (const char16_t* path : {u"C:\\m\\a", u"C:\\m\\b"}) add_file(path);
    Gate gate;
    on_child(u"C:\\m", 1, [&] { gate.hold(); });
    std::atomic<int> seen{0};
    std::thread walker([&] {
        Enumeration enumeration;
        Child child;
        for (Error error = enumeration.open(u"C:\\m", child); error == 0;
             error = enumeration.next(child)) {
            ++seen;
        }
    });
    EXPECT_TRUE(gate.wait_until_held());
    EXPECT_EQ(seen, 1);
    gate.release();
    walker.join();
    EXPECT_EQ(seen, 2);
}

struct alignas(64) Wide {
    char bytes[64];
};

TEST_F(SimulatedVolume, every_kind_of_allocation_can_fail) {
    // Called through volatile pointers, or the compiler leaves the pairs out.
    void* (*volatile allocate)(std::size_t) = [](std::size_t n) { return std::malloc(n); };
    void* (*volatile clear)(std::size_t) = [](std::size_t n) { return std::calloc(1, n); };
    void* (*volatile grow)(std::size_t) = [](std::size_t n) { return std::realloc(nullptr, n); };
    void* (*volatile plain)(std::size_t) = [](std::size_t n) { return operator new(n); };
    void* (*volatile nothrow)(std::size_t) = [](std::size_t n) {
        return operator new(n, std::nothrow);
    };
    void* (*volatile aligned)(std::size_t) = [](std::size_t n) {
        return operator new[](n, std::align_val_t{64}, std::nothrow);
    };
    int failures = 0;
    const auto attempt = [&](void* (*volatile & function)(std::size_t)) {
        void* memory = nullptr;
        try {
            memory = function(64);
        } catch (const std::bad_alloc&) {
        }
        failures += memory == nullptr;
        std::free(memory);
    };
    for (std::uint64_t nth = 0; nth <= 7; ++nth) {
        failures = 0;
        {
            AllocationFault fault(nth);
            for (auto* function : {&allocate, &clear, &grow, &plain, &nothrow, &aligned}) {
                attempt(*function);
            }
            // The volume's own do not count.
            add_file(std::u16string_view(u"C:\\f12345678").substr(0, 4 + nth));
        }
        EXPECT_EQ(AllocationFault::counted(), 6u);
        EXPECT_EQ(AllocationFault::largest(), 64u);
        EXPECT_EQ(failures, nth >= 1 && nth <= 6 ? 1 : 0) << nth;
        EXPECT_EQ(AllocationFault::hit(), nth >= 1 && nth <= 6) << nth;
    }
    const auto wide = std::make_unique<Wide>();
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(wide.get()) % 64, 0u);
}

TEST_F(SimulatedVolume, short_memory_shows_at_the_platform_calls_that_need_some) {
    add_file(u"C:\\m\\a");
    const std::u16string folder = u"C:\\m";
    Child child;
    bool refused = false;
    char* buffer = nullptr;
    Error start_error = 0;
    Enumeration enumeration;
    platform::Thread thread;
    {
        AllocationFault fault(1, UINT64_MAX);
        try {
            enumeration.open(folder, child);
        } catch (const std::bad_alloc&) {
            refused = true;
        }
        buffer = platform::thread_buffer(10);
        start_error = thread.start([](void*) noexcept {}, nullptr);
    }
    EXPECT_TRUE(refused);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(start_error, platform::kNotEnoughMemory);
    EXPECT_FALSE(thread.joinable());
}

// ---- Threads ------------------------------------------------------------------------------------

TEST_F(SimulatedVolume, threads_run_and_are_counted_until_joined) {
    struct Seen {
        std::atomic<bool> ran{false};
        platform::Thread thread;
    } seen;
    const auto body = [](void* argument) noexcept { static_cast<Seen*>(argument)->ran = true; };
    fail_platform_call(1, platform::kNotEnoughMemory, kStartThread);
    EXPECT_EQ(seen.thread.start(body, &seen), platform::kNotEnoughMemory);
    ASSERT_EQ(seen.thread.start(body, &seen), platform::kSuccess);
    EXPECT_EQ(open_handles(), (OpenHandles{0, 0, 1}));
    EXPECT_FALSE(seen.thread.is_current());
    seen.thread.join();
    EXPECT_TRUE(seen.ran);
    EXPECT_FALSE(seen.thread.joinable());
}

TEST_F(SimulatedVolume, a_thread_buffer_lives_as_long_as_its_thread_or_the_library) {
    platform::detach();
    ASSERT_EQ(thread_buffers(), 0u);
    char* const mine = platform::thread_buffer(10);
    ASSERT_NE(mine, nullptr);
    std::strcpy(mine, "text");
    EXPECT_EQ(platform::thread_buffer(5), mine);
    EXPECT_STREQ(platform::thread_buffer(100'000), "text");
    std::thread([mine] { EXPECT_NE(platform::thread_buffer(10), mine); }).join();
    EXPECT_EQ(thread_buffers(), 1u);
    platform::detach();
    EXPECT_EQ(thread_buffers(), 0u);
    EXPECT_NE(platform::thread_buffer(10), nullptr);
    platform::detach();
}

TEST_F(SimulatedVolume, an_exception_scope_is_not_ready_when_its_call_fails) {
    EXPECT_TRUE(platform::ExceptionScope().ready());
    fail_platform_call(1, platform::kNotEnoughMemory);
    EXPECT_TRUE(platform::ExceptionScope().ready()) << "not among all calls";
    fail_platform_call(1, platform::kNotEnoughMemory, kExceptionScope);
    EXPECT_FALSE(platform::ExceptionScope().ready());
}

TEST_F(SimulatedVolume, the_clock_runs_until_it_is_frozen) {
    const std::int64_t first = platform::monotonic_nanoseconds();
    EXPECT_GE(platform::monotonic_nanoseconds(), first);
    freeze_clock(-7);
    EXPECT_EQ(platform::monotonic_nanoseconds(), -7);
}

}  // namespace
}  // namespace system_search::simulated
