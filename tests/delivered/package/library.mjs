// Says why the library cannot be used.
import { Engine, LibraryError } from 'system-search';

try {
  new Engine().close();
  console.log('It can be used.');
} catch (error) {
  if (!(error instanceof LibraryError)) throw error;
  console.log(error.message);
}
