// Tests how the host loads "mcpServers" from config.json: at start, when the file changes, and when
// the page replaces it.
import assert from 'node:assert/strict';
import { mkdir, rename, rmdir, utimes, writeFile } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { configFile, makeProfile, startHost, writeConfig } from './support/host.mjs';
import { windowsPath } from './support/machine.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kChild = windowsPath(join(kRoot, 'build/windows/bin/test_child.exe'));
const kPath = 'C:\\users\\wendra\\.config\\wendra\\config.json';
const kDash = '\u2014';

// A server that runs until its input ends.
const kQuiet = { command: kChild, args: ['read'] };
const kStarted = (name) => `[MCP ${name}] started ${kChild}`;

let server;
before(async () => {
  server = await startServer({ '/': '<!doctype html><title>mcp</title>' });
});
after(() => server?.close());

const mcpLines = (host, from = 0) => host.log.slice(from).filter((line) => line.startsWith('[MCP'));

async function withHost(config, use) {
  const host = await startHost({ address: server.url, config });
  try {
    await use(host);
  } finally {
    await host.close();
  }
}

test('each entry of mcpServers becomes a server or a log line with the reason', async () => {
  const loaded = (count) => `[MCP] loaded ${count} server(s)`;
  const unnamed = (name) => `[MCP] server '${name}' has no command or url ${kDash} skipped`;
  const cases = [
    [{ mcpServers: {} }, ['[MCP] no mcpServers configured']],
    [{}, ['[MCP] no mcpServers configured']],
    [{ mcpServers: [] }, ['[MCP] no mcpServers configured']],
    ['[]', [`[MCP] config.json is not a JSON object ${kDash} skipping client MCP`]],
    ['{"a": 1e400}', [`[MCP] config.json is not a JSON object ${kDash} skipping client MCP`]],
    ['{} x', [`[MCP] config.json is not a JSON object ${kDash} skipping client MCP`]],
    [' '.repeat(1_048_577), [`[MCP] could not read config.json ${kDash} skipping client MCP`]],
    [
      {
        mcpServers: {
          text: 'x',
          off: { ...kQuiet, enabled: false },
          zero: { ...kQuiet, enabled: 0 },
          word: { ...kQuiet, enabled: 'false' },
          nothing: { ...kQuiet, enabled: null },
          one: { ...kQuiet, enabled: 1 },
          'old "key"': { ...kQuiet, disabled: true },
        },
      },
      [
        `[MCP] server 'off' is disabled ${kDash} skipped`,
        `[MCP] server 'zero' is disabled ${kDash} skipped`,
        kStarted('word'), kStarted('nothing'), kStarted('one'), kStarted('old "key"'),
        loaded(4),
      ],
    ],
    [
      {
        mcpServers: {
          both: { ...kQuiet, url: 'http://localhost:1/mcp/' },
          bad: { ...kQuiet, url: ' \t' },
          bare: { url: ' localhost:1// ' },
          empty: { ...kQuiet, url: '' },
          number: { ...kQuiet, url: 5 },
          none: {},
          blank: { command: '' },
          list: { command: ['x'] },
          missing: { command: 'no-such-program' },
          ärger: { command: 'C:\\windows' },
        },
      },
      [
        '[MCP] both -> http://localhost:1/mcp (http)',
        `[MCP] server 'bad' has an invalid url ${kDash} skipped`,
        '[MCP] bare -> https://localhost:1 (http)',
        kStarted('empty'), kStarted('number'),
        unnamed('none'), unnamed('blank'), unnamed('list'),
        "[MCP] server 'missing': command not found: no-such-program",
        "[MCP] server 'ärger': command not found: C:\\windows",
        loaded(4),
      ],
    ],
  ];
  for (const [config, lines] of cases) {
    await withHost(config, async (host) => {
      await host.waitForLine(lines.at(-1));
      assert.deepEqual(mcpLines(host), lines);
    });
  }
});

test('only strings become arguments and variables', async () => {
  const echo = {
    command: kChild,
    args: ['env', 7, 'WENDRA_NAME', null, 'err', '4'],
    env: { wendra_name: 'grün', '': 'x', other: 5 },
  };
  await withHost({ mcpServers: { echo } }, async (host) => {
    assert.equal(await host.waitForLine('stderr'), '[MCP echo] stderr: xxxx');
    await host.waitForLine('[MCP echo] subprocess exited / closed stdout');
  });
});

test('instead of a script without extension the batch file beside it is started', async () => {
  const profile = await makeProfile();
  const folder = join(profile, 'node tools');
  await writeConfig(profile, { mcpServers: { shim: { command: `${windowsPath(folder)}\\npx` } } });
  await mkdir(folder);
  await writeFile(join(folder, 'npx'), '#!/bin/sh\necho wrong\n');
  await writeFile(join(folder, 'npx.cmd'), `@"${kChild}" err 3\r\n`);
  const host = await startHost({ address: server.url, profile });
  try {
    await host.waitForLine(`[MCP shim] started ${windowsPath(folder)}\\npx.cmd`);
    await host.waitForLine('[MCP shim] stderr: xxx');
  } finally {
    await host.close();
  }
});

test('a changed file reloads the servers, a broken one keeps them', async () => {
  await withHost({ mcpServers: { a: kQuiet } }, async (host) => {
    const { page } = host;
    await page.evaluate(`window.changes = 0;
      document.addEventListener('mcpConfigChanged', () => (window.changes += 1));`);
    await host.waitForLine('[MCP] loaded 1 server(s)');

    const step = async (change, lines, changes) => {
      const from = host.log.length;
      await change();
      await host.waitForLine(lines.at(-1), { from });
      await page.waitFor(`window.changes === ${changes}`);
      assert.deepEqual(mcpLines(host, from), lines);
    };
    const kKept = '[MCP] config.json changed but is not valid JSON - keeping current servers';
    const kReloading = '[MCP] config.json changed on disk - reloading servers';
    const write = (config) => () => writeConfig(host.profile, config);
    const file = configFile(host.profile);

    await step(write('{"mcpServers": '), [kKept], 0);
    await step(write('[]'), [kKept], 0);
    await step(write({ mcpServers: { b: kQuiet, c: kQuiet } }),
      [kReloading, kStarted('b'), kStarted('c'), '[MCP] loaded 2 server(s)'], 1);
    // Only the time of the file changes, to an earlier one.
    await step(() => utimes(file, 1e9, 1e9),
      [kReloading, kStarted('b'), kStarted('c'), '[MCP] loaded 2 server(s)'], 2);
    await rename(file, `${file}.away`);
    await step(() => writeConfig(host.profile, {}), [kReloading, '[MCP] no mcpServers configured'], 3);
  });
});

test('the page reads the file and replaces it', async () => {
  await withHost('', async (host) => {
    const { page } = host;
    const call = (name, ...args) => page.call(name, args);
    const kDefault = '{\r\n  "mcpServers": {}\r\n}\r\n';
    assert.deepEqual(await call('mcpReadConfig'), {
      ok: 1,
      value: { path: kPath, content: kDefault },
    });

    const kExpects = 'mcpWriteConfig expects [content]';
    const kInvalid = `Invalid JSON ${kDash} the file must contain a JSON object`;
    const refused = [
      [[], kExpects], [[5], kExpects], [[null], kExpects], [[['{}']], kExpects],
      [[''], kInvalid], [['[]'], kInvalid], [['{'], kInvalid], [['{} {}'], kInvalid],
      [['{"a":1e400}'], kInvalid],
    ];
    for (const [args, error] of refused) {
      assert.deepEqual(await page.call('mcpWriteConfig', args), { ok: 0, value: error });
    }
    const inTheWay = `${configFile(host.profile)}.tmp`;
    await mkdir(inTheWay);
    assert.deepEqual(await call('mcpWriteConfig', '{}'), { ok: 0, value: 'could not write config' });
    await rmdir(inTheWay);
    assert.equal(await host.config(), kDefault);

    const from = host.log.length;
    const content = `{ "mcpServers": {"ü": ${JSON.stringify(kQuiet)}}, "other": [1e5] }\n`;
    await page.evaluate(`window.changes = 0;
      document.addEventListener('mcpConfigChanged', () => (window.changes += 1));`);
    assert.deepEqual(await call('mcpWriteConfig', content), { ok: 1, value: { ok: true } });
    assert.equal(await host.config(), content);
    await page.waitFor('window.changes === 1');
    const loads = () => host.log.slice(from).filter((line) => line.startsWith('[MCP] loaded '));
    await until('both loads in the log', () => loads().length === 2);
    assert.deepEqual(mcpLines(host, from), [
      `[MCP] config saved ${kDash} restarting local MCP servers`,
      kStarted('ü'), '[MCP] loaded 1 server(s)',
      '[MCP] config.json changed on disk - reloading servers',
      kStarted('ü'), '[MCP] loaded 1 server(s)',
    ]);
  });
});

test('after twenty changes in a second the servers of the last one run', async () => {
  await withHost({ mcpServers: { a0: kQuiet } }, async (host) => {
    for (let i = 1; i <= 20; ++i) {
      await writeConfig(host.profile, { mcpServers: { [`a${i}`]: kQuiet } });
    }
    await host.waitForLine(kStarted('a20'));
  });
});

test('two hundred entries are loaded in their order', async () => {
  const names = Array.from({ length: 200 }, (_, i) => `s${i}`);
  const entries = names.map((name) => [name, { url: 'http://localhost:1' }]);
  await withHost({ mcpServers: Object.fromEntries(entries) }, async (host) => {
    await host.waitForLine('[MCP] loaded 200 server(s)');
    assert.deepEqual(mcpLines(host).slice(0, 200),
      names.map((name) => `[MCP] ${name} -> http://localhost:1 (http)`));
  });
});

test('closing the window ends the servers and all processes that they have started', async () => {
  const holding = { command: kChild, args: ['hold', 'wendra-e2e-held', 'await', 'wendra-e2e-never'] };
  const host = await startHost({
    address: server.url,
    config: { mcpServers: { a: kQuiet, b: holding, c: holding } },
  });
  await host.waitForLine('[MCP] loaded 3 server(s)');
  assert.equal(await host.close(), 0);
});
