/* Preloaded into Wine, makes the folders below SS_SLOW_TREE slow to read for as long as the file
   SS_SLOW_GATE exists: each costs the milliseconds that the file's text says. So a test can look at
   a program that is reading the disk for as long as it wants, on a machine of any speed. */
#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

/* What the gate says now, 0 when it is open. */
static int gate_ms(void) {
    int ms = 0;
    const char* const name = getenv("SS_SLOW_GATE");
    FILE* const gate = name != NULL ? fopen(name, "re") : NULL;
    if (gate == NULL) return 0;
    if (fscanf(gate, "%d", &ms) != 1) ms = 0;
    fclose(gate);
    return ms;
}

static void wait_at_gate(void) {
    const struct timespec step = {0, 5 * 1000 * 1000};
    for (int waited_ms = 0; waited_ms < gate_ms(); waited_ms += 5) nanosleep(&step, NULL);
}

/* Wine reads a folder by entering it and opening ".". */
DIR* opendir(const char* name) {
    static DIR* (*original)(const char*);
    char folder[PATH_MAX];
    const char* const slow = getenv("SS_SLOW_TREE");
    if (original == NULL) original = (DIR * (*)(const char*)) dlsym(RTLD_NEXT, "opendir");
    if (slow != NULL && strcmp(name, ".") == 0 && getcwd(folder, sizeof folder) != NULL &&
        strncmp(folder, slow, strlen(slow)) == 0) {
        wait_at_gate();
    }
    return original(name);
}
