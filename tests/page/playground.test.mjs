// Tests how the playground is served, and those functions of its views that need no document.
import assert from 'node:assert/strict';
import { setDefaultResultOrder } from 'node:dns';
import { after, before, test } from 'node:test';
import { entriesOf, joined, parentOf } from '../../page/playground/views/folder_list.js';
import { describe, forEditor, forFile, isFaithful } from '../../page/playground/views/text_file.js';
import { startPlayground } from './playground_server.mjs';

setDefaultResultOrder('ipv4first'); // Node 18 tries only the first address of a name

let server;

before(async () => {
  server = await startPlayground();
});

after(async () => {
  await server?.close();
});

test('the printed address serves the page, and all modules that it imports are served', async () => {
  assert.match(server.address, /^http:\/\/localhost:\d+\/playground\/$/);
  const page = await fetch(server.address);
  assert.match(page.headers.get('content-type'), /^text\/html/);
  const [, entry] = /<script type="module" src="([^"]+)"/.exec(await page.text());

  const waiting = [new URL(entry, server.address).href];
  const seen = new Set(waiting);
  for (let next = waiting.pop(); next; next = waiting.pop()) {
    const answer = await fetch(next);
    assert.equal(answer.status, 200, next);
    assert.match(answer.headers.get('content-type'), /^text\/javascript/, next);
    for (const [, found] of (await answer.text()).matchAll(/^import [^']*'([^']+)'/gm)) {
      const imported = new URL(found, next).href;
      if (!seen.has(imported)) waiting.push(imported);
      seen.add(imported);
    }
  }
  assert.ok(seen.has(new URL('/wendra-host.js', server.address).href));
});

test('a folder without its slash is redirected, and paths outside the folder give 404', async () => {
  const folder = await fetch(server.address.slice(0, -1), { redirect: 'manual' });
  assert.equal(folder.status, 302);
  assert.equal(folder.headers.get('location'), '/playground/');
  for (const path of ['/none', '/playground/none/', '/..%2ftests%2frun.mjs', '/%', '/%00']) {
    assert.equal((await fetch(new URL(path, server.address))).status, 404, path);
  }
});

test('a listing is split into folders and files', () => {
  const cases = [
    ['sub\r\na b\r\n? \r\nx.txt\r\ny\r\n', { folders: ['sub', 'a b'], files: ['x.txt', 'y'] }],
    ['? \r\n', { folders: [], files: [] }],
    ['sub\r\n? \r\n', { folders: ['sub'], files: [] }],
    ['?\nx', { folders: [], files: ['x'] }],
  ];
  for (const [output, entries] of cases) assert.deepEqual(entriesOf(output), entries);
});

test('paths are joined, and their parents found, by the rules of Windows', () => {
  assert.equal(joined('C:\\', 'a'), 'C:\\a');
  assert.equal(joined('C:\\a', 'b'), 'C:\\a\\b');
  const parents = [['C:\\a\\b', 'C:\\a'], ['C:\\a\\', 'C:\\'], ['C:\\a', 'C:\\'], ['C:\\', 'C:\\']];
  for (const [folder, parent] of parents) assert.equal(parentOf(folder), parent, folder);
});

test('the editor keeps a text unchanged, or reports that it cannot', () => {
  const faithful = ['', 'a', 'a\n', 'a\nb\n', 'a\r\nb\r\n', '\r\n', '\ufeffa\r\n'];
  const damaged = ['a\r\nb\n', 'a\rb', 'a\r\r\n', 'a\0b', 'a\ufffd'];
  for (const content of faithful) {
    const { text, hasCrLf } = forEditor(content);
    assert.equal(forFile(text, hasCrLf), content);
    assert.equal(isFaithful(content), true, JSON.stringify(content));
  }
  for (const content of damaged) assert.equal(isFaithful(content), false, JSON.stringify(content));
});

test('a text is described by its bytes, lines and line ends', () => {
  const cases = [
    ['', '0 bytes · 0 lines'],
    ['ü', '2 bytes · 1 line'],
    ['a\n', '2 bytes · 1 line'],
    ['a\r\nb', '4 bytes · 2 lines · CRLF'],
    ['a\nb\n', '4 bytes · 2 lines · LF'],
  ];
  for (const [content, text] of cases) assert.equal(describe(content), text);
});
