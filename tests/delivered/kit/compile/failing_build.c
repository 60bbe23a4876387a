/* Builds that fail by an exception inside of the library. Where the processor and Windows keep
   shadow stacks, and this program is marked for them, an exception that is unwound wrongly ends it.
 */
#include <stdio.h>
#include <string.h>
#include <windows.h>

#include "system_search.h"

static void tell_of_shadow_stack(void) {
    enum { kUserShadowStackPolicy = 15 }; /* older headers do not have its name */
    DWORD flags = 0;
    const int is_known = GetProcessMitigationPolicy(
                             GetCurrentProcess(), (PROCESS_MITIGATION_POLICY)kUserShadowStackPolicy,
                             &flags, sizeof flags) != 0;
    const char* state = "off";
    if (!is_known) state = "not known to this Windows";
    if (is_known && (flags & 1) != 0) state = "on";
    printf("note: user shadow stacks are %s\n", state);
}

static int fails(SystemSearchEngine* engine, const char* scope, const char* text) {
    EngineStatus status;
    if (ss_start(engine, scope, "", 0) != 1) return 0;
    do {
        Sleep(1);
        ss_status(engine, &status);
    } while (status.state == SS_ENGINE_RUNNING);
    printf("%s: %s\n", scope, ss_error(engine));
    return status.state == SS_ENGINE_FAILED && strcmp(ss_error(engine), text) == 0;
}

int main(void) {
    SystemSearchEngine* engine = ss_create();
    int failed = 0;
    tell_of_shadow_stack();
    if (engine == NULL) return 1;
    failed += fails(engine, "C:/there is no such folder", "The selected folder is unavailable.");
    failed += fails(engine, "relative", "Choose an absolute folder path.");
    failed += fails(engine, "C:/there is no such folder", "The selected folder is unavailable.");
    ss_destroy(engine);
    if (failed != 3) return 1;
    printf("3 builds failed as they should\n");
    return 0;
}
