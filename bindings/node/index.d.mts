export * from './index.js';
import * as systemSearch from './index.js';
export default systemSearch;
