// Where the DLL is, and whether this process can load it at all.
'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { LibraryError } = require('./errors.js');

// "app.asar" as a whole element of a path. What such an archive holds can be read through Electron's
// own file functions, but the system's loader sees only what the packer left beside the archive.
const archive = /([\\/][^\\/]+\.asar)(?=[\\/])/i;

/** The path that the system's loader has to be given for a file of this package. */
function unpacked(file, { versions }, exists) {
  const beside = file.replace(archive, '$1.unpacked');
  // Node alone knows no archives: there it is a plain folder, which need not have one beside it.
  return exists(beside) || versions.electron ? beside : file;
}

function requireProcess({ platform, arch }) {
  if (platform !== 'win32') {
    throw new LibraryError(`System Search runs on Windows only, and this is ${platform}.`);
  }
  if (arch === 'ia32') {
    throw new LibraryError(
      'system_search.dll is a 64-bit library, and this is a 32-bit process: use the x64 build of Node or Electron.');
  }
  if (arch !== 'x64') {
    throw new LibraryError(
      `system_search.dll is built for x64, and this process is ${arch}: use the x64 build of Node or Electron.`);
  }
}

/** The path of the DLL, or a LibraryError that says why there is none. */
function locate(host = process, folder = __dirname, exists = fs.existsSync) {
  requireProcess(host);
  const packed = path.join(folder, '..', 'prebuilt', 'win32-x64', 'system_search.dll');
  const file = unpacked(packed, host, exists);
  if (!exists(file)) {
    const advice = file === packed
      ? 'Install the package again.'
      : 'Have the packer leave the package system-search outside the asar archive.';
    throw new LibraryError(`system_search.dll is missing: "${file}" does not exist. ${advice}`);
  }
  return file;
}

module.exports = { locate };
