// Tests remote MCP servers of other authors, and our own servers on their frameworks, from a real
// page. All are behind the proxy of support/foreign_http_server.mjs, which sends their responses on
// without chunks: otherwise, under Wine, an event of a quiet stream would not arrive.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { moduleScript, ownScript, startForeignServer } from './support/foreign_http_server.mjs';
import { startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kEverything = moduleScript('@modelcontextprotocol/server-everything/dist/index.js');
const example = (name) => moduleScript(`@modelcontextprotocol/sdk/dist/esm/examples/server/${name}.js`);
const kGreet = ['greet', { name: 'Jo' }, { text: 'Hello, Jo!' }];
const kEcho = ['echo', { message: 'Grüße' }, { text: 'Echo: Grüße' }];
const ours = (script, way) => ({ script: ownScript(script), args: [way], call: kEcho });

// Name ->
//   script, args   how the server is started
//   call           a tool, its arguments, what the page gets
//   hasNoSession   true: the server keeps no sessions
//   hasNoStream    true: it has no event stream for the listener's GET
//   hasNoEnd       true: it does not know DELETE, which ends a session
const kServers = {
  everything: { script: kEverything, args: ['streamableHttp'], call: kEcho },

  // Examples of the official SDK.
  sessions: { script: example('simpleStreamableHttp'), call: kGreet },
  stateless: {
    script: example('simpleStatelessStreamableHttp'),
    call: ['start-notification-stream', { interval: 1, count: 2 },
      { text: 'Started sending periodic notifications every 1ms' }],
    hasNoSession: true,
    hasNoStream: true,
  },
  json: { script: example('jsonResponseStreamableHttp'), call: kGreet, hasNoStream: true, hasNoEnd: true },
  hono: {
    script: example('honoWebStandardStreamableHttp'),
    call: ['greet', { name: 'Jo' }, { text: 'Hello, Jo! (from Hono + WebStandard transport)' }],
    hasNoSession: true,
  },
  standalone: { script: example('standaloneSseWithGetStreamableHttp'), hasNoEnd: true }, // resources only
  polling: {
    // Ends the stream of the call and expects a GET for the rest. The host does not support that.
    script: example('ssePollingExample'),
    call: ['long-task', {}, { error: 'MCP server returned no response' }],
  },

  // Our own servers, on frameworks of other authors.
  fastmcp: ours('fastmcp_server.mjs', 'sessions'),
  fastmcp_json: ours('fastmcp_server.mjs', 'json'),
  fastmcp_stateless: { ...ours('fastmcp_server.mjs', 'stateless'), hasNoSession: true, hasNoStream: true },
  hono_mcp: ours('hono_server.mjs', 'sessions'),
  hono_mcp_json: ours('hono_server.mjs', 'json'),
  hono_mcp_stateless: { ...ours('hono_server.mjs', 'stateless'), hasNoSession: true },
};
const kNames = Object.keys(kServers);

let page;
let host;
const remotes = {};
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>mcp</title>' });
  await Promise.all(Object.entries(kServers).map(async ([name, { script, args }]) => {
    remotes[name] = await startForeignServer(script, args);
  }));
  const mcpServers = Object.fromEntries(kNames.map((name) => [name, { url: remotes[name].url }]));
  host = await startHost({ address: page.url, config: { mcpServers } });
});
after(async () => {
  await Promise.all(Object.values(remotes).map((remote) => remote.close()));
  await page?.close();
});

async function callTool(name, tool, args) {
  const { ok, value } = await host.page.call('mcpCall', [name, tool, args]);
  assert.equal(ok, 1);
  return value;
}

// Server -> the names of its tools, or the error of its list.
async function toolsOfAll() {
  const { ok, value } = await host.page.call('mcpServers', []);
  assert.equal(ok, 1);
  return Object.fromEntries(value.map(({ name, tools, error }) =>
    [name, tools?.map((tool) => tool.name) ?? error]));
}

const lastEventId = (text) => [...text.matchAll(/^id: ?(.+)$/gm)].at(-1)?.[1];

// Waits until the server has sent `wanted` on its listener stream of that number; gives the stream.
const heard = async (name, number, wanted) => {
  const stream = await remotes[name].waitFor('GET', number);
  await until(`${wanted} from ${name}`, () => stream.text.includes(wanted), { context: () => stream.text });
  return stream;
};

test('every server lists its tools', async () => {
  const { standalone, ...tools } = await toolsOfAll();
  assert.equal(standalone, 'Method not found');
  assert.deepEqual(Object.keys(tools).sort(), kNames.filter((name) => name !== 'standalone').sort());
  for (const [name, names] of Object.entries(tools)) {
    assert.ok(names.includes(kServers[name].call[0]), `${name}: ${names}`);
  }
});

test('every server answers a call', async () => {
  await Promise.all(Object.entries(kServers).map(async ([name, { call }]) => {
    if (!call) return;
    const [tool, args, wanted] = call;
    assert.deepEqual(await callTool(name, tool, args), wanted, name);
  }));
});

test('every server gets the GET of a listener', async () => {
  for (const [name, { hasNoStream }] of Object.entries(kServers)) {
    const { status, headers } = await remotes[name].waitFor('GET');
    assert.equal(status, hasNoStream ? 405 : 200, name);
    assert.equal(headers['last-event-id'], undefined, name);
  }
});

for (const name of ['fastmcp', 'fastmcp_json', 'hono_mcp', 'hono_mcp_json', 'hono_mcp_stateless']) {
  test(`a server's notifications are taken, and its new tool can be called: ${name}`, async () => {
    assert.deepEqual(await callTool(name, 'announce', { message: 'neu' }), { text: 'announced' });
    await host.waitForLine(`[MCP ${name}] neu`);
    await heard(name, 1, '"method":"notifications/tools/list_changed"');
    assert.deepEqual((await toolsOfAll())[name], ['echo', 'announce', 'ask', 'neu']);
    assert.deepEqual(await callTool(name, 'neu', {}), { text: 'new' });
  });
}

for (const name of ['fastmcp', 'hono_mcp', 'hono_mcp_stateless']) {
  test(`a server's request before its answer is refused, and the call goes on: ${name}`, async () => {
    const refused = { text: 'MCP error -32601: Method not found' };
    assert.deepEqual(await callTool(name, 'ask', {}), refused);
  });
}

// The SDK's examples cannot repeat the events of a GET: their event store takes the name of that
// stream, which begins with the separator, for empty. fastmcp and the everything server can.
test('messages that a server sends without a listener are taken later, and once', async () => {
  const stream = await heard('fastmcp', 1, '"neu"');
  const letListen = remotes.fastmcp.holdListeners();
  stream.end();
  const missed = await callTool('fastmcp', 'announce', { message: 'verpasst' });
  assert.deepEqual(missed, { text: 'announced' });
  letListen();
  await host.waitForLine('[MCP fastmcp] verpasst');
  const again = await remotes.fastmcp.waitFor('GET', 2);
  assert.equal(again.headers['last-event-id'], lastEventId(stream.text));
  assert.equal(again.headers['mcp-session-id'], stream.headers['mcp-session-id']);
  await callTool('fastmcp', 'announce', { message: 'danach' });
  await host.waitForLine('[MCP fastmcp] danach');
  const lines = host.log.filter((line) => line.startsWith('[MCP fastmcp] '));
  assert.deepEqual(lines, ['neu', 'verpasst', 'danach'].map((message) => `[MCP fastmcp] ${message}`));
});

test('the listener asks the everything server for the events that it has missed', async () => {
  const toggle = () => callTool('everything', 'toggle-simulated-logging', {}); // sends when turned on
  await toggle();
  const kMessage = '"method":"notifications/message"';
  const first = await heard('everything', 1, kMessage);
  const letListen = remotes.everything.holdListeners();
  first.end();
  await toggle();
  await toggle();
  letListen();
  const second = await heard('everything', 2, kMessage);
  assert.equal(second.headers['last-event-id'], lastEventId(first.text));
  second.end();
  const third = await remotes.everything.waitFor('GET', 3);
  assert.equal(third.headers['last-event-id'], lastEventId(second.text)); // the host took that event
});

test('a server without tools gets a listener', async () => {
  await heard('standalone', 1, '"method":"notifications/resources/list_changed"');
  assert.equal(remotes.standalone.of('GET').length, 1);
});

for (const name of ['fastmcp', 'sessions']) {
  test(`after a restart of its server a call makes a new session: ${name}`, async () => {
    const [tool, args, wanted] = kServers[name].call;
    await remotes[name].restart();
    assert.deepEqual(await callTool(name, tool, args), { error: 'HTTP 404' });
    assert.deepEqual(await callTool(name, tool, args), wanted);
  });
}

test('every server with a session gets a DELETE at the end', async () => {
  assert.equal(await host.close(), 0);
  for (const [name, { hasNoSession, hasNoEnd }] of Object.entries(kServers)) {
    const ends = remotes[name].of('DELETE').map(({ status }) => status);
    assert.deepEqual(ends, hasNoSession ? [] : [hasNoEnd ? 404 : 200], name);
  }
});
