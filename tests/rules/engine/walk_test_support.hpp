// The walk alone, and folders with long paths for it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/walk.hpp"
#include "rules/engine/engine_test_support.hpp"

namespace system_search {

// A chain of folders whose deepest one has a path of exactly `bytes` bytes.
inline std::u16string make_long_folder(std::size_t bytes) {
    std::u16string path = u"C:";
    while (path.size() + 1 + 255 + 2 <= bytes) path += u'\\' + std::u16string(255, u'd');
    path += u'\\' + std::u16string((bytes - path.size() - 1) / 2, u'd');
    path += u'\\' + std::u16string(bytes - path.size() - 1, u'd');
    add_folder(path);
    return path;
}

class WalkTest : public EngineTest {
protected:
    // On this thread, over any number of roots.
    Snapshot walk_roots(const std::vector<std::u16string>& roots) {
        const auto index = std::make_shared<Index>();
        replace_index(engine(), index);
        walk(engine(), *index, roots);
        return take_snapshot(*index);
    }
};

}  // namespace system_search
