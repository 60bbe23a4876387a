// The exported function of the folder listing. What it returns is a query like any other.
#include <memory>
#include <new>
#include <utility>

#include "common/guard.hpp"
#include "listing/listing.hpp"
#include "query/query.hpp"
#include "system_search.h"

namespace {

using system_search::ListingJob;
using system_search::Query;
using system_search::SearchArguments;

std::unique_ptr<Query> start_query(const char* directory, SearchArguments arguments) {
    auto query = std::unique_ptr<Query>(new (std::nothrow) Query);
    if (query == nullptr) return nullptr;
    auto job = std::unique_ptr<ListingJob>(
        new (std::nothrow) ListingJob{query.get(), directory, std::move(arguments)});
    if (job == nullptr) return nullptr;
    const auto error = system_search::start_listing(std::move(job));
    return error == system_search::platform::kSuccess ? std::move(query) : nullptr;
}

}  // namespace

SystemSearchQuery* ss_query_directory(const char* directory, const char* text, uint32_t flags,
                                      uint32_t kind, uint32_t limit) {
    if (directory == nullptr || *directory == '\0' ||
        !system_search::are_search_arguments(text, flags, kind, limit)) {
        return nullptr;
    }
    return system_search::guarded<SystemSearchQuery*>(nullptr, [&] {
        return reinterpret_cast<SystemSearchQuery*>(
            start_query(directory, {text, flags, kind, limit}).release());
    });
}
