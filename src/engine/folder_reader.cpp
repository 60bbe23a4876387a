#include "engine/folder_reader.hpp"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "common/text.hpp"

namespace system_search {
namespace {

constexpr std::size_t kLongestNameUnits = sizeof(platform::Child::name) / sizeof(char16_t);
// The conversion writes up to three bytes a unit, however short its result.
constexpr std::size_t kLongestRecordBytes =
    sizeof(ChildRecord) + kLongestNameUnits * (sizeof(char16_t) + 3) + alignof(ChildRecord);
constexpr std::size_t kFirstCapacityBytes = (std::size_t{32} << 10) + kLongestRecordBytes;

static_assert(kLongestRecordBytes <= UINT16_MAX);
static_assert(sizeof(Piece) % alignof(ChildRecord) == 0);

PiecePtr make_piece(std::size_t bytes) noexcept {
    return PiecePtr(static_cast<Piece*>(::operator new(bytes, std::nothrow)));
}

constexpr std::size_t round_up(std::size_t bytes) {
    constexpr std::size_t kUnit = alignof(ChildRecord);
    return (bytes + kUnit - 1) / kUnit * kUnit;
}

ChildKind kind_of(const platform::Child& child) {
    if (child.type_error != platform::kSuccess) return ChildKind::kUnreadable;
    if (platform::is_link(child.attributes, child.reparse_tag)) return ChildKind::kFile;
    return (child.attributes & platform::kAttributeDirectory) != 0 ? ChildKind::kFolder
                                                                   : ChildKind::kFile;
}

}  // namespace

PiecePtr FolderReader::read(const std::u16string& path, FolderAnswers& folder,
                            std::size_t most_bytes, const StopFlags& stop) {
    ran_out_of_memory_ = false;
    used_bytes_ = 0;
    if (!has_room()) throw std::bad_alloc();
    if (!folder.has_attributes) {
        if (stop.any()) return nullptr;
        const std::uint32_t attributes = platform::attributes(path.c_str());
        folder.has_attributes = true;
        // The failure value has the bit as well: what cannot be asked is not entered.
        if ((attributes & platform::kAttributeReparsePoint) != 0) {
            folder.is_refused = true;
            folder.has_ended = true;
            return nullptr;
        }
    }
    do {
        // Before the child is asked for: it could not be given back.
        if (!has_room()) {
            ran_out_of_memory_ = true;
            break;
        }
        if (stop.any()) return nullptr;
        const platform::Error error = folder.is_open ? folder.enumeration.next(child_)
                                                     : folder.enumeration.open(path, child_);
        if (error != platform::kSuccess) {
            folder.enumeration.close();
            folder.error = error;
            folder.has_ended = true;
            break;
        }
        folder.is_open = true;
        append();
    } while (used_bytes_ < most_bytes);
    return take_piece();
}

// Room for one more record. The buffer doubles from the first capacity on, so that a piece of a
// power of two and its last record fill it.
bool FolderReader::has_room() noexcept {
    const std::size_t needed = std::max(used_bytes_, sizeof(Piece)) + kLongestRecordBytes;
    if (needed <= capacity_bytes_) return true;
    const std::size_t capacity =
        capacity_bytes_ == 0 ? kFirstCapacityBytes : capacity_bytes_ * 2 - kLongestRecordBytes;
    PiecePtr larger = make_piece(capacity);
    if (larger == nullptr) return false;
    if (used_bytes_ > 0) std::memcpy(larger.get(), buffer_.get(), used_bytes_);
    buffer_ = std::move(larger);
    capacity_bytes_ = capacity;
    return true;
}

// Packs the current child.
void FolderReader::append() noexcept {
    Piece& piece = *buffer_;
    if (used_bytes_ == 0) {
        piece = Piece{};
        used_bytes_ = sizeof(Piece);
    }
    const auto offset = static_cast<std::uint32_t>(used_bytes_);
    auto& record = *new (record_at(offset)) ChildRecord{};
    record.kind = kind_of(child_);
    char* end = reinterpret_cast<char*>(&record + 1);
    if (record.kind == ChildKind::kFolder) {
        record.wide_units = static_cast<std::uint16_t>(child_.name_units);
        std::memcpy(end, child_.name, child_.name_units * sizeof(char16_t));
        end += child_.name_units * sizeof(char16_t);
        (piece.first_folder == 0 ? piece.first_folder : record_at(last_folder_)->next_folder) =
            offset;
        last_folder_ = offset;
    }
    if (record.kind != ChildKind::kUnreadable) {
        const std::size_t bytes = encode_utf8(child_.name_view(), end);
        record.has_valid_name = bytes != kInvalidText;
        if (record.has_valid_name) {
            // A file system may hand out a name with a backslash in it; stored, it is a separator.
            replace_backslashes(end, bytes);
            record.name_bytes = static_cast<std::uint16_t>(bytes);
            end += bytes;
        }
    }
    const std::size_t bytes = static_cast<std::size_t>(end - reinterpret_cast<char*>(&record));
    record.record_bytes = static_cast<std::uint16_t>(round_up(bytes));
    used_bytes_ += record.record_bytes;
    ++piece.children;
}

// The piece in a block of its own size. Without memory for one the buffer itself goes: its children
// cannot be asked for again.
PiecePtr FolderReader::take_piece() noexcept {
    if (used_bytes_ == 0) return nullptr;
    buffer_->bytes = static_cast<std::uint32_t>(used_bytes_);
    PiecePtr piece = make_piece(used_bytes_);
    if (piece != nullptr) {
        std::memcpy(piece.get(), buffer_.get(), used_bytes_);
        return piece;
    }
    ran_out_of_memory_ = true;
    capacity_bytes_ = 0;
    return std::move(buffer_);
}

}  // namespace system_search
