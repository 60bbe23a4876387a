/* What Microsoft's C runtime does before wmain. */
#include <stdlib.h>

__declspec(dllimport) int __wgetmainargs(int* count, wchar_t*** arguments, wchar_t*** environment,
                                         int expand_wildcards, int* new_mode);
int wmain(int count, wchar_t** arguments);
void start(void);

int _fltused; /* referenced by objects that use floating point, defined by the runtime */

void start(void) {
    int count;
    int new_mode = 0;
    wchar_t** arguments;
    wchar_t** environment;
    __wgetmainargs(&count, &arguments, &environment, 0, &new_mode);
    exit(wmain(count, arguments));
}
