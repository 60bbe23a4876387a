// The thirteen functions of system_search.dll, through koffi. What each promises is written in
// system_search.h.
'use strict';

const { LibraryError } = require('./errors.js');
const { locate } = require('./locate.js');

// The types have no names: koffi's names belong to the whole process, where a program may have
// declared the same ones, or a second copy of this package may be loaded.
function declare(koffi, library) {
  const engine = koffi.pointer(koffi.opaque());
  const query = koffi.pointer(koffi.opaque());
  const record = (fields) => koffi.out(koffi.pointer(koffi.struct(fields)));
  const engineStatus = record({
    state: 'uint32_t',
    entries: 'uint32_t',
    skipped: 'uint32_t',
    limited: 'uint32_t',
    from_cache: 'uint32_t',
  });
  const queryStatus = record({
    state: 'uint32_t',
    matched: 'uint32_t',
    count: 'uint32_t',
    index_entries: 'uint32_t',
    index_incomplete: 'uint32_t',
  });
  const resultMetadata = record({
    size: 'uint64_t',
    modified: 'int64_t',
    flags: 'uint32_t',
    reserved: 'uint32_t',
  });
  return {
    ss_create: library.func('ss_create', engine, []),
    ss_start: library.func('ss_start', 'int32_t', [engine, 'str', 'str', 'int32_t']),
    ss_cancel: library.func('ss_cancel', 'void', [engine]),
    ss_status: library.func('ss_status', 'void', [engine, engineStatus]),
    ss_error: library.func('ss_error', 'str', [engine]),
    ss_destroy: library.func('ss_destroy', 'void', [engine]),
    ss_query: library.func('ss_query', query, [engine, 'str', 'uint32_t', 'uint32_t', 'int32_t']),
    ss_query_directory: library.func(
      'ss_query_directory', query, ['str', 'str', 'uint32_t', 'uint32_t', 'uint32_t']),
    ss_query_poll: library.func('ss_query_poll', 'void', [query, queryStatus]),
    ss_query_path: library.func('ss_query_path', 'str', [query, 'uint32_t']),
    ss_query_kind: library.func('ss_query_kind', 'uint32_t', [query, 'uint32_t']),
    ss_query_metadata: library.func(
      'ss_query_metadata', 'int32_t', [query, 'uint32_t', resultMetadata]),
    ss_query_destroy: library.func('ss_query_destroy', 'void', [query]),
  };
}

function load(file, koffi) {
  let library;
  try {
    library = koffi.load(file);
  } catch (cause) {
    throw new LibraryError(
      `"${file}" is not a 64-bit library that Windows can load: ${cause.message}`, { cause });
  }
  try {
    return declare(koffi, library);
  } catch (cause) {
    throw new LibraryError(
      `"${file}" is not the system_search.dll of this package: ${cause.message}`, { cause });
  }
}

let functions;

/** The library's functions. It is loaded by the first call, so that a program on another system can
    require this package and ask. */
function native() {
  if (!functions) {
    const file = locate();
    functions = load(file, require('koffi'));
  }
  return functions;
}

module.exports = { native, load };
