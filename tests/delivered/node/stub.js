// Stands in for the library: what the test wants each function to answer, and a list of the calls.
'use strict';

const nativeModule = require.resolve('../../../bindings/node/lib/native.js');

const calls = [];
const answers = {};

function answer(name, ...given) {
  calls.push([name, ...given]);
  return answers[name]?.(...given);
}

const names = ['ss_create', 'ss_start', 'ss_cancel', 'ss_status', 'ss_error', 'ss_destroy', 'ss_query',
  'ss_query_directory', 'ss_query_poll', 'ss_query_path', 'ss_query_kind', 'ss_query_metadata',
  'ss_query_destroy'];
const c = Object.fromEntries(names.map((name) => [name, (...given) => answer(name, ...given)]));

require.cache[nativeModule] = {
  id: nativeModule, filename: nativeModule, loaded: true, exports: { native: () => c },
};

/** Forgets the calls, and answers as an idle library would, but for what is given. */
function reset(changed) {
  calls.length = 0;
  for (const name of names) delete answers[name];
  Object.assign(answers, {
    ss_create: () => 'engine',
    ss_start: () => 1,
    ss_error: () => '',
    ss_query: () => 'query',
    ss_query_directory: () => 'query',
  }, changed);
}

/** Answers a status or a poll with one record after the other; the last one stays. */
function records(...list) {
  return (handle, out) => {
    Object.assign(out, list.length > 1 ? list.shift() : list[0]);
  };
}

const called = (name) => calls.filter(([each]) => each === name).map(([, ...given]) => given);

module.exports = { called, records, reset };
