// Counts what a process holds of the system: the objects that a program can leak.
#pragma once

#include <windows.h>

#include <cstddef>

struct ProcessObjects {
    std::size_t gdi;     // brushes, fonts, bitmaps
    std::size_t user;    // windows, menus, icons: under Wine, those of the whole session
    std::size_t kernel;  // handles

    static ProcessObjects of(HANDLE process);
};
