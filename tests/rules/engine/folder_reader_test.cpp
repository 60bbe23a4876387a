// The buffer of a reader: how often it grows, how far, and what is made of it.
#include "engine/folder_reader.hpp"

#include <atomic>
#include <string>

#include "rules/engine/read_ahead_support.hpp"

namespace system_search {
namespace {

class FolderReaderTest : public VolumeTest {
protected:
    // One more reading of a folder by the same reader, its allocations counted.
    PiecePtr read(const std::u16string& folder, FolderAnswers& answers, std::size_t most_bytes) {
        const AllocationFault counting(0);
        return reader_.read(folder, answers, most_bytes, {go_on_, go_on_});
    }

    FolderReader reader_;
    const std::atomic<bool> go_on_{false};
};

constexpr std::size_t kMebibyte = std::size_t{1} << 20;
// For the last record, which may be of the longest name, and the header.
constexpr std::size_t kSlack = std::size_t{4} << 10;

TEST_F(FolderReaderTest, its_buffer_doubles_so_that_a_piece_of_a_mebibyte_takes_few_allocations) {
    add_generated_folder(u"C:\\giant", numbered_files(1'000'000));
    FolderAnswers giant;
    PiecePtr piece = read(u"C:\\giant", giant, kMebibyte);
    ASSERT_NE(piece, nullptr);
    EXPECT_GE(piece->bytes, kMebibyte);
    EXPECT_LE(piece->bytes, kMebibyte + kSlack);
    // From 32 KiB to a mebibyte, the opening and the piece.
    EXPECT_EQ(AllocationFault::counted(), 6u + 1u + 1u);
    EXPECT_LE(AllocationFault::largest(), kMebibyte + kSlack);

    piece = read(u"C:\\giant", giant, kMebibyte);
    ASSERT_NE(piece, nullptr);
    EXPECT_EQ(AllocationFault::counted(), 1u) << "the buffer is there already";
}

TEST_F(FolderReaderTest, a_small_folder_takes_a_small_buffer_and_a_piece_of_its_own_size) {
    add_generated_folder(u"C:\\small", numbered_files(10));
    FolderAnswers small;
    const PiecePtr piece = read(u"C:\\small", small, kMebibyte);
    ASSERT_NE(piece, nullptr);
    EXPECT_EQ(piece->children, 10u);
    EXPECT_TRUE(small.has_ended);
    EXPECT_LE(AllocationFault::largest(), (std::size_t{32} << 10) + kSlack);
    EXPECT_LE(piece->bytes, 10 * (sizeof(ChildRecord) + 12) + sizeof(Piece));
}

TEST_F(FolderReaderTest, what_was_read_before_the_buffer_grew_is_kept) {
    add_generated_folder(u"C:\\big", numbered_files(20'000));
    FolderAnswers big;
    const PiecePtr piece = read(u"C:\\big", big, kMebibyte);
    ASSERT_NE(piece, nullptr);
    EXPECT_EQ(piece->children, 20'000u);
    std::uint32_t number = 0;
    for (std::uint32_t at = sizeof(Piece); at < piece->bytes; ++number) {
        const ChildRecord& child = *piece->record(at);
        std::string digits = std::to_string(number);
        digits.insert(0, 8 - digits.size(), '0');
        ASSERT_EQ(child.name(), "f" + digits);
        at += child.record_bytes;
    }
    EXPECT_EQ(number, 20'000u);
}

}  // namespace
}  // namespace system_search
