// Measures starting, listing and stopping many MCP servers, compared with one server:
//
//   light    20 servers that are ready at once; shows the cost of starting itself
//   Node     20 servers on Node; each answers the request for its tools later than the one before
//   remote   50 servers that refuse connections
//
// node tests/bench/mcp_start_bench.mjs [--once]    build/windows must be built
import { createServer } from 'node:net';
import { lightServer, localServer, runWithServers } from './mcp_programs.mjs';

const kLocal = process.argv.includes('--once') ? 2 : 20;
const kRemote = process.argv.includes('--once') ? 2 : 50;
const kSlowestMs = 500;

const named = (servers) => Object.fromEntries(servers.map((one, i) => [`server ${i}`, one]));
const inMs = (ms) => `${ms.toFixed(0)} ms`;

const run = async (servers) =>
  JSON.parse(await runWithServers('mcp_start.exe', named(servers), (config) => [config], { silent: true }));

// A port of localhost on which no server listens.
async function freePort() {
  const server = createServer().listen(0, '127.0.0.1');
  await new Promise((resolve) => server.on('listening', resolve));
  const { port } = server.address();
  await new Promise((resolve) => server.close(resolve));
  return port;
}

// How long the start blocked the window, how much of that was CreateProcessW, and the longest
// message afterwards.
function showStart({ startMs, createdMs, longestMs }) {
  const beyond = inMs(startMs - createdMs);
  console.log(`  start ${inMs(startMs)}, CreateProcessW ${inMs(createdMs)}: ${beyond} beyond (reach: 50 ms)`);
  console.log(`  longest message afterwards ${longestMs.toFixed(1)} ms`);
}

async function measureLight() {
  const all = await run(Array(kLocal).fill(lightServer));
  console.log(`${kLocal} local servers that are there at once`);
  showStart(all);
}

async function measureNode() {
  const delays = Array.from({ length: kLocal }, (_, i) => ((i + 1) * kSlowestMs) / kLocal);
  const one = await run([localServer(kSlowestMs)]);
  const all = await run(delays.map(localServer));
  console.log(`${kLocal} local servers on Node`);
  showStart(all);
  const ratio = (all.warmMs / one.warmMs).toFixed(2);
  console.log(`  first list, with the servers' own start ${inMs(all.coldMs)}; slowest alone ${inMs(one.coldMs)}`);
  console.log(`  list ${inMs(all.warmMs)}; slowest alone ${inMs(one.warmMs)}: ${ratio} (reach: 1.20)`);
  console.log(`  stop ${inMs(all.stopMs)}`);
}

async function measureRemote() {
  const url = `http://127.0.0.1:${await freePort()}/mcp`;
  const one = await run([{ url }]);
  const all = await run(Array(kRemote).fill({ url }));
  console.log(`${kRemote} remote servers that refuse, beside one`);
  for (const [name, key] of [['start', 'startMs'], ['list', 'coldMs'], ['stop', 'stopMs'], ['longest message', 'longestMs']]) {
    console.log(`  ${name.padEnd(16)} ${all[key].toFixed(1)} ms, one ${one[key].toFixed(1)} ms`);
  }
}

await measureLight();
await measureNode();
await measureRemote();
