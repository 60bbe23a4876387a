/* Indexes a folder, searches it while the index grows, and lists the folder.
 *
 *     host FOLDER TEXT
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <windows.h>

#include <system_search.h>

/* Returns the argument in UTF-8; the caller frees it. */
static char* utf8(const wchar_t* wide) {
    int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, NULL, 0, NULL, NULL);
    char* text = malloc(size > 0 ? (size_t)size : 1);
    if (text && WideCharToMultiByte(CP_UTF8, 0, wide, -1, text, size, NULL, NULL) != size) {
        text[0] = '\0';
    }
    return text;
}

/* Waits for the query's end. A program with a window would poll from a timer instead. */
static QueryStatus finish(SystemSearchQuery* query) {
    QueryStatus outcome = {SS_QUERY_FAILED, 0, 0, 0, 0};
    ss_query_poll(query, &outcome);
    while (outcome.state == SS_QUERY_RUNNING) {
        Sleep(1);
        ss_query_poll(query, &outcome);
    }
    return outcome;
}

/* One line for each result: kind, size, seconds since 1970, path; "-" for what is not known. */
static void print_results(const char* title, SystemSearchQuery* query, QueryStatus outcome) {
    uint32_t i;
    printf("%s: %u of %u in %u%s\n", title, outcome.count, outcome.matched, outcome.index_entries,
           outcome.index_incomplete ? ", incomplete" : "");
    for (i = 0; i < outcome.count; ++i) {
        ResultMetadata metadata;
        char size[24] = "-";
        char modified[24] = "-";
        ss_query_metadata(query, i, &metadata);
        if (metadata.flags & SS_METADATA_SIZE) {
            snprintf(size, sizeof size, "%llu", (unsigned long long)metadata.size);
        }
        if (metadata.flags & SS_METADATA_MODIFIED) {
            snprintf(modified, sizeof modified, "%lld", (long long)metadata.modified);
        }
        printf("%s\t%s\t%s\t%s\n", ss_query_kind(query, i) == SS_KIND_FOLDER ? "folder" : "file",
               size, modified, ss_query_path(query, i));
    }
}

/* Searches until a search has seen the finished index, and prints what that one found. */
static int search_while_indexing(SystemSearchEngine* engine, const char* text) {
    EngineStatus build;
    do {
        SystemSearchQuery* query;
        QueryStatus outcome;
        ss_status(engine, &build);
        if (build.state == SS_ENGINE_FAILED) {
            fprintf(stderr, "%s\n", ss_error(engine));
            return 0;
        }
        query = ss_query(engine, text, 0, SS_KIND_ANY, SS_MAX_RESULTS);
        outcome = finish(query);
        if (build.state == SS_ENGINE_RUNNING) {
            fprintf(stderr, "%u matches in the first %u entries\n", outcome.matched,
                    outcome.index_entries);
            Sleep(20);
        } else if (outcome.state == SS_QUERY_DONE) {
            printf("indexed %u, skipped %u\n", build.entries, build.skipped);
            print_results("search", query, outcome);
        }
        ss_query_destroy(query);
        if (outcome.state != SS_QUERY_DONE) {
            fprintf(stderr, "The search failed.\n");
            return 0;
        }
    } while (build.state == SS_ENGINE_RUNNING);
    return 1;
}

static int list(const char* folder) {
    SystemSearchQuery* query = ss_query_directory(folder, "", 0, SS_KIND_ANY, SS_MAX_RESULTS);
    QueryStatus outcome = finish(query);
    if (outcome.state == SS_QUERY_DONE) {
        print_results("list", query, outcome);
    } else {
        fprintf(stderr, "The folder cannot be listed.\n");
    }
    ss_query_destroy(query);
    return outcome.state == SS_QUERY_DONE;
}

int wmain(int count, wchar_t** arguments) {
    char* folder;
    char* text;
    SystemSearchEngine* engine;
    int succeeded;

    if (count != 3) {
        fprintf(stderr, "usage: host FOLDER TEXT\n");
        return 2;
    }
    SetConsoleOutputCP(CP_UTF8);
    folder = utf8(arguments[1]);
    text = utf8(arguments[2]);
    engine = ss_create();
    succeeded = folder && text && ss_start(engine, folder, "", 0) &&
                search_while_indexing(engine, text) && list(folder);
    ss_destroy(engine);
    free(text);
    free(folder);
    return succeeded ? 0 : 1;
}
