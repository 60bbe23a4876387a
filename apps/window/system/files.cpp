#include "system/files.hpp"

#include <windows.h>

#include <shlobj.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "common/wide_text.hpp"
#include "model/paths.hpp"

namespace window {
namespace {

std::filesystem::path settings_path(const std::string& folder) {
    return std::filesystem::path(app::native_wide(folder)) / L"settings.ini";
}

}  // namespace

std::string default_settings_folder() {
    PWSTR folder = nullptr;
    std::string path;
    if (SHGetKnownFolderPath(FOLDERID_LocalAppData, 0, nullptr, &folder) == S_OK) {
        path = normal_scope(app::to_utf8(folder).value_or("")) + "/System Search";
    }
    CoTaskMemFree(folder);
    return path;
}

Settings load_settings(const std::string& folder) {
    std::ifstream file(settings_path(folder), std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return parse_settings(text.str());
}

bool save_settings(const std::string& folder, const Settings& settings) {
    const std::filesystem::path path = settings_path(folder);
    // Two windows may save at once: each writes a file of its own first.
    std::filesystem::path fresh = path;
    fresh += L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp";
    std::error_code ignored;
    std::filesystem::create_directories(path.parent_path(), ignored);
    std::ofstream file(fresh, std::ios::binary);
    file << format_settings(settings);
    file.close();
    if (file && MoveFileExW(fresh.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) return true;
    DeleteFileW(fresh.c_str());
    return false;
}

std::optional<std::time_t> written_at(const std::string& path) {
    constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(app::native_wide(path).c_str(), GetFileExInfoStandard, &data)) {
        return std::nullopt;
    }
    ULARGE_INTEGER ticks;
    ticks.LowPart = data.ftLastWriteTime.dwLowDateTime;
    ticks.HighPart = data.ftLastWriteTime.dwHighDateTime;
    const auto seconds = static_cast<std::int64_t>(ticks.QuadPart / 10'000'000u);
    return static_cast<std::time_t>(seconds - kSecondsFrom1601To1970);
}

}  // namespace window
