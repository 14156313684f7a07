// Remote MCP servers that others wrote, called from a real page.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { startForeignServer } from './support/foreign_http_server.mjs';
import { startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const example = (name) => `@modelcontextprotocol/sdk/dist/esm/examples/server/${name}.js`;
const kStreamInterval = { interval: 1, count: 2 };

// Name -> script, its arguments, whether it keeps sessions, a tool, its arguments, what it says.
const kServers = {
  everything: ['@modelcontextprotocol/server-everything/dist/index.js', ['streamableHttp'], true,
    'echo', { message: 'Grüße' }, 'Echo: Grüße'],
  sessions: [example('simpleStreamableHttp'), [], true, 'greet', { name: 'Jo' }, 'Hello, Jo!'],
  stateless: [example('simpleStatelessStreamableHttp'), [], false,
    'start-notification-stream', kStreamInterval, 'Started sending periodic notifications every 1ms'],
  json: [example('jsonResponseStreamableHttp'), [], true, 'greet', { name: 'Jo' }, 'Hello, Jo!'],
};

let page;
let host;
const remotes = {};
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>mcp</title>' });
  const entries = {};
  for (const [name, [script, args]] of Object.entries(kServers)) {
    remotes[name] = await startForeignServer(script, args);
    entries[name] = { url: remotes[name].url };
  }
  host = await startHost({ address: page.url, config: { mcpServers: entries } });
});
after(async () => {
  await Promise.all(Object.values(remotes).map((remote) => remote.close()));
  await page?.close();
});

const has = (name, method) => remotes[name].requests.some((one) => one.method === method);

test('every server lists its tools', async () => {
  const { ok, value } = await host.page.call('mcpServers', []);
  assert.equal(ok, 1);
  assert.deepEqual(value.map(({ name }) => name).sort(), Object.keys(kServers).sort());
  for (const { name, tools } of value) {
    assert.ok(tools.some((tool) => tool.name === kServers[name][3]), name);
  }
});

test('every server answers a call', async () => {
  for (const [name, [, , , tool, args, wanted]] of Object.entries(kServers)) {
    assert.deepEqual(await host.page.call('mcpCall', [name, tool, args]),
      { ok: 1, value: { text: wanted } }, name);
  }
});

test('every server is listened to, and told the end of its session', async () => {
  for (const name of Object.keys(kServers)) {
    await until(`a GET at ${name}`, () => has(name, 'GET'));
  }
  assert.equal(await host.close(), 0);
  for (const [name, [, , keepsSessions]] of Object.entries(kServers)) {
    assert.equal(has(name, 'DELETE'), keepsSessions, name);
  }
});
