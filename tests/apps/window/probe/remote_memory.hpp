// Memory of another process that this one may fill and read, for window messages whose parameters
// are records that the system does not carry across.
#pragma once

#include <windows.h>

#include <cstddef>
#include <stdexcept>

class RemoteMemory {
public:
    RemoteMemory(HANDLE process, std::size_t bytes)
        : process_(process),
          address_(VirtualAllocEx(process, nullptr, bytes, MEM_COMMIT, PAGE_READWRITE)) {
        if (address_ == nullptr) throw std::runtime_error("no memory in the program");
    }
    ~RemoteMemory() { VirtualFreeEx(process_, address_, 0, MEM_RELEASE); }
    RemoteMemory(const RemoteMemory&) = delete;
    RemoteMemory& operator=(const RemoteMemory&) = delete;

    template <typename Record>
    void write(const Record& record, std::size_t at = 0) {
        if (!WriteProcessMemory(process_, bytes() + at, &record, sizeof record, nullptr)) {
            throw std::runtime_error("the program's memory cannot be written");
        }
    }

    void read(void* to, std::size_t size, std::size_t at = 0) const {
        if (!ReadProcessMemory(process_, bytes() + at, to, size, nullptr)) {
            throw std::runtime_error("the program's memory cannot be read");
        }
    }

    std::byte* bytes() const { return static_cast<std::byte*>(address_); }

    LPARAM parameter(std::size_t at = 0) const { return reinterpret_cast<LPARAM>(bytes() + at); }

private:
    HANDLE process_;
    void* address_;
};
