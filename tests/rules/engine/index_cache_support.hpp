// One cache path, one scope and an engine for the tests of loading and saving.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/index_cache.hpp"
#include "rules/index/cache_bytes.hpp"
#include "simulated/volume_test_fixture.hpp"
#include "system_search.h"

namespace system_search {

inline constexpr char16_t kFile[] = u"C:\\cache\\index";
inline constexpr char kPath[] = "C:/cache/index";
inline constexpr char kScope[] = "C:\\music";
inline constexpr char kNotSaved[] = "Index is usable, but its cache could not be saved.";
inline constexpr std::uint64_t kFromNowOn = UINT64_MAX / 2;

inline std::string error_of(Engine& engine) {
    platform::MutexLock lock(engine.mutex);
    return engine.error;
}

inline std::vector<std::u16string> files() {
    return simulated::list_names(u"C:\\cache");
}

// One engine whose build thread is the test's own.
class IndexCache : public simulated::VolumeTest {
protected:
    void SetUp() override {
        VolumeTest::SetUp();
        simulated::add_folder(u"C:\\cache");
        replace_index(engine, std::make_shared<Index>());
    }
    bool load() { return load_index_cache(engine, kScope, kPath); }
    void save() { save_index_cache(engine, index, kScope, kPath); }

    Engine engine;
    Index index;  // what is saved
};

}  // namespace system_search
