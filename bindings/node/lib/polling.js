// Waiting for the library, which calls nobody back: it is asked again and again from the event loop,
// which stays free for everything else.
'use strict';

/** Resolves after some milliseconds, or as soon as the signal is aborted. */
function pause(milliseconds, signal) {
  return new Promise((resolve) => {
    const finish = () => {
      clearTimeout(timer);
      signal?.removeEventListener('abort', finish);
      resolve();
    };
    const timer = setTimeout(finish, milliseconds);
    signal?.addEventListener('abort', finish, { once: true });
  });
}

module.exports = { pause };
