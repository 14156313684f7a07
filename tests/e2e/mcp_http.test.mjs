// Remote MCP servers, well-behaved and not: what they are sent, what the page gets, and that the
// window ends whatever they do. See support/mcp_http_server.mjs for how they answer.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { startHost, writeConfig } from './support/host.mjs';
import {
  begin, beginEvents, event, result, send, sendJson, startMcpServers, text,
} from './support/mcp_http_server.mjs';
import { startServer } from './support/server.mjs';

const kMebibyte = 1_048_576;
const kMaxBodyBytes = 8 * kMebibyte;
const kEcho = { text: 'hi' };
const kNoResponse = { error: 'MCP server returned no response' };
const kOffline = { error: 'request failed (offline?)' };
const kSession = { 'Mcp-Session-Id': 's1' };

let page;
let elsewhere; // another host, as a browser sees it
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>mcp</title>' });
  elsewhere = await startServer({ '/mcp': { status: 200, body: '' } });
});
after(() => Promise.all([page?.close(), elsewhere?.close()]));

async function withRemotes(servers, use, { entries = {}, ...wanted } = {}) {
  const remotes = await startMcpServers(servers);
  const names = Object.keys(servers);
  const mcpServers = Object.fromEntries(names.map((name) => [name, remotes.entry(name, entries[name])]));
  const host = await startHost({ address: page.url, config: { mcpServers }, ...wanted });
  try {
    await host.waitForLine(`[MCP] loaded ${names.length} server(s)`);
    await use(host, remotes);
  } finally {
    assert.equal(await host.close(), 0);
    await remotes.close();
  }
}

const callTool = (host, name, args = { text: 'hi' }) => host.page.call('mcpCall', [name, 'echo', args]);

const answer = (id) => result(id, text('hi'));
const status = (code, headers, body) => ({ response }) => send(response, code, headers, body);
const asks = (id) => ({ jsonrpc: '2.0', id, method: 'ping' });
const asEvents = (make) => ({ response, message }) => beginEvents(response).end(make(message.id));
const asBody = (make, headers = {}) => ({ response, message }) => send(response, 200, headers, make(message.id));
const jsonOfBytes = (id, bytes) => {
  const [head, tail] = JSON.stringify(result(id, text('|'))).split('|');
  return head + 'x'.repeat(bytes - head.length - tail.length) + tail;
};

// Name -> what the server does, what a call gives the page.
const kCases = {
  'answers as JSON': [{}, kEcho],
  'answers as events': [{ call: asEvents((id) => event(answer(id))) }, kEcho],
  'greets with events': [{
    initialize: asEvents((id) => event(result(id, { protocolVersion: '2025-11-25' }))),
  }, kEcho],
  'keeps the stream open': [{
    call: ({ response, message }) => beginEvents(response).write(event(answer(message.id))),
  }, kEcho],
  'sends in chunks': [{
    call: ({ response, message }) => {
      response.writeHead(200, { 'Content-Type': 'text/event-stream' });
      response.write(event(answer(message.id)));
      response.end();
    },
  }, kEcho],

  ...Object.fromEntries([400, 401, 403, 404, 405, 406, 429, 500, 503].map((code) => [
    `answers ${code}`, [{ call: status(code) }, { error: `HTTP ${code}` }],
  ])),
  'refuses the handshake': [{ initialize: status(401) }, { error: 'HTTP 401' }],
  'answers 202': [{ call: status(202) }, kNoResponse],
  'answers 202 with a body': [{ initialized: status(202, {}, 'null') }, kEcho],
  'answers 204': [{ call: status(204) }, kNoResponse],
  'answers nothing': [{ call: status(200) }, kNoResponse],
  'answers with blanks': [{ call: asBody(() => ' \r\n') }, kNoResponse],
  'answers an empty stream': [{ call: asEvents(() => ': nothing\n\ndata:\n\n') }, kNoResponse],
  'answers another request': [{ call: asEvents(() => event(answer('4711'))) }, kNoResponse],
  'drops the connection': [{ call: ({ response }) => response.socket.destroy() }, kOffline],
  'cuts the body short': [{
    call: ({ response, message }) => {
      begin(response, 200, { 'Content-Length': 999 }).write(`{"id":"${message.id}","result":`);
      response.socket.end();
    },
  }, kNoResponse],

  'says nothing of the type': [{ call: asBody((id) => JSON.stringify(answer(id))) }, kEcho],
  'says nothing of the events': [{ call: asBody((id) => `: x\nretry: 5\n${event(answer(id))}`) }, kEcho],
  'calls events JSON': [{
    call: asBody((id) => event(answer(id)), { 'Content-Type': 'application/json' }),
  }, kEcho],
  'ends lines with CR LF': [{
    call: asEvents((id) => event(answer(id)).replaceAll('\n', '\r\n')),
  }, kEcho],
  'cuts between CR and LF': [{
    call: ({ response, message }) => {
      const [before, behind] = event(answer(message.id)).replaceAll('\n', '\r\n').split(/(?<=\r)(?=\n\r)/);
      beginEvents(response).write(before);
      setImmediate(() => response.end(behind));
    },
  }, kEcho],
  'puts blanks and tabs after data:': [{
    call: asEvents((id) => `id:\ndata:\ndata: \t ${JSON.stringify(answer(id))}\t\n\n`),
  }, kEcho],
  'puts a blank after the colon': [{
    call: ({ response, message }) => beginEvents(response).write(`data: {"id": "${message.id}", "result": {"content": [{"type": "text", "text": "hi"}]}}\n\n`),
  }, kEcho],
  'answers to a number': [{
    call: ({ response, message }) => beginEvents(response).write(event(answer(Number(message.id)))),
  }, kEcho],
  'answers twice': [{ call: asEvents((id) => event(answer(id)).repeat(2)) }, kEcho],
  'writes the id first': [{
    call: ({ response, message }) => {
      const whole = `data: {"id":"${message.id}","result":${JSON.stringify(text('x'.repeat(24_000)))}}\n\n`;
      beginEvents(response).write(whole.slice(0, 1000));
      setImmediate(() => response.write(whole.slice(1000)));
    },
  }, { text: 'x'.repeat(24_000) }],
  'holds what is searched for': [{
    call: ({ response, message }) => {
      const inner = { ...text('hi'), _meta: { id: message.id } };
      const whole = `data: {"result":${JSON.stringify(inner)},"id":"${message.id}"}\n\n`;
      const half = whole.indexOf('"_meta"') + 18;
      beginEvents(response).write(whole.slice(0, half));
      setImmediate(() => response.write(whole.slice(half)));
    },
  }, kEcho],
  'sends 8 MiB': [{ call: asBody((id) => jsonOfBytes(id, kMaxBodyBytes)) }, undefined],
  'sends a byte more': [{ call: asBody((id) => jsonOfBytes(id, kMaxBodyBytes + 1)) }, kNoResponse],

  ...Object.fromEntries([301, 302, 307, 308].map((code) => [
    `redirects elsewhere with ${code}`,
    [{ call: ({ response }) => send(response, code, { Location: `${elsewhere.url}/mcp` }) },
      { error: `HTTP ${code}` }],
  ])),
  ...Object.fromEntries([307, 308].map((code) => [
    `redirects to itself with ${code}`,
    [{
      call: ({ response, message, url }) =>
        url.endsWith('/new') ? sendJson(response, answer(message.id)) : send(response, code, { Location: `${url}/new` }),
    }, kEcho],
  ])),
};

test('each remote server is understood as far as it can be', async () => {
  const servers = Object.fromEntries(Object.entries(kCases).map(([name, [server]]) => [name, server]));
  const entries = Object.fromEntries(Object.keys(kCases).map((name) => [name, { headers: { 'X-Secret': 'mine' } }]));
  await withRemotes(servers, async (host, remotes) => {
    for (const name of Object.keys(kCases)) {
      await host.waitForLine(`[MCP] ${name} -> ${remotes.url(name)} (http)`);
    }
    await Promise.all(Object.entries(kCases).map(async ([name, [, wanted]]) => {
      const got = await callTool(host, name);
      if (wanted) return assert.deepEqual(got, { ok: 1, value: wanted }, name);
      assert.equal(got.ok, 1, name);
      assert.ok(got.value.text.length > kMaxBodyBytes - 1000, name);
      assert.equal(got.value.text.replaceAll('x', ''), '', name);
    }));
    assert.deepEqual(elsewhere.requests, []);
    for (const { headers } of remotes.requests) assert.equal(headers['x-secret'], 'mine');
  }, { entries });
});

test('what a server is sent, from the greeting to the end', async () => {
  const streams = [];
  const remote = {
    initialize: ({ response, message }) =>
      sendJson(response, result(message.id, { protocolVersion: '2025-06-18' }), kSession),
    listen: ({ response }) => streams.push(beginEvents(response)),
  };
  await withRemotes({ remote }, async (host, remotes) => {
    assert.equal(remotes.requests.length, 0); // nothing before somebody asks
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: kEcho });
    await remotes.waitFor('remote', 'listen');

    // What the server says by itself, and its question, which is refused.
    const [stream] = streams;
    stream.write(`id: e1\n${event({ jsonrpc: '2.0', method: 'notifications/message', params: { message: 'Grüße' } })}`);
    stream.write(event(asks(1)));
    await host.waitForLine('[MCP remote] Grüße');
    const [refusal] = await remotes.waitFor('remote', 'answer');
    assert.deepEqual(refusal.message, { jsonrpc: '2.0', id: 1, error: { code: -32601, message: 'Method not found' } });

    stream.end();
    const [, again] = await remotes.waitFor('remote', 'listen', 2);
    assert.equal(again.headers['last-event-id'], 'e1');

    assert.equal(await host.close(), 0);
    await remotes.waitFor('remote', 'end');
    const sent = (kind) => {
      const { headers } = remotes.of('remote', kind)[0];
      const ours = ['content-type', 'accept', 'mcp-protocol-version', 'mcp-session-id', 'user-agent', 'x-own'];
      return ours.map((name) => headers[name]);
    };
    const posted = ['application/json', 'application/json, text/event-stream'];
    const agent = 'Wendra-Windows-MCP/1.0';
    assert.deepEqual(sent('initialize'), [...posted, undefined, undefined, agent, 'a']);
    assert.deepEqual(sent('initialized'), [...posted, '2025-06-18', 's1', agent, 'a']);
    assert.deepEqual(sent('call'), [...posted, '2025-06-18', 's1', agent, 'a']);
    assert.deepEqual(sent('answer'), [...posted, '2025-06-18', 's1', agent, 'a']);
    assert.deepEqual(sent('listen'), [undefined, 'text/event-stream', '2025-06-18', 's1', agent, 'a']);
    assert.deepEqual(sent('end'), [undefined, undefined, undefined, 's1', agent, 'a']);
  }, { entries: { remote: { headers: { 'X-Own': 'a' } } } });
});

test('a call waits until the server knows that the handshake is over', async () => {
  let isInitialized = false;
  const remote = {
    initialized: ({ response }) => setImmediate(() => {
      isInitialized = true;
      beginEvents(response); // stays open
    }),
    call: ({ response, message }) =>
      isInitialized ? sendJson(response, answer(message.id)) : send(response, 400),
  };
  await withRemotes({ remote }, async (host) => {
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: kEcho });
  });
});

test('a server that asks back in the middle of a call gets its answer', async () => {
  let goOn;
  const remote = {
    call: ({ response, message }) => {
      beginEvents(response).write(event(asks(0)));
      goOn = () => response.write(event(answer(message.id)));
    },
    answer: ({ response }) => {
      send(response, 202);
      goOn();
    },
  };
  await withRemotes({ remote }, async (host, remotes) => {
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: kEcho });
    assert.equal(remotes.of('remote', 'answer')[0].message.id, 0);
  });
});

test('after a restart of the server there is a new handshake', async () => {
  let sessions = 0;
  const current = () => `s${sessions}`;
  const known = (handle) => (seen) =>
    seen.headers['mcp-session-id'] === current() ? handle(seen) : send(seen.response, 404);
  const remote = {
    initialize: ({ response, message, headers }) => {
      assert.equal(headers['mcp-session-id'], undefined);
      assert.equal(headers['mcp-protocol-version'], undefined);
      ++sessions;
      sendJson(response, result(message.id, { protocolVersion: '2025-11-25' }), { 'Mcp-Session-Id': current() });
    },
    call: known(({ response, message }) => sendJson(response, answer(message.id))),
  };
  await withRemotes({ remote }, async (host) => {
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: kEcho });
    sessions += 10; // nobody remembers the old one
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: { error: 'HTTP 404' } });
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: kEcho });
  });
});

test('servers that cannot be reached say so', async () => {
  const remotes = await startMcpServers({});
  const closed = remotes.url('x');
  await remotes.close();
  const mcpServers = { closed: { url: closed }, unknown: { url: 'http://nowhere.invalid/mcp' } };
  const host = await startHost({ address: page.url, config: { mcpServers } });
  for (const name of ['closed', 'unknown']) {
    assert.deepEqual(await callTool(host, name), { ok: 1, value: kOffline }, name);
  }
  assert.equal(await host.close(), 0);
});

test('closing the window with ten calls in flight takes no two seconds and ends the session', async () => {
  const remote = {
    initialize: ({ response, message }) =>
      sendJson(response, result(message.id, { protocolVersion: '2025-11-25' }), kSession),
    call: () => {}, // never
    listen: ({ response }) => beginEvents(response),
  };
  await withRemotes({ remote }, async (host, remotes) => {
    for (let i = 0; i < 10; ++i) callTool(host, 'remote').catch(() => {}); // the page goes first
    await remotes.waitFor('remote', 'call', 10);
    await remotes.waitFor('remote', 'listen');
    const startedMs = Date.now();
    assert.equal(await host.close(), 0);
    const tookMs = Date.now() - startedMs;
    assert.equal(remotes.of('remote', 'end').length, 1);
    assert.ok(tookMs < 4000, `${tookMs} ms, with what tools/launch takes`);
  });
});

test('reloading with ten calls in flight ends the old session and starts anew', async () => {
  const held = [];
  const remote = {
    initialize: ({ response, message }) =>
      sendJson(response, result(message.id, { protocolVersion: '2025-11-25' }), kSession),
    call: (seen) => (held.length < 10 ? held.push(seen) : sendJson(seen.response, answer(seen.message.id))),
  };
  await withRemotes({ remote }, async (host, remotes) => {
    for (let i = 0; i < 10; ++i) callTool(host, 'remote').catch(() => {});
    await remotes.waitFor('remote', 'call', 10);
    await writeConfig(host.profile, { mcpServers: { remote: remotes.entry('remote') } });
    await host.waitForLine('[MCP] config.json changed on disk - reloading servers');
    await remotes.waitFor('remote', 'end');
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: kEcho });
    assert.equal(remotes.of('remote', 'initialize').length, 2);
  });
});
