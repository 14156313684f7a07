// Servers come and go a hundred times while the page calls them: nothing may pile up.
import assert from 'node:assert/strict';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { windowsPath } from '../../tools/wine/prefix.mjs';
import { holdings, holdsNoMore, processesNamed } from './support/holdings.mjs';
import { startHost } from './support/host.mjs';
import { lastAnswers, reload } from './support/reloads.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kServer = { command: windowsPath(join(kRoot, 'build/windows/bin/mcp_child.exe')) };
const kNames = ['a', 'b', 'c', 'd', 'e'];
const kConfig = JSON.stringify({ mcpServers: Object.fromEntries(kNames.map((n) => [n, kServer])) });
const kFirstTimer = 101; // of a request, see docs/threads.md
const WM_TIMER = 0x113;
// RELOADS=200 by hand; then the calls whose server was stopped wait for their own time-outs: two
// minutes.
const kReloads = Number(process.env.RELOADS ?? 40);

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

test('reloading again and again leaves nothing behind', async (t) => {
  await reload(host, kNames, kConfig, 6); // what is made once is there now
  await lastAnswers(host, kNames);
  // The last servers' readers and those of the first ones count alike, once the old ones are gone.
  const settled = () => until('five servers', () => processesNamed(host, 'mcp_child.exe').length === 5);
  await settled();
  const before = await holdings(host);
  await reload(host, kNames, kConfig, kReloads);
  const answers = await lastAnswers(host, kNames);
  assert.equal(new Set(answers).size, 1, answers.join());
  await settled();
  const now = await holdsNoMore(host, before);
  t.diagnostic(`before: ${JSON.stringify(before)} after: ${JSON.stringify(now)}`);
});

test('each call has ended once, by its time-out at the latest', async (t) => {
  const { page } = host;
  // A call makes two requests at most. What is not waited for comes as the system would send it.
  const lastTimer = kFirstTimer + 2 * (await page.evaluate('posted'));
  for (let id = kFirstTimer; !process.env.RELOADS && id <= lastTimer; ++id) {
    await host.probe('post', 'window', WM_TIMER, id, 0);
  }
  const open = () => page.evaluate('posted - new Set(ended).size');
  await until('the last replies', async () => (await open()) === 0, { timeoutMs: 150_000 });
  await page.call('platform', []); // so much for a second reply
  const [posted, ended] = await page.evaluate('[posted, ended.length]');
  t.diagnostic(`${posted} calls`);
  assert.equal(ended, posted);
});
