// A host behind which nobody tidies up, so that what it leaves behind can be seen: tools/launch, which
// ends everything else with the program that it has started, has started its parent.
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { isAlive, signalProcess } from '../../../tools/wine/processes.mjs';
import { commandLineOf, processesNamed } from './holdings.mjs';
import { startHost } from './host.mjs';
import { kPatienceMs, until } from './waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../../..');
const kParent = join(kRoot, 'build/windows/bin/host_parent.exe');
// The host, its servers, and what stands between it and those that are batch files.
const kPrograms = ['wendra.exe', 'mcp_child.exe', 'cmd.exe'];

// As startHost takes and gives it. Such a host is ended by endAlone, then by its kill().
export const startLonelyHost = (wanted) =>
  startHost({ ...wanted, env: { ...wanted.env, WENDRA_DEV_HOST: kParent } });

// The command lines of the host and its servers that still run.
export function remains(host) {
  const pids = kPrograms.flatMap((name) => processesNamed(host, name));
  return pids.map((pid) => commandLineOf(pid).join(' ')).filter((line) => line !== '');
}

// `how`: 'close' for the window's own way, 'kill' for TerminateProcess, 'SIGKILL' for a process that
// is simply gone. Milliseconds until the host had ended, and the exit code where there is one.
export async function endAlone(host, how) {
  if (how !== 'SIGKILL') return host.probe(how, kPatienceMs / 2);
  const [pid] = processesNamed(host, 'wendra.exe');
  const startMs = performance.now();
  signalProcess(pid, how);
  await until('the end of the host', () => !isAlive(pid));
  return { ms: Math.ceil(performance.now() - startMs) };
}
