#include "engine/scope.hpp"

#include <array>
#include <cstdint>
#include <stdexcept>

#include "common/path.hpp"
#include "common/text.hpp"
#include "platform/platform.hpp"

namespace system_search {
namespace {

std::vector<std::u16string> local_drives() {
    std::array<char16_t, 512> roots;
    const std::uint32_t units =
        platform::drive_strings(roots.data(), static_cast<std::uint32_t>(roots.size()));
    if (units == 0 || units >= roots.size()) {
        throw std::runtime_error("Cannot enumerate local drives.");
    }
    std::vector<std::u16string> local;
    for (const char16_t* root = roots.data(); *root != u'\0';) {
        const std::u16string_view text(root);
        const std::uint32_t type = platform::drive_type(root);
        if (type == platform::kDriveRemovable || type == platform::kDriveFixed) {
            local.emplace_back(text);
        }
        root += text.size() + 1;
    }
    if (local.empty()) throw std::runtime_error("No local drives are available.");
    return local;
}

std::u16string chosen_folder(std::string_view scope) {
    const std::u16string path = wide_from_utf8(scope);
    if (!is_absolute_path(path)) throw std::runtime_error("Choose an absolute folder path.");

    platform::Status status{};
    const platform::Error error = platform::status_following_links(path.c_str(), status);
    if (error != platform::kSuccess && !platform::is_not_found(error)) {
        throw std::runtime_error("status: " + platform::error_message(error) + ": \"" +
                                 std::string(scope) + "\"");
    }
    if (error != platform::kSuccess || platform::is_link(status.attributes, status.reparse_tag) ||
        (status.attributes & platform::kAttributeDirectory) == 0) {
        throw std::runtime_error("The selected folder is unavailable.");
    }
    return lexically_normal(path);
}

}  // namespace

std::vector<std::u16string> resolve_scope(std::string_view scope) {
    if (scope.empty()) return local_drives();
    return {chosen_folder(scope)};
}

}  // namespace system_search
