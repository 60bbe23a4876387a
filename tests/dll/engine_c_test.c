/* The engine as a C program drives it, with the public header alone. */
#include <stdio.h>
#include <string.h>
#include <windows.h>

#include "system_search.h"

#define CHECK(condition)                                                   \
    do {                                                                   \
        if (!(condition)) {                                                \
            printf("%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
            return 1;                                                      \
        }                                                                  \
    } while (0)

static EngineStatus finish(SystemSearchEngine* engine) {
    EngineStatus status;
    ss_status(engine, &status);
    while (status.state == SS_ENGINE_RUNNING) {
        Sleep(1);
        ss_status(engine, &status);
    }
    ss_status(engine, &status);
    return status;
}

int main(void) {
    char folder[MAX_PATH];
    char file[MAX_PATH + 16];
    HANDLE handle;
    EngineStatus status;
    SystemSearchEngine* engine = ss_create();

    CHECK(engine != NULL);
    ss_status(engine, &status);
    CHECK(status.state == SS_ENGINE_IDLE && status.entries == 0 && status.skipped == 0);
    CHECK(strcmp(ss_error(engine), "") == 0);

    CHECK(ss_start(engine, "relative", "", 0) == 1);
    status = finish(engine);
    CHECK(status.state == SS_ENGINE_FAILED);
    CHECK(strcmp(ss_error(engine), "Choose an absolute folder path.") == 0);

    CHECK(GetCurrentDirectoryA(MAX_PATH, folder) != 0);
    strcat(folder, "\\engine_c_test_folder");
    CreateDirectoryA(folder, NULL);
    sprintf(file, "%s\\file", folder);
    handle = CreateFileA(file, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, 0, NULL);
    CHECK(handle != INVALID_HANDLE_VALUE);
    CloseHandle(handle);

    CHECK(ss_start(engine, folder, "", 1) == 1);
    status = finish(engine);
    CHECK(status.state == SS_ENGINE_READY);
    CHECK(status.entries == 1 && status.skipped == 0);
    CHECK(status.limited == 0 && status.from_cache == 0);
    CHECK(strcmp(ss_error(engine), "") == 0);

    ss_cancel(engine);
    ss_destroy(engine);
    CHECK(strcmp(ss_error(NULL), "Library unavailable.") == 0);
    DeleteFileA(file);
    RemoveDirectoryA(folder);
    return 0;
}
