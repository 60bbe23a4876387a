#include <windows.h>

#include <shlobj.h>
#include <string.h>

#include "guide.h"

/* C:/Users/NAME/AppData/Local/Vendor/Product/names.index, in UTF-8. The library makes the folders
   that are missing. Returns 0 when Windows knows no such folder or `path` is too short. */
int cache_path(char* path, int size) {
    static const char below[] = "\\Vendor\\Product\\names.index";
    PWSTR folder = NULL;
    int used = 0;
    if (SHGetKnownFolderPath(&FOLDERID_LocalAppData, 0, NULL, &folder) == S_OK) {
        used =
            WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, folder, -1, path, size, NULL, NULL);
    }
    CoTaskMemFree(folder);
    if (used == 0 || size - used < (int)sizeof below - 1) return 0;
    memcpy(path + used - 1, below, sizeof below);
    return 1;
}
