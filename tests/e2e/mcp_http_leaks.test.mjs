// Tests that the host leaks nothing while remote servers are called, drop their streams and are
// reloaded, again and again.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { kEcho } from './support/calls.mjs';
import { holdings, holdsNoMore, kRestMs } from './support/holdings.mjs';
import { startHost } from './support/host.mjs';
import { beginEvents, event, send, startMcpServers } from './support/mcp_http_server.mjs';
import {
  answer, asBody, asEvents, begins, drops, kNoResponse, kOffline, says, status,
} from './support/remotes.mjs';
import { lastAnswers, reload } from './support/reloads.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

// By hand, with WHOLE=1, the full size; it takes a minute and a half.
const kWhole = { calls: 1000, reloads: 100, drops: 100 };
const kSize = process.env.WHOLE ? kWhole : { calls: 100, reloads: 10, drops: 20 };
const kWarmUp = { calls: 50, reloads: 4, drops: 10 };
const kAtOnce = 10; // calls at a time
const kRunMs = 240_000; // the limit of the test, also at full size

// Name -> how the server answers a call, what the page gets. Each server has a session and an event
// stream.
const kAnswers = {
  'as JSON': [undefined, kEcho],
  'as events': [asEvents((id) => event(answer(id))), kEcho],
  'and keeps the stream open': [
    ({ response, message }) => beginEvents(response).write(event(answer(message.id))), kEcho,
  ],
  'with much': [
    asBody((id) => JSON.stringify({ ...answer(id), more: 'x'.repeat(200_000) })), kEcho,
  ],
  'with a failure': [status(500), { error: 'HTTP 500' }],
  'with nothing': [status(204), kNoResponse],
  'by dropping the connection': [drops, kOffline],
  'after a notification': [asEvents((id) => event(says('x')) + event(answer(id))), kEcho],
  'through a redirect': [
    ({ response, message, url }) =>
      (url.endsWith('/new') ? asEvents((id) => event(answer(id))) : status(307, { Location: `${url}/new` }))(
        { response, message }),
    kEcho,
  ],
};
const kNames = Object.keys(kAnswers);

// Name -> the open event stream. A server closes its stream when the session is over, as real
// servers do. When the host closes a request that waits, Wine keeps the request's thread until
// something comes or 30 seconds are over.
const streams = new Map();
function endSession({ name, response }) {
  streams.get(name)?.end();
  streams.delete(name);
  send(response, 200);
}

let page;
let remotes;
let config;
let host;
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>leaks</title>' });
  remotes = await startMcpServers(Object.fromEntries(kNames.map((name) => [name, {
    initialize: begins('s1'),
    call: kAnswers[name][0],
    listen: ({ response }) => streams.set(name, beginEvents(response)),
    end: endSession,
  }])));
  config = JSON.stringify({
    mcpServers: Object.fromEntries(kNames.map((name) => [name, remotes.entry(name)])),
  });
  host = await startHost({ address: page.url, config });
});
after(async () => {
  await host?.close();
  await remotes?.close();
  await page?.close();
});

// Makes `count` calls of all servers in turn, kAtOnce at a time, and checks the replies.
async function callAll(count) {
  const wanted = kNames.map((name) => kAnswers[name][1]);
  const got = await host.page.evaluate(async (names, calls, atOnce) => {
    const values = [];
    let next = 0;
    const work = async () => {
      for (let i = next++; i < calls; i = next++) {
        values[i] = (await ask('mcpCall', [names[i % names.length], 'echo', {}])).value;
      }
    };
    await Promise.all(Array.from({ length: atOnce }, work));
    return values;
  }, kNames, count, kAtOnce);
  assert.deepEqual(got, Array.from({ length: count }, (_, i) => wanted[i % wanted.length]));
}

const allStreams = () => until('a stream of each server', () => kNames.every((name) => streams.has(name)));

// All servers drop their streams at once and wait for new ones, until `count` have been dropped.
async function dropAll(count) {
  for (let dropped = 0; dropped < count; dropped += kNames.length) {
    await allStreams();
    const open = [...streams.values()];
    streams.clear();
    for (const stream of open) stream.socket.destroy();
  }
  await allStreams();
}

async function reloadAll(times) {
  await reload(host, kNames, config, times);
  await lastAnswers(host, kNames);
  await allStreams();
}

async function run({ calls, reloads, drops: streamsDropped }) {
  await reloadAll(reloads);
  await callAll(calls);
  await dropAll(streamsDropped);
}

test('remote servers leak no threads, handles and memory', { timeout: kRunMs }, async (t) => {
  const fresh = await holdings(host);
  // WinHTTP's threads end when they have been idle for a while. One thread waits for each stream.
  const atRest = () => until('rest', async () => {
    const now = await holdings(host);
    return now.threads <= fresh.threads + kNames.length && now;
  }, { timeoutMs: kRestMs });
  await run(kWarmUp);
  const start = await atRest();
  await run(kSize);
  await atRest();
  const end = await holdsNoMore(host, start);
  t.diagnostic(`${JSON.stringify(kSize)}: before ${JSON.stringify(start)}, after ${JSON.stringify(end)}`);
});
