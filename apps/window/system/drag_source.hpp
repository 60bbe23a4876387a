/* Results dragged out of the window as files. */
#pragma once

#include <string>
#include <vector>

namespace window {

/* Lets the user drag files, by their native paths, until the mouse button is released. They are
   copied or linked where they are dropped, never moved: a slip of the hand loses nothing. */
void drag_files(const std::vector<std::wstring>& paths);

}  // namespace window
