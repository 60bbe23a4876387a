// An index and the build that fills it.
'use strict';

const { BuildError, CancelledError } = require('./errors.js');
const { native } = require('./native.js');
const { pause } = require('./polling.js');
const { criteria, finish, text } = require('./query.js');

const states = ['idle', 'running', 'ready', 'cancelled', 'failed'];
const pollMilliseconds = 10;

// Frees engines that a program forgot to close.
const forgotten = new FinalizationRegistry(({ c, handle }) => c.ss_destroy(handle));

class Engine {
  #c = native();
  #handle = this.#c.ss_create();
  #building = false;

  constructor() {
    if (!this.#handle) throw new BuildError('There is not enough memory for an engine.');
    forgotten.register(this, { c: this.#c, handle: this.#handle }, this);
  }

  #open() {
    if (!this.#handle) throw new CancelledError('The engine is closed.');
    return this.#handle;
  }

  get status() {
    const status = {};
    this.#c.ss_status(this.#open(), status);
    return {
      state: states[status.state],
      entries: status.entries,
      skipped: status.skipped,
      limited: status.limited !== 0,
      fromCache: status.from_cache !== 0,
    };
  }

  async build(scope = '', options = {}) {
    const { cache = '', force = false, signal, onProgress } = options;
    signal?.throwIfAborted();
    const texts = [text(scope, 'scope'), text(cache, 'cache')];
    if (this.#building) throw new BuildError('A build of this engine is running.');
    if (!this.#c.ss_start(this.#open(), ...texts, force ? 1 : 0)) {
      throw new BuildError('The build could not be started.');
    }
    this.#building = true;
    try {
      return this.#outcome(await this.#end(signal, onProgress), signal);
    } finally {
      this.#building = false;
    }
  }

  /** The status that a running build ends with. An aborted one is waited for, too, so that another
      may be started as soon as this one's promise is settled. */
  async #end(signal, onProgress) {
    const cancel = () => this.#handle && this.#c.ss_cancel(this.#handle);
    signal?.addEventListener('abort', cancel, { once: true });
    try {
      let status = this.status;
      while (status.state === 'running') {
        onProgress?.(status);
        await pause(pollMilliseconds);
        status = this.status;
      }
      return status;
    } catch (failure) {
      // What reports the progress threw: nobody waits for the build any more.
      cancel();
      throw failure;
    } finally {
      signal?.removeEventListener('abort', cancel);
    }
  }

  #outcome(status, signal) {
    const message = this.#c.ss_error(this.#handle);
    if (status.state === 'cancelled') {
      signal?.throwIfAborted();
      throw new CancelledError('The build was cancelled.');
    }
    if (status.state === 'failed') throw new BuildError(message || 'The build could not be started.');
    return message ? { ...status, warning: message } : status;
  }

  cancel() {
    this.#c.ss_cancel(this.#open());
  }

  async query(pattern = '', options = {}) {
    const { signal } = options;
    signal?.throwIfAborted();
    const query = this.#c.ss_query(this.#open(), text(pattern, 'text'), ...criteria(options));
    return finish(this.#c, query, signal);
  }

  async *follow(pattern = '', options = {}) {
    const { interval = 100, signal } = options;
    for (;;) {
      // Asked before the query: what is searched after the end of the build is all there is.
      const { state } = this.status;
      yield await this.query(pattern, options);
      if (state !== 'running') return;
      await pause(interval, signal);
    }
  }

  close() {
    if (!this.#handle) return;
    const handle = this.#handle;
    this.#handle = null;
    forgotten.unregister(this);
    this.#c.ss_destroy(handle);
  }
}

// Named as in newer versions of Node, so that "using" finds it; older ones lack the symbol.
const dispose = Symbol.dispose ?? Symbol.for('Symbol.dispose');
Object.defineProperty(Engine.prototype, dispose, { value: Engine.prototype.close });

async function listFolder(folder, pattern = '', options = {}) {
  const { signal } = options;
  signal?.throwIfAborted();
  if (text(folder, 'folder') === '') throw new TypeError('folder must not be empty.');
  const texts = [folder, text(pattern, 'text')];
  const c = native();
  return finish(c, c.ss_query_directory(...texts, ...criteria(options)), signal);
}

module.exports = { Engine, listFolder };
