// Tests remote MCP servers, proper and improper ones: what the host sends them and what the page
// gets. The servers are those of support/mcp_http_server.mjs.
import assert from 'node:assert/strict';
import { X509Certificate } from 'node:crypto';
import { after, before, test } from 'node:test';
import { gzipSync } from 'node:zlib';
import { callTool, kEcho } from './support/calls.mjs';
import { makeCertificate } from './support/certificate.mjs';
import { startHost } from './support/host.mjs';
import {
  begin, beginEvents, event, result, send, sendJson, startMcpServers, text,
} from './support/mcp_http_server.mjs';
import {
  answer, asBody, asEvents, asks, begins, drops, kNoResponse, kOffline, says, status,
  withRemotes,
} from './support/remotes.mjs';
import { startServer } from './support/server.mjs';

const kMebibyte = 1_048_576;
const kMaxBodyBytes = 8 * kMebibyte;

let page;
let elsewhere; // a server with another origin, to which redirects go
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>mcp</title>' });
  elsewhere = await startServer({ '/mcp': { status: 200, body: '' } });
});
after(() => Promise.all([page?.close(), elsewhere?.close()]));

const jsonOfBytes = (id, bytes) => {
  const [head, tail] = JSON.stringify(result(id, text('|'))).split('|');
  return head + 'x'.repeat(bytes - head.length - tail.length) + tail;
};

// A server that resets the connection in the middle of a response. A reset discards bytes that the
// host has not read yet; this one comes when the host has answered a request in these bytes.
function resetting() {
  let socket;
  return {
    call: ({ response }) => {
      beginEvents(response).write(event(asks(1)));
      socket = response.socket;
    },
    answer: () => socket.resetAndDestroy(),
  };
}

// Name -> what the server does, what a call gives the page, what the server's log lines say.
const kCases = {
  'answers as JSON': [{}, kEcho],
  'answers as events': [{ call: asEvents((id) => event(answer(id))) }, kEcho],
  'initializes with events': [{
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
  'sends JSON in chunks': [{
    call: ({ response, message }) => {
      response.writeHead(200, { 'Content-Type': 'application/json' });
      for (const piece of JSON.stringify(answer(message.id)).match(/.{1,9}/gs)) response.write(piece);
      response.end();
    },
  }, kEcho],

  ...Object.fromEntries([400, 401, 403, 404, 405, 406, 429, 500, 503].map((code) => [
    `answers ${code}`, [{ call: status(code) }, { error: `HTTP ${code}` }],
  ])),
  'refuses the handshake': [{ initialize: status(401) }, { error: 'HTTP 401' }],
  'answers 202': [{ call: status(202) }, kNoResponse],
  'refuses the notification': [{ initialized: status(400) }, kEcho],
  'drops the notification': [{ initialized: drops }, kEcho],
  'drops the handshake': [{ initialize: drops }, kOffline],
  'answers the handshake with nothing': [{ initialize: status(200) }, kNoResponse],
  'answers 202 with a body': [{ initialized: status(202, {}, 'null') }, kEcho],
  'answers 204': [{ call: status(204) }, kNoResponse],
  'answers nothing': [{ call: status(200) }, kNoResponse],
  'answers with whitespace': [{ call: asBody(() => ' \r\n') }, kNoResponse],
  'answers an empty stream': [{ call: asEvents(() => ': nothing\n\ndata:\n\n') }, kNoResponse],
  'answers another request': [{ call: asEvents(() => event(answer('4711'))) }, kNoResponse],
  'drops the connection': [{ call: drops }, kOffline],
  'cuts the head short': [{ call: ({ response }) => response.socket.end('HTTP/1.1') }, kOffline],
  'answers in another protocol': [{
    call: ({ response }) => response.socket.end('220 mail.example ESMTP\r\n'),
  }, kOffline],
  'cuts the body short': [{
    call: ({ response, message }) => {
      begin(response, 200, { 'Content-Length': 999 }).write(`{"id":"${message.id}","result":`);
      response.socket.end();
    },
  }, kNoResponse],

  'resets in the middle of the body': [resetting(), kNoResponse],
  'cuts a chunk short': [{
    call: ({ response, message }) => {
      response.writeHead(200, { 'Content-Type': 'application/json' });
      response.write(`{"id":"${message.id}","result":`);
      setImmediate(() => response.socket.end('ff\r\n{'));
    },
  }, kNoResponse],
  'compresses without being asked': [{
    call: asBody((id) => gzipSync(JSON.stringify(answer(id))), {
      'Content-Type': 'application/json', 'Content-Encoding': 'gzip',
    }),
  }, kNoResponse],

  'sends no type': [{ call: asBody((id) => JSON.stringify(answer(id))) }, kEcho],
  'sends events and no type': [{ call: asBody((id) => `: x\nretry: 5\n${event(answer(id))}`) }, kEcho],
  'declares events as JSON': [{
    call: asBody((id) => event(answer(id)), { 'Content-Type': 'application/json' }),
  }, kEcho],
  'declares JSON as a page': [{
    call: asBody((id) => JSON.stringify(answer(id)), { 'Content-Type': 'text/html' }),
  }, kEcho],
  'declares JSON as events': [{ call: asEvents((id) => JSON.stringify(answer(id))) }, kNoResponse],
  'gives its events names and ids': [{
    call: asEvents((id) => `event: other\nid: 1\ndata:\n\nevent: ping\nretry: 9\n${event(answer(id))}`),
  }, kEcho],
  'notifies before it answers': [{
    call: asEvents((id) => `${event(says('first'))}${event(says('second'))}${event(answer(id))}`),
  }, kEcho, ['first', 'second']],
  'has two messages in one event': [{
    call: asEvents((id) => `data: ${JSON.stringify(says('first'))}\ndata: ${JSON.stringify(answer(id))}\n\n`),
  }, kEcho, ['first']],
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
  'puts spaces and tabs after data:': [{
    call: asEvents((id) => `id:\ndata:\ndata: \t ${JSON.stringify(answer(id))}\t\n\n`),
  }, kEcho],
  'puts a space after the colon': [{
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
  'has the id in the result too': [{
    call: ({ response, message }) => {
      const inner = { ...text('hi'), _meta: { id: message.id } };
      const whole = `data: {"result":${JSON.stringify(inner)},"id":"${message.id}"}\n\n`;
      const half = whole.indexOf('"_meta"') + 18;
      beginEvents(response).write(whole.slice(0, half));
      setImmediate(() => response.write(whole.slice(half)));
    },
  }, kEcho],
  'sends 8 MiB': [{ call: asBody((id) => jsonOfBytes(id, kMaxBodyBytes)) }, undefined],
  'sends 8 MiB before the answer': [{
    call: asEvents((id) => `${':'.padEnd(kMaxBodyBytes)}\n${event(answer(id))}`),
  }, kNoResponse],
  'sends 8 MiB and a byte': [{ call: asBody((id) => jsonOfBytes(id, kMaxBodyBytes + 1)) }, kNoResponse],

  ...Object.fromEntries([301, 302, 303, 307, 308].map((code) => [
    `redirects elsewhere with ${code}`,
    [{ call: ({ response }) => send(response, code, { Location: `${elsewhere.url}/mcp` }) },
      { error: `HTTP ${code}` }],
  ])),
  ...Object.fromEntries([301, 302, 303, 307, 308].map((code) => [
    `redirects to itself with ${code}`,
    [{
      call: ({ response, message, url }) =>
        url.endsWith('/new') ? sendJson(response, answer(message.id)) : send(response, code, { Location: `${url}/new` }),
    }, code < 307 ? { error: `HTTP ${code}` } : kEcho], // below 307 the POST would become a GET
  ])),
  'redirects in a circle': [{
    call: ({ response, url }) => send(response, 307, { Location: url }),
  }, { error: 'HTTP 307' }],
};

test('each way of answering gives the page a result or an error', async () => {
  const servers = Object.fromEntries(Object.entries(kCases).map(([name, [server]]) => [name, server]));
  const entries = Object.fromEntries(Object.keys(kCases).map((name) => [name, { headers: { 'X-Secret': 'mine' } }]));
  await withRemotes(page, servers, async (host, remotes) => {
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
    for (const [name, [, , lines = []]] of Object.entries(kCases)) {
      const start = `[MCP ${name}] `;
      const said = host.log.filter((line) => line.startsWith(start)).map((line) => line.slice(start.length));
      assert.deepEqual(said, lines, name);
    }
    assert.deepEqual(elsewhere.requests, []);
    for (const { headers } of remotes.requests) {
      assert.equal(headers['x-secret'], 'mine');
      assert.equal(headers['accept-encoding'], undefined);
    }
  }, { entries });
});

test('a server gets the right headers, from the handshake to the end of the session', async () => {
  const streams = [];
  const remote = {
    initialize: begins('s1', '2025-06-18'),
    listen: ({ response }) => streams.push(beginEvents(response)),
  };
  await withRemotes(page, { remote }, async (host, remotes) => {
    assert.equal(remotes.requests.length, 0); // nothing is sent before the first call
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: kEcho });
    await remotes.waitFor('remote', 'listen');

    // A notification on the listener's stream, and a request, which the host refuses.
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

test('a call waits until the server has answered the notification of the handshake', async () => {
  let isInitialized = false;
  const remote = {
    initialized: ({ response }) => setImmediate(() => {
      isInitialized = true;
      beginEvents(response); // the response stays open
    }),
    call: ({ response, message }) =>
      isInitialized ? sendJson(response, answer(message.id)) : send(response, 400),
  };
  await withRemotes(page, { remote }, async (host) => {
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: kEcho });
  });
});

test('a server that sends a request in the middle of a call gets its response', async () => {
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
  await withRemotes(page, { remote }, async (host, remotes) => {
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: kEcho });
    assert.equal(remotes.of('remote', 'answer')[0].message.id, 0);
  });
});

test('after a restart of the server the host makes a new handshake', async () => {
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
  await withRemotes(page, { remote }, async (host) => {
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: kEcho });
    sessions += 10; // the server does not know the old session any more
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: { error: 'HTTP 404' } });
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: kEcho });
  });
});

test('a call of a server that cannot be reached fails', async () => {
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

// Name -> the session ids that the server gives with its responses, in order; the session ids that
// the host then sends.
const kLongest = 'x'.repeat(1023); // 2,048 bytes as UTF-16 with its NUL
const kSessions = {
  'gives one': [['a'], ['a', 'a', 'a', 'a', 'a']],
  'gives none': [[], [undefined, undefined, undefined, undefined]],
  'gives one late': [[undefined, undefined, 'a'], [undefined, undefined, 'a', 'a', 'a']],
  'changes it': [['a', 'b', 'c', undefined, 'd'], ['a', 'b', 'c', 'c', 'd']],
  'gives an empty one': [['a', '', ''], ['a', 'a', 'a', 'a', 'a']],
  'gives the longest': [[kLongest], Array(5).fill(kLongest)],
  ...Object.fromEntries([1024, 2048, 4096].map((length) => [
    `gives one of ${length}`, [['a', undefined, 'x'.repeat(length)], ['a', 'a', 'a', 'a', 'a']],
  ])),
};

test('the host sends the session id that it got last', async () => {
  const giving = ([ids]) => {
    const left = [...ids];
    const headers = () => {
      const id = left.shift();
      return id === undefined ? {} : { 'Mcp-Session-Id': id };
    };
    return {
      initialize: ({ response, message }) =>
        sendJson(response, result(message.id, { protocolVersion: '2025-11-25' }), headers()),
      initialized: ({ response }) => send(response, 202, headers()),
      call: ({ response, message }) => sendJson(response, answer(message.id), headers()),
    };
  };
  const servers = Object.fromEntries(Object.entries(kSessions).map(([name, row]) => [name, giving(row)]));
  await withRemotes(page, servers, async (host, remotes) => {
    const calling = async (name) => {
      for (let i = 0; i < 3; ++i) {
        assert.deepEqual(await callTool(host, name), { ok: 1, value: kEcho }, name);
      }
    };
    await Promise.all(Object.keys(kSessions).map(calling));
    assert.equal(await host.close(), 0);
    for (const [name, [, wanted]] of Object.entries(kSessions)) {
      const sent = remotes.requests.filter((one) => one.name === name && !['initialize', 'listen'].includes(one.kind));
      assert.deepEqual(sent.map((one) => one.headers['mcp-session-id']), wanted, name);
    }
  });
});

test('a 404 without a session causes no new handshake', async () => {
  await withRemotes(page, { remote: { call: status(404) } }, async (host, remotes) => {
    for (let i = 0; i < 2; ++i) {
      assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: { error: 'HTTP 404' } });
    }
    assert.equal(remotes.of('remote', 'initialize').length, 1);
  });
});

test('over https only a server with a trusted certificate gets requests', async () => {
  const certificate = makeCertificate();
  const stream = {};
  const remote = {
    initialize: begins('s1'),
    listen: ({ response }) => (stream.response = beginEvents(response)),
  };
  const trusted = await startMcpServers({ remote }, { secure: certificate });
  const unknown = await startMcpServers({ remote }, { secure: makeCertificate() });
  const headers = { 'X-Secret': 'mine' };
  const mcpServers = {
    trusted: trusted.entry('remote', { headers }),
    unknown: unknown.entry('remote', { headers }),
  };
  const host = await startHost({ address: page.url, config: { mcpServers } });
  await host.probe('trust', new X509Certificate(certificate.cert).raw.toString('hex'));
  assert.deepEqual(await callTool(host, 'unknown'), { ok: 1, value: kOffline });
  assert.deepEqual(await callTool(host, 'trusted'), { ok: 1, value: kEcho });
  await trusted.waitFor('remote', 'listen');
  stream.response.write(event(says('over TLS')));
  await host.waitForLine('[MCP trusted] over TLS');
  assert.equal(await host.close(), 0);
  assert.equal(trusted.of('remote', 'end').length, 1);
  assert.deepEqual(unknown.requests, []);
  await Promise.all([trusted.close(), unknown.close()]);
});
