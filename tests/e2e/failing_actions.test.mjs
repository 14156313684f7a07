// Makes system calls of the page's actions fail. Tests what the page gets, that no handle and no
// thread is left, and that the program goes on. docs/failures.md lists all these calls.
import assert from 'node:assert/strict';
import { mkdir, readFile, rm, writeFile } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { makeFailures } from './support/failing_calls.mjs';
import { holdings, holdsNoMore } from './support/holdings.mjs';
import { startHost } from './support/host.mjs';
import { windowsPath } from './support/machine.mjs';
import { ownProfile } from './support/mcp_children.mjs';
import { kExecDone, kOpenInBrowser, kPickDirectory } from './support/messages.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kChild = `"${windowsPath(join(kRoot, 'build/windows/bin/test_child.exe'))}"`;
const kShell = 'C:\\windows\\system32\\cmd.exe';
const kConfig = '{"mcpServers":{}}';

let server;
let failures;
let host;
let folder; // for the files of these tests
before(async (t) => {
  server = await startServer({ '/': '<!doctype html><title>failing calls</title>' });
  failures = await makeFailures();
  const profile = await ownProfile(t);
  folder = join(profile, 'own');
  await mkdir(folder);
  host = await startHost({ address: server.url, config: kConfig, profile, env: failures.env });
});
after(async () => {
  const code = await host?.close();
  await failures?.close();
  await server?.close();
  assert.equal(code, 0);
});

const inFolder = (name) => windowsPath(join(folder, name));
const ok = (value) => ({ ok: 1, value });
const failed = (value) => ({ ok: 0, value });

// The reply that the page gets under `plan`. Checks that the program answers afterwards.
async function callDuring(plan, action, args) {
  const reply = await failures.during(plan, () => host.page.call(action, args));
  assert.equal((await host.page.call('platform', [])).value.name, 'Windows', plan);
  return reply;
}

// The same, and checks that no handles and threads are left.
async function callWithoutRest(plan, action, args) {
  const held = await holdings(host);
  const reply = await callDuring(plan, action, args);
  await holdsNoMore(host, held);
  return reply;
}

const notStarted = (command) =>
  ok({ exit: -1, stdout: '', stderr: `${kShell} /d /s /c "${command}"` });

test('a command that gets no thread, no pipe or no process is answered with exit code -1', async () => {
  await host.page.call('exec', ['', 'echo hi']); // makes what the program keeps until its end
  for (const plan of ['CreateThread:1', 'CreatePipe:1', 'CreatePipe:2', 'CreatePipe:3', 'CreateProcessW']) {
    assert.deepEqual(await callWithoutRest(plan, 'exec', ['', 'echo hi']), notStarted('echo hi'), plan);
  }
  assert.deepEqual(await host.page.call('exec', ['', 'echo hi']),
    ok({ exit: 0, stdout: 'hi\r\n', stderr: '' }));
});

test('a command whose second reader gets no thread is read one stream after the other', async () => {
  assert.deepEqual(await callWithoutRest('CreateThread:2', 'exec', ['', 'echo hi& echo no>&2']),
    ok({ exit: 0, stdout: 'hi\r\n', stderr: 'no\r\n' }));
});

test('a command whose output cannot be read still ends', async () => {
  assert.deepEqual(await callWithoutRest('ReadFile', 'exec', ['', 'echo hi']),
    ok({ exit: 0, stdout: '', stderr: '' }));
});

test('a command sees the end of its input even if the inheritance of handles cannot be set', async () => {
  const command = `${kChild} read`;
  assert.deepEqual(await callWithoutRest('SetHandleInformation', 'exec', ['', command]),
    ok({ exit: 0, stdout: 'read 0 bytes\n', stderr: '' }));
});

test('a command whose exit code cannot be read counts as failed', async () => {
  assert.deepEqual(await callWithoutRest('GetExitCodeProcess', 'exec', ['', 'echo hi']),
    ok({ exit: -1, stdout: 'hi\r\n', stderr: '' }));
});

test("a command's result waits for room in a full queue", async () => {
  assert.deepEqual(await callWithoutRest(`PostMessageW/${kExecDone}:1-20`, 'exec', ['', 'echo hi']),
    ok({ exit: 0, stdout: 'hi\r\n', stderr: '' }));
});

test('a file that cannot be read fails with the reason, or keeps its size', async () => {
  await writeFile(join(folder, 'read.txt'), 'text');
  const cases = [
    ['GetFileAttributesW/read.txt', failed('no such file')],
    ['CreateFileW/read.txt', failed('could not open file')],
    ['GetFileSizeEx', failed('could not open file')],
    ['ReadFile', ok('\0\0\0\0')], // the text still has the file's size
  ];
  for (const [plan, reply] of cases) {
    assert.deepEqual(await callWithoutRest(plan, 'readFile', [inFolder('read.txt')]), reply, plan);
  }
});

test('a file that cannot be made fails with the reason; bytes that are not written are no error', async () => {
  const write = (plan, name) => callWithoutRest(plan, 'writeFile', [inFolder(name), 'text']);
  const contentOf = (name) => readFile(join(folder, name), 'utf8');
  assert.deepEqual(await write('CreateFileW/full.txt=112', 'full.txt'),
    failed('could not create file (112)'));
  assert.deepEqual(await write('SHCreateDirectoryExW', 'none\\a.txt'),
    failed('could not create file (3)'));
  assert.deepEqual(await write('WriteFile', 'empty.txt'), ok('ok'));
  assert.equal(await contentOf('empty.txt'), '');
  assert.deepEqual(await write('WriteFile.short', 'half.txt'), ok('ok'));
  assert.equal(await contentOf('half.txt'), 'te');
});

test('writing to a folder, or to a file that a command holds, fails with the error number', async () => {
  const write = (name) => host.page.call('writeFile', [inFolder(name), 'new']);
  await mkdir(join(folder, 'folder'));
  assert.deepEqual(await write('folder'), failed('could not create file (5)'));
  // The shell has the file open as long as the command runs.
  const event = `wendra-e2e-${process.pid}-held`;
  const held = host.page.call('exec', [windowsPath(folder), `${kChild} out 3 await ${event} > held.txt`]);
  await until('the file to be held', async () =>
    (await readFile(join(folder, 'held.txt'), 'utf8')) === 'xxx');
  assert.deepEqual(await write('held.txt'), failed('could not create file (32)'));
  await host.page.call('exec', ['', `${kChild} set ${event}`]);
  assert.equal((await held).value.exit, 0);
  assert.equal(await readFile(join(folder, 'held.txt'), 'utf8'), 'xxx');
});

test('project folders that the registry refuses are left out, and setting them is no error', async () => {
  for (const id of ['a', 'b']) await host.page.call('setProjectDir', [id, 'C:\\x']);
  const both = ok({ a: 'C:\\x', b: 'C:\\x' });
  const dirs = () => host.page.call('getProjectDirs', []);
  const cases = [
    ['RegCreateKeyExW', 'getProjectDirs', [], ok({})],
    ['RegQueryInfoKeyW', 'getProjectDirs', [], ok({})],
    ['RegEnumValueW:2', 'getProjectDirs', [], ok({ a: 'C:\\x' })],
    ['RegCreateKeyExW', 'setProjectDir', ['a', 'C:\\y'], ok('ok')],
    ['RegSetValueExW', 'setProjectDir', ['a', 'C:\\y'], ok('ok')],
    ['RegDeleteValueW', 'setProjectDir', ['a', ''], ok('ok')],
  ];
  for (const [plan, action, args, reply] of cases) {
    assert.deepEqual(await callWithoutRest(plan, action, args), reply, `${plan} ${action}`);
    assert.deepEqual(await dirs(), both, `${plan} ${action}`);
  }
});

test('facts of the platform that cannot be read are empty', async () => {
  const { value: facts } = await host.page.call('platform', []);
  const cases = [
    ['GetUserNameW', { user: '' }],
    ['GetProcAddress/RtlGetVersion', { version: '0.0.0' }],
    ['GetEnvironmentVariableW/USERPROFILE', { home: '' }],
  ];
  for (const [plan, missing] of cases) {
    assert.deepEqual(await callDuring(plan, 'platform', []), ok({ ...facts, ...missing }), plan);
  }
});

test('a folder dialog that cannot be made, or whose message cannot be posted, gives null', async () => {
  for (const plan of ['CoCreateInstance', `PostMessageW/${kPickDirectory}`]) {
    assert.deepEqual(await callWithoutRest(plan, 'pickDirectory', ['title']), ok(null), plan);
  }
});

test('a configuration that cannot be written keeps its old content', async () => {
  const next = '{"mcpServers":{},"next":1}';
  const cases = [
    ['CreateFileW/config.json.tmp', failed('could not write config')],
    ['WriteFile', ok({ ok: true })],
    ['WriteFile.short', ok({ ok: true })],
    ['MoveFileExW', ok({ ok: true })],
  ];
  for (const [plan, reply] of cases) {
    assert.deepEqual(await callWithoutRest(plan, 'mcpWriteConfig', [next]), reply, plan);
    assert.equal(await host.config(), kConfig, plan);
  }
  // A config.json.tmp that a failed write has left does not disturb the next write.
  for (const plan of ['FlushFileBuffers', 'SHCreateDirectoryExW']) {
    assert.deepEqual(await callWithoutRest(plan, 'mcpWriteConfig', [next]), ok({ ok: true }), plan);
    assert.equal(await host.config(), next);
    await rm(join(host.profile, '.config/wendra/config.json.tmp'), { force: true });
    assert.deepEqual(await host.page.call('mcpWriteConfig', [kConfig]), ok({ ok: true }));
  }
});

test('a configuration that cannot be opened is left alone', async () => {
  const own = '{"mcpServers":{},"mine":1}';
  await host.page.call('mcpWriteConfig', [own]);
  for (const plan of ['CreateFileW/config.json', 'CreateFileW/config.json:1']) {
    const { ok: isOk, value } = await callWithoutRest(plan, 'mcpReadConfig', []);
    assert.equal(isOk, 1);
    assert.ok(['', own].includes(value.content), plan);
    assert.equal(await host.config(), own, plan);
  }
});

test('an address for which no browser can be started is logged, and the page stays', async () => {
  const from = host.log.length;
  await failures.during('ShellExecuteW', async () => {
    await host.page.evaluate(() => void window.open('https://foreign.test/'));
    await host.waitForLine('[External] opening in browser: https://foreign.test/', { from });
    await failures.waitFor('ShellExecuteW');
  });
  assert.equal((await host.page.call('platform', [])).value.name, 'Windows');
  assert.deepEqual(await host.openedInBrowser(), []);
});

test('an address is opened at once when its message cannot be posted', async () => {
  const from = host.log.length;
  await failures.during(`PostMessageW/${kOpenInBrowser}`, async () => {
    await host.page.evaluate(() => void window.open('https://foreign.test/at-once'));
    await host.waitForLine('[External] opening in browser: https://foreign.test/at-once', { from });
    await host.waitForOpenedInBrowser('https://foreign.test/at-once');
    await failures.waitFor('PostMessageW');
  });
});
