// Servers come and go again and again while the page calls them: nothing may pile up.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { holdings, holdsNoMore, processesNamed } from './support/holdings.mjs';
import { startHost } from './support/host.mjs';
import { mcpChild } from './support/mcp_children.mjs';
import { lastAnswers, reload } from './support/reloads.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kNames = ['a', 'b', 'c', 'd', 'e'];
const kServers = Object.fromEntries(kNames.map((name) => [name, mcpChild()]));
const kConfig = JSON.stringify({ mcpServers: kServers });
// RELOADS=200 by hand.
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

test('each call has ended once, with its server at the latest', async (t) => {
  const { page } = host;
  const open = () => page.evaluate('posted - new Set(ended).size');
  await until('the last replies', async () => (await open()) === 0);
  await page.call('platform', []); // so much for a second reply
  const [posted, ended] = await page.evaluate('[posted, ended.length]');
  t.diagnostic(`${posted} calls`);
  assert.equal(ended, posted);
});
