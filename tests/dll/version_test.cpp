// The DLL says which version it is, where Explorer and installers look for it.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "system_search.h"

namespace {

std::vector<unsigned char> version_resource() {
    const DWORD size = GetFileVersionInfoSizeW(L"system_search.dll", nullptr);
    std::vector<unsigned char> resource(size);
    if (size == 0 || !GetFileVersionInfoW(L"system_search.dll", 0, size, resource.data()))
        return {};
    return resource;
}

std::wstring text(const std::vector<unsigned char>& resource, const std::wstring& name) {
    void* value = nullptr;
    UINT units = 0;
    const std::wstring block = L"\\StringFileInfo\\040904B0\\" + name;
    if (!VerQueryValueW(resource.data(), block.c_str(), &value, &units) || units == 0) return {};
    return static_cast<const wchar_t*>(value);
}

TEST(Version, of_the_header_is_the_projects) {
    EXPECT_STREQ(SS_VERSION, SS_PROJECT_VERSION);
    EXPECT_EQ(std::to_string(SS_VERSION_MAJOR) + "." + std::to_string(SS_VERSION_MINOR) + "." +
                  std::to_string(SS_VERSION_PATCH),
              SS_VERSION);
}

TEST(Version, is_the_projects_version_in_numbers) {
    const auto resource = version_resource();
    ASSERT_FALSE(resource.empty()) << "the DLL has no version resource";
    void* value = nullptr;
    UINT size = 0;
    ASSERT_TRUE(VerQueryValueW(resource.data(), L"\\", &value, &size));
    ASSERT_GE(size, sizeof(VS_FIXEDFILEINFO));
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
    EXPECT_EQ(fixed->dwFileType, static_cast<DWORD>(VFT_DLL));

    const auto numbers = [](DWORD high, DWORD low) {
        return std::to_string(HIWORD(high)) + "." + std::to_string(LOWORD(high)) + "." +
               std::to_string(HIWORD(low)) + "." + std::to_string(LOWORD(low));
    };
    const std::string expected = std::string(SS_PROJECT_VERSION) + ".0";
    EXPECT_EQ(numbers(fixed->dwFileVersionMS, fixed->dwFileVersionLS), expected);
    EXPECT_EQ(numbers(fixed->dwProductVersionMS, fixed->dwProductVersionLS), expected);
}

TEST(Version, is_the_projects_version_in_words) {
    const auto resource = version_resource();
    ASSERT_FALSE(resource.empty()) << "the DLL has no version resource";
    const std::string version = SS_PROJECT_VERSION;
    const std::wstring expected(version.begin(), version.end());
    EXPECT_EQ(text(resource, L"FileVersion"), expected);
    EXPECT_EQ(text(resource, L"ProductVersion"), expected);
    EXPECT_EQ(text(resource, L"OriginalFilename"), L"system_search.dll");
    EXPECT_EQ(text(resource, L"ProductName"), L"System Search");
    EXPECT_NE(text(resource, L"LegalCopyright").find(L"System Search contributors"),
              std::wstring::npos);
}

}  // namespace
