// Tests remote servers that try to change more than their own responses: the headers of the next
// request, the listener after a stream, a session that is over.
import assert from 'node:assert/strict';
import { createServer } from 'node:http';
import { after, before, test } from 'node:test';
import { callTool, kEcho } from './support/calls.mjs';
import { startHost, writeConfig } from './support/host.mjs';
import { beginEvents, event, result, send, sendJson } from './support/mcp_http_server.mjs';
import { begins, kNoResponse, says, status, withRemotes } from './support/remotes.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kReceiveMs = 30_000; // the listener's time-out, from the last byte on
const kPauseMs = 2_000; // its pause before it connects again

let page;
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>hostile</title>' });
});
after(() => page?.close());

const call = async (host, name) => (await callTool(host, name)).value;
const greets = (protocolVersion) => ({ response, message }) =>
  sendJson(response, result(message.id, { protocolVersion }));

test("a server's protocol version cannot change other headers or the body", async () => {
  const versions = {
    host: '1\nHost: internal.test',
    'carriage return': '1\r\nX-Injected: yes',
    length: '1\nContent-Length: 3',
    nul: '1\u0000',
    tab: '1\t2',
  };
  const servers = Object.fromEntries(
    Object.entries(versions).map(([name, version]) => [name, { initialize: greets(version) }]),
  );
  const secret = { headers: { Authorization: 'Bearer secret' } };
  const entries = Object.fromEntries(Object.keys(versions).map((name) => [name, secret]));
  await withRemotes(page, servers, async (host, remotes) => {
    for (const name of Object.keys(versions)) {
      assert.deepEqual(await call(host, name), kEcho, name);
      const [{ headers, message }] = remotes.of(name, 'call');
      assert.equal(headers.host, `localhost:${remotes.port}`, name);
      assert.equal(headers['mcp-protocol-version'], undefined, name);
      assert.equal(headers['x-injected'], undefined, name);
      assert.equal(headers.authorization, 'Bearer secret', name);
      assert.equal(message.method, 'tools/call', name);
    }
  }, { entries });
});

test('an event id with a carriage return is not sent, a longer one than 1,024 bytes not kept', async () => {
  const ids = { kept: 'last', return: 'a\rX-Injected: yes', long: 'x'.repeat(1025), limit: 'x'.repeat(1024) };
  const wanted = { kept: 'last', return: undefined, long: 'before', limit: ids.limit };
  const streams = Object.fromEntries(Object.entries(ids).map(([name, id]) => [name, {
    listen: ({ response }) => beginEvents(response).end(`id: before\nid: ${id}\n${event(says('x'))}`),
  }]));
  await withRemotes(page, streams, async (host, remotes) => {
    for (const name of Object.keys(ids)) assert.deepEqual(await call(host, name), kEcho);
    for (const name of Object.keys(ids)) {
      const [, second] = await remotes.waitFor(name, 'listen', 2);
      assert.equal(second.headers['last-event-id'], wanted[name], name);
      assert.equal(second.headers['x-injected'], undefined, name);
    }
  });
});

test('configured headers with a control character are not sent, and logged once per load', async () => {
  const headers = { 'X-Bad': '1\r\nX-Injected: yes', 'X-Good': 'kept' };
  const said = "[MCP] server 'own': header 'X-Bad' holds a control character — not sent";
  await withRemotes(page, { own: {} }, async (host, remotes) => {
    const count = () => host.log.filter((line) => line === said).length;
    assert.equal(count(), 1);
    assert.deepEqual(await call(host, 'own'), kEcho);
    for (const { headers: got } of remotes.requests) {
      assert.equal(got['x-bad'], undefined);
      assert.equal(got['x-injected'], undefined);
      assert.equal(got['x-good'], 'kept');
    }
    await writeConfig(host.profile, { mcpServers: { own: remotes.entry('own', { headers }) } });
    await host.waitForLine('[MCP] loaded ', { from: host.log.length - 1 });
    await until('the line of the second load', () => count() === 2);
  }, { entries: { own: { headers } } });
});

test('the listener reconnects when a chunked stream falls silent', { timeout: 3 * kReceiveMs }, async () => {
  const times = [];
  const silent = createServer((request, response) => {
    if (request.method === 'GET') {
      times.push(Date.now());
      response.writeHead(200, { 'Content-Type': 'text/event-stream' });
      return response.write(event(says('hello')));
    }
    let body = '';
    request.on('data', (chunk) => (body += chunk));
    request.on('end', () => {
      const { id, method } = JSON.parse(body);
      if (id === undefined) return send(response, 202);
      const value = method === 'initialize' ? { protocolVersion: '2025-11-25' } : { content: [] };
      return sendJson(response, result(id, value));
    });
  });
  await new Promise((resolve) => silent.listen(0, '127.0.0.1', resolve));
  silent.unref();
  const host = await startHost({
    address: page.url,
    config: { mcpServers: { silent: { url: `http://localhost:${silent.address().port}` } } },
  });
  try {
    assert.deepEqual(await call(host, 'silent'), { text: '' });
    await until('a second stream', () => times.length === 2, { timeoutMs: 2 * kReceiveMs });
    assert.ok(times[1] - times[0] >= kReceiveMs + kPauseMs, `${times[1] - times[0]} ms`);
    assert.deepEqual(await call(host, 'silent'), { text: '' });
    assert.equal(await host.close(), 0);
  } finally {
    await host.kill();
    silent.closeAllConnections();
    silent.close();
  }
});

test('a body that looks like the answer and does not parse ends the call at once', async () => {
  const bodies = {
    'broken value': (id) => `{"jsonrpc":"2.0","id":${id},"result":nothing}`,
    'number out of range': (id) => `{"jsonrpc":"2.0","id":${id},"result":1e400}`,
    'broken event': (id) => `data: {"id":${id},"result":{"content":[}}\n\n`,
    'something else': () => 'It works!',
  };
  const servers = Object.fromEntries(Object.entries(bodies).map(([name, body]) => [name, {
    call: ({ response, message }) => send(response, 200, {}, body(JSON.stringify(message.id))),
  }]));
  await withRemotes(page, servers, async (host) => {
    for (const name of Object.keys(bodies)) assert.deepEqual(await call(host, name), kNoResponse, name);
  });
});

test('calls that wait for a handshake fail when its notification gets a 404', async () => {
  const servers = {
    session: { initialize: begins('s1'), initialized: status(404) },
    none: { initialized: status(404) },
    once: {
      initialize: begins('s1'),
      initialized: (() => {
        let times = 0;
        return ({ response }) => send(response, (times += 1) === 1 ? 404 : 202);
      })(),
    },
  };
  await withRemotes(page, servers, async (host, remotes) => {
    for (const name of Object.keys(servers)) {
      const both = await Promise.all([call(host, name), call(host, name)]);
      assert.deepEqual(both, [{ error: 'HTTP 404' }, { error: 'HTTP 404' }], name);
      assert.equal(remotes.of(name, 'call').length, 0, name);
    }
    assert.deepEqual(await call(host, 'once'), kEcho);
    assert.equal(remotes.of('once', 'initialize').length, 2);
    assert.equal(remotes.of('once', 'initialize')[1].headers['mcp-session-id'], undefined);
  });
});

test('the session id that came last counts, with any status and from any request', async () => {
  let late;
  const servers = {
    // The answer to the first call comes after the second one has brought a new session.
    late: {
      initialize: begins('old'),
      call: ({ response, message }) => {
        const value = result(message.id, { content: [] });
        if (!late) return void (late = () => sendJson(response, value, { 'Mcp-Session-Id': 'old' }));
        return sendJson(response, value, { 'Mcp-Session-Id': 'new' });
      },
    },
    // Gives an id with an error status, to a request without an id.
    refusing: { initialize: status(404, { 'Mcp-Session-Id': 'given' }) },
  };
  await withRemotes(page, servers, async (host, remotes) => {
    const first = call(host, 'late');
    await until('the first call', () => late);
    await call(host, 'late');
    assert.equal(remotes.of('late', 'call')[1].headers['mcp-session-id'], 'old');
    late();
    await first;
    await call(host, 'late');
    assert.equal(remotes.of('late', 'call')[2].headers['mcp-session-id'], 'old');
    await call(host, 'late');
    assert.equal(remotes.of('late', 'call')[3].headers['mcp-session-id'], 'new');

    assert.deepEqual(await call(host, 'refusing'), { error: 'HTTP 404' });
    await call(host, 'refusing');
    assert.equal(remotes.of('refusing', 'initialize')[1].headers['mcp-session-id'], 'given');
  });
});
