// System Search for Node and Electron on Windows: the way in for import. It hands on what require()
// gives, so that a program that uses both has one set of classes, and instanceof is right.
import systemSearch from './index.js';

export const {
  Engine, listFolder, Results,
  SystemSearchError, LibraryError, BuildError, QueryError, CancelledError,
} = systemSearch;
export default systemSearch;
