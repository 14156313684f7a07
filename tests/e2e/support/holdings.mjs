// What the host's process holds (threads, handles, memory), for tests that look for leaks.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { kPatienceMs, until } from './waiting.mjs';

// When a request is closed while a thread of Wine waits for it, Wine keeps that thread for up to 30
// seconds.
export const kRestMs = kPatienceMs;
const kMoreHandles = 3;
const kMoreBytes = 4 << 20;

// The program and arguments of a process; empty when the process has ended.
export function commandLineOf(pid) {
  try {
    return readFileSync(`/proc/${pid}/cmdline`, 'utf8').split('\0');
  } catch {
    return [];
  }
}

// The ids of the host's processes whose program has that name.
export const processesNamed = (host, name) =>
  host.processes().filter((pid) => commandLineOf(pid)[0]?.endsWith(name));

function memoryBytes(host) {
  const [pid] = processesNamed(host, 'wendra.exe');
  return Number(/VmRSS:\s+(\d+) kB/.exec(readFileSync(`/proc/${pid}/status`, 'utf8'))[1]) * 1024;
}

// {handles, threads, bytes} of the host's process.
export async function holdings(host) {
  const { handles, threads } = await host.probe('process');
  return { handles, threads, bytes: memoryBytes(host) };
}

// Waits until the host has no more threads and handles than before (a few handles more are
// allowed), and checks that its memory has not grown. Returns what the host holds now.
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
