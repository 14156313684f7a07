// Starting, listing and stopping many MCP servers, beside one:
//
//   local    20 servers of one config.json, of which each answers the list later than the one before
//   remote   50 servers that nobody can reach
//
// node tests/bench/mcp_start_bench.mjs [--once]    build/windows must be built
import { createServer } from 'node:net';
import { localServer, runWithServers } from './mcp_programs.mjs';

const kLocal = process.argv.includes('--once') ? 2 : 20;
const kRemote = process.argv.includes('--once') ? 2 : 50;
const kSlowestMs = 500;

const named = (servers) => Object.fromEntries(servers.map((one, i) => [`server ${i}`, one]));
const inMs = (ms) => `${ms.toFixed(0)} ms`;

const run = async (servers) =>
  JSON.parse(await runWithServers('mcp_start.exe', named(servers), (config) => [config], { silent: true }));

// A port of localhost on which nobody listens any more.
async function freePort() {
  const server = createServer().listen(0, '127.0.0.1');
  await new Promise((resolve) => server.on('listening', resolve));
  const { port } = server.address();
  await new Promise((resolve) => server.close(resolve));
  return port;
}

async function measureLocal() {
  const delays = Array.from({ length: kLocal }, (_, i) => ((i + 1) * kSlowestMs) / kLocal);
  const one = await run([localServer(kSlowestMs)]);
  const all = await run(delays.map(localServer));
  const beyond = all.startMs - all.createdMs;
  console.log(`${kLocal} local servers`);
  console.log(`  start ${inMs(all.startMs)}, of which CreateProcessW ${inMs(all.createdMs)}: ${inMs(beyond)} beyond (reach: 50 ms)`);
  console.log(`  longest message afterwards ${all.longestMs.toFixed(1)} ms`);
  console.log(`  first list, with the servers' own start ${inMs(all.coldMs)}, the slowest alone ${inMs(one.coldMs)}`);
  console.log(`  second list ${inMs(all.warmMs)}, the slowest alone ${inMs(one.warmMs)}: ${(all.warmMs / one.warmMs).toFixed(2)} (reach: 1.20)`);
  console.log(`  stop ${inMs(all.stopMs)}`);
}

async function measureRemote() {
  const url = `http://127.0.0.1:${await freePort()}/mcp`;
  const one = await run([{ url }]);
  const all = await run(Array.from({ length: kRemote }, () => ({ url })));
  console.log(`${kRemote} remote servers that refuse, beside one`);
  for (const [name, key] of [['start', 'startMs'], ['list', 'coldMs'], ['second list', 'warmMs'], ['stop', 'stopMs']]) {
    console.log(`  ${name.padEnd(12)} ${all[key].toFixed(1)} ms, one ${one[key].toFixed(1)} ms`);
  }
  console.log(`  longest message ${all.longestMs.toFixed(1)} ms`);
}

await measureLocal();
await measureRemote();
