// Starts child processes that cannot outlive this one, and finds the processes of a Wine prefix.
import { spawn } from 'node:child_process';
import { readFileSync, readdirSync } from 'node:fs';
import { setTimeout as sleep } from 'node:timers/promises';

// Starts `command` so that the kernel sends it `deathSignal` when this process ends, in whatever
// way. The child gets a new session: Ctrl+C reaches only this process, which ends the others in
// order.
export function spawnTied(command, args, { deathSignal = 'KILL', ...options }) {
  // The test covers the case that this process ends before setpriv has told the kernel.
  const start = 'test "$PPID" = "$0" && exec "$@"';
  return spawn(
    'setpriv',
    ['--pdeathsig', deathSignal, 'sh', '-c', start, String(process.pid), command, ...args],
    { detached: true, stdio: 'ignore', ...options },
  );
}

// Resolves with {code, signal} when the child has ended. A child that cannot be started has code
// 127.
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
    return ''; // the process has ended or belongs to another user
  }
}

// False for a zombie that waits to be reaped; true for a zombie whose other threads still run.
export function isAlive(pid) {
  const status = procFile(pid, 'status');
  if (!/^State:\s+[ZX]/m.test(status)) return status !== '';
  return Number(/^Threads:\s+(\d+)/m.exec(status)?.[1]) > 1;
}

// The environment of a zombie can be read from its running threads only.
function environmentOf(pid) {
  const environment = procFile(pid, 'environ');
  if (environment) return environment;
  try {
    const threads = readdirSync(`/proc/${pid}/task`);
    return threads.map((id) => procFile(pid, `task/${id}/environ`)).join('\0');
  } catch {
    return ''; // the process has ended
  }
}

// The ids of all running processes whose environment has the variable with a value that begins with
// `beginning`.
export function processesWith(variable, beginning) {
  const mark = Buffer.from(`\0${variable}=${beginning}`).toString('latin1');
  const isMarked = (pid) => `\0${environmentOf(pid)}`.includes(mark);
  return readdirSync('/proc')
    .filter((name) => /^\d+$/.test(name))
    .map(Number)
    .filter((pid) => isMarked(pid) && isAlive(pid));
}

// The processes with this Wine prefix in their environment: Windows processes, Wine's server, and
// the other processes of tools/launch, which gives all of them that environment.
export const processesOf = (prefix) => processesWith('WINEPREFIX', `${prefix}\0`);

// Sends a signal to a process that may have ended already.
export function signalProcess(pid, signal) {
  try {
    process.kill(pid, signal);
  } catch (error) {
    if (error.code !== 'ESRCH') throw error;
  }
}

// Polls until `condition()` is true. False: it was not true within `limitMs`.
export async function waitUntil(condition, limitMs, stepMs = 5) {
  const end = Date.now() + limitMs;
  while (!condition()) {
    if (Date.now() >= end) return false;
    await sleep(stepMs);
  }
  return true;
}
