// In whatever a remote server leaves the host hanging: when the window closes, or config.json is
// loaded anew, nothing waits for the network, and a session that there is gets its DELETE.
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

const kEndMs = 2000; // that the host may take from the wish to close to the end of its process
// Of the window, at most, while it loads config.json: a fifth of a second when nobody else works on
// this machine, for it stops and starts seventy servers then. Windows calls it hung after five.
const kSilenceMs = 2000;

let page;
let elsewhere; // another host, as a browser sees it
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>mcp</title>' });
  elsewhere = await startServer({});
});
after(() => Promise.all([page?.close(), elsewhere?.close()]));

const kSession = { initialize: begins('s1') };

// Writes `piece` again and again until nobody listens; `seen.pieces` counts.
function trickle(stream, seen, piece) {
  const timer = setInterval(() => {
    stream.write(piece);
    seen.pieces += 1;
  }, 5);
  stream.on('close', () => clearInterval(timer));
}
const trickles = (seen) => seen.pieces > 10;
const floods = (seen) => seen.pieces > 200; // twenty thousand messages

// Name -> what the server does, or `hole`, what stands in its place; how many `calls` the page makes
// (one), the `kind` of request that shows that the trouble has begun, or `has` it; whether the host
// has a session, for which a DELETE must come (`ends`); how many such servers there are (`count`).
const kTroubles = {
  'ten calls in flight': { server: { ...kSession, call: never }, calls: 10, kind: 'call', ends: true },
  'ten calls without a session': { server: { call: never }, calls: 10, kind: 'call' },
  'a greeting that is not answered': { hole: startMuteServer },
  'a greeting that cannot connect': { hole: startSilentAddress },
  'a greeting that gets no TLS': { hole: startMuteServer, scheme: 'https' },
  'a greeting whose stream goes on': {
    // The host answers the question, so it has read the session's id.
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
  'a listener that hears nothing': {
    server: { ...kSession, listen: ({ response }) => beginEvents(response) }, kind: 'listen', ends: true,
  },
  'a listener that hears all the time': {
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

// The servers of one trouble, {names, entries, begun(round), of(name, kind)}, until the test `t` ends;
// each loading of config.json begins a round.
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
    for (let i = 0; i < calls; ++i) callTool(host, name).catch(() => {}); // the page goes first
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

test('config.json is loaded anew at once in the middle of it all', async (t) => {
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
