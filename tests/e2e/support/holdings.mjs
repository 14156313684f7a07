// What the host's process holds, for tests of what must not pile up.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { kPatienceMs, until } from './waiting.mjs';

// Wine keeps a thread for up to 30 seconds whose request was closed while it waited.
export const kRestMs = kPatienceMs;
const kMoreHandles = 3;
const kMoreBytes = 4 << 20;

// A process's program and arguments; nothing once it has gone.
export function commandLineOf(pid) {
  try {
    return readFileSync(`/proc/${pid}/cmdline`, 'utf8').split('\0');
  } catch {
    return [];
  }
}

// Ids of the host's processes whose program has that name.
export const processesNamed = (host, name) =>
  host.processes().filter((pid) => commandLineOf(pid)[0]?.endsWith(name));

function memoryBytes(host) {
  const [pid] = processesNamed(host, 'wendra.exe');
  return Number(/VmRSS:\s+(\d+) kB/.exec(readFileSync(`/proc/${pid}/status`, 'utf8'))[1]) * 1024;
}

// {handles, threads, bytes}
export async function holdings(host) {
  const { handles, threads } = await host.probe('process');
  return { handles, threads, bytes: memoryBytes(host) };
}

// Waits until there are no more threads and handles than before, which end in their own time, and
// sees that the memory has not grown; gives what there is now.
export async function holdsNoMore(host, before) {
  let now;
  await until('the same threads and handles', async () => {
    now = await holdings(host);
    return now.threads <= before.threads && now.handles <= before.handles + kMoreHandles;
  }, {
    timeoutMs: kRestMs,
    context: () => `before: ${JSON.stringify(before)} now: ${JSON.stringify(now)}`,
  });
  const grown = now.bytes - before.bytes;
  assert.ok(grown < kMoreBytes, `${grown} bytes more`);
  return now;
}
