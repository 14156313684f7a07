// Tests the listener: the event streams on which remote servers send messages of their own, and how
// the host connects again when a stream ends.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { gzipSync } from 'node:zlib';
import { callTool, kEcho } from './support/calls.mjs';
import { beginEvents, event, send, sendJson, startMcpServers } from './support/mcp_http_server.mjs';
import { startHost } from './support/host.mjs';
import {
  answer, asks, begins, drops, flood, kOffline, says, status, withRemotes,
} from './support/remotes.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kPauseMs = 2000; // the host's pause between the end of a stream and the next attempt
const kClockStepMs = 50; // a pause may seem this much shorter: two clocks, one of them in steps
const kLateMs = 1500; // a pause may be this much longer on a busy machine
const kFloodPieces = 200; // twenty thousand messages
const kAnswerMs = 1000; // the limit of a call of another server during the flood, with its handshake
// Longer by hand, with LISTENING_SECONDS=60.
const kListeningMs = Number(process.env.LISTENING_SECONDS ?? 6) * 1000;

let page;
let elsewhere; // a server with another origin, to which redirects go
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>mcp</title>' });
  elsewhere = await startServer({ '/mcp': { status: 200, body: event(says('elsewhere')) } });
});
after(() => Promise.all([page?.close(), elsewhere?.close()]));

const data = (words) => `data: ${JSON.stringify(says(words))}\n`;
const streams = (...lines) => ({ response }) => beginEvents(response).end(lines.join(''));
const withEnds = (text) => text.replaceAll('\n', '\r\n');

// Name -> how the server answers the first GET, what the host logs of it, the event id that the
// second GET names.
const kFirstStreams = {
  ...Object.fromEntries([400, 401, 403, 404, 405, 406, 429, 500, 503].map((code) => [
    `answers ${code}`,
    [status(code, { 'Content-Type': 'text/event-stream' }, `id: 1\n${data('unheard')}\n`), []],
  ])),
  'answers 202': [status(202), []],
  'answers 204': [status(204), []],
  'answers 200 with nothing': [status(200), []],
  'drops the connection': [drops, []],
  'answers in another protocol': [({ response }) => response.socket.end('220 mail.example ESMTP\r\n'), []],
  'compresses without being asked': [
    ({ response }) => send(response, 200, {
      'Content-Type': 'text/event-stream', 'Content-Encoding': 'gzip',
    }, gzipSync(`id: 1\n${data('unheard')}\n`)),
    [],
  ],
  'sends all at once': [streams(`id: 1\n${data('a')}\n`, `id: 2\n${data('b')}\n`), ['a', 'b'], '2'],
  'ends lines with CR LF': [streams(withEnds(`id: 1\n${data('a')}\n`)), ['a'], '1'],
  'cuts between CR and LF': [
    ({ response }) => {
      const [before, behind] = withEnds(`id: 1\n${data('a')}\n`).split(/(?<=a.*\r)(?=\n\r)/);
      beginEvents(response).write(before);
      setImmediate(() => response.end(behind));
    },
    ['a'],
    '1',
  ],
  'cuts within every line': [
    ({ response }) => {
      const pieces = `id: 1\n${data('Grüße')}\n`.match(/.{1,7}/gs);
      beginEvents(response);
      const next = () => (pieces.length ? response.write(pieces.shift(), () => setImmediate(next)) : response.end());
      next();
    },
    ['Grüße'],
    '1',
  ],
  'sends no type': [({ response }) => send(response, 200, {}, `id: 1\n${data('a')}\n`), ['a'], '1'],
  'has comments, names and times': [
    streams(': x\n\nretry: 1\n\nevent: other\nid: 1\n', data('a'), '\n:\n\n'), ['a'], '1',
  ],
  'gives an id without data': [streams(data('a'), '\nid: 7\ndata:\n\n'), ['a'], '7'],
  'sets its id to nothing': [streams(`id: 1\n${data('a')}\nid:\n\n`), ['a']],
  'puts spaces and tabs after data:': [
    streams(`data:\t ${JSON.stringify(says('a'))} \t\n\n`, `data:${JSON.stringify(says('b'))}\n\n`), ['a', 'b'],
  ],
  'sends data that is no message': [streams('data: nonsense\n\ndata: 5\n\ndata: []\n\n', data('a')), ['a']],
  'ends without a line end': [streams(data('a'), data('b').trimEnd()), ['a', 'b']],
  'ends within a message': [streams(data('a'), data('b').slice(0, -9)), ['a']],
  'resets within a message': [
    // When the host answers the server's request, it has read everything before it.
    ({ response, then }) => {
      beginEvents(response).write(`id: 1\n${data('a')}\n${event(asks(1))}data: {"`);
      then.answer = () => response.socket.resetAndDestroy();
    },
    ['a'],
    '1',
  ],
  'sends in chunks': [
    ({ response }) => {
      response.writeHead(200, { 'Content-Type': 'text/event-stream' });
      for (const words of ['a', 'b']) response.write(`id: ${words}\n${data(words)}\n`);
      response.end();
    },
    ['a', 'b'],
    'b',
  ],
  ...Object.fromEntries([301, 302, 303, 307, 308].map((code) => [
    `redirects to itself with ${code}`,
    [
      ({ response, url }) =>
        (url.endsWith('/new') ? streams(`id: 1\n${data('a')}\n`)({ response })
          : send(response, code, { Location: `${url}/new` })),
      ['a'],
      '1',
    ],
  ])),
  ...Object.fromEntries([301, 302, 303, 307, 308].map((code) => [
    `redirects elsewhere with ${code}`,
    [({ response }) => send(response, code, { Location: `${elsewhere.url}/mcp` }), []],
  ])),
};

test('the listener takes the good messages of any stream, and connects again after it', async () => {
  const server = ([first]) => {
    const then = { answer: () => {} };
    let streamed = 0;
    return {
      initialize: begins('s1'),
      answer: ({ response }) => {
        send(response, 202);
        then.answer();
      },
      listen: (one) => {
        if (!one.url.endsWith('/new')) ++streamed;
        if (streamed === 1) return first({ ...one, then });
        return beginEvents(one.response).write(data('again'));
      },
    };
  };
  const servers = Object.fromEntries(Object.entries(kFirstStreams).map(([name, row]) => [name, server(row)]));
  const entries = Object.fromEntries(Object.keys(kFirstStreams).map((name) => [name, { headers: { 'X-Secret': 'mine' } }]));
  await withRemotes(page, servers, async (host, remotes) => {
    await host.page.call('mcpServers', []);
    for (const [name, [, lines, lastEventId]] of Object.entries(kFirstStreams)) {
      await host.waitForLine(`[MCP ${name}] again`);
      const start = `[MCP ${name}] `;
      const said = host.log.filter((line) => line.startsWith(start)).map((line) => line.slice(start.length));
      assert.deepEqual(said, [...lines, 'again'], name);
      const asked = remotes.of(name, 'listen');
      assert.equal(asked.at(-1).headers['last-event-id'], lastEventId, name);
      assert.ok(!asked.at(-1).url.endsWith('/new'), name);
      assert.deepEqual([...new Set(asked.map(({ headers }) => headers['x-secret']))], ['mine'], name);
    }
    assert.deepEqual(elsewhere.requests, []);
  }, { entries });
});

test('the listener connects again after the same pause each time its stream is dropped', async (t) => {
  const kLifeMs = 1000;
  const ends = ['end', 'destroy', 'resetAndDestroy'];
  const endedMs = [];
  const beganMs = [];
  const remote = {
    initialize: begins('s1'),
    listen: ({ response }) => {
      beganMs.push(Date.now());
      const number = beganMs.length;
      beginEvents(response).write(`id: ${number}\n${data(`stream ${number}`)}\n`);
      setTimeout(() => {
        endedMs.push(Date.now());
        response.socket[ends[number % ends.length]]();
      }, kLifeMs);
    },
  };
  await withRemotes(page, { remote }, async (host, remotes) => {
    const cycles = Math.round(kListeningMs / (kLifeMs + kPauseMs));
    for (let i = 1; i <= cycles + 1; ++i) {
      assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: kEcho });
      await host.waitForLine(`[MCP remote] stream ${i}`);
    }
    await until('the next end', () => endedMs.length > cycles);
    const pausesMs = endedMs.slice(0, cycles).map((ms, i) => beganMs[i + 1] - ms);
    t.diagnostic(`pauses in ms: ${pausesMs.join(' ')}`);
    assert.ok(Math.min(...pausesMs) >= kPauseMs - kClockStepMs, pausesMs.join(' '));
    assert.ok(Math.max(...pausesMs) < kPauseMs + kLateMs, pausesMs.join(' '));
    const said = host.log.filter((line) => line.startsWith('[MCP remote] stream '));
    assert.deepEqual(said, said.map((_, i) => `[MCP remote] stream ${i + 1}`)); // each once, in order
    const ids = remotes.of('remote', 'listen').map(({ headers }) => headers['last-event-id']);
    assert.deepEqual(ids, ids.map((_, i) => (i ? String(i) : undefined)));
  });
});

test('a server that sends faster than the host reads does not delay other servers', async (t) => {
  const seen = { pieces: 0 };
  const remote = {
    initialize: begins('s1'),
    listen: ({ response }) => flood(beginEvents(response), seen),
  };
  await withRemotes(page, { remote, other: {} }, async (host) => {
    assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value: kEcho });
    await until('the flood', () => seen.pieces > kFloodPieces);
    let longestMs = 0;
    for (let i = 0; i < 20; ++i) {
      const askedMs = performance.now();
      assert.deepEqual(await callTool(host, 'other'), { ok: 1, value: kEcho });
      longestMs = Math.max(longestMs, performance.now() - askedMs);
    }
    t.diagnostic(`another server's answer took ${Math.round(longestMs)} ms at most`);
    assert.ok(longestMs < kAnswerMs, `${longestMs} ms`);
  });
});

test('after a restart of its server the listener uses the new session', async () => {
  const server = (sessionId) => {
    const known = (act) => (one) =>
      (one.headers['mcp-session-id'] === sessionId ? act : status(404))(one);
    return {
      initialize: begins(sessionId),
      call: known(({ response, message }) => sendJson(response, answer(message.id))),
      listen: known(({ response }) => beginEvents(response).write(`id: 7\n${data(`in ${sessionId}`)}\n`)),
    };
  };
  const old = await startMcpServers({ remote: server('s1') });
  const host = await startHost({ address: page.url, config: { mcpServers: { remote: old.entry('remote') } } });
  const gives = async (value) => assert.deepEqual(await callTool(host, 'remote'), { ok: 1, value });
  await gives(kEcho);
  await host.waitForLine('[MCP remote] in s1');
  await old.close();
  await gives(kOffline);

  const anew = await startMcpServers({ remote: server('s2') }, { port: old.port });
  const [asked] = await anew.waitFor('remote', 'listen');
  assert.equal(asked.headers['mcp-session-id'], 's1');
  assert.equal(asked.headers['last-event-id'], '7');
  await gives({ error: 'HTTP 404' });
  await gives(kEcho);
  await host.waitForLine('[MCP remote] in s2');
  const last = anew.of('remote', 'listen').at(-1);
  assert.equal(last.headers['mcp-session-id'], 's2');
  assert.equal(last.headers['last-event-id'], undefined);
  assert.equal(await host.close(), 0);
  assert.deepEqual(anew.of('remote', 'end').map(({ headers }) => headers['mcp-session-id']), ['s2']);
  await anew.close();
});
