// Tests that fifty remote servers that cannot be reached cost no more time than one, and that the
// window reacts meanwhile. One host has one such server, another has fifty; both run side by side.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { startMuteServer, startSilentAddress } from './support/black_holes.mjs';
import { endAlone, startLonelyHost } from './support/lonely_host.mjs';
import { startMcpServers } from './support/mcp_http_server.mjs';
import { kOffline } from './support/remotes.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kMany = 50;
const kMoreMs = 1000; // fifty may take this much longer than one: each needs a thread or two
const kStartMs = 3000; // the same for the start, as the start of the browser varies
const kSilenceMs = 2000; // how long the window may be silent; on an idle machine it is a tenth of that
const kEndMs = 2000; // the limit from the request to close the window to the end of the process
const [kFewReplies, kManyReplies] = [100, 1000];

let page;
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>mcp</title>' });
});
after(() => page?.close());

async function startRefusing() {
  const remotes = await startMcpServers({});
  await remotes.close();
  return { url: remotes.url('x'), isAsked: () => true, close: () => {} };
}

// Name -> what starts the address; the error in the list of servers, or nothing if it comes too
// late for a test. By hand, UNREACHABLE_SECONDS=60 waits for it.
const kAddresses = {
  'that refuse': [startRefusing, kOffline.error],
  'that answer no attempt to connect': [startSilentAddress, kOffline.error],
  'that answer no request': [startMuteServer, process.env.UNREACHABLE_SECONDS && 'MCP request timed out'],
};
const kListingMs = Number(process.env.UNREACHABLE_SECONDS ?? 20) * 1000;

// The longest time that the page waits for a reply that needs no server. Measures until `ends` is
// settled, kFewReplies at least and kManyReplies at most.
async function longestReplyMs(host, ends) {
  let isOver = false;
  ends.finally(() => (isOver = true)).catch(() => {});
  let longestMs = 0;
  let replies = 0;
  do {
    const askedMs = performance.now();
    assert.equal((await host.page.call('platform', [])).ok, 1);
    longestMs = Math.max(longestMs, performance.now() - askedMs);
    replies += 1;
  } while (replies < kFewReplies || (!isOver && replies < kManyReplies));
  return longestMs;
}

// The times of a host with `count` such servers, in milliseconds.
async function measure(count, { url, isAsked }, wanted) {
  const mcpServers = Object.fromEntries(Array.from({ length: count }, (_, i) => [`s${i}`, { url }]));
  const beganMs = performance.now();
  const host = await startLonelyHost({ address: page.url, config: { mcpServers } });
  await host.waitForLine(`[MCP] loaded ${count} server(s)`);
  const startMs = performance.now() - beganMs;

  await host.probe('watch');
  const askedMs = performance.now();
  const listing = host.page.call('mcpServers', [], { timeoutMs: kListingMs });
  const listed = listing.then(({ value }) => value);
  listed.catch(() => {}); // the page may end before the reply comes
  await until('the first attempt', isAsked);
  const replyMs = await longestReplyMs(host, wanted ? listed : Promise.resolve());
  let listMs;
  if (wanted) {
    const errors = (await listed).map(({ error }) => error);
    listMs = performance.now() - askedMs;
    assert.deepEqual(errors, Array(count).fill(wanted));
  }
  const { longestMs: silenceMs, answers } = await host.probe('watched');
  assert.ok(answers > 0);

  // Reload config.json and close the window while attempts to connect are under way.
  if (wanted) host.page.call('mcpServers', []).catch(() => {});
  const writtenMs = performance.now();
  assert.equal((await host.page.call('mcpWriteConfig', [JSON.stringify({ mcpServers })])).ok, 1);
  const loadMs = performance.now() - writtenMs;
  host.page.call('mcpServers', []).catch(() => {});
  const { code, ms: endMs } = await endAlone(host, 'close');
  assert.equal(code, 0);
  await host.kill();
  return { startMs, listMs, replyMs, silenceMs, loadMs, endMs };
}

for (const [name, [start, wanted]] of Object.entries(kAddresses)) {
  test(`fifty servers ${name} cost no more time than one`, async (t) => {
    const [one, many] = await Promise.all([1, kMany].map(async (count) => {
      const address = await start();
      t.after(address.close);
      return measure(count, address, wanted);
    }));
    for (const [what, ms] of Object.entries(many)) {
      if (ms !== undefined) t.diagnostic(`${what}: ${Math.round(one[what])} for one, ${Math.round(ms)} for ${kMany}`);
    }
    assert.ok(many.startMs < one.startMs + kStartMs);
    assert.ok(many.loadMs < one.loadMs + kMoreMs);
    if (wanted) assert.ok(many.listMs < one.listMs + kMoreMs);
    assert.ok(many.silenceMs < kSilenceMs);
    assert.ok(many.replyMs < kSilenceMs);
    assert.ok(many.endMs < kEndMs);
  });
}
