// Child processes that cannot outlive this one, and who belongs to a prefix.
import { spawn } from 'node:child_process';
import { readFileSync, readdirSync } from 'node:fs';
import { setTimeout as sleep } from 'node:timers/promises';

// Starts `command` so that the kernel sends it `deathSignal` when this process ends, however it
// ends. In a session of its own: Ctrl+C reaches this process alone, which ends the others in order.
export function spawnTied(command, args, { deathSignal = 'KILL', ...options }) {
  // The test closes the gap in which this process ends before the kernel knows of the wish.
  const start = 'test "$PPID" = "$0" && exec "$@"';
  return spawn(
    'setpriv',
    ['--pdeathsig', deathSignal, 'sh', '-c', start, String(process.pid), command, ...args],
    { detached: true, stdio: 'ignore', ...options },
  );
}

// Resolves with {code, signal} when the child has ended; an error of the start counts as code 127.
export function ended(child) {
  return new Promise((resolve) => {
    child.on('exit', (code, signal) => resolve({ code, signal }));
    child.on('error', () => resolve({ code: 127, signal: null }));
  });
}

function procFile(pid, name) {
  try {
    return readFileSync(`/proc/${pid}/${name}`, 'latin1');
  } catch {
    return ''; // it has ended, or it is somebody else's
  }
}

// False for a zombie that only waits to be reaped; true for one whose other threads go on.
export function isAlive(pid) {
  const status = procFile(pid, 'status');
  if (!/^State:\s+[ZX]/m.test(status)) return status !== '';
  return Number(/^Threads:\s+(\d+)/m.exec(status)?.[1]) > 1;
}

// A zombie's environment is to be had from its living threads only.
function environmentOf(pid) {
  const environment = procFile(pid, 'environ');
  if (environment) return environment;
  try {
    const threads = readdirSync(`/proc/${pid}/task`);
    return threads.map((id) => procFile(pid, `task/${id}/environ`)).join('\0');
  } catch {
    return ''; // it has ended
  }
}

// Ids of the living processes in whose environment the variable's value begins with `beginning`.
export function processesWith(variable, beginning) {
  const mark = Buffer.from(`\0${variable}=${beginning}`).toString('latin1');
  const isMarked = (pid) => `\0${environmentOf(pid)}`.includes(mark);
  return readdirSync('/proc')
    .filter((name) => /^\d+$/.test(name))
    .map(Number)
    .filter((pid) => isMarked(pid) && isAlive(pid));
}

// Those that were started with this Wine prefix in their environment: Windows processes, Wine's
// server, and whatever else launch starts, for all of it is marked so.
export const processesOf = (prefix) => processesWith('WINEPREFIX', `${prefix}\0`);

// Sends a signal to a process that may have ended already.
export function signalProcess(pid, signal) {
  try {
    process.kill(pid, signal);
  } catch (error) {
    if (error.code !== 'ESRCH') throw error;
  }
}

// Polls until `condition()` is true; false when that took longer than `limitMs`.
export async function waitUntil(condition, limitMs, stepMs = 5) {
  const end = Date.now() + limitMs;
  while (!condition()) {
    if (Date.now() >= end) return false;
    await sleep(stepMs);
  }
  return true;
}
