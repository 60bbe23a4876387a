// System Search for Node and Electron on Windows.

declare global {
  // As in the newest library of TypeScript, for programs that are compiled against an older one.
  interface SymbolConstructor {
    readonly dispose: unique symbol;
  }
}

/** What an entry is. Links and junctions are files. */
export type Kind = 'file' | 'folder';

/** The state of an engine's build. */
export type BuildState = 'idle' | 'running' | 'ready' | 'cancelled' | 'failed';

export interface BuildStatus {
  readonly state: BuildState;
  /** Files and folders that can be found now. */
  readonly entries: number;
  /** Items that could not be indexed, or folders that could not be read. */
  readonly skipped: number;
  /** The index holds as many entries as it may, and there were more. */
  readonly limited: boolean;
  /** The index was loaded from its cache file. */
  readonly fromCache: boolean;
}

/** How a build ended. */
export interface BuildOutcome extends BuildStatus {
  /** Why the cache file could not be written; the index is usable all the same. */
  readonly warning?: string;
}

export interface BuildOptions {
  /** The file that keeps the index until the next start; without it there is none. */
  cache?: string;
  /** Reads the disk even where the cache file could be loaded. */
  force?: boolean;
  /** Stops the build. The promise is rejected with the signal's reason once it has stopped. */
  signal?: AbortSignal;
  /** Called some hundred times a second at most while the build runs. */
  onProgress?: (status: BuildStatus) => void;
}

export interface QueryOptions {
  /** Files only, folders only, or both ("any", which is the default). */
  kind?: Kind | 'any';
  /** Matches the whole path instead of its last component. */
  matchPath?: boolean;
  /** Tells upper from lower case; otherwise A-Z and a-z are equal. */
  matchCase?: boolean;
  /** The most results to hold, 1 to 1000 (the default). */
  limit?: number;
  /** Stops the query. The promise is rejected with the signal's reason. */
  signal?: AbortSignal;
}

export interface FollowOptions extends QueryOptions {
  /** Milliseconds between two searches, 100 by default. */
  interval?: number;
}

export interface Result {
  /** Absolute, with "/" between its elements. */
  readonly path: string;
  readonly kind: Kind;
  /** Bytes; absent for folders and links, and when it is not known. */
  readonly size?: number;
  /** The last write; absent when it is not known. */
  readonly modified?: Date;
}

/** The results of one query, ordered by path. It holds copies: there is nothing to close. */
export class Results implements Iterable<Result> {
  private constructor();
  /** How many results it holds. */
  readonly length: number;
  /** How many entries matched, however many results were asked for. */
  readonly matched: number;
  /** How many entries were searched. */
  readonly searched: number;
  /** What was searched is known not to be the whole. */
  readonly incomplete: boolean;
  /** The result at a position, from the end for a negative one. */
  at(index: number): Result | undefined;
  [Symbol.iterator](): IterableIterator<Result>;
}

/** An index, and the build that fills it. */
export class Engine {
  /** Throws a LibraryError where the library cannot be loaded. */
  constructor();
  readonly status: BuildStatus;
  /**
   * Indexes a folder, or every local drive. Queries may be made all the while.
   * @param scope an absolute path; "" (the default) means every local drive
   */
  build(scope?: string, options?: BuildOptions): Promise<BuildOutcome>;
  /** Asks a running build to stop: its promise is rejected with a CancelledError. */
  cancel(): void;
  /**
   * Searches what is indexed at this moment.
   * @param text a part of the name, or with "*" and "?" a pattern of the whole name; "" matches all
   */
  query(text?: string, options?: QueryOptions): Promise<Results>;
  /** Searches again and again while the index grows, and a last time when the build has ended. */
  follow(text?: string, options?: FollowOptions): AsyncGenerator<Results, void, undefined>;
  /** Stops a running build and frees the index. Queries that run still end well. */
  close(): void;
  /** The same as close(), for "using". */
  [Symbol.dispose](): void;
}

/** Searches the immediate children of one folder, on the disk and without an index. */
export function listFolder(folder: string, text?: string, options?: QueryOptions): Promise<Results>;

/** What every error of this package is. The message is a sentence. */
export class SystemSearchError extends Error {}
/** The library cannot be used in this process: another system, a missing or a wrong DLL. */
export class LibraryError extends SystemSearchError {}
/** A build failed; the message is the library's reason. */
export class BuildError extends SystemSearchError {}
/** A search or a listing failed, for instance of a folder that is not there. */
export class QueryError extends SystemSearchError {}
/** The engine was closed, or its build cancelled, while something waited for it. */
export class CancelledError extends SystemSearchError {}
