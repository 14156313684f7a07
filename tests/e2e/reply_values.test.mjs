// Tests that values that a script literal would change or refuse reach the page unchanged.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { startHost } from './support/host.mjs';
import { sendJson, startMcpServers } from './support/mcp_http_server.mjs';
import { startServer } from './support/server.mjs';
import { inTime } from './support/waiting.mjs';

const kDeep = 100_000;

let server;
let mcp;
let host;

// Answers with a result whose structured content is this JSON text.
const structured = (text) => ({ response, message }) =>
  sendJson(response, `{"jsonrpc":"2.0","id":${JSON.stringify(message.id)},"result":{"content":[],"structuredContent":${text}}}`);

before(async () => {
  server = await startServer({ '/': '<!doctype html><title>values</title>' });
  mcp = await startMcpServers({
    prototypes: { call: structured('{"a":{"__proto__":{"b":1},"__proto__":{"b":2},"c":"\\"\\\\\\u2028ü"}}') },
    deep: { call: structured(`{"deep":${'['.repeat(kDeep)}${']'.repeat(kDeep)}}`) },
  });
  const mcpServers = Object.fromEntries(
    ['prototypes', 'deep'].map((name) => [name, { url: mcp.url(name) }]));
  host = await startHost({ address: server.url, config: { mcpServers } });
});

after(async () => {
  assert.equal(await host?.close(), 0);
  await mcp?.close();
  await server?.close();
});

// Posts a request and gives what `look` returns for the reply; `look` runs in the page.
const askAndLook = (name, args, look) => inTime(`the reply to ${name}`, host.page.evaluate(`
  new Promise((resolve) => {
    window.__wendra = { __resolve: (id, ok, value) => resolve((${look})(ok, value)) };
    chrome.webview.postMessage({ __reqId: 'r', name: '${name}', args: ${JSON.stringify(args)} });
  })`), { context: host.context });

test('members named __proto__ reach the page as members', async () => {
  const [ok, keys, inner, c] = await askAndLook('mcpCall', ['prototypes', 'any'], (isOk, { structuredContent: { a } }) =>
    [isOk, Object.keys(a), Object.getOwnPropertyDescriptor(a, '__proto__')?.value, a.c]);
  assert.equal(ok, 1);
  assert.deepEqual(keys, ['__proto__', 'c']);
  assert.deepEqual(inner, { b: 2 }); // of two members with one name JSON.parse keeps the last
  assert.equal(c, '"\\\u2028ü');
});

test('a hundred thousand nested arrays reach the page', async () => {
  const [ok, depth] = await askAndLook('mcpCall', ['deep', 'any'], (isOk, { structuredContent }) => {
    let arrays = 0;
    for (let at = structuredContent.deep; Array.isArray(at); at = at[0]) arrays += 1;
    return [isOk, arrays];
  });
  assert.equal(ok, 1);
  assert.equal(depth, kDeep);
});

test('a project named __proto__ reaches the page as a project', async () => {
  const path = 'C:\\a "b"\\ü';
  assert.deepEqual(await host.page.call('setProjectDir', ['__proto__', path]), { ok: 1, value: 'ok' });
  await host.page.call('setProjectDir', ['p', 'C:\\p']);
  const dirs = await askAndLook('getProjectDirs', [], (isOk, value) => Object.entries(value).sort());
  assert.deepEqual(dirs, [['__proto__', path], ['p', 'C:\\p']]);
});
