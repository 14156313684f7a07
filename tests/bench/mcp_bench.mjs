// Calls of MCP servers through the host's client, beside the official SDK's client:
//
//   local    both on one Windows Node, which serves standard input and output
//   remote   one server over HTTP, and a bare WinHTTP loop as the floor
//
// node tests/bench/mcp_bench.mjs [--once] [local [CALLS]] [remote [CALLS]]    build/windows must be built
import { spawn } from 'node:child_process';
import { mkdtemp, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { kNode } from '../e2e/support/mcp_servers.mjs';
import { windowsPath } from '../../tools/wine/prefix.mjs';
import { startHttpServer } from './mcp_echo_server.mjs';

const kFolder = dirname(fileURLToPath(import.meta.url));
const kRoot = join(kFolder, '../..');
const kServer = windowsPath(join(kFolder, 'mcp_echo_server.mjs'));
const kClient = windowsPath(join(kFolder, 'mcp_sdk_client.mjs'));
const kKiB = 1024;

// Runs a Windows program of the benchmarks with a config.json of `server`.
async function run(program, server, args) {
  const profile = await mkdtemp(join(tmpdir(), 'wendra-bench-'));
  const config = join(profile, 'config.json');
  await writeFile(config, JSON.stringify({ mcpServers: { echo: server } }));
  const child = spawn(
    join(kRoot, 'tools/launch'),
    ['--profile', profile, '--', ...args(windowsPath(config))],
    {
      stdio: ['ignore', 'inherit', 'inherit'],
      env: {
        ...process.env,
        DISPLAY: '',
        WENDRA_DEV_NO_RUNTIME: '1',
        WENDRA_DEV_HOST: join(kRoot, 'build/windows/bin/bench', program),
      },
    },
  );
  const code = await new Promise((resolve) => child.on('close', resolve));
  await rm(profile, { recursive: true, force: true });
  if (code !== 0) throw new Error(`${program} ended with ${code}`);
}

const small = (...sizes) => sizes.map((size) => `16:${size}`);
const bothWays = (...sizes) => sizes.map((size) => `0:${size}`);

async function local(calls) {
  const server = { command: kNode, args: [kServer] };
  const sizes = [...small(16, 64 * kKiB, 900 * kKiB), ...bothWays(64 * kKiB)];
  await run('mcp_latency.exe', server, (config) =>
    [calls, config, sizes.join(), kNode, kClient, kNode, kServer]);
}

async function remote(calls) {
  const sizes = small(16, 64 * kKiB, 900 * kKiB, 4096 * kKiB);
  for (const json of [false, true]) {
    const server = await startHttpServer({ json });
    console.log(json ? 'answers as JSON' : 'answers as event streams');
    try {
      await run('mcp_latency.exe', { url: server.url }, (config) =>
        [calls, config, sizes.join(), kNode, kClient, server.url]);
    } finally {
      server.close();
    }
  }
}

const [what = 'all', calls] = process.argv.slice(2).filter((one) => !one.startsWith('--'));
if (what !== 'remote') await local(calls ?? 5000);
if (what !== 'local') await remote(calls ?? 2000);
