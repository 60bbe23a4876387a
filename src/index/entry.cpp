#include "index/entry.hpp"

#include <algorithm>

namespace system_search {
namespace {

// Compares whole folded paths where they lie. A name holds no "/", and a folder ends in one: where
// one folder continues beyond the other, that continuation and the other's name differ within
// both.
int compare_folded(const Entry& a, const Entry& b) {
    const std::string_view a_folder = a.folded_folder();
    const std::string_view b_folder = b.folded_folder();
    const std::size_t common = std::min(a_folder.size(), b_folder.size());
    if (a.folded_path.folder != b.folded_path.folder) {
        const int order = a_folder.substr(0, common).compare(b_folder.substr(0, common));
        if (order != 0) return order;
    }
    if (a_folder.size() < b_folder.size()) return a.folded_name().compare(b_folder.substr(common));
    if (a_folder.size() > b_folder.size()) return a_folder.substr(common).compare(b.folded_name());
    return a.folded_name().compare(b.folded_name());
}

}  // namespace

bool orders_before(const Entry& a, const Entry& b) {
    const int order = compare_folded(a, b);
    return order != 0 ? order < 0 : a.path.view() < b.path.view();
}

}  // namespace system_search
