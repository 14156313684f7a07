// Tests the native actions from a real page: files, project folders, the folder picker.
import assert from 'node:assert/strict';
import { appendFile, mkdir, readFile, rm, stat, truncate, writeFile } from 'node:fs/promises';
import { join, relative } from 'node:path';
import { after, before, test } from 'node:test';
import { startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

let server;
let host;
let page;

before(async () => {
  server = await startServer({ '/': '<!doctype html><title>actions</title>' });
  host = await startHost({ address: server.url });
  page = host.page;
});

after(async () => {
  assert.equal(await host?.close(), 0);
  await server?.close();
});

// The path of a file in the user's profile: for the host, and on this machine.
const hostPath = (name) => `C:\\users\\wendra\\${name.replaceAll('/', '\\')}`;
const realPath = (name) => join(host.profile, name);

const succeeds = async (action, args, value) =>
  assert.deepEqual(await page.call(action, args), { ok: 1, value }, JSON.stringify(args));
const fails = async (action, args, error) =>
  assert.deepEqual(await page.call(action, args), { ok: 0, value: error }, JSON.stringify(args));

test('files are written with all their folders, and read', async () => {
  const names = ['a.txt', 'Ordner mit Leer/ü/日本/x.txt', `${'lang/'.repeat(40)}x.txt`, 'slash\\a/b.txt'];
  for (const name of names) {
    const content = `Inhalt — ${name}\n\u2028"\\ 😀`;
    await succeeds('writeFile', [hostPath(name), content], 'ok');
    assert.equal(await readFile(realPath(name.replaceAll('\\', '/')), 'utf8'), content);
    await succeeds('readFile', [hostPath(name)], content);
    await succeeds('readFileBase64', [hostPath(name)], Buffer.from(content).toString('base64'));
  }
});

test('writing without content empties the file, and replaces longer content', async () => {
  await succeeds('writeFile', [hostPath('b.txt'), 'long content'], 'ok');
  await succeeds('writeFile', [hostPath('b.txt'), 'short'], 'ok');
  await succeeds('readFile', [hostPath('b.txt')], 'short');
  await succeeds('writeFile', [hostPath('b.txt')], 'ok');
  await succeeds('readFile', [hostPath('b.txt')], '');
  await succeeds('readFileBase64', [hostPath('b.txt')], '');
});

test('readFileBase64 gives bytes that are not UTF-8 unchanged', async () => {
  const bytes = Buffer.from(Array.from({ length: 256 }, (_, i) => i));
  await writeFile(realPath('bytes.bin'), bytes);
  await succeeds('readFileBase64', [hostPath('bytes.bin')], bytes.toString('base64'));
});

test('a file of 16 MiB is read, one of a byte more is too large', async () => {
  const name = 'big.bin';
  await writeFile(realPath(name), Buffer.alloc(16_777_216, 'x'));
  for (const [action, length] of [['readFile', 16_777_216], ['readFileBase64', 22_369_624]]) {
    // The long value stays in the page; only its length comes to the test.
    const seen = await page.evaluate(
      (wanted, path) => new Promise((resolve) => {
        window.__wendra = { __resolve: (id, ok, value) => resolve([ok, value.length]) };
        chrome.webview.postMessage({ __reqId: 'big', name: wanted, args: [path] });
      }), action, hostPath(name));
    assert.deepEqual(seen, [1, length]);
  }
  await page.evaluate('location.reload()');
  await page.waitFor('!window.__wendra');
  await appendFile(realPath(name), 'x');
  await fails('readFile', [hostPath(name)], 'file too large');
  await fails('readFileBase64', [hostPath(name)], 'file too large');
});

test('a path that cannot be read fails with the reason', async () => {
  await mkdir(realPath('folder'), { recursive: true });
  await writeFile(realPath('there.txt'), 'x');
  const cases = [
    [[], 'expects [path]'], [[7], 'expects [path]'], [[''], 'expects [path]'], [null, 'expects [path]'],
    [['C:\\'], 'is a directory'], [[hostPath('folder')], 'is a directory'],
    [[hostPath('missing')], 'no such file'], [[hostPath('no/such/folder')], 'no such file'],
    [[`${hostPath('there.txt')}\0x`], 'no such file'], [['no-such-relative-file'], 'no such file'],
    [['\\\\no-such-host.test\\share\\x'], 'no such file'],
  ];
  for (const [args, error] of cases) {
    for (const action of ['readFile', 'readFileBase64']) {
      await fails(action, args, error.startsWith('expects') ? `${action} ${error}` : error);
    }
  }
});

test('a path that cannot be written fails with the reason, and changes nothing', async () => {
  await mkdir(realPath('folder'), { recursive: true });
  await fails('writeFile', [hostPath('folder'), 'x'], 'could not create file (5)');
  await fails('writeFile', [`${hostPath('folder')}\\`, 'x'], 'could not create file (5)');
  await fails('writeFile', ['Z:\\sys\\kernel\\uevent_seqnum', 'x'], 'could not create file (5)'); // read-only
  await fails('writeFile', [hostPath('a<b'), 'x'], 'could not create file (123)');
  await fails('writeFile', [`${hostPath('zero')}\0x`, 'x'], 'could not create file (123)');
  const tooDeep = hostPath(`${'lang/'.repeat(60)}x.txt`); // its folders have more than 248 characters
  await fails('writeFile', [tooDeep, 'x'], 'could not create file (3)');
  await fails('readFile', [tooDeep], 'no such file');
  await fails('writeFile', ['', 'x'], 'writeFile expects [path, content]');
  await fails('writeFile', [5, 'x'], 'writeFile expects [path, content]');
  assert.ok((await stat(realPath('folder'))).isDirectory());
});

test('device names are answered like files', async () => {
  for (const name of ['NUL', 'CON', 'COM9', '\\\\.\\NUL']) {
    const { ok, value } = await page.call('readFile', [name]);
    assert.ok(ok === 1 || /^(no such file|could not open file|is a directory)$/.test(value), `${name}: ${value}`);
  }
});

test('other ways to write a path lead to the same file', async () => {
  const cases = [
    [hostPath('dots.txt...'), 'dots.txt'], [hostPath('blanks.txt  '), 'blanks.txt'],
    ['C:/users/wendra/forward/slashes.txt', 'forward/slashes.txt'],
    [hostPath('a/../up.txt'), 'up.txt'], [`\\\\?\\${hostPath('long form.txt')}`, 'long form.txt'],
    // Relative to the folder in which the host runs.
    [relative('.', realPath('relative.txt')), 'relative.txt'],
  ];
  for (const [path, name] of cases) {
    await succeeds('writeFile', [path, path], 'ok');
    await succeeds('readFile', [path], path);
    assert.equal(await readFile(realPath(name), 'utf8'), path);
  }
});

test('reading a file that changes meanwhile gives its content or an error', async () => {
  const path = realPath('restless.txt');
  const largest = 'x'.repeat(256 << 10);
  let isRead = true;
  const changing = (async () => {
    for (let i = 1; isRead; i = i % 100 + 1) {
      await writeFile(path, largest.slice(0, largest.length / i));
      await appendFile(path, 'x'.repeat(i));
      await truncate(path, i);
      if (i % 4 === 0) await rm(path);
    }
  })();
  const seen = new Set();
  try {
    for (let i = 0; i < 200; i += 1) {
      const { ok, value } = await page.call('readFile', [hostPath('restless.txt')]);
      // NULs stand for bytes that were cut off after the host had read the size.
      seen.add(ok === 1 && /^x*\0*$/.test(value) ? 'content' : value);
    }
  } finally {
    isRead = false;
    await changing;
  }
  assert.ok(seen.delete('content'));
  for (const error of ['no such file', 'could not open file']) seen.delete(error);
  assert.deepEqual([...seen], []);
});

test('project folders are kept, replaced and cleared', async () => {
  const dirs = async () => {
    const { ok, value } = await page.call('getProjectDirs');
    assert.equal(ok, 1);
    return value;
  };
  assert.deepEqual(await dirs(), {});
  await succeeds('setProjectDir', ['p1', 'C:\\a'], 'ok');
  await succeeds('setProjectDir', ['prøjekt 日', 'D:\\ü'], 'ok');
  assert.deepEqual(await dirs(), { p1: 'C:\\a', 'prøjekt 日': 'D:\\ü' });
  await succeeds('setProjectDir', ['p1', 'C:\\b'], 'ok');
  await succeeds('setProjectDir', ['prøjekt 日', ''], 'ok');
  assert.deepEqual(await dirs(), { p1: 'C:\\b' });
  await succeeds('setProjectDir', ['p1'], 'ok');
  await succeeds('setProjectDir', ['p1', ''], 'ok'); // it is cleared already
  assert.deepEqual(await dirs(), {});
  await fails('setProjectDir', ['', 'x'], 'setProjectDir expects [projectId, path]');
  await fails('setProjectDir', [], 'setProjectDir expects [projectId, path]');
});

// Asks for a folder and waits until the dialog is there. `answer` is a promise of the reply.
async function startPicking(title) {
  const answer = page.call('pickDirectory', [title]);
  await until('the dialog', async () =>
    (await host.probe('windows')).windows.some(({ text }) => text === title), { context: host.context });
  return { answer };
}

test('a picked folder gives its path, and other requests are answered meanwhile', async () => {
  await mkdir(realPath('Ordner zum Wählen'), { recursive: true });
  const { answer } = await startPicking('Wähle einen Ordner');
  assert.equal((await page.call('platform')).ok, 1);
  await host.type(hostPath('Ordner zum Wählen'));
  await host.keys('Return');
  assert.deepEqual(await answer, { ok: 1, value: hostPath('Ordner zum Wählen') });
});

test('a cancelled folder picker gives null', async () => {
  const { answer } = await startPicking('Lieber nicht');
  await host.keys('Escape');
  assert.deepEqual(await answer, { ok: 1, value: null });
});
