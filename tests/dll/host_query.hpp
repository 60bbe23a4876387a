// A query as a host sees it: the handle, its end, and all that can be read from it.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "system_search.h"

class HostQuery {
public:
    explicit HostQuery(SystemSearchQuery* handle) : handle_(handle) {
        if (handle != nullptr) wait();
    }
    ~HostQuery() { ss_query_destroy(handle_); }
    HostQuery(const HostQuery&) = delete;
    HostQuery& operator=(const HostQuery&) = delete;

    SystemSearchQuery* handle() const { return handle_; }
    const QueryStatus& status() const { return status_; }
    std::vector<std::string> paths() const {
        std::vector<std::string> all;
        for (std::uint32_t i = 0; i < status_.count; ++i) {
            const char* const path = ss_query_path(handle_, i);
            all.emplace_back(path != nullptr ? path : "(null)");
        }
        return all;
    }
    // The names of the results, behind the last "/".
    std::vector<std::string> names() const {
        std::vector<std::string> all = paths();
        for (std::string& path : all) path.erase(0, path.rfind('/') + 1);
        return all;
    }
    std::uint32_t kind(std::uint32_t index) const { return ss_query_kind(handle_, index); }
    ResultMetadata metadata(std::uint32_t index) const {
        ResultMetadata out{9, 9, 9, 9};
        EXPECT_EQ(ss_query_metadata(handle_, index, &out), 1);
        return out;
    }

private:
    void wait() {
        const ULONGLONG deadline = GetTickCount64() + 120'000;
        for (;;) {
            ss_query_poll(handle_, &status_);
            if (status_.state != SS_QUERY_RUNNING) return;
            if (GetTickCount64() > deadline) {
                ADD_FAILURE() << "the query does not end";
                return;
            }
            Sleep(0);
        }
    }

    SystemSearchQuery* handle_;
    QueryStatus status_{9, 9, 9, 9, 9};
};
