// Starts a host after which nothing is cleaned up, so that a test can see what it leaves behind.
// tools/launch ends all other processes when the program that it has started ends. Here that
// program is the host's parent, host_parent.exe, which goes on when the host ends.
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { isAlive, signalProcess } from '../../../tools/wine/processes.mjs';
import { commandLineOf, processesNamed } from './holdings.mjs';
import { startHost } from './host.mjs';
import { kPatienceMs, until } from './waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../../..');
const kParent = join(kRoot, 'build/windows/bin/host_parent.exe');
// The host, its servers, and the shell that runs servers which are batch files.
const kPrograms = ['wendra.exe', 'mcp_child.exe', 'cmd.exe'];

// Takes and gives the same as startHost. End such a host with endAlone, then with its kill().
export const startLonelyHost = (wanted) =>
  startHost({ ...wanted, env: { ...wanted.env, WENDRA_DEV_HOST: kParent } });

// The command lines of those processes of the host and its servers that still run.
export function remains(host) {
  const pids = kPrograms.flatMap((name) => processesNamed(host, name));
  return pids.map((pid) => commandLineOf(pid).join(' ')).filter((line) => line !== '');
}

// Ends the host. `how`: 'close' closes the window, 'kill' is TerminateProcess, 'SIGKILL' is the
// signal of Linux. Gives {ms, code}: milliseconds until the end, and the exit code, except for
// 'SIGKILL'.
export async function endAlone(host, how) {
  if (how !== 'SIGKILL') return host.probe(how, kPatienceMs / 2);
  const [pid] = processesNamed(host, 'wendra.exe');
  const startMs = performance.now();
  signalProcess(pid, how);
  await until('the end of the host', () => !isAlive(pid));
  return { ms: Math.ceil(performance.now() - startMs) };
}
