// Servers come and go a hundred times while the page calls them: nothing may pile up.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { windowsPath } from '../../tools/wine/prefix.mjs';
import { startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kServer = { command: windowsPath(join(kRoot, 'build/windows/bin/mcp_child.exe')) };
const kNames = ['a', 'b', 'c', 'd', 'e'];
const kConfig = JSON.stringify({ mcpServers: Object.fromEntries(kNames.map((n) => [n, kServer])) });
// RELOADS=200 by hand; then the calls whose server was stopped are waited for too: two minutes.
const kReloads = Number(process.env.RELOADS ?? 40);
const kMaxGrowthBytes = 4 << 20;

let server;
let host;
before(async () => {
  server = await startServer({ '/': '<!doctype html><title>reload</title>' });
  host = await startHost({ address: server.url, config: kConfig });
});
after(async () => {
  await host?.close();
  await server?.close();
});

const programOf = (pid) => readFileSync(`/proc/${pid}/cmdline`, 'utf8').split('\0')[0];
const processesNamed = (name) => host.processes().filter((pid) => {
  try {
    return programOf(pid).endsWith(name);
  } catch {
    return false; // gone meanwhile
  }
});

function memoryBytes() {
  const [pid] = processesNamed('wendra.exe');
  return Number(/VmRSS:\s+(\d+) kB/.exec(readFileSync(`/proc/${pid}/status`, 'utf8'))[1]) * 1024;
}

// Reloads by the page's own writing, with calls under way that may or may not be answered first:
// the host's look at the file reloads too, two seconds apart.
const reload = (times) => host.page.evaluate(async (names, config, count) => {
  window.waiting ??= new Map();
  window.ended ??= [];
  window.posted ??= 0;
  window.__wendra = {
    __resolve: (id, ok, value) => {
      ended.push(id);
      waiting.get(id)?.({ ok, value });
    },
  };
  window.ask = (name, args) => new Promise((resolve) => {
    const id = `q${(posted += 1)}`;
    waiting.set(id, resolve);
    chrome.webview.postMessage({ __reqId: id, name, args });
  });
  for (let i = 0; i < count; ++i) {
    const calls = names.map((name) => ask('mcpCall', [name, 'echo', { message: `${i}` }]));
    const reloaded = new Promise((resolve) => {
      document.addEventListener('mcpConfigChanged', resolve, { once: true });
    });
    if (i % 2) await Promise.any([...calls, reloaded]);
    await ask('mcpWriteConfig', [config]);
  }
}, kNames, kConfig, times);

// What each server answers once the host has seen the last writing.
async function lastAnswers() {
  const from = host.log.findLastIndex((line) => line.startsWith('[MCP] config saved'));
  await host.waitForLine('[MCP] config.json changed on disk', { from });
  const reloaded = host.log.findLastIndex((line) => line.includes('changed on disk'));
  await host.waitForLine('[MCP] loaded 5 server(s)', { from: reloaded });
  return host.page.evaluate(async (names) => {
    const last = names.map((name) => ask('mcpCall', [name, 'echo', { message: 'x' }]));
    return (await Promise.all(last)).map(({ value }) => value.error ?? value.text);
  }, kNames);
}

test('reloading again and again leaves nothing behind', async () => {
  await reload(6); // what is made once is there now
  await lastAnswers();
  const count = async () => {
    const { handles, threads } = await host.probe('process');
    return { handles, threads };
  };
  // The last servers' readers and those of the first ones count alike, once the old ones are gone.
  const settled = () => until('five servers', () => processesNamed('mcp_child.exe').length === 5);
  await settled();
  const before = { ...(await count()), bytes: memoryBytes() };
  await reload(kReloads);
  const answers = await lastAnswers();
  assert.equal(new Set(answers).size, 1, answers.join());
  await settled();
  let now;
  await until('the same threads and handles', async () => {
    now = await count();
    return now.threads <= before.threads && now.handles <= before.handles + 3;
  }, { context: () => `before: ${JSON.stringify(before)} now: ${JSON.stringify(now)}` });
  const grown = memoryBytes() - before.bytes;
  assert.ok(grown < kMaxGrowthBytes, `${grown} bytes more`);
});

if (process.env.RELOADS) test('each call has ended once, by its time-out at the latest', async () => {
  const open = () => host.page.evaluate('posted - new Set(ended).size');
  await until('the last replies', async () => (await open()) === 0, { timeoutMs: 150_000 });
  assert.equal(await host.page.evaluate('ended.length'), await host.page.evaluate('posted'));
});
