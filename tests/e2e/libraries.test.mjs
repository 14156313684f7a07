// Tests which libraries the host loads from its own folder: those of the vendors, and no other.
import assert from 'node:assert/strict';
import { copyFileSync, existsSync, mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { after, before, beforeEach, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { makeProfile, removeProfile, startHost } from './support/host.mjs';
import { windowsPath } from './support/machine.mjs';
import { startServer } from './support/server.mjs';

const kBin = join(dirname(fileURLToPath(import.meta.url)), '../../build/windows/bin');

const kVendors = ['WebView2Loader.dll', 'WinSparkle.dll'];
const kMessageBox = '#32770'; // the class of Windows' own dialogs
const kLibraryMissing = 0x35; // what Wine makes of the exit code C0000135

// Libraries that the host, the vendors' libraries, or what they use may load, and that Windows does
// not take from its system folder in any case: they are not in its list of "known DLLs".
const kNames = [
  'cryptbase', 'dbghelp', 'dnsapi', 'dwmapi', 'iphlpapi', 'profapi', 'uxtheme', 'version', 'winhttp',
  'wininet',
].map((name) => `${name}.dll`);

const profile = await makeProfile();
const folder = join(profile, 'program');
const record = join(profile, 'loaded');
const server = await startServer({ '/': '<!doctype html><title>start</title>' });
const loaded = () =>
  existsSync(record) ? readFileSync(record, 'utf8').toLowerCase().trimEnd().split('\n') : [];

const start = (program, wanted) =>
  startHost({ profile, ...wanted, env: { WENDRA_DEV_HOST: program, WENDRA_TEST_PLANTED: windowsPath(record), ...wanted.env } });
const startCopy = (program, wanted) => {
  copyFileSync(join(kBin, program), join(folder, program));
  return start(join(folder, program), wanted);
};

// Wine takes its own libraries, unless its registry tells it to look in the program's folder first,
// as Windows does.
async function lookBesideProgram() {
  const file = join(profile, 'overrides.reg');
  const lines = kNames.map((name) => `"${name.replace('.dll', '')}"="native,builtin"\r\n`).join('');
  const keys = ['imports_at_start.exe', 'wendra.exe'].map((program) =>
    `[HKEY_CURRENT_USER\\Software\\Wine\\AppDefaults\\${program}\\DllOverrides]\r\n${lines}\r\n`);
  writeFileSync(file, `REGEDIT4\r\n\r\n${keys.join('')}`);
  const wanted = { args: ['/S', windowsPath(file)], env: { WENDRA_DEV_NO_RUNTIME: '1' } };
  const editor = await start('C:\\windows\\regedit.exe', wanted);
  assert.equal(await editor.ended(), 0);
}

before(async () => {
  await lookBesideProgram();
  mkdirSync(folder);
  for (const name of kNames) copyFileSync(join(kBin, 'planted.dll'), join(folder, name));
});
after(async () => {
  await server.close();
  await removeProfile(profile);
});
beforeEach(() => rmSync(record, { force: true }));

test('a program that imports a library in the ordinary way takes the one beside it', async () => {
  const wanted = { args: [], env: { WENDRA_DEV_NO_RUNTIME: '1' } };
  await (await startCopy('imports_at_start.exe', wanted)).ended();
  assert.ok(loaded().includes('version.dll'), loaded().join(' '));
});

test('the host takes the libraries of the vendors, and no other', async () => {
  // Wine's own user32.dll takes these two from the program's folder, before the program begins.
  for (const name of ['uxtheme.dll', 'version.dll']) rmSync(join(folder, name));
  for (const name of kVendors) copyFileSync(join(kBin, name), join(folder, name));
  const host = await startCopy('wendra.exe', { address: server.url }); // fetches the feed with WinHTTP
  assert.equal((await host.page.call('platform')).ok, 1);
  assert.equal(await host.close(), 0);
  assert.deepEqual(loaded(), []);
});

test('without a library of a vendor the host says which one is missing, and ends', async (t) => {
  const damage = (file) => writeFileSync(file, 'no library');
  const cases = [
    ['WinSparkle.dll', rmSync, 'en', 'is missing or damaged. Please install Wendra again.'],
    ['WinSparkle.dll', damage, 'en', 'is missing or damaged. Please install Wendra again.'],
    ['WebView2Loader.dll', rmSync, 'de', 'fehlt oder ist beschädigt. Bitte installiere Wendra neu.'],
  ];
  for (const [missing, spoil, lang, trouble] of cases) {
    await t.test(`${missing}, ${spoil.name}`, async () => {
      for (const name of kVendors) copyFileSync(join(kBin, name), join(folder, name));
      spoil(join(folder, missing));
      const host = await startCopy('wendra.exe', { args: [], lang });
      await host.window(kMessageBox);
      const { controls } = await host.probe('controls', kMessageBox);
      assert.ok(controls.some(({ text }) => text === `${missing} ${trouble}`), JSON.stringify(controls));
      await host.keys('Return');
      assert.equal(await host.ended(), kLibraryMissing);
    });
  }
});
