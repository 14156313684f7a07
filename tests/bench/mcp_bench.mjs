// Measures calls of MCP servers by the host's client, from the connection's request to its response
// on the UI thread, and by the client of the official SDK. They take turns, so that other work of
// the machine disturbs both.
//
//   local    a server on Windows Node, over standard input and output; the SDK on Windows Node too
//   remote   a server over HTTP; also a bare WinHTTP loop of the same requests, as the lower limit
//
// node tests/bench/mcp_bench.mjs [--once] [local|remote [CALLS]]    build/windows must be built
import { kNode } from '../e2e/support/mcp_servers.mjs';
import { startHttpServer } from './mcp_echo_server.mjs';
import { localServer, runWithServers, windowsScript } from './mcp_programs.mjs';

const kKiB = 1024;
const isOnce = process.argv.includes('--once');
const [what = 'both', calls] = process.argv.slice(2).filter((one) => !one.startsWith('--'));

// The sizes as mcp_latency takes them: BYTES_SENT:BYTES_BACK. 0 bytes sent means as many as back.
const sizes = (there, back) => back.map((bytes) => `${there}:${bytes}`);

const measure = (server, count, calledWith, client) =>
  runWithServers('mcp_latency.exe', { echo: server }, (config) =>
    [count, config, calledWith.join(), kNode, windowsScript('mcp_sdk_client.mjs'), ...client]);

async function measureLocal(count) {
  console.log('local');
  const server = localServer();
  const back = [16, 64 * kKiB, 900 * kKiB];
  await measure(server, count, [...sizes(16, back), ...sizes(0, back.slice(1))],
    [server.command, ...server.args]);
}

async function measureRemote(count, json) {
  console.log(json ? 'remote, answers as JSON' : 'remote, answers as event streams');
  const server = await startHttpServer({ json });
  try {
    const back = [16, 64 * kKiB, 900 * kKiB, 4096 * kKiB];
    await measure({ url: server.url }, count, sizes(16, back), [server.url]);
  } finally {
    server.close();
  }
}

if (what !== 'remote') await measureLocal(isOnce ? 10 : (calls ?? 5000));
if (what !== 'local') {
  for (const json of [false, true]) await measureRemote(isOnce ? 10 : (calls ?? 2000), json);
}
