// Tests the program against the vendor's WebView2 package: its header, and its loader on a machine
// without a WebView2 runtime.
import assert from 'node:assert/strict';
import { copyFileSync, mkdirSync } from 'node:fs';
import { rm } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { makeProfile, startHost } from '../e2e/support/host.mjs';
import { until } from '../e2e/support/waiting.mjs';
import { differences, ownHeaders } from './declarations.mjs';
import { restoreWebView2 } from './packages.mjs';

const kBin = join(dirname(fileURLToPath(import.meta.url)), '../../build/windows/bin');
const kMethod = '  virtual HRESULT STDMETHODCALLTYPE';
const { folder, skip } = restoreWebView2();

test("methods, slots, signatures, identifiers and values are those of the vendor's header", { skip }, () => {
  assert.deepEqual(differences(ownHeaders(), folder), []);
});

test('a planted difference is noticed', { skip }, async (t) => {
  const cases = {
    'two methods in the wrong order': [`${kMethod} GoBack() = 0;\n${kMethod} GoForward() = 0;`, `${kMethod} GoForward() = 0;\n${kMethod} GoBack() = 0;`],
    'a method too few': [`${kMethod} Stop() = 0;\n`, ''],
    'a method too many': [`${kMethod} Close() = 0;`, `${kMethod} Close() = 0;\n${kMethod} Open() = 0;`],
    'another parameter': ['get_BrowserProcessId(UINT32* value)', 'get_BrowserProcessId(UINT64* value)'],
    'a parameter too few': ['CreateCoreWebView2EnvironmentWithOptions(\n    PCWSTR browserExecutableFolder, PCWSTR', 'CreateCoreWebView2EnvironmentWithOptions(\n    PCWSTR'],
    'another identifier': ['0x76eceacb', '0x76eceacc'],
    'another value': ['BROWSER_PROCESS_EXITED = 0', 'BROWSER_PROCESS_EXITED = 10'],
  };
  for (const [name, [from, to]] of Object.entries(cases)) {
    await t.test(name, () => {
      const headers = ownHeaders();
      const changed = Object.fromEntries(Object.entries(headers).map(([path, text]) => [path, text.replace(from, to)]));
      assert.notDeepEqual(changed, headers);
      assert.notDeepEqual(differences(changed, folder), []);
    });
  }
});

test("with the vendor's loader and without a runtime the window stays empty, and log and keys work", { skip }, async () => {
  const profile = await makeProfile();
  const program = join(profile, 'program');
  mkdirSync(program);
  for (const name of ['wendra.exe', 'WinSparkle.dll']) copyFileSync(join(kBin, name), join(program, name));
  copyFileSync(join(folder, 'build/native/x64/WebView2Loader.dll'), join(program, 'WebView2Loader.dll'));
  const env = { WENDRA_DEV_HOST: join(program, 'wendra.exe'), WENDRA_DEV_NO_RUNTIME: '1' };
  const host = await startHost({ profile, args: ['localhost:1'], env });
  await host.window();
  await host.keys('ctrl+l');
  await until('the log in the panel', async () => (await host.panel()).visible, { context: host.context });
  await until('the look at the feed', async () => /\[Update\] could not fetch feed/.test((await host.panel()).text));
  const { text } = await host.panel();
  assert.match(text, /^\[Server\] loading https:\/\/localhost:1 \(from command line\)\r\n/);
  assert.match(text, /\[Log\] log panel shown \(Ctrl\+L\)/);
  assert.deepEqual(host.log, []); // the stand-in would have passed it on
  assert.equal(await host.close(), 0);
  await rm(profile, { recursive: true, force: true });
});
