// Tests that the host leaks nothing while local servers are stopped and started again and again and
// the page calls them.
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
// More by hand, with RELOADS=200.
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

test('reloading again and again leaks no threads, handles and memory', async (t) => {
  await reload(host, kNames, kConfig, 6); // makes what the program keeps until its end
  await lastAnswers(host, kNames);
  // Before and after, the host must have five servers; old ones may take a while to end.
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

test('each call has had one reply, at the latest when its server was stopped', async (t) => {
  const { page } = host;
  const open = () => page.evaluate('posted - new Set(ended).size');
  await until('the last replies', async () => (await open()) === 0);
  await page.call('platform', []); // a second reply would come before this one
  const [posted, ended] = await page.evaluate('[posted, ended.length]');
  t.diagnostic(`${posted} calls`);
  assert.equal(ended, posted);
});
