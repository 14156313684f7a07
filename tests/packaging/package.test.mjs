// Tests tools/package: what it refuses, and that the same input gives the same bytes.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { cpSync, mkdtempSync, readFileSync, readdirSync, rmSync, utimesSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import '../runner/limits.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kPrograms = join(kRoot, 'build/windows/bin');
const kExe = join(kPrograms, 'wendra.exe');
const kName = 'wendra-0.1.0.0-not-for-users';

let folder;
before(() => (folder = mkdtempSync(join(tmpdir(), 'wendra-package-test-'))));
after(() => rmSync(folder, { recursive: true }));

function pack(output, { exe = kExe, vendor = kPrograms, more = ['--not-for-users'], env = {} } = {}) {
  const args = ['--exe', exe, '--vendor', vendor, '--output', join(folder, output), ...more];
  const options = { encoding: 'utf8', env: { ...process.env, ...env } };
  const { status, stderr, stdout } = spawnSync(join(kRoot, 'tools/package'), args, options);
  return { status, stderr, stdout };
}

test('the packages have the same bytes wherever and whenever they are made', () => {
  assert.equal(pack('one').status, 0);
  const copies = join(folder, 'copies with another path');
  cpSync(kPrograms, copies, { recursive: true, filter: (path) => !/[\\/](tests|bench)$/.test(path) });
  for (const name of readdirSync(copies)) utimesSync(join(copies, name), 1, 1);
  const env = { TZ: 'Asia/Tokyo', LC_ALL: 'C' };
  assert.equal(pack('two', { exe: join(copies, 'wendra.exe'), vendor: copies, env }).status, 0);
  for (const extension of ['exe', 'zip', 'sha256']) {
    const bytes = ['one', 'two'].map((place) => readFileSync(join(folder, place, `${kName}.${extension}`)));
    assert.ok(bytes[0].equals(bytes[1]), extension);
  }
});

test('the archive has one folder with the program, its libraries and licences', () => {
  assert.equal(pack('archive').status, 0);
  const listing = execFileSync('zip', ['-sf', join(folder, 'archive', `${kName}.zip`)], { encoding: 'utf8' });
  assert.deepEqual(listing.split('\n').filter((line) => line.startsWith('  ')).map((line) => line.trim()), [
    'wendra/LICENSE.txt', 'wendra/WebView2Loader.dll', 'wendra/WinSparkle.dll', 'wendra/wendra.exe',
  ]);
});

test('the development stand-ins are not packaged for users', () => {
  const { status, stderr } = pack('refused', { more: [] });
  assert.equal(status, 1);
  for (const name of ['WebView2Loader.dll', 'WinSparkle.dll']) {
    assert.match(stderr, new RegExp(`${name} is not .* its SHA-256 is [0-9a-f]{64}, not [0-9a-f]{64}`));
  }
  assert.match(stderr, /WinSparkle-LICENSE\.txt is missing; it is COPYING of WinSparkle 0\.9\.4/);
  assert.throws(() => readdirSync(join(folder, 'refused')), { code: 'ENOENT' });
});

test('bad arguments are named', () => {
  assert.equal(pack('x', { more: ['--everything'] }).status, 2);
  const noProgram = join(folder, 'no-program.exe');
  writeFileSync(noProgram, Buffer.alloc(4096));
  assert.match(pack('x', { exe: noProgram }).stderr, /no Windows program/);
  assert.match(pack('x', { exe: join(folder, 'missing.exe') }).stderr, /ENOENT.*missing\.exe/);
});
