// Starts the Windows programs of the MCP benchmarks.
import { mkdtemp, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { windowsPath } from '../../tools/wine/prefix.mjs';
import { spawnTied } from '../../tools/wine/processes.mjs';
import { kNode } from '../e2e/support/mcp_servers.mjs';

const kFolder = dirname(fileURLToPath(import.meta.url));
const kRoot = join(kFolder, '../..');

export const windowsScript = (name) => windowsPath(join(kFolder, name));

// An entry of config.json for the echo server on Windows Node. It answers the request for its tools
// after `listMs`.
export const localServer = (listMs = 0) => ({
  command: kNode,
  args: [windowsScript('mcp_echo_server.mjs'), String(listMs)],
});

// An entry for a server that is ready as soon as it has been started.
export const lightServer = {
  command: windowsPath(join(kRoot, 'build/windows/bin/mcp_child.exe')),
  args: ['list', 'answer'],
};

// Runs a program with a config.json of these servers to its end and gives its output, which is also
// printed, unless `silent`. `args` makes the arguments from the Windows path of the config.json.
export async function runWithServers(program, servers, args, { silent = false } = {}) {
  const profile = await mkdtemp(join(tmpdir(), 'wendra-bench-'));
  const config = join(profile, 'config.json');
  await writeFile(config, JSON.stringify({ mcpServers: servers }));
  const child = spawnTied(
    join(kRoot, 'tools/launch'),
    ['--profile', profile, '--', ...args(windowsPath(config))],
    {
      deathSignal: 'TERM',
      stdio: ['ignore', 'pipe', 'inherit'],
      env: {
        ...process.env,
        DISPLAY: '',
        WENDRA_DEV_NO_RUNTIME: '1',
        WENDRA_DEV_HOST: join(kRoot, 'build/windows/bin/bench', program),
      },
    },
  );
  let output = '';
  child.stdout.setEncoding('utf8').on('data', (text) => {
    output += text;
    if (!silent) process.stdout.write(text);
  });
  const code = await new Promise((resolve) => child.on('close', resolve));
  await rm(profile, { recursive: true, force: true });
  if (code !== 0) throw new Error(`${program} ended with ${code}`);
  return output;
}
