// Tests that closing the window and reloading config.json do not wait for the network, whatever the
// remote servers do, and that each open session gets its DELETE.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { callTool, kEcho } from './support/calls.mjs';
import { startMuteServer, startSilentAddress } from './support/black_holes.mjs';
import { writeConfig } from './support/host.mjs';
import { endAlone, startLonelyHost } from './support/lonely_host.mjs';
import { begin, beginEvents, event, startMcpServers } from './support/mcp_http_server.mjs';
import { asks, begins, drops, flood, never, says, status } from './support/remotes.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kEndMs = 2000; // the limit from the request to close the window to the end of the process
// How long the window may be silent during a reload, which stops and starts seventy servers. On an
// idle machine it is a fifth of a second. Windows takes a window for hung after five seconds.
const kSilenceMs = 2000;

let page;
let elsewhere; // a server with another origin, to which a redirect goes
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>mcp</title>' });
  elsewhere = await startServer({});
});
after(() => Promise.all([page?.close(), elsewhere?.close()]));

const kSession = { initialize: begins('s1') };

// Writes `piece` again and again until the connection is closed; `seen.pieces` counts the writes.
function trickle(stream, seen, piece) {
  const timer = setInterval(() => {
    stream.write(piece);
    seen.pieces += 1;
  }, 5);
  stream.on('close', () => clearInterval(timer));
}
const trickles = (seen) => seen.pieces > 10;
const floods = (seen) => seen.pieces > 200; // twenty thousand messages

// Name ->
//   server   what the server does; or `hole`, which starts an address that never answers
//   scheme   of the hole's address ('http')
//   calls    how many calls the page makes (1)
//   kind     the kind of request that shows that the trouble has begun; or `has`, which shows it
//   ends     true: the host has a session, and a DELETE must come
//   count    how many such servers there are (1)
const kTroubles = {
  'ten calls in flight': { server: { ...kSession, call: never }, calls: 10, kind: 'call', ends: true },
  'ten calls without a session': { server: { call: never }, calls: 10, kind: 'call' },
  'a handshake that is not answered': { hole: startMuteServer },
  'a handshake that cannot connect': { hole: startSilentAddress },
  'a handshake that gets no TLS': { hole: startMuteServer, scheme: 'https' },
  'a handshake whose stream goes on': {
    // When the host answers the server's request, it has read the session id.
    server: {
      initialize: ({ response }) =>
        beginEvents(response, { 'Mcp-Session-Id': 's1' }).write(event(asks(1))),
    },
    kind: 'answer',
    ends: true,
  },
  'a notification that is not answered': {
    server: { ...kSession, initialized: never }, kind: 'initialized', ends: true,
  },
  'a head that trickles': {
    server: {
      ...kSession,
      call: ({ response: { socket }, seen }) => {
        socket.write('HTTP/1.1 200 OK\r\n');
        trickle(socket, seen, 'X-More: yes\r\n');
      },
    },
    has: trickles,
    ends: true,
  },
  'a body that trickles': {
    server: { ...kSession, call: ({ response, seen }) => trickle(begin(response), seen, ' ') },
    has: trickles,
    ends: true,
  },
  'a stream that trickles': {
    server: {
      ...kSession,
      call: ({ response, seen }) => trickle(beginEvents(response), seen, event(says('more'))),
    },
    has: trickles,
    ends: true,
  },
  'a listener that gets no message': {
    server: { ...kSession, listen: ({ response }) => beginEvents(response) }, kind: 'listen', ends: true,
  },
  'a listener that gets messages all the time': {
    server: {
      ...kSession,
      listen: ({ response, seen }) => trickle(beginEvents(response), seen, event(says('more'))),
    },
    has: trickles,
    ends: true,
  },
  'a listener that is flooded': {
    server: { ...kSession, listen: ({ response, seen }) => flood(beginEvents(response), seen) },
    has: floods,
    ends: true,
  },
  'a call that is flooded': {
    server: { ...kSession, call: ({ response, seen }) => flood(beginEvents(response), seen) },
    has: floods,
    ends: true,
  },
  'a listener that is not answered': {
    server: { ...kSession, listen: never }, kind: 'listen', ends: true,
  },
  'a listener that waits to try again': {
    server: { ...kSession, listen: drops }, kind: 'listen', ends: true,
  },
  'a DELETE that is not answered': { server: { ...kSession, end: never }, kind: 'call', ends: true },
  'a DELETE that is refused': { server: { ...kSession, end: status(405) }, kind: 'call', ends: true },
  'a DELETE that is dropped': { server: { ...kSession, end: drops }, kind: 'call', ends: true },
  'a DELETE that is sent elsewhere': {
    server: {
      ...kSession,
      end: ({ response }) => begin(response, 307, { Location: `${elsewhere.url}/mcp` }).end(),
    },
    kind: 'call',
    ends: true,
  },
  'fifty DELETEs that are not answered': {
    server: { ...kSession, end: never }, count: 50, kind: 'call', ends: true,
  },
};

// Starts the servers of one trouble until the test `t` ends: {names, entries, begun(round),
// of(name, kind)}. `begun` waits until the trouble has begun. Each load of config.json begins a new
// round.
async function startTrouble(t, name) {
  const { server, hole, scheme = 'http', kind, has, count = 1 } = kTroubles[name];
  const names = Array.from({ length: count }, (_, i) => (i ? `${name} ${i}` : name));
  if (hole) {
    const { url, isAsked, close } = await hole();
    t.after(close);
    const entry = { url: url.replace('http', scheme) };
    return { names, entries: { [name]: entry }, begun: () => until(name, isAsked), of: () => [] };
  }
  const seen = { pieces: 0 };
  const withSeen = Object.entries(server).map(([what, act]) => [what, (one) => act({ ...one, seen })]);
  const remotes = await startMcpServers(
    Object.fromEntries(names.map((one) => [one, Object.fromEntries(withSeen)])));
  t.after(remotes.close);
  const calls = kTroubles[name].calls ?? 1;
  return {
    names,
    entries: Object.fromEntries(names.map((one) => [one, remotes.entry(one)])),
    begun: async (round) => {
      await Promise.all(names.map((one) => remotes.waitFor(one, 'initialize', round)));
      seen.pieces = 0;
      if (has) return until(name, () => has(seen));
      return Promise.all(names.map((one) => remotes.waitFor(one, kind, calls * round)));
    },
    of: remotes.of,
  };
}

async function bringAbout(host, { names, begun }, calls = 1, round = 1) {
  for (const name of names) {
    // The page may end before a call has a reply.
    for (let i = 0; i < calls; ++i) callTool(host, name).catch(() => {});
  }
  await begun(round);
}

const endsOf = (trouble) => trouble.names.map((name) => trouble.of(name, 'end').length);
const wantedEnds = (name, { names }, rounds = 1) =>
  names.map(() => (kTroubles[name].ends ? rounds : 0));

for (const [name, { calls }] of Object.entries(kTroubles)) {
  test(`the process ends within two seconds: ${name}`, async (t) => {
    const trouble = await startTrouble(t, name);
    const host = await startLonelyHost({ address: page.url, config: { mcpServers: trouble.entries } });
    await bringAbout(host, trouble, calls);
    const { code, ms } = await endAlone(host, 'close');
    t.diagnostic(`${ms} ms`);
    assert.equal(code, 0);
    assert.ok(ms < kEndMs, `${ms} ms`);
    assert.deepEqual(endsOf(trouble), wantedEnds(name, trouble));
    assert.deepEqual(elsewhere.requests, []);
    await host.kill();
  });
}

test('config.json is reloaded at once in the middle of all these troubles', async (t) => {
  const troubles = {};
  for (const name of Object.keys(kTroubles)) troubles[name] = await startTrouble(t, name);
  const inAll = (act) => Promise.all(Object.entries(troubles).map(([name, one]) => act(name, one)));
  const sane = await startMcpServers({});
  t.after(sane.close);
  const mcpServers = Object.assign(
    { sane: sane.entry('sane') }, ...Object.values(troubles).map(({ entries }) => entries));
  const host = await startLonelyHost({ address: page.url, config: { mcpServers } });
  const bringAllAbout = (round) =>
    inAll((name, trouble) => bringAbout(host, trouble, kTroubles[name].calls, round));
  await bringAllAbout(1);

  await host.probe('watch');
  await writeConfig(host.profile, { mcpServers });
  await host.waitForLine('[MCP] config.json changed on disk - reloading servers');
  assert.deepEqual(await callTool(host, 'sane'), { ok: 1, value: kEcho });
  const { longestMs, answers } = await host.probe('watched');
  assert.ok(answers > 0);
  t.diagnostic(`the window was silent for ${longestMs} ms at most`);
  assert.ok(longestMs < kSilenceMs, `${longestMs} ms`);
  await inAll((name, trouble) => until(`the DELETEs of ${name}`, () =>
    `${endsOf(trouble)}` === `${wantedEnds(name, trouble)}`));

  await bringAllAbout(2);
  const { code, ms } = await endAlone(host, 'close');
  t.diagnostic(`${ms} ms to the end`);
  assert.equal(code, 0);
  assert.ok(ms < 2 * kEndMs, `${ms} ms`); // seventy servers at once
  await inAll((name, trouble) => {
    assert.deepEqual(endsOf(trouble), wantedEnds(name, trouble, 2), name);
    if (kTroubles[name].server) assert.equal(trouble.of(name, 'initialize').length, 2, name);
  });
  assert.deepEqual(elsewhere.requests, []);
  await host.kill();
});
