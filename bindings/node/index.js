// System Search for Node and Electron on Windows: the way in for require().
'use strict';

const { Engine, listFolder } = require('./lib/engine.js');
const {
  BuildError, CancelledError, LibraryError, QueryError, SystemSearchError,
} = require('./lib/errors.js');
const { Results } = require('./lib/results.js');

module.exports = {
  Engine, listFolder, Results,
  SystemSearchError, LibraryError, BuildError, QueryError, CancelledError,
};
