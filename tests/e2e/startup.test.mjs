// Tests which server the program chooses at start-up, with the log lines about it, and what it does
// with config.json.
import assert from 'node:assert/strict';
import { chmod, mkdir, readFile, rename, stat, writeFile } from 'node:fs/promises';
import { dirname } from 'node:path';
import { after, before, test } from 'node:test';
import { configFile, makeProfile, startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';

const kDefaultConfig = '{\r\n  "mcpServers": {}\r\n}\r\n';
const kPath = 'C:\\users\\wendra\\.config\\wendra\\config.json';
const kCancelled = '[Server] no server chosen — startup cancelled';
const kNotAnObject =
  '[Server] config.json is not a JSON object — ignoring its "server" entry, if any';
const kNotAllowed = ' (only *.wendra.example or localhost servers are allowed)';
const kNotHttp = ' (expected an http/https URL)';
const kCreated = `[MCP] created default config at ${kPath}`;

const kTimerMessage = 0x113; // WM_TIMER
const kConfigWatchTimer = 1;

const withoutBrowser = { WENDRA_DEV_NO_RUNTIME: '1' };
let server;

before(async () => {
  server = await startServer({ '/': '<!doctype html><title>start</title>', '/x': '<title>x</title>' });
});
after(() => server?.close());

// The log lines about the choice and about config.json. Other tests check MCP servers and updates.
const choiceLines = (host) =>
  host.log.filter((line) => /^\[Server\]|^\[MCP\] created/.test(line));

const ignoringCase = (lines) => lines.map((line) => line.replace(/C:\\users/i, 'C:\\users'));

test('without an accepted address the prompt is shown; cancelled, it ends the program with code 0', async (t) => {
  const cases = [
    ['nothing at all', {}, [kCancelled]],
    ['a foreign host', { args: ['https://evil.test'] }, [`[Server] ignoring command-line URL${kNotAllowed}`, kCancelled]],
    ['a look-alike', { args: ['https://notwendra.example'] }, [`[Server] ignoring command-line URL${kNotAllowed}`, kCancelled]],
    ['user part before a foreign host', { args: ['https://localhost@evil.test'] }, [`[Server] ignoring command-line URL${kNotAllowed}`, kCancelled]],
    ['a trailing dot', { args: ['http://localhost.'] }, [`[Server] ignoring command-line URL${kNotAllowed}`, kCancelled]],
    ['other loopback', { args: ['http://127.0.0.2'] }, [`[Server] ignoring command-line URL${kNotAllowed}`, kCancelled]],
    ['ftp', { args: ['ftp://localhost'] }, [`[Server] ignoring invalid command-line URL${kNotHttp}`, kCancelled]],
    ['a backslash', { args: ['http://evil.test\\@localhost'] }, [`[Server] ignoring command-line URL${kNotAllowed}`, kCancelled]],
    ['a NUL in the config', { config: '{"server":"https://evil.test\\u0000.wendra.example"}' }, [`[Server] ignoring "server" value in ${kPath}${kNotAllowed}`, kCancelled]],
    ['spaces', { args: ['  '] }, [`[Server] ignoring invalid command-line URL${kNotHttp}`, kCancelled]],
    ['no host', { args: ['https:///'] }, [`[Server] ignoring invalid command-line URL${kNotHttp}`, kCancelled]],
    ['config without server', { config: {} }, [kCancelled]],
    ['config an array', { config: [] }, [kNotAnObject, kCancelled]],
    ['config with byte-order mark', { config: '\uFEFF{"server":"localhost"}' }, [kNotAnObject, kCancelled]],
    ['config one byte', { config: ' ' }, [kNotAnObject, kCancelled]],
    ['config zero bytes', { config: '' }, [kCancelled]],
    ['config with a number out of range', { config: '{"server":"localhost","x":1e400}' }, [kNotAnObject, kCancelled]],
    ['config over 1 MiB', { config: `{"server":"localhost"}${' '.repeat(1_048_577 - 22)}` }, [kCancelled]],
    ['server a number', { config: { server: 5 } }, [`[Server] ignoring "server" value in ${kPath}${kNotHttp}`, kCancelled]],
    ['server foreign', { config: { server: 'evil.test' } }, [`[Server] ignoring "server" value in ${kPath}${kNotAllowed}`, kCancelled]],
  ];
  for (const [name, wanted, lines] of cases) {
    await t.test(name, async () => {
      const host = await startHost({ ...wanted, env: withoutBrowser });
      await host.window('WendraServerPrompt');
      await host.keys('Escape');
      assert.equal(await host.ended(), 0);
      assert.deepEqual(ignoringCase(choiceLines(host)), lines);
    });
  }
});

test('an accepted address is loaded in its normal form', async (t) => {
  const suffix = ' (from command line)';
  const fromConfig = ` (from "server" in ${kPath})`;
  const longPath = 'p'.repeat(2000);
  const cases = [
    ['a bare name', { args: ['demo'] }, ['https://demo.on.wendra.example' + suffix]],
    ['a flag is a name', { args: ['--flag'] }, ['https://--flag.on.wendra.example' + suffix]],
    ['IPv6', { args: ['http://[::1]:5173/'] }, ['http://[::1]:5173' + suffix]],
    ['a user part', { args: ['https://user@localhost'] }, ['https://user@localhost' + suffix]],
    ['capitals', { args: ['HTTPS://WENDRA.EXAMPLE//'] }, ['HTTPS://WENDRA.EXAMPLE' + suffix]],
    ['2,000 characters', { args: [`localhost/${longPath}`] }, [`https://localhost/${longPath}${suffix}`]],
    ['the second argument is ignored', { args: ['localhost:1', 'localhost:2'] }, ['https://localhost:1' + suffix]],
    ['command line over config', { args: ['localhost:1'], config: { server: 'localhost:2' } }, ['https://localhost:1' + suffix]],
    ['config', { config: { server: ' demo ' } }, ['https://demo.on.wendra.example' + fromConfig]],
    ['config of exactly 1 MiB', { config: `{"server":"localhost"}${' '.repeat(1_048_576 - 22)}` }, ['https://localhost' + fromConfig]],
    ['the first of two members', { config: '{"server":"localhost:1","server":"localhost:2"}' }, ['https://localhost:1' + fromConfig]],
  ];
  for (const [name, wanted, [loading]] of cases) {
    await t.test(name, async () => {
      const host = await startHost({ ...wanted, env: withoutBrowser });
      await host.window();
      const created = 'config' in wanted ? [] : [kCreated];
      assert.deepEqual(ignoringCase(choiceLines(host)), [`[Server] loading ${loading}`, ...created]);
      assert.equal(await host.close(), 0);
    });
  }
});

test('a server with a user part, or with letters beyond ASCII, is shown inside', async () => {
  const address = server.url.replace('//', '//somebody@');
  const withUser = await startHost({ address });
  assert.equal(await withUser.page.evaluate('document.title'), 'start');
  assert.equal(await withUser.close(), 0);

  const withUmlaut = await startHost({ args: ['bücher'], page: false });
  await withUmlaut.connectPage(); // an error page: the name does not exist
  assert.deepEqual(ignoringCase(choiceLines(withUmlaut)), [
    '[Server] loading https://bücher.on.wendra.example (from command line)',
    kCreated,
  ]);
  assert.deepEqual(await withUmlaut.openedInBrowser(), []);
  assert.equal(await withUmlaut.close(), 0);
});

test('a rejected argument leaves the choice to the config, which stays as it is', async () => {
  const config = `{ "server": "${server.url}", "kept": 1.50 }`;
  const host = await startHost({ args: ['https://evil.test'], config, page: true });
  assert.deepEqual(ignoringCase(choiceLines(host)).slice(0, 2), [
    `[Server] ignoring command-line URL${kNotAllowed}`,
    `[Server] loading ${server.url} (from "server" in ${kPath})`,
  ]);
  assert.equal(await host.page.evaluate('location.href'), `${server.url}/`);
  assert.equal(await host.config(), config);
  assert.equal(await host.close(), 0);
});

test('config.json is made when it is missing', async () => {
  const host = await startHost({ args: ['localhost'], env: withoutBrowser });
  await host.waitForLine(/created default config/);
  assert.equal(await host.config(), kDefaultConfig);
  assert.equal(await host.close(), 0);
});

test('a folder in the place of config.json is left alone', async () => {
  const profile = await makeProfile();
  await mkdir(configFile(profile), { recursive: true });
  const host = await startHost({ profile, args: ['localhost'], env: withoutBrowser });
  await host.waitForLine(/created default config/);
  assert.ok((await stat(configFile(profile))).isDirectory());
  assert.equal(await host.close(), 0);
});

test('a read-only config.json is read and left alone', async () => {
  const profile = await makeProfile();
  await mkdir(dirname(configFile(profile)), { recursive: true });
  await writeFile(configFile(profile), '{"server":"localhost:1"}');
  await chmod(configFile(profile), 0o444);
  const host = await startHost({ profile, env: withoutBrowser });
  await host.window();
  assert.deepEqual(ignoringCase(choiceLines(host)), [`[Server] loading https://localhost:1 (from "server" in ${kPath})`]);
  assert.equal(await readFile(configFile(profile), 'utf8'), '{"server":"localhost:1"}');
  assert.equal(await host.close(), 0);
});

test('the page gets an event when config.json has changed, but not when it is broken', async () => {
  const host = await startHost({ address: server.url, config: {} });
  await host.page.evaluate(() => {
    window.changes = 0;
    document.addEventListener('mcpConfigChanged', () => (window.changes += 1));
  });
  const look = () => host.probe('send window', kTimerMessage, kConfigWatchTimer, 0);
  // Replaces the file in one step: the host must not read a half-written file.
  const write = async (text) => {
    await writeFile(`${configFile(host.profile)}.new`, text);
    await rename(`${configFile(host.profile)}.new`, configFile(host.profile));
  };
  await write('{"mcpServers":{},"x":1}');
  await host.page.waitFor('changes === 1'); // here the host's own timer finds the change
  await write('[]');
  await look();
  await look(); // finds no new change
  await write('{"mcpServers":{},"x":2}');
  await look();
  await host.page.waitFor('changes >= 2');
  assert.equal(await host.page.evaluate('changes'), 2);
  assert.equal(await host.close(), 0);
});
