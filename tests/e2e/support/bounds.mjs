// Measures a host while a server or a page floods it, and checks that it keeps its limits.
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import { callTool, kEcho } from './calls.mjs';
import { holdings, processesNamed } from './holdings.mjs';
import { endAlone, startLonelyHost } from './lonely_host.mjs';
import { mcpChild } from './mcp_children.mjs';

const kMiB = 1 << 20;
// What the host may hold at most during the flood, above what it held before.
const kMost = { bytes: 128 * kMiB, threads: 10, handles: 50 };
const kCalls = 20; // calls of another server during the flood
const kCallMs = 250; // limit of their median; single calls may be late on a busy machine
const kEndMs = 2000; // from the request to close the window to the end of the process

const hostId = (host) => processesNamed(host, 'wendra.exe')[0];

// The most RAM that the host's process has used since forgetPeak.
const peakBytes = (host) =>
  Number(/VmHWM:\s+(\d+) kB/.exec(readFileSync(`/proc/${hostId(host)}/status`, 'utf8'))[1]) * 1024;
const forgetPeak = (host) => writeFileSync(`/proc/${hostId(host)}/clear_refs`, '5');

// How many milliseconds the page waits for a call of the server "other".
async function callOther(host) {
  const startMs = performance.now();
  assert.deepEqual((await callTool(host, 'other')).value, kEcho);
  return performance.now() - startMs;
}

// Starts a host with the servers and with "other", a server that works properly. Runs
// `begin(host)`, which resolves when the flood has begun, then measures. `during(host)` may do more
// before the window is closed. Memory, threads and handles in the result are above those before the
// flood.
export async function measureFlood({ page, mcpServers = {}, begin, during = async () => {} }) {
  const host = await startLonelyHost({
    address: page.url,
    config: { mcpServers: { ...mcpServers, other: mcpChild() } },
  });
  try {
    await callOther(host);
    const rest = await holdings(host);
    forgetPeak(host);
    await begin(host);
    const calls = [];
    const most = { threads: 0, handles: 0 };
    for (let i = 0; i < kCalls; ++i) {
      calls.push(await callOther(host));
      const now = await holdings(host);
      most.threads = Math.max(most.threads, now.threads);
      most.handles = Math.max(most.handles, now.handles);
    }
    await during(host);
    const figures = {
      bytes: peakBytes(host) - rest.bytes,
      threads: most.threads - rest.threads,
      handles: most.handles - rest.handles,
      callMs: Math.round(calls.sort((a, b) => a - b)[kCalls / 2]),
    };
    const { ms, code } = await endAlone(host, 'close');
    return { ...figures, endMs: ms, code };
  } finally {
    await host.kill();
  }
}

// Measures a flood, writes the figures to the test's output, and checks them against the limits.
export async function staysWithinBounds(t, flood) {
  const figures = await measureFlood(flood);
  t.diagnostic(JSON.stringify({ ...figures, bytes: `${(figures.bytes / kMiB).toFixed(1)} MiB` }));
  assert.ok(figures.bytes <= kMost.bytes, `${figures.bytes} bytes above rest`);
  assert.ok(figures.threads <= kMost.threads, `${figures.threads} threads above rest`);
  assert.ok(figures.handles <= kMost.handles, `${figures.handles} handles above rest`);
  assert.ok(figures.callMs <= kCallMs, `${figures.callMs} ms for a call of another server`);
  assert.ok(figures.endMs <= kEndMs, `${figures.endMs} ms from the wish to close to the end`);
  assert.equal(figures.code, 0);
}
