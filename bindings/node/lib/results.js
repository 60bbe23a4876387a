// What a finished query found.
'use strict';

const kinds = ['any', 'file', 'folder'];
const sizeKnown = 1;
const modifiedKnown = 2;

// The records are copied out of the query, which is freed at once: nothing is left to close.
function readResult(c, query, index) {
  const metadata = {};
  c.ss_query_metadata(query, index, metadata);
  const result = { path: c.ss_query_path(query, index), kind: kinds[c.ss_query_kind(query, index)] };
  if (metadata.flags & sizeKnown) result.size = Number(metadata.size);
  if (metadata.flags & modifiedKnown) result.modified = new Date(Number(metadata.modified) * 1000);
  return Object.freeze(result);
}

/** The results of one query in the order of their paths. It never changes. */
class Results {
  #items;

  constructor(items, outcome) {
    this.#items = items;
    this.matched = outcome.matched;
    this.searched = outcome.index_entries;
    this.incomplete = outcome.index_incomplete !== 0;
    Object.freeze(this);
  }

  static read(c, query, outcome) {
    const items = Array.from({ length: outcome.count }, (_, index) => readResult(c, query, index));
    return new Results(items, outcome);
  }

  get length() {
    return this.#items.length;
  }

  at(index) {
    return this.#items.at(index);
  }

  [Symbol.iterator]() {
    return this.#items.values();
  }
}

module.exports = { Results, kinds };
