// What can go wrong, as classes. Every message is a sentence that a program may show as it is.
'use strict';

class SystemSearchError extends Error {
  constructor(message, options) {
    super(message, options);
    this.name = new.target.name;
  }
}

/** The library cannot be used in this process: another system, a missing or a wrong DLL. */
class LibraryError extends SystemSearchError {}

/** A build failed; the message is the library's reason. */
class BuildError extends SystemSearchError {}

/** A search or a listing failed. The library keeps no reason. */
class QueryError extends SystemSearchError {}

/** The engine was closed, or its build cancelled, while something waited for it. */
class CancelledError extends SystemSearchError {}

module.exports = { SystemSearchError, LibraryError, BuildError, QueryError, CancelledError };
