// Tests what happens to config.json, and to the servers in it, while another program has it open.
import assert from 'node:assert/strict';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { startHost, writeConfig } from './support/host.mjs';
import { windowsPath } from './support/machine.mjs';
import { startServer } from './support/server.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kChild = windowsPath(join(kRoot, 'build/windows/bin/test_child.exe'));
const kPath = 'C:\\users\\wendra\\.config\\wendra\\config.json';
const kDash = '\u2014';
const kQuiet = { command: kChild, args: ['read'] }; // a server that runs until its input ends
const kStarted = (name) => `[MCP ${name}] started ${kChild}`;
const kKept = '[MCP] config.json changed but is not valid JSON - keeping current servers';
const kReloading = '[MCP] config.json changed on disk - reloading servers';

let server;
before(async () => {
  server = await startServer({ '/': '<!doctype html><title>config</title>' });
});
after(() => server?.close());

async function withHost(config, use) {
  const host = await startHost({ address: server.url, config });
  try {
    await use(host);
  } finally {
    assert.equal(await host.close(), 0);
  }
}

const mcpLines = (host, from = 0) => host.log.slice(from).filter((line) => line.startsWith('[MCP'));
const run = (host, command) => host.page.call('exec', ['', `"${kChild}" ${command}`]);
const readConfig = async (host) => (await host.page.call('mcpReadConfig')).value.content;

// Has the host look at config.json at once, as its timer does every two seconds.
const WM_TIMER = 0x113;
const look = (host) => host.probe('send', 'window', WM_TIMER, 1, 0);

// Starts another program that opens config.json and keeps it open ('keep'), or that opens and
// closes it all the time ('occupy'). Returns a function that ends that program.
function hold(host, how, share, name) {
  const held = run(host, `${how} ${kPath} ${share} ${name}`);
  held.catch(() => {}); // a test that fails does not wait for `held`
  return async () => {
    await run(host, `set ${name}`);
    await held;
  };
}

async function untilHeld(host) {
  while ((await readConfig(host)) !== '');
}

for (const share of ['none', 'read']) {
  test(`another program that opens and closes the file loses no content (shares: ${share})`, async () => {
    const config = { mcpServers: { a: { url: 'http://localhost:1', headers: { token: 'secret' } } } };
    const text = JSON.stringify(config);
    await withHost(config, async (host) => {
      await host.waitForLine('[MCP] loaded 1 server(s)');
      const from = host.log.length;
      const release = hold(host, 'occupy', share, `wendra-e2e-occupied-${share}`);
      if (share === 'none') await untilHeld(host);
      for (let i = 0; i < 400; ++i) {
        const content = await readConfig(host);
        assert.ok(content === '' || content === text, content);
      }
      await release();
      assert.equal(await readConfig(host), text);
      assert.equal(await host.config(), text);
      assert.deepEqual(mcpLines(host, from), []);
    });
  });
}

test('a changed file that cannot be read keeps the servers, and is loaded when it can be', async () => {
  await withHost({ mcpServers: { a: kQuiet } }, async (host) => {
    await host.waitForLine('[MCP] loaded 1 server(s)');
    const from = host.log.length;
    const release = hold(host, 'keep', 'none', 'wendra-e2e-kept');
    await untilHeld(host);
    await writeConfig(host.profile, { mcpServers: { b: kQuiet } });
    await host.waitForLine(kKept, { from });
    for (let i = 0; i < 3; ++i) await look(host); // the host does not log it again
    await release();
    await look(host);
    await host.waitForLine('[MCP] loaded 1 server(s)', { from });
    assert.deepEqual(mcpLines(host, from),
      [kKept, kReloading, kStarted('b'), '[MCP] loaded 1 server(s)']);
  });
});

test('after a reload that could not read the file, the servers are started when it can', async () => {
  const config = { mcpServers: { a: kQuiet } };
  await withHost(config, async (host) => {
    await host.waitForLine('[MCP] loaded 1 server(s)');
    const from = host.log.length;
    const release = hold(host, 'keep', 'none', 'wendra-e2e-kept-too');
    await untilHeld(host);
    // The host cannot replace the file either.
    assert.equal((await host.page.call('mcpWriteConfig', ['{"mcpServers":{}}'])).ok, 1);
    await host.waitForLine('[MCP] could not read config.json', { from });
    await release();
    await host.waitForLine('[MCP] loaded 1 server(s)', { from });
    assert.deepEqual(mcpLines(host, from), [
      `[MCP] config saved ${kDash} restarting local MCP servers`,
      `[MCP] could not read config.json ${kDash} skipping client MCP`,
      kReloading, kStarted('a'), '[MCP] loaded 1 server(s)',
    ]);
    assert.equal(await host.config(), JSON.stringify(config));
  });
});
