// The same types, for require() and for the library of an older TypeScript.
import systemSearch = require('system-search');

export async function first(folder: string): Promise<string | undefined> {
  const engine = new systemSearch.Engine();
  try {
    await engine.build(folder);
    const results = await engine.query('a', { kind: 'folder' });
    return results.at(0)?.path;
  } finally {
    engine[Symbol.dispose]();
  }
}
