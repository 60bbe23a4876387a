#include <stdio.h>

#include "guide.h"

/* One sentence about the index for the window's status bar. */
const char* describe_build(SystemSearchEngine* engine, char* sentence, size_t size) {
    EngineStatus build = {SS_ENGINE_FAILED, 0, 0, 0, 0};
    const char* error;

    ss_status(engine, &build); /* first: a build stores its error before its final state */
    error = ss_error(engine);  /* this thread's, until it asks again */
    switch (build.state) {
        case SS_ENGINE_IDLE:
            snprintf(sentence, size, "Nothing is indexed.");
            break;
        case SS_ENGINE_RUNNING:
            snprintf(sentence, size, "Reading the disk: %u names", build.entries);
            break;
        case SS_ENGINE_READY:
            snprintf(sentence, size, "%u names%s%s%s%s", build.entries,
                     build.from_cache ? " as of the last time" : "",
                     build.limited ? ", the most that the index holds" : "",
                     build.skipped ? "; some items could not be read" : "",
                     error[0] ? "; they could not be kept for the next time" : "");
            break;
        case SS_ENGINE_CANCELLED:
            snprintf(sentence, size, "Stopped after %u names", build.entries);
            break;
        default:
            snprintf(sentence, size, "%s", error[0] ? error : "The index could not be started.");
    }
    return sentence;
}
