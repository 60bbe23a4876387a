// system_search.dll for Node, through koffi. What each function promises is written in
// system_search.h.
'use strict';

const koffi = require('koffi');

const EngineState = Object.freeze({ idle: 0, running: 1, ready: 2, cancelled: 3, failed: 4 });
const QueryState = Object.freeze({ running: 0, done: 1, cancelled: 2, failed: 3 });
const Kind = Object.freeze({ any: 0, file: 1, folder: 2 });
const maxResults = 1000;
const metadataSize = 1;
const metadataModified = 2;

koffi.opaque('SystemSearchEngine');
koffi.opaque('SystemSearchQuery');
koffi.struct('EngineStatus', {
  state: 'uint32_t',
  entries: 'uint32_t',
  skipped: 'uint32_t',
  limited: 'uint32_t',
  from_cache: 'uint32_t',
});
koffi.struct('QueryStatus', {
  state: 'uint32_t',
  matched: 'uint32_t',
  count: 'uint32_t',
  index_entries: 'uint32_t',
  index_incomplete: 'uint32_t',
});
koffi.struct('ResultMetadata', {
  size: 'uint64_t',
  modified: 'int64_t',
  flags: 'uint32_t',
  reserved: 'uint32_t',
});

function load(path) {
  const library = koffi.load(path);
  const c = Object.fromEntries([
    'SystemSearchEngine* ss_create()',
    'int32_t ss_start(SystemSearchEngine* engine, str scope, str cache_path, int32_t force)',
    'void ss_cancel(SystemSearchEngine* engine)',
    'void ss_status(SystemSearchEngine* engine, _Out_ EngineStatus* out)',
    'str ss_error(SystemSearchEngine* engine)',
    'void ss_destroy(SystemSearchEngine* engine)',
    'SystemSearchQuery* ss_query(SystemSearchEngine* engine, str text, uint32_t flags, ' +
      'uint32_t kind, int32_t limit)',
    'SystemSearchQuery* ss_query_directory(str directory, str text, uint32_t flags, ' +
      'uint32_t kind, uint32_t limit)',
    'void ss_query_poll(SystemSearchQuery* query, _Out_ QueryStatus* out)',
    'str ss_query_path(SystemSearchQuery* query, uint32_t index)',
    'uint32_t ss_query_kind(SystemSearchQuery* query, uint32_t index)',
    'int32_t ss_query_metadata(SystemSearchQuery* query, uint32_t index, ' +
      '_Out_ ResultMetadata* out)',
    'void ss_query_destroy(SystemSearchQuery* query)',
  ].map((declaration) => [/(ss_\w+)/.exec(declaration)[1], library.func(declaration)]));

  class Query {
    #handle;

    constructor(handle) {
      if (!handle) throw new Error('The query did not start.');
      this.#handle = handle;
    }

    poll() {
      const outcome = {};
      c.ss_query_poll(this.#handle, outcome);
      return outcome;
    }

    // Polls from the event loop, which stays free for everything else.
    async finished() {
      let outcome = this.poll();
      while (outcome.state === QueryState.running) {
        await new Promise((resolve) => setTimeout(resolve, 1));
        outcome = this.poll();
      }
      if (outcome.state !== QueryState.done) throw new Error('The query failed.');
      return outcome;
    }

    *results() {
      const { count } = this.poll();
      for (let index = 0; index < count; ++index) {
        const metadata = {};
        c.ss_query_metadata(this.#handle, index, metadata);
        yield {
          path: c.ss_query_path(this.#handle, index),
          kind: c.ss_query_kind(this.#handle, index),
          size: metadata.flags & metadataSize ? metadata.size : undefined,
          modified:
            metadata.flags & metadataModified
              ? new Date(Number(metadata.modified) * 1000)
              : undefined,
        };
      }
    }

    destroy() {
      c.ss_query_destroy(this.#handle);
      this.#handle = null;
    }
  }

  class Engine {
    #handle = c.ss_create();

    start(scope, cachePath = '', force = false) {
      if (!c.ss_start(this.#handle, scope, cachePath, force ? 1 : 0)) {
        throw new Error('The build did not start.');
      }
    }

    cancel() {
      c.ss_cancel(this.#handle);
    }

    progress() {
      const status = {};
      c.ss_status(this.#handle, status);
      return status;
    }

    error() {
      return c.ss_error(this.#handle);
    }

    search(text, { flags = 0, kind = Kind.any, limit = maxResults } = {}) {
      return new Query(c.ss_query(this.#handle, text, flags, kind, limit));
    }

    destroy() {
      c.ss_destroy(this.#handle);
      this.#handle = null;
    }
  }

  function listFolder(folder, text = '', { flags = 0, kind = Kind.any, limit = maxResults } = {}) {
    return new Query(c.ss_query_directory(folder, text, flags, kind, limit));
  }

  return { Engine, listFolder };
}

module.exports = { load, EngineState, QueryState, Kind };
