// A window of the probe's own that files can be dropped on.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

/// Opens it at a place of the screen, above all others. To be called once.
void open_drop_target(const RECT& place);

/// Whether files have been dragged over it.
bool was_dragged_over();

/// The paths of the last files that were dropped.
std::vector<std::wstring> dropped_files();
