// The file that a save writes beside the cache file, and that takes that one's place when it is
// whole. This alone names it, creates it, moves it and removes it.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "platform/platform.hpp"

namespace system_search {

class TemporaryFile {
public:
    // Forms the name and touches nothing: the cache path, the clock's reading and `owner`, so that
    // neither two engines nor two saves of one engine ever share a file. Throws std::bad_alloc.
    TemporaryFile(const std::u16string& cache_path, std::uintptr_t owner);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    // Removes the file if it still has its own name. Tries for two seconds, whoever waits for it: a
    // file that stayed would be as large as the cache, and nobody would ever look for it.
    ~TemporaryFile();

    const std::u16string& cache_path() const { return cache_path_; }
    const std::u16string& path() const { return path_; }

    // Opens it for writing. Whatever is there under its name is left alone and not removed either.
    platform::Error create() noexcept;
    platform::File& file() { return file_; }
    // Closes it and moves it onto the cache file.
    platform::Error replace_cache(const std::atomic<bool>& cancel) noexcept;

private:
    std::u16string cache_path_;
    std::u16string path_;
    platform::File file_;
    bool may_exist_ = false;
};

}  // namespace system_search
