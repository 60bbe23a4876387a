/*
 * System Search: find files and folders by name while the disk is still being read.
 *
 * SPDX-License-Identifier: MIT
 *
 * CONVENTIONS
 *
 *  1. Handles. `SystemSearchEngine` and `SystemSearchQuery` are opaque. The host owns a handle from
 *     the call that returned it until the matching destroy function, and passes it to no function
 *     afterwards. Every function accepts a null handle; each says what it then returns.
 *
 *  2. Texts are narrow, NUL-terminated UTF-8, in both directions. A text given to the library is
 *     copied before the call returns. A text returned by the library stays the library's: never
 *     free it. Its function says how long it lives.
 *
 *  3. Paths handed to the host are absolute and use "/" as the only separator ("C:/Users/ann").
 *     Paths given by the host may use "/" or "\" and may hold "." and ".." elements, but must be
 *     absolute: a drive letter, a colon and a separator; or two separators and a server name.
 *     Paths of any length are found, whatever the host's manifest says, and so are names that
 *     only other systems make ("nul", "docs."). A path given by the host means what it would mean
 *     to any program.
 *
 *  4. Errors. A function that can fail returns 0 or null. Nothing is thrown, nothing is logged,
 *     no callback is ever made: the host learns of progress and outcome by polling.
 *
 *  5. Threads. Unless a function says otherwise, any thread may call it at any time while the
 *     handle lives. On one engine the host serialises its own calls of ss_start and ss_destroy;
 *     on one query ss_query_destroy must be the last call, made after all others have returned.
 *     Only ss_destroy, ss_query_destroy and ss_start wait for other threads, which all are the
 *     library's own, to end.
 *
 *  6. Numbers are fixed-width. Records are filled whole: no field is ever left unset.
 *
 *  7. Unloading and the loader's lock. Destroy every handle before unloading the library. A thread
 *     can neither begin nor end while anyone in the process is in DllMain or loads a library. So
 *     never call ss_destroy, ss_query_destroy or, where this engine had a build before, ss_start
 *     from DllMain, nor from a static object of a DLL, whose destructor runs there: they wait for
 *     threads to end, and the process would hang. A plug-in destroys its handles when its host
 *     tells it to shut down. All other functions may be called there, and a build or query that
 *     runs already comes to its final state meanwhile; one that is started there begins later.
 *
 * EXAMPLE
 *
 *     SystemSearchEngine* engine = ss_create();
 *     if (engine && ss_start(engine, "C:/Users/ann", "", 0)) {
 *         SystemSearchQuery* query;
 *         QueryStatus found;
 *         Sleep(100);                                  // search as soon as anything is indexed
 *         query = ss_query(engine, "report", 0, SS_KIND_FILE, 100);
 *         do {
 *             Sleep(1);
 *             ss_query_poll(query, &found);
 *         } while (query && found.state == SS_QUERY_RUNNING);
 *         for (uint32_t i = 0; query && i < found.count; ++i) puts(ss_query_path(query, i));
 *         ss_query_destroy(query);
 *     }
 *     ss_destroy(engine);
 *
 * The caller's life: create an engine, start a build, watch it, query it, destroy it.
 */
#ifndef SYSTEM_SEARCH_H
#define SYSTEM_SEARCH_H

#include <stddef.h>
#include <stdint.h>

#if (defined(_WIN32) && !defined(_WIN64)) || (defined(UINTPTR_MAX) && UINTPTR_MAX <= 0xFFFFFFFFu)
#error "System Search is for 64-bit programs: choose x64 as the platform of the build."
#endif

#if defined(_WIN32) && !defined(SS_STATIC) && !defined(SS_BUILDING)
#define SS_API __declspec(dllimport)
#else
#define SS_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Constants ------------------------------------------------------------------------------ */

/* The version of this header. Within one major version functions, records and constants only ever
   grow in number, so a host that was compiled against an older header works with a newer library.
   A new major version has a DLL of another name: a host never meets one that it does not fit. */
#define SS_VERSION_MAJOR 1 /* changes when a host has to be changed */
#define SS_VERSION_MINOR 0 /* changes when something was added */
#define SS_VERSION_PATCH 0 /* changes when something was mended */
#define SS_VERSION "1.0.0" /* the three as a text */

/* The state of an engine's build: EngineStatus.state. */
#define SS_ENGINE_IDLE 0u      /* created, never started */
#define SS_ENGINE_RUNNING 1u   /* a build thread is loading the cache or walking the disk */
#define SS_ENGINE_READY 2u     /* finished: loaded, walked completely, or walked up to a limit */
#define SS_ENGINE_CANCELLED 3u /* stopped because ss_cancel was called */
#define SS_ENGINE_FAILED 4u    /* the build failed, and ss_error tells why; or its start did */

/* The state of a query or of a folder listing: QueryStatus.state. */
#define SS_QUERY_RUNNING 0u   /* still working */
#define SS_QUERY_DONE 1u      /* finished; the results are readable */
#define SS_QUERY_CANCELLED 2u /* stopped by ss_query_destroy; no host ever polls this value */
#define SS_QUERY_FAILED 3u    /* failed; there are no results and no error text */

/* The kind of an entry, and the kind filter of a query. FILE and FOLDER are stored in the cache
   file and never change their values. */
#define SS_KIND_ANY 0u    /* as a filter: files and folders */
#define SS_KIND_FILE 1u   /* anything that is not a folder: files, links, junctions */
#define SS_KIND_FOLDER 2u /* a folder */

/* Match flags of a query; they may be combined. */
#define SS_MATCH_PATH 1u /* match the whole stored path, not the last component only */
#define SS_MATCH_CASE 2u /* tell upper from lower case; otherwise A-Z and a-z are equal */

/* Flags of ResultMetadata. */
#define SS_METADATA_SIZE 1u     /* `size` is valid */
#define SS_METADATA_MODIFIED 2u /* `modified` is valid */

/* Limits. */
#define SS_MAX_RESULTS 1000      /* the largest `limit` of a query */
#define SS_MAX_ENTRIES 5000000u  /* the most entries that an index holds */
#define SS_MAX_PATH_BYTES 32768u /* the longest path, in bytes of UTF-8, that is indexed */

/* ---- Records -------------------------------------------------------------------------------- */

typedef struct SystemSearchEngine SystemSearchEngine; /* an index, and the build that fills it */
typedef struct SystemSearchQuery SystemSearchQuery;   /* one search, and what it found */

/* A build's progress. 20 bytes. While a build runs the fields may stem from two neighbouring
   moments; `entries` always counts entries that a query made now would search. */
typedef struct EngineStatus {
    uint32_t state;      /* SS_ENGINE_... */
    uint32_t entries;    /* files and folders searchable now; grows in steps of 1024 */
    uint32_t skipped;    /* items that could not be indexed or not be descended into */
    uint32_t limited;    /* 1: stopped at 5,000,000 entries or 1 GiB of estimated memory */
    uint32_t from_cache; /* 1: the index was loaded from the cache file, not walked */
} EngineStatus;

/* A query's outcome. 20 bytes. All but `state` are 0 until `state` is SS_QUERY_DONE. */
typedef struct QueryStatus {
    uint32_t state;            /* SS_QUERY_... */
    uint32_t matched;          /* entries that matched, however many results were asked for */
    uint32_t count;            /* results held: the lesser of `matched` and the query's limit */
    uint32_t index_entries;    /* entries searched; for a listing, children examined */
    uint32_t index_incomplete; /* 1: the searched set is known not to be the whole */
} QueryStatus;

/* What the file system says of one result at the time of the query. 24 bytes. */
typedef struct ResultMetadata {
    uint64_t size;     /* bytes; 0 for folders, links and other reparse points, or when unknown */
    int64_t modified;  /* last write, whole seconds since 1970-01-01 UTC, may be negative */
    uint32_t flags;    /* SS_METADATA_...: 0 (nothing known), 2, or 3 */
    uint32_t reserved; /* always 0 */
} ResultMetadata;

/* ---- Engine --------------------------------------------------------------------------------- */

/* Makes an engine with an empty index, state SS_ENGINE_IDLE. Returns null when memory is short.
   Free it with ss_destroy. Does not block. */
SS_API SystemSearchEngine* ss_create(void);

/* Starts a build on the engine's own thread and returns 1; returns 0 when it could not. While the
 * disk is slow to answer, up to four threads more read folders ahead of it; their work ends with
 * it.
 *
 *   scope       the folder to index, an absolute path; "" means every local drive (fixed and
 *               removable, not network, optical or RAM drives). A bad scope does not fail here:
 *               the build ends with SS_ENGINE_FAILED and ss_error says why.
 *   cache_path  the index cache file. A cache written for the same scope text is loaded instead
 *               of walking the disk; a finished walk is saved there, missing parent folders
 *               included. "" means no cache.
 *   force       non-zero: walk the disk even if the cache could be loaded.
 *
 * Returns 0, changing nothing, when a pointer is null or a build is running. Otherwise the earlier
 * index is replaced by an empty one, the counters are reset and the error text is emptied;
 * queries made earlier keep their own snapshot. When the thread cannot be started the result is 0
 * and the state SS_ENGINE_FAILED, and ss_error knows no reason; a later call may succeed.
 *
 * A single name that is not valid UTF-16 fails the whole build: SS_ENGINE_FAILED, and ss_error
 * names the folder that it is in.
 *
 * Waits only for the threads of an earlier, finished build to end (see convention 7). Not to be
 * called at the same time as another ss_start or ss_destroy of this engine. */
SS_API int32_t ss_start(SystemSearchEngine* engine, const char* scope, const char* cache_path,
                        int32_t force);

/* Asks a running build to stop, and returns at once. The state becomes SS_ENGINE_CANCELLED when
   the build notices, which is before its next directory entry; entries published so far stay
   searchable. A call of the system that the build's own thread is in, on a share that does not
   answer for instance, is not ended: the state changes when it returns. No cache is written, unless
   a finished one is just taking its place; when the system has refused that, the state comes with
   an error text. Without a running build, or with null, nothing happens. */
SS_API void ss_cancel(SystemSearchEngine* engine);

/* Fills `out`. With a null engine or a null `out` nothing is written. Never waits for the build.
   The state is read before the counters: the call that first shows the end of a build holds its
   final counters, too; one that shows it running may hold counters newer than that. */
SS_API void ss_status(const SystemSearchEngine* engine, EngineStatus* out);

/* Returns the engine's last error as an English sentence, "" when there is none; never null.
 * A build that failed comes with the reason; after a start that failed the text is empty or an
 * earlier one. SS_ENGINE_READY or SS_ENGINE_CANCELLED with a text means that the index is usable
 * but the cache file could not be written. A null engine gives "Library unavailable.".
 *
 * The text belongs to the calling thread: it stays valid until that thread calls ss_error again,
 * for any engine, or ends. When even the copy cannot be made: "Cannot read index status.". */
SS_API const char* ss_error(const SystemSearchEngine* engine);

/* Cancels a running build, waits for its thread, and frees the engine. Queries made from it stay
   valid. Null: nothing happens. A cache file being written is completed or dropped first; removing
   its temporary file is tried for two seconds. A call of the system that the build is in, on a
   share that does not answer for instance, is ended, as far as the system can: closing a folder
   that was being read there is a call that nobody can end. */
SS_API void ss_destroy(SystemSearchEngine* engine);

/* ---- Queries -------------------------------------------------------------------------------- */

/* Searches a snapshot of the engine's index on a thread of its own; returns at once.
 *
 *   text   what to look for; "" matches everything. Without "*" and "?" a plain substring. With
 *          one of them a pattern that must match the whole name (or whole path): "*" stands for
 *          any run of characters, also none, "?" for exactly one. There is no escape.
 *   flags  0 or a combination of SS_MATCH_PATH and SS_MATCH_CASE.
 *   kind   SS_KIND_ANY, SS_KIND_FILE or SS_KIND_FOLDER.
 *   limit  the most results to hold, 1 to SS_MAX_RESULTS.
 *
 * Results are ordered by whole path, letter case ignored for A-Z (ties: by exact path), and are
 * the first `limit` of all matches in that order. The snapshot holds what the index held at the
 * call, also while a build runs; nothing that happens to the engine later disturbs it.
 *
 * Returns null for a null engine or text, unknown flags or kind, a limit out of range, or when
 * memory or a thread cannot be had. Free with ss_query_destroy. */
SS_API SystemSearchQuery* ss_query(const SystemSearchEngine* engine, const char* text,
                                   uint32_t flags, uint32_t kind, int32_t limit);

/* Lists the immediate children of one folder, read from the disk now, without an engine; returns
 * at once. The result is a query like any other: the children are matched, ordered and described
 * in the same way. Links, junctions and other reparse-point folders are left out.
 *
 *   directory  the folder, an absolute path. A relative, missing or unreadable folder does not
 *              fail here: the query ends with SS_QUERY_FAILED.
 *   text, flags, kind, limit  as for ss_query. `limit` is unsigned here and signed there; both have
 *              been so from the first version on, and 1 to SS_MAX_RESULTS is the same in either.
 *
 * Returns null for a null or empty directory, a null text, unknown flags or kind, a limit out of
 * range, or when memory or a thread cannot be had. Free with ss_query_destroy. */
SS_API SystemSearchQuery* ss_query_directory(const char* directory, const char* text,
                                             uint32_t flags, uint32_t kind, uint32_t limit);

/* Fills `out`. With a null query or a null `out` nothing is written. Never blocks. Once the state
   is not SS_QUERY_RUNNING it never changes again. */
SS_API void ss_query_poll(const SystemSearchQuery* query, QueryStatus* out);

/* Returns the path of the result at position `index`, valid until ss_query_destroy; null when the
   query is null, not done, or holds no such position. Never blocks. */
SS_API const char* ss_query_path(const SystemSearchQuery* query, uint32_t index);

/* Returns SS_KIND_FILE or SS_KIND_FOLDER; 0 where ss_query_path gives null. Never blocks. */
SS_API uint32_t ss_query_kind(const SystemSearchQuery* query, uint32_t index);

/* Fills `out` with the result's size and time and returns 1; fills it with zeros and returns 0
   where ss_query_path gives null; returns 0 when `out` is null. A result whose file has vanished
   since has flags 0, which is still a success. Never blocks: the disk was asked by the query. */
SS_API int32_t ss_query_metadata(const SystemSearchQuery* query, uint32_t index,
                                 ResultMetadata* out);

/* Cancels the query if it still runs, waits for its thread, and frees it and every path it
   returned. A call of the system that the query is in is ended as ss_destroy does it. Null: nothing
   happens. */
SS_API void ss_query_destroy(SystemSearchQuery* query);

#ifdef __cplusplus
}
#endif

#endif /* SYSTEM_SEARCH_H */
