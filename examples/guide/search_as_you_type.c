#include <stdio.h>

#include "guide.h"

static void search(SearchPane* pane) {
    ss_query_destroy(pane->pending); /* cancels it if it still runs */
    ss_status(pane->engine, &pane->searched);
    pane->pending = ss_query(pane->engine, pane->text, 0, SS_KIND_ANY, SS_MAX_RESULTS);
}

/* On each change of the search box, and when the pane gets another engine. */
void search_text_changed(SearchPane* pane, const char* text) {
    snprintf(pane->text, sizeof pane->text, "%s", text);
    search(pane);
}

/* On a timer, some 30 times a second while the window is visible. */
void search_tick(SearchPane* pane) {
    QueryStatus outcome = {SS_QUERY_RUNNING, 0, 0, 0, 0};
    EngineStatus build = {SS_ENGINE_IDLE, 0, 0, 0, 0};

    ss_query_poll(pane->pending, &outcome);
    if (outcome.state == SS_QUERY_DONE) {
        SystemSearchQuery* before = pane->shown;
        char sentence[128];
        describe_outcome(&outcome, sentence, sizeof sentence);
        pane->shown = pane->pending;
        pane->pending = NULL;
        show_rows(pane, outcome.count, sentence);
        ss_query_destroy(before); /* only now: the list read its paths until this moment */
    } else if (outcome.state == SS_QUERY_FAILED) {
        ss_query_destroy(pane->pending);
        pane->pending = NULL;
    }

    /* The index has grown, or its build has ended, since the last search: search again. */
    ss_status(pane->engine, &build);
    if (!pane->pending &&
        (build.entries != pane->searched.entries || build.state != pane->searched.state)) {
        search(pane);
    }
}

/* When the window goes. */
void search_closed(SearchPane* pane) {
    show_rows(pane, 0, "");
    ss_query_destroy(pane->pending);
    ss_query_destroy(pane->shown);
    pane->pending = NULL;
    pane->shown = NULL;
}
