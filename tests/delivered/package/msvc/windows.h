/* The part of the Windows headers that examples/c/host.c uses. */
#ifndef WINDOWS_H
#define WINDOWS_H

#include <stddef.h>

#define CP_UTF8 65001

__declspec(dllimport) void Sleep(unsigned long milliseconds);
__declspec(dllimport) int SetConsoleOutputCP(unsigned int code_page);
__declspec(dllimport) int WideCharToMultiByte(unsigned int code_page, unsigned long flags,
                                              const wchar_t* wide, int wide_size, char* narrow,
                                              int narrow_size, const char* replacement,
                                              int* replaced);

#endif
