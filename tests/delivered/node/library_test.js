// Where the package for Node looks for the DLL, and what it says where it cannot be used.
'use strict';

const assert = require('node:assert/strict');
const path = require('node:path');
const test = require('node:test');
const { LibraryError } = require('../../../bindings/node/lib/errors.js');
const { locate } = require('../../../bindings/node/lib/locate.js');
const { load } = require('../../../bindings/node/lib/native.js');

const windows = { platform: 'win32', arch: 'x64', versions: {} };
const says = (message) => (error) => error instanceof LibraryError && error.message === message;

test('the DLL lies in the package', () => {
  const expected = path.join('/app', 'prebuilt', 'win32-x64', 'system_search.dll');
  assert.equal(locate(windows, '/app/lib', (file) => file === expected), expected);
});

test('beside an archive the unpacked one is taken', () => {
  const found = (folder, there) => {
    const dll = (packageFolder) => path.join(packageFolder, 'prebuilt', 'win32-x64', 'system_search.dll');
    const folders = there.map(dll);
    return locate(windows, `${folder}/lib`, (file) => folders.includes(file)) === dll(there[0]);
  };
  assert.ok(found('/p/app.asar/x', ['/p/app.asar.unpacked/x', '/p/app.asar/x']));
  assert.ok(found('/p/my app.ASAR/x', ['/p/my app.ASAR.unpacked/x']));
  // A folder that is no archive, one that is unpacked already, and a name that only resembles one.
  assert.ok(found('/p/app.asar/x', ['/p/app.asar/x']));
  assert.ok(found('/p/app.asar.unpacked/x', ['/p/app.asar.unpacked/x']));
  assert.ok(found('/p/app.asarx/x', ['/p/app.asarx/x', '/p/app.asar.unpackedx/x']));
});

test('a missing DLL is told', () => {
  const file = path.join('/app', 'prebuilt', 'win32-x64', 'system_search.dll');
  assert.throws(() => locate(windows, '/app/lib', () => false),
    says(`system_search.dll is missing: "${file}" does not exist. Install the package again.`));
});

test('inside Electron a DLL that was not unpacked is told', () => {
  const electron = { ...windows, versions: { electron: '30.0.0' } };
  const beside = path.join('/app.asar.unpacked', 'prebuilt', 'win32-x64', 'system_search.dll');
  // Electron's own file functions see what is in the archive.
  assert.throws(() => locate(electron, '/app.asar/lib', (file) => file !== beside),
    says(`system_search.dll is missing: "${beside}" does not exist. ` +
      'Have the packer leave the package system-search outside the asar archive.'));
});

test('another system, a 32-bit process and another processor are told', () => {
  assert.throws(() => locate({ platform: 'linux', arch: 'x64' }),
    says('System Search runs on Windows only, and this is linux.'));
  assert.throws(() => locate({ platform: 'win32', arch: 'ia32' }), says(
    'system_search.dll is a 64-bit library, and this is a 32-bit process: ' +
    'use the x64 build of Node or Electron.'));
  assert.throws(() => locate({ platform: 'win32', arch: 'arm64' }), says(
    'system_search.dll is built for x64, and this process is arm64: ' +
    'use the x64 build of Node or Electron.'));
});

test('what is no library, or another one, is told', () => {
  const refuses = { load: () => { throw new Error('Bad image.'); } };
  assert.throws(() => load('C:/s.dll', refuses),
    says('"C:/s.dll" is not a 64-bit library that Windows can load: Bad image.'));
  const lacks = (name) => { throw new Error(`Cannot find ${name}.`); };
  const koffi = {
    load: () => ({ func: lacks }), out: () => 0, pointer: () => 0, struct: () => 0, opaque: () => 0,
  };
  assert.throws(() => load('C:/s.dll', koffi),
    says('"C:/s.dll" is not the system_search.dll of this package: Cannot find ss_create.'));
});
