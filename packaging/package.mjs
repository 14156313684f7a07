// Makes the packages of a version from the built program and the vendors' libraries: the installer,
// the portable archive, and their checksums. docs/deploying.md describes them for administrators.
import { execFileSync } from 'node:child_process';
import {
  chmodSync, copyFileSync, existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, renameSync, rmSync, statSync,
  utimesSync, writeFileSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { programFacts } from '../tools/release/resources.mjs';
import { kVendorFiles, sha256Of, vendorTrouble } from './vendor.mjs';

const kUsage = `usage: tools/package --exe PROGRAM --vendor DIR --output DIR [--not-for-users]

  --exe PROGRAM     the built wendra.exe; its version is the version of the packages
  --vendor DIR      the vendors' libraries and their licences, under the names of packaging/vendor.mjs
  --output DIR      gets the packages
  --not-for-users   takes any libraries, also the development stand-ins, and says so in all names`;

const kHere = dirname(fileURLToPath(import.meta.url));
const kRoot = join(kHere, '..');
const kApplicationId = 'Wendra.Desktop';

class Refused extends Error {}

// The times of all files in the packages: the same input gives the same bytes.
const kEpochSeconds = Number(process.env.SOURCE_DATE_EPOCH ?? Date.UTC(2026, 0, 1) / 1000);

// Copies everything that is installed into `folder`; gives the names, wendra.exe last.
function stage(folder, { exe, vendor, notForUsers }) {
  const ours = { 'LICENSE.txt': join(kRoot, 'LICENSE') };
  const theirs = kVendorFiles.map(({ name }) => [name, join(vendor, name)])
    .filter(([, file]) => !notForUsers || existsSync(file)); // the stand-ins have no licences
  const files = { ...ours, ...Object.fromEntries(theirs), 'wendra.exe': exe };
  for (const [name, file] of Object.entries(files)) {
    copyFileSync(file, join(folder, name));
    chmodSync(join(folder, name), 0o644);
    utimesSync(join(folder, name), kEpochSeconds, kEpochSeconds);
  }
  return Object.keys(files);
}

const macroFor = (macro, names) => names.map((name) => `\${${macro}} "${name}"\n`).join('');

// The icon on the program's colour.
function makePicture(output) {
  execFileSync('convert', [
    '-size', '164x314', 'gradient:#0e5a6b-#0a2f3a',
    '(', `${join(kRoot, 'resources/wendra.ico')}[-1]`, '-resize', '96x96', ')',
    '-gravity', 'north', '-geometry', '+0+64', '-composite', '-alpha', 'off', `BMP3:${output}`,
  ]);
}

function makeInstaller(output, folder, names, { version, title, publisher }) {
  const scratch = mkdtempSync(join(tmpdir(), 'wendra-installer-'));
  try {
    const [list, removal, picture] = ['list.nsh', 'removal.nsh', 'picture.bmp'].map((name) => join(scratch, name));
    makePicture(picture);
    writeFileSync(list, macroFor('MoveFile', names));
    writeFileSync(removal, macroFor('RemoveFile', names.filter((name) => name !== 'wendra.exe')));
    const definitions = {
      VERSION: version, TITLE: title, FILES: folder, OUTPUT: output, APP_ID: kApplicationId,
      PUBLISHER: publisher, LIST: list, REMOVAL: removal, PICTURE: picture,
      SIZE_KIB: Math.ceil(names.reduce((sum, name) => sum + statSync(join(folder, name)).size, 0) / 1024),
    };
    const options = Object.entries(definitions).map(([name, value]) => `-D${name}=${value}`);
    execFileSync('makensis', ['-V2', '-WX', ...options, join(kHere, 'wendra.nsi')], { stdio: ['ignore', 2, 2] });
  } finally {
    rmSync(scratch, { recursive: true });
  }
}

// The archive has one folder, `wendra`, and its entries are sorted.
function makeArchive(output, folder) {
  const names = readdirSync(folder).sort().map((name) => `wendra/${name}\n`).join('');
  rmSync(output, { force: true });
  execFileSync('zip', ['-q', '-X', '-D', '-9', '-@', output], {
    cwd: dirname(folder), input: names, env: { ...process.env, TZ: 'UTC' }, stdio: ['pipe', 2, 2],
  });
}

function makePackages({ exe, vendor, output, 'not-for-users': notForUsers = false }) {
  const facts = programFacts(readFileSync(exe));
  const trouble = notForUsers ? [] : vendorTrouble(vendor);
  if (trouble.length) throw new Refused(trouble.join('\n'));
  const suffix = notForUsers ? '-not-for-users' : '';
  const name = (extension) => join(output, `wendra-${facts.fileVersion}${suffix}.${extension}`);
  const scratch = mkdtempSync(join(tmpdir(), 'wendra-package-'));
  try {
    const folder = join(scratch, 'wendra');
    mkdirSync(folder);
    mkdirSync(output, { recursive: true });
    const names = stage(folder, { exe, vendor, notForUsers });
    makeInstaller(`${name('exe')}.new`, folder, names, {
      version: facts.fileVersion,
      title: notForUsers ? 'Wendra (not for users)' : 'Wendra',
      publisher: facts.company,
    });
    renameSync(`${name('exe')}.new`, name('exe'));
    makeArchive(name('zip'), folder);
  } finally {
    rmSync(scratch, { recursive: true });
  }
  const files = [name('exe'), name('zip')];
  const sums = files.map((file) => `${sha256Of(file)}  ${file.slice(output.length + 1)}\n`).join('');
  writeFileSync(name('sha256'), sums);
  return [...files, name('sha256')];
}

function main() {
  const option = { type: 'string' };
  let values;
  try {
    const options = { exe: option, vendor: option, output: option, 'not-for-users': { type: 'boolean' } };
    ({ values } = parseArgs({ options }));
  } catch (error) {
    console.error(`package: ${error.message}\n${kUsage}`);
    return 2;
  }
  if (!values.exe || !values.vendor || !values.output) {
    console.error(kUsage);
    return 2;
  }
  try {
    const paths = { exe: resolve(values.exe), vendor: resolve(values.vendor), output: resolve(values.output) };
    console.log(makePackages({ ...values, ...paths }).join('\n'));
    return 0;
  } catch (error) {
    for (const line of error.message.split('\n')) console.error(`package: ${line}`);
    return 1;
  }
}

process.exitCode = main();
