/* Indexes a folder and prints the paths of the files whose names contain a text:
   minimal C:/Users report */
#include <stdio.h>
#include <windows.h>

#include "system_search.h"

int main(int argc, char** argv) {
    const char* folder = argc > 1 ? argv[1] : "C:/Users";
    const char* text = argc > 2 ? argv[2] : "";
    SystemSearchEngine* engine = ss_create();
    SystemSearchQuery* query = NULL;
    EngineStatus build = {SS_ENGINE_FAILED, 0, 0, 0, 0};
    QueryStatus found = {SS_QUERY_RUNNING, 0, 0, 0, 0};

    ss_start(engine, folder, /* no cache file */ "", /* force */ 0);
    while (ss_status(engine, &build), build.state == SS_ENGINE_RUNNING) Sleep(10);
    if (build.state != SS_ENGINE_READY) fprintf(stderr, "%s\n", ss_error(engine));

    query = ss_query(engine, text, 0, SS_KIND_FILE, SS_MAX_RESULTS);
    while (query && found.state == SS_QUERY_RUNNING) {
        Sleep(1);
        ss_query_poll(query, &found);
    }
    for (uint32_t i = 0; i < found.count; ++i) puts(ss_query_path(query, i));

    ss_query_destroy(query);
    ss_destroy(engine);
    return found.count > 0 ? 0 : 1;
}
