#include "index/temporary_file.hpp"

#include <charconv>

#include "index/file_retry.hpp"

namespace system_search {
namespace {

template <typename Number>
void append_decimal(std::u16string& text, Number number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    text.append(digits, end);
}

}  // namespace

TemporaryFile::TemporaryFile(const std::u16string& cache_path, std::uintptr_t owner)
    : cache_path_(cache_path), path_(cache_path) {
    path_ += u'.';
    append_decimal(path_, platform::monotonic_nanoseconds());
    path_ += u'.';
    append_decimal(path_, owner);
    path_ += u".tmp";
}

TemporaryFile::~TemporaryFile() {
    file_.close();
    if (may_exist_) remove_with_retries(path_.c_str());
}

platform::Error TemporaryFile::create() noexcept {
    const platform::Error error = file_.create(path_.c_str());
    // A call that was ended may have made the file before.
    may_exist_ = error == platform::kSuccess || error == platform::kOperationAborted;
    return error;
}

platform::Error TemporaryFile::replace_cache(const std::atomic<bool>& cancel) noexcept {
    file_.close();
    const platform::Error error = replace_with_retries(path_.c_str(), cache_path_.c_str(), cancel);
    if (error == platform::kSuccess) may_exist_ = false;
    return error;
}

}  // namespace system_search
