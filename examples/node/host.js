// Indexes a folder, searches it while the index grows, and lists the folder.
//
//     node host.js FOLDER TEXT
'use strict';

const path = require('node:path');
const { load, EngineState, Kind } = require('./system_search.js');

const { Engine, listFolder } = load(path.join(__dirname, 'system_search.dll'));

// One line for each result: kind, size, seconds since 1970, path; "-" for what is not known.
function printResults(title, query, outcome) {
  const incomplete = outcome.index_incomplete ? ', incomplete' : '';
  console.log(
    `${title}: ${outcome.count} of ${outcome.matched} in ${outcome.index_entries}${incomplete}`);
  for (const { path, kind, size, modified } of query.results()) {
    console.log([
      kind === Kind.folder ? 'folder' : 'file',
      size ?? '-',
      modified ? modified.getTime() / 1000 : '-',
      path,
    ].join('\t'));
  }
}

// Searches until a search has seen the finished index, and prints what that one found.
async function searchWhileIndexing(engine, text) {
  for (;;) {
    const build = engine.progress();
    if (build.state === EngineState.failed) throw new Error(engine.error());
    const query = engine.search(text);
    try {
      const outcome = await query.finished();
      if (build.state !== EngineState.running) {
        console.log(`indexed ${build.entries}, skipped ${build.skipped}`);
        printResults('search', query, outcome);
        return;
      }
      console.error(`${outcome.matched} matches in the first ${outcome.index_entries} entries`);
    } finally {
      query.destroy();
    }
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}

async function list(folder) {
  const query = listFolder(folder);
  try {
    printResults('list', query, await query.finished());
  } finally {
    query.destroy();
  }
}

async function main([folder, text]) {
  if (text === undefined) {
    console.error('usage: node host.js FOLDER TEXT');
    process.exitCode = 2;
    return;
  }
  const engine = new Engine();
  try {
    engine.start(folder);
    await searchWhileIndexing(engine, text);
    await list(folder);
  } catch (error) {
    console.error(error.message);
    process.exitCode = 1;
  } finally {
    engine.destroy();
  }
}

main(process.argv.slice(2));
