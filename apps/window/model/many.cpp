#include "model/many.hpp"

#include <set>

#include "model/paths.hpp"

namespace window {

std::size_t folders_of(const std::vector<std::string>& paths) {
    std::set<std::string_view> folders;
    for (const std::string& path : paths) folders.insert(folder_of(path));
    return folders.size();
}

std::string question_before_opening(std::size_t count, std::string_view things,
                                    const NumberStyle& style) {
    constexpr std::size_t kMostUnasked = 10;
    if (count <= kMostUnasked) return "";
    return "Open all " + format_count(count, style) + " " + std::string(things) + " at once?";
}

}  // namespace window
