#include "guide.h"

/* At the start of the program: last time's index within moments, if there is one. */
int engines_open(Engines* engines) {
    engines->next = NULL;
    engines->current = ss_create();
    return ss_start(engines->current, engines->scope, engines->cache_path, /*force=*/0);
}

/* Walks the disk anew while the index in use stays searchable. */
int engines_rebuild(Engines* engines) {
    if (engines->next) return 0; /* one is under way */
    engines->next = ss_create();
    if (ss_start(engines->next, engines->scope, engines->cache_path, /*force=*/1)) return 1;
    ss_destroy(engines->next);
    engines->next = NULL;
    return 0;
}

/* On a timer. Returns 1 when the index in use has been replaced: search again. */
int engines_tick(Engines* engines) {
    EngineStatus build = {SS_ENGINE_IDLE, 0, 0, 0, 0};
    SystemSearchEngine* outdated;

    ss_status(engines->next, &build);
    if (!engines->next || build.state == SS_ENGINE_RUNNING) return 0;
    if (build.state == SS_ENGINE_READY) {
        outdated = engines->current;
        engines->current = engines->next;
    } else {
        outdated = engines->next; /* it failed: keep the index in use */
    }
    engines->next = NULL;
    ss_destroy(outdated); /* queries made from it stay valid */
    return build.state == SS_ENGINE_READY;
}

void engines_close(Engines* engines) {
    ss_destroy(engines->next); /* cancels a rebuild and waits for it */
    ss_destroy(engines->current);
    engines->next = NULL;
    engines->current = NULL;
}
