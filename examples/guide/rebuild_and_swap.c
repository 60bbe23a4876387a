#include "guide.h"

/* At the start of the program: last time's index within moments, if there is one. */
int catalogue_open(Catalogue* catalogue) {
    catalogue->next = NULL;
    catalogue->current = ss_create();
    return ss_start(catalogue->current, catalogue->scope, catalogue->cache_path, /*force=*/0);
}

/* Walks the disk anew while the index in use stays searchable. */
int catalogue_rebuild(Catalogue* catalogue) {
    if (catalogue->next) return 0; /* one is under way */
    catalogue->next = ss_create();
    if (ss_start(catalogue->next, catalogue->scope, catalogue->cache_path, /*force=*/1)) return 1;
    ss_destroy(catalogue->next);
    catalogue->next = NULL;
    return 0;
}

/* On a timer. Returns 1 when the index in use has been replaced: search again. */
int catalogue_tick(Catalogue* catalogue) {
    EngineStatus build = {SS_ENGINE_IDLE, 0, 0, 0, 0};
    SystemSearchEngine* outdated;

    ss_status(catalogue->next, &build);
    if (!catalogue->next || build.state == SS_ENGINE_RUNNING) return 0;
    if (build.state == SS_ENGINE_READY) {
        outdated = catalogue->current;
        catalogue->current = catalogue->next;
    } else {
        outdated = catalogue->next; /* it failed: keep the index in use */
    }
    catalogue->next = NULL;
    ss_destroy(outdated); /* queries made from it stay valid */
    return build.state == SS_ENGINE_READY;
}

void catalogue_close(Catalogue* catalogue) {
    ss_destroy(catalogue->next); /* cancels a rebuild and waits for it */
    ss_destroy(catalogue->current);
    catalogue->next = NULL;
    catalogue->current = NULL;
}
