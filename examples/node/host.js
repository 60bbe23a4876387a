// Indexes a folder, searches it while the index grows, and lists the folder.
//
//     node host.js FOLDER TEXT
'use strict';

const { Engine, listFolder } = require('system-search');

// One line for each result: kind, size, seconds since 1970, path; "-" for what is not known.
function printResults(title, results) {
  const incomplete = results.incomplete ? ', incomplete' : '';
  console.log(
    `${title}: ${results.length} of ${results.matched} in ${results.searched}${incomplete}`);
  for (const { path, kind, size, modified } of results) {
    console.log([kind, size ?? '-', modified ? modified.getTime() / 1000 : '-', path].join('\t'));
  }
}

// Searches until a search has seen the finished index; gives what that one found.
async function searchWhileIndexing(engine, text) {
  let last;
  for await (const results of engine.follow(text, { interval: 20 })) {
    console.error(`${results.matched} matches in the first ${results.searched} entries`);
    last = results;
  }
  return last;
}

async function main([folder, text]) {
  if (text === undefined) {
    console.error('usage: node host.js FOLDER TEXT');
    process.exitCode = 2;
    return;
  }
  const engine = new Engine();
  try {
    const [build, found] = await Promise.all([
      engine.build(folder),
      searchWhileIndexing(engine, text),
    ]);
    console.log(`indexed ${build.entries}, skipped ${build.skipped}`);
    printResults('search', found);
    printResults('list', await listFolder(folder));
  } catch (error) {
    console.error(error.message);
    process.exitCode = 1;
  } finally {
    engine.close();
  }
}

main(process.argv.slice(2));
