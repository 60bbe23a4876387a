#ifndef STDLIB_H
#define STDLIB_H

#include <stddef.h>

__declspec(dllimport) void* malloc(size_t size);
__declspec(dllimport) void free(void* memory);
__declspec(dllimport) void exit(int status);

#endif
