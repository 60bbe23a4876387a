/* The part of Microsoft's C runtime that examples/c/host.c uses, from msvcrt.dll. */
#ifndef STDIO_H
#define STDIO_H

#include <stddef.h>

typedef struct FILE FILE;
__declspec(dllimport) char* __iob_func(void);
#define stdout ((FILE*)(__iob_func() + 48))
#define stderr ((FILE*)(__iob_func() + 96))

__declspec(dllimport) int printf(const char* format, ...);
__declspec(dllimport) int fprintf(FILE* stream, const char* format, ...);
__declspec(dllimport) int _snprintf(char* text, size_t size, const char* format, ...);
#define snprintf _snprintf

#endif
