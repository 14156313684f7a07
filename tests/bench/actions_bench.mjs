// Measures how long the page waits for native actions, and compares:
//
//   files      readFile and readFileBase64 of three sizes, from the call to its resolve, with the
//              evaluation of a script of the same length
//   own share  reply_bench: reading the file, writing the script, widening it, in MB/s
//   exec       exec_bench: 256 MiB of output, with a bare reader of the same pipe
//   many       100 commands at once, with the same 100 one after the other
//
// node tests/bench/actions_bench.mjs [--once]    build/windows must be built
import { spawn } from 'node:child_process';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { startHost } from '../e2e/support/host.mjs';
import { startServer } from '../e2e/support/server.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const isOnce = process.argv.includes('--once');
const kRounds = isOnce ? 1 : 7;
const kCommands = isOnce ? 5 : 100;
const kSizes = isOnce ? [1 << 10] : [1 << 10, 1 << 20, 1 << 24];
const kFile = 'C:\\users\\wendra\\bench.txt';

const median = (times) => times.sort((a, b) => a - b)[Math.floor(times.length / 2)];
const inMs = (ms) => `${ms.toFixed(1).padStart(8)} ms`;

// Runs a Windows program of the benchmarks; its output goes to standard output.
async function runProgram(name) {
  const profile = await mkdtemp(join(tmpdir(), 'wendra-bench-'));
  const child = spawn(
    join(kRoot, 'tools/launch'),
    ['--profile', profile, '--', ...(isOnce ? ['--once'] : [])],
    {
      stdio: ['ignore', 'inherit', 'inherit'],
      env: {
        ...process.env,
        DISPLAY: '',
        WENDRA_DEV_NO_RUNTIME: '1',
        WENDRA_DEV_HOST: join(kRoot, 'build/windows/bin/bench', name),
      },
    },
  );
  const code = await new Promise((resolve) => child.on('close', resolve));
  await rm(profile, { recursive: true, force: true });
  if (code !== 0) throw new Error(`${name} ended with ${code}`);
}

// The median of the action's times in the page, in milliseconds.
const measureAction = (page, name, args) =>
  page.evaluate(async (action, parameters, rounds) => {
    const ask = () => new Promise((resolve, reject) => {
      window.__wendra = { __resolve: (id, ok, value) => (ok ? resolve(value) : reject(value)) };
      chrome.webview.postMessage({ __reqId: 'b', name: action, args: parameters });
    });
    const times = [];
    for (let i = 0; i < rounds; ++i) {
      const start = performance.now();
      await ask();
      times.push(performance.now() - start);
    }
    return times;
  }, name, args, kRounds).then(median);

// The median of the times of a script with a string of that length, in milliseconds.
async function measureScript(page, length) {
  const script = `window.bench = '${'x'.repeat(length)}'; 0`;
  const times = [];
  for (let i = 0; i < kRounds; ++i) {
    const start = performance.now();
    await page.evaluate(script);
    times.push(performance.now() - start);
  }
  return median(times);
}

async function measureFiles(page) {
  console.log('files, from the call to its resolve, beside evaluating a script of that length');
  for (const bytes of kSizes) {
    await page.call('writeFile', [kFile, 'x'.repeat(bytes)]);
    for (const [name, length] of [['readFile', bytes], ['readFileBase64', Math.ceil(bytes / 3) * 4]]) {
      const action = await measureAction(page, name, [kFile]);
      const script = await measureScript(page, length);
      const title = `  ${name} of ${bytes} bytes`.padEnd(38);
      console.log(`${title}${inMs(action)}   script ${inMs(script)}   ratio ${(action / script).toFixed(2)}`);
    }
  }
}

async function measureMany(page) {
  const [together, inTurn] = await page.evaluate(async (count) => {
    const waiting = new Map();
    window.__wendra = { __resolve: (id, ok, value) => waiting.get(id)(value.stdout) };
    const ask = (i) => new Promise((resolve) => {
      waiting.set(`m${i}`, resolve);
      chrome.webview.postMessage({ __reqId: `m${i}`, name: 'exec', args: ['', `echo ${i}`] });
    });
    const check = (i, text) => {
      if (text !== `${i}\r\n`) throw new Error(`${i}: ${text}`);
    };
    const numbers = Array.from({ length: count }, (_, i) => i);
    let start = performance.now();
    (await Promise.all(numbers.map(ask))).forEach((text, i) => check(i, text));
    const all = performance.now() - start;
    start = performance.now();
    for (const i of numbers) check(i, await ask(i));
    return [all, performance.now() - start];
  }, kCommands);
  console.log(
    `many: ${kCommands} commands at once ${inMs(together)}, one after the other ${inMs(inTurn)}: ` +
      `${(together / inTurn).toFixed(2)} of it`,
  );
}

const server = await startServer({ '/': '<!doctype html><title>bench</title>' });
const host = await startHost({ address: server.url });
try {
  await measureFiles(host.page);
  await measureMany(host.page);
} finally {
  await host.close();
  await server.close();
}
console.log("own share of a file's way");
await runProgram('reply_bench.exe');
console.log('exec of 256 MiB');
await runProgram('exec_bench.exe');
