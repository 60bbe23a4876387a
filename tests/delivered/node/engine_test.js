// What the package for Node makes of the library's answers, with a library that is made up.
'use strict';

const assert = require('node:assert/strict');
const test = require('node:test');
const { called, records, reset } = require('./stub.js');
const systemSearch = require('../../../bindings/node/index.js');
const { BuildError, CancelledError, Engine, QueryError, SystemSearchError, listFolder } = systemSearch;

const build = (state, changed) => (
  { state, entries: 0, skipped: 0, limited: 0, from_cache: 0, ...changed });
const outcome = (state, changed) => (
  { state, matched: 0, count: 0, index_entries: 0, index_incomplete: 0, ...changed });
const [buildRunning, buildReady, buildCancelled, buildFailed] = [1, 2, 3, 4];
const [queryRunning, queryDone, queryFailed] = [0, 1, 3];

test('a build hands on its arguments and ends with its last counters', async () => {
  const end = { entries: 5, skipped: 2, limited: 1, from_cache: 1 };
  reset({ ss_status: records(build(buildRunning, { entries: 3 }), build(buildReady, end)) });
  const seen = [];
  const engine = new Engine();
  const result = await engine.build('C:/a', {
    cache: 'C:/c', force: true, onProgress: ({ state, entries }) => seen.push([state, entries]),
  });
  assert.deepEqual(result, { state: 'ready', entries: 5, skipped: 2, limited: true, fromCache: true });
  assert.deepEqual(seen, [['running', 3]]);
  assert.deepEqual(called('ss_start'), [['engine', 'C:/a', 'C:/c', 1]]);
});

test('without arguments a build is of every drive, without a cache', async () => {
  reset({ ss_status: records(build(buildReady)) });
  await new Engine().build();
  assert.deepEqual(called('ss_start'), [['engine', '', '', 0]]);
});

test('a cache that could not be written is a warning, and a failed build an error', async () => {
  reset({ ss_status: records(build(buildReady)), ss_error: () => 'No room.' });
  assert.equal((await new Engine().build()).warning, 'No room.');
  reset({ ss_status: records(build(buildFailed)), ss_error: () => 'No folder.' });
  await assert.rejects(new Engine().build('C:/a'), (error) => (
    error instanceof BuildError && error instanceof SystemSearchError &&
    error.name === 'BuildError' && error.message === 'No folder.'));
});

test('an aborted build is waited for, and rejected with the reason', async () => {
  let cancelled = false;
  reset({
    ss_status: (handle, out) => Object.assign(out, build(cancelled ? buildCancelled : buildRunning)),
    ss_cancel: () => { cancelled = true; },
  });
  const engine = new Engine();
  const stop = new AbortController();
  const running = engine.build('', { signal: stop.signal });
  await assert.rejects(engine.build(), /^BuildError: A build of this engine is running\.$/);
  stop.abort(new Error('enough'));
  await assert.rejects(running, /^Error: enough$/);
  assert.equal(called('ss_cancel').length, 1);
  cancelled = false;
  const again = engine.build();
  engine.cancel();
  await assert.rejects(again, CancelledError);
});

test('what is aborted before it begins asks nothing of the library', async () => {
  reset();
  const engine = new Engine();
  const signal = AbortSignal.abort(new Error('enough'));
  await assert.rejects(engine.build('', { signal }), /enough/);
  await assert.rejects(engine.query('', { signal }), /enough/);
  await assert.rejects(listFolder('C:/', '', { signal }), /enough/);
  assert.deepEqual([...called('ss_start'), ...called('ss_query'), ...called('ss_query_directory')], []);
});

test('a report of progress that throws cancels the build', async () => {
  reset({ ss_status: records(build(buildRunning)) });
  const onProgress = () => { throw new Error('mine'); };
  await assert.rejects(new Engine().build('', { onProgress }), /^Error: mine$/);
  assert.equal(called('ss_cancel').length, 1);
});

test('an engine that is closed during its build ends what waits for it, and is freed once', async () => {
  reset({ ss_status: records(build(buildRunning)) });
  const engine = new Engine();
  const running = engine.build();
  engine.close();
  engine[Symbol.dispose ?? Symbol.for('Symbol.dispose')]();
  await assert.rejects(running, /^CancelledError: The engine is closed\.$/);
  await assert.rejects(engine.query('a'), CancelledError);
  assert.throws(() => engine.status, CancelledError);
  assert.deepEqual(called('ss_destroy'), [['engine']]);
});

test('results are copied, and the query is freed', async () => {
  const metadata = [{ size: 7, modified: 1, flags: 3 }, { size: 0, modified: -1, flags: 2 }, { flags: 0 }];
  reset({
    ss_query_poll: records(outcome(queryRunning),
      outcome(queryDone, { matched: 9, count: 3, index_entries: 20, index_incomplete: 1 })),
    ss_query_path: (query, index) => `C:/${index}`,
    ss_query_kind: (query, index) => (index === 1 ? 2 : 1),
    ss_query_metadata: (query, index, out) => Object.assign(out, metadata[index]),
  });
  const results = await new Engine().query('a', { kind: 'folder', matchPath: true, matchCase: true, limit: 3 });
  assert.deepEqual([...results], [
    { path: 'C:/0', kind: 'file', size: 7, modified: new Date(1000) },
    { path: 'C:/1', kind: 'folder', modified: new Date(-1000) },
    { path: 'C:/2', kind: 'file' },
  ]);
  const { length, matched, searched, incomplete } = results;
  assert.deepEqual([length, matched, searched, incomplete], [3, 9, 20, true]);
  assert.equal(results.at(-1).path, 'C:/2');
  assert.deepEqual(called('ss_query'), [['engine', 'a', 3, 2, 3]]);
  assert.deepEqual(called('ss_query_destroy'), [['query']]);
});

test('a query that fails, does not start or is aborted leaves nothing behind', async () => {
  reset({ ss_query_poll: records(outcome(queryFailed)) });
  await assert.rejects(listFolder('C:/a', 'b'), QueryError);
  assert.deepEqual(called('ss_query_directory'), [['C:/a', 'b', 0, 0, 1000]]);
  assert.deepEqual(called('ss_query_destroy'), [['query']]);

  reset({ ss_query: () => null });
  await assert.rejects(new Engine().query('a'), QueryError);
  assert.deepEqual(called('ss_query_destroy'), []);

  reset({ ss_query_poll: records(outcome(queryRunning)) });
  const stop = new AbortController();
  const running = new Engine().query('a', { signal: stop.signal });
  stop.abort(new Error('enough'));
  await assert.rejects(running, /enough/);
  assert.deepEqual(called('ss_query_destroy'), [['query']]);
});

test('following searches while the build runs, and once after it', async () => {
  reset({
    ss_status: records(build(buildRunning), build(buildRunning), build(buildReady)),
    ss_query_poll: records(outcome(queryDone)),
  });
  let searches = 0;
  for await (const results of new Engine().follow('a', { interval: 1 })) searches += results.length + 1;
  assert.equal(searches, 3);
  assert.equal(called('ss_query').length, 3);
});

test('an abort ends the pause between two searches', async () => {
  reset({ ss_status: records(build(buildRunning)), ss_query_poll: records(outcome(queryDone)) });
  const stop = new AbortController();
  const follow = new Engine().follow('a', { interval: 2 ** 30, signal: stop.signal });
  await follow.next();
  const next = follow.next();
  stop.abort(new Error('enough'));
  await assert.rejects(next, /^Error: enough$/);
  assert.equal(called('ss_query').length, 1);
});

test('arguments that make no sense never reach the library', async () => {
  reset({ ss_status: records(build(buildReady)) });
  const engine = new Engine();
  await assert.rejects(engine.build('C:/a\0b'), TypeError);
  await assert.rejects(engine.build('', { cache: 3 }), TypeError);
  await assert.rejects(engine.query('a\0'), TypeError);
  await assert.rejects(engine.query('a', { kind: 'link' }), TypeError);
  for (const limit of [0, 1001, 1.5, NaN]) await assert.rejects(engine.query('', { limit }), RangeError);
  await assert.rejects(listFolder(''), TypeError);
  assert.deepEqual([...called('ss_start'), ...called('ss_query'), ...called('ss_query_directory')], []);
});

test('no memory for an engine is an error', () => {
  reset({ ss_create: () => null });
  assert.throws(() => new Engine(), BuildError);
});

test('import and require give the same classes', async () => {
  const imported = await import('../../../bindings/node/index.mjs');
  for (const [name, value] of Object.entries(systemSearch)) assert.equal(imported[name], value, name);
  assert.deepEqual(Object.keys(imported).sort(), [...Object.keys(systemSearch), 'default'].sort());
});
