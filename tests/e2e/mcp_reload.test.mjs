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
// RELOADS=200 by hand; then the calls whose server was stopped are waited for too: two minutes.
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

test('reloading again and again leaves nothing behind', async () => {
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
  await holdsNoMore(host, before);
});

if (process.env.RELOADS) test('each call has ended once, by its time-out at the latest', async () => {
  const open = () => host.page.evaluate('posted - new Set(ended).size');
  await until('the last replies', async () => (await open()) === 0, { timeoutMs: 150_000 });
  assert.equal(await host.page.evaluate('ended.length'), await host.page.evaluate('posted'));
});
