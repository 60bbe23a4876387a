/* What is copied. Each function returns "" or a sentence about what went wrong. */
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace window {

std::string copy_lines(HWND owner, const std::vector<std::wstring>& lines);

/* `files` can be pasted in a folder or a mail, `lines` where text goes. */
std::string copy_files(HWND owner, const std::vector<std::wstring>& files,
                       const std::vector<std::wstring>& lines);

}  // namespace window
