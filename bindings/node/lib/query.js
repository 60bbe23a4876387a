// A query from its arguments to its results.
'use strict';

const { QueryError } = require('./errors.js');
const { pause } = require('./polling.js');
const { Results, kinds } = require('./results.js');

const maxResults = 1000;
const matchPath = 1;
const matchCase = 2;
const running = 0;
const done = 1;
const pollMilliseconds = 1;

/** A text for C, where a NUL would end it early: the library would be asked something else. */
function text(value, name) {
  if (typeof value !== 'string') throw new TypeError(`${name} has to be a string.`);
  if (value.includes('\0')) throw new TypeError(`${name} must not hold a NUL character.`);
  return value;
}

/** The flags, the kind and the limit of a query, as the library takes them. */
function criteria(options) {
  const { kind = 'any', limit = maxResults } = options;
  if (!kinds.includes(kind)) throw new TypeError('kind has to be "any", "file" or "folder".');
  if (!Number.isInteger(limit) || limit < 1 || limit > maxResults) {
    throw new RangeError(`limit has to be a whole number from 1 to ${maxResults}.`);
  }
  const flags = (options.matchPath ? matchPath : 0) | (options.matchCase ? matchCase : 0);
  return [flags, kinds.indexOf(kind), limit];
}

async function wait(c, query, signal) {
  const outcome = {};
  c.ss_query_poll(query, outcome);
  while (outcome.state === running) {
    await pause(pollMilliseconds, signal);
    signal?.throwIfAborted();
    c.ss_query_poll(query, outcome);
  }
  if (outcome.state !== done) throw new QueryError('The query failed.');
  return outcome;
}

/** The results of a query that was just made. It is freed whatever happens, which also stops it. */
async function finish(c, query, signal) {
  if (!query) throw new QueryError('The query could not be started.');
  try {
    return Results.read(c, query, await wait(c, query, signal));
  } finally {
    c.ss_query_destroy(query);
  }
}

module.exports = { criteria, finish, text };
