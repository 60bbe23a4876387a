/* What the pieces of docs/guide.md share. A host has its own of everything here. */
#ifndef GUIDE_H
#define GUIDE_H

#include <system_search.h>

/* The window's search box and its list. */
typedef struct SearchPane {
    SystemSearchEngine* engine;
    SystemSearchQuery* pending; /* started, not yet done; or null */
    SystemSearchQuery* shown;   /* its results are in the list; or null */
    EngineStatus searched;      /* the build as it was when the last search was started */
    char text[1024];            /* what is in the search box */
} SearchPane;

void search_text_changed(SearchPane* pane, const char* text);
void search_tick(SearchPane* pane);
void search_closed(SearchPane* pane);
/* The host's own: show that many rows, and the sentence below them. */
void show_rows(SearchPane* pane, uint32_t count, const char* sentence);

/* The index in use, and the one that is to replace it. */
typedef struct Engines {
    SystemSearchEngine* current;
    SystemSearchEngine* next; /* null when no rebuild is under way */
    const char* scope;
    const char* cache_path;
} Engines;

int engines_open(Engines* engines);
int engines_rebuild(Engines* engines);
int engines_tick(Engines* engines);
void engines_close(Engines* engines);

/* Three words in each of their orders: up to six queries, whose results are read as one list. */
typedef struct WordSearch {
    SystemSearchQuery* queries[6];
    uint32_t next[6]; /* the first result of each that was not yet read */
    uint32_t count;
} WordSearch;

int words_search(WordSearch* search, SystemSearchEngine* engine, const char* text);
int words_done(const WordSearch* search);
const char* words_next(WordSearch* search);
void words_close(WordSearch* search);

int cache_path(char* path, int size);
void describe_outcome(const QueryStatus* outcome, char* sentence, size_t size);
const char* describe_build(SystemSearchEngine* engine, char* sentence, size_t size);

#endif
