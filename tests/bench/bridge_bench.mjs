// Measures one request through the real host, and the same way without the host's work:
//
//   platform   from the page's postMessage to its resolve, one request after the other
//   evaluate   a bare script evaluation in the same page, there and back, over the same protocol
//   host       the host's own share: its message handler without the calls into the control and
//              without the system's debugger output, which is shown separately
//
// node tests/bench/bridge_bench.mjs [--once]    build/windows must be built
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { startHost } from '../e2e/support/host.mjs';
import { startServer } from '../e2e/support/server.mjs';
import { windowsPath } from '../../tools/wine/prefix.mjs';

const isOnce = process.argv.includes('--once');
const kMeasured = isOnce ? 50 : 5_000;
const kBetween = isOnce ? 0 : 50_000; // requests between the two measurements

const kPage = `<!doctype html><title>bench</title><script>
  let resolveCurrent;
  window.__wendra = { __resolve: (id, ok) => resolveCurrent(ok) };
  const ask = (id) => new Promise((resolve) => {
    resolveCurrent = resolve;
    chrome.webview.postMessage({ __reqId: id, name: 'platform', args: [] });
  });
  // The microseconds of each of count requests, and how many of them succeeded.
  window.measure = async (count) => {
    const times = [];
    let succeeded = 0;
    for (let i = 0; i < count; ++i) {
      const start = performance.now();
      succeeded += await ask('r' + i);
      times.push((performance.now() - start) * 1000);
    }
    return { times, succeeded };
  };
</script>`;

function percentiles(times) {
  const sorted = times.toSorted?.() ?? [...times];
  sorted.sort((a, b) => a - b);
  const at = (percent) => sorted[Math.min(sorted.length - 1, Math.floor((sorted.length * percent) / 100))];
  return { p50: at(50), p99: at(99) };
}

const show = (name, { p50, p99 }) =>
  console.log(`${name.padEnd(34)} p50 ${p50.toFixed(0).padStart(7)} us   p99 ${p99.toFixed(0).padStart(7)} us`);

async function measurePlatform(page) {
  const { times, succeeded } = await page.evaluate(`measure(${kMeasured})`);
  if (succeeded !== kMeasured) throw new Error(`${succeeded} of ${kMeasured} succeeded`);
  return percentiles(times);
}

async function measureEvaluate(page) {
  const times = [];
  for (let i = 0; i < kMeasured; ++i) {
    const start = process.hrtime.bigint();
    await page.evaluate('0');
    times.push(Number(process.hrtime.bigint() - start) / 1000);
  }
  return percentiles(times);
}

// Runs a host: `before` requests first, then the measured ones. The host's own share is that of all
// requests.
async function run(title, before) {
  const folder = await mkdtemp(join(tmpdir(), 'wendra-bench-'));
  const timings = join(folder, 'timings.json');
  const server = await startServer({ '/': kPage });
  const host = await startHost({
    address: server.url,
    env: { WENDRA_DEV_TIMINGS: windowsPath(timings) },
  });
  try {
    if (before) await host.page.evaluate(`measure(${before}).then(() => 0)`);
    const platform = await measurePlatform(host.page);
    const evaluate = await measureEvaluate(host.page);
    const code = await host.close();
    if (code !== 0) throw new Error(`the host ended with ${code}`);
    const share = JSON.parse(await readFile(timings, 'utf8'));
    if (share.count !== before + kMeasured) throw new Error(`timings of ${share.count} requests`);
    console.log(title);
    show('  platform', platform);
    show('  evaluate', evaluate);
    show(`  host, all ${share.count} requests`, share);
    show('  debugger output in it', share.debugger);
    console.log(`  host / evaluate at p50: ${(share.p50 / evaluate.p50).toFixed(3)} (reach: below 0.1)`);
  } finally {
    await server.close();
    await rm(folder, { recursive: true, force: true });
  }
}

await run('fresh host', 0);
await run(`after ${kBetween} requests`, kBetween);
