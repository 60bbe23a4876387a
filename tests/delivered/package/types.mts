// What a program in TypeScript may write, and what it may not.
import systemSearch, {
  BuildError, Engine, LibraryError, Results, SystemSearchError, listFolder,
} from 'system-search';
import type { BuildOutcome, Kind, Result } from 'system-search';

export async function allowed(signal: AbortSignal): Promise<string[]> {
  using engine = new Engine();
  const build: Promise<BuildOutcome> = engine.build('C:/', {
    cache: 'C:/cache', signal, onProgress: ({ entries }) => console.log(entries),
  });
  for await (const results of engine.follow('a', { interval: 20, kind: 'file' })) {
    const first: Result | undefined = results.at(0);
    const size: number | undefined = first?.size;
    const modified: Date | undefined = first?.modified;
    console.log(size, modified);
  }
  const warning: string | undefined = (await build).warning;
  const results: Results = await listFolder('C:/', warning, { limit: 10, matchCase: true });
  return [...results].map(({ path, kind }) => path + (kind satisfies Kind));
}

export function errors(error: unknown): string {
  if (error instanceof BuildError || error instanceof LibraryError) return error.message;
  return error instanceof systemSearch.SystemSearchError ? error.name : SystemSearchError.name;
}

export async function refused(engine: Engine): Promise<void> {
  // @ts-expect-error: no such kind
  await engine.query('a', { kind: 'link' });
  // @ts-expect-error: results come in a promise
  engine.query('a').length;
  // @ts-expect-error: the status is read only
  engine.status.entries = 3;
  // @ts-expect-error: a folder has to be named
  await listFolder();
  // @ts-expect-error: only a query makes results
  new Results();
}
