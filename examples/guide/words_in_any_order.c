#include "guide.h"

#include <stdio.h>
#include <string.h>

/* Starts a query for each order of two or three words: "*final*march*" and "*march*final*". Any
   other text, and a pattern, is asked as it stands. Returns 0 when a query could not be started. */
int words_search(WordSearch* search, SystemSearchEngine* engine, const char* text) {
    static const char orders[6][3] = {{0, 1, 2}, {1, 0, 2}, {0, 2, 1},
                                      {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    static const uint32_t order_counts[] = {1, 1, 2, 6};
    char words[3][256], excess[2], pattern[1024];
    int count = sscanf(text, "%255s %255s %255s %1s", words[0], words[1], words[2], excess);

    if (count < 0 || count > 3 || strpbrk(text, "*?/")) count = 1;
    memset(search, 0, sizeof *search);
    while (search->count < order_counts[count]) {
        const char* order = orders[search->count];
        const char* second = words[(int)order[1]];
        if (count == 2) {
            snprintf(pattern, sizeof pattern, "*%s*%s*", words[(int)order[0]], second);
        } else if (count == 3) {
            snprintf(pattern, sizeof pattern, "*%s*%s*%s*", words[(int)order[0]], second,
                     words[(int)order[2]]);
        }
        SystemSearchQuery* query =
            ss_query(engine, count > 1 ? pattern : text, 0, SS_KIND_ANY, SS_MAX_RESULTS);
        if (!query) {
            words_close(search);
            return 0;
        }
        search->queries[search->count++] = query;
    }
    return 1;
}

/* On a timer: whether all of the queries, which run side by side, have ended. */
int words_done(const WordSearch* search) {
    QueryStatus status = {SS_QUERY_DONE, 0, 0, 0, 0};
    for (uint32_t i = 0; i < search->count; ++i) {
        ss_query_poll(search->queries[i], &status);
        if (status.state == SS_QUERY_RUNNING) return 0;
    }
    return 1;
}

/* The order of results: by the path, A to Z as lowercase; equal ones by their very bytes. */
static int path_order(const char* a, const char* b) {
    for (size_t i = 0;; ++i) {
        const int x = (unsigned char)(a[i] >= 'A' && a[i] <= 'Z' ? a[i] + 32 : a[i]);
        const int y = (unsigned char)(b[i] >= 'A' && b[i] <= 'Z' ? b[i] + 32 : b[i]);
        if (x != y) return x - y;
        if (x == 0) return strcmp(a, b);
    }
}

/* The next path of all queries together, each path once; null behind the last. */
const char* words_next(WordSearch* search) {
    const char* first = NULL;
    for (uint32_t i = 0; i < search->count; ++i) {
        const char* path = ss_query_path(search->queries[i], search->next[i]);
        if (path && (!first || path_order(path, first) < 0)) first = path;
    }
    for (uint32_t i = 0; first && i < search->count; ++i) {
        const char* path = ss_query_path(search->queries[i], search->next[i]);
        if (path && strcmp(path, first) == 0) ++search->next[i];
    }
    return first;
}

void words_close(WordSearch* search) {
    for (uint32_t i = 0; i < search->count; ++i) ss_query_destroy(search->queries[i]);
    search->count = 0;
}
