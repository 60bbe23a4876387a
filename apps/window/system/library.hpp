/* system_search.dll, loaded by hand: a missing one, or one that lacks a function, then ends
 * in a sentence of ours instead of a box of the system's. The functions of system_search.h
 * are defined here and hand over to it, so SS_STATIC is defined for this program. */
#pragma once

#include <string>

namespace window {

/* Loads the DLL that lies beside the program, for the life of the process. "", or a sentence about
   why it cannot be used. To be called before any function of the library. */
std::string load_library();

}  // namespace window
