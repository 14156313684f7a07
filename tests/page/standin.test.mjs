// Tests page/wendra-host-standin.js through the module, as a page uses it.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { conversations } from './conversations.mjs';
import { makePage } from './fake_page.mjs';

const { window } = makePage({ inside: false });
const warnings = [];
console.warn = (text) => warnings.push(text);
const { installStandIn } = await import('../../page/wendra-host-standin.js');
const host = await import('../../page/wendra-host.js');

const kHome = 'C:\\Users\\developer';

const replyTo = (name, args) =>
  host.call(name, args).then(
    (value) => ({ ok: 1, value }),
    (error) => ({ ok: 0, value: error instanceof host.HostError ? error.message : error }),
  );

test('a call before the stand-in is installed is rejected', async () => {
  await assert.rejects(host.platform(), { name: 'NoHostError' });
});

test('inside Wendra the stand-in is not installed', () => {
  window.__wendraHost = { platform: 'windows', topInset: 0 };
  assert.equal(installStandIn(), false);
  delete window.__wendraHost;
  assert.equal(host.isStandIn(), false);
  assert.deepEqual(warnings, []);
});

test('the stand-in names itself on the console and to the page', () => {
  assert.equal(installStandIn(), true);
  assert.match(warnings.join(), /STAND-IN/);
  assert.equal(host.isStandIn(), true);
  assert.equal(host.isInsideHost(), false);
});

for (const { why, steps } of conversations(kHome)) {
  test(`the stand-in replies as the host: ${why}`, async () => {
    installStandIn();
    for (const [name, args, expected] of steps) {
      const reply = await replyTo(name, args);
      assert.ok(isSame(reply, expected), `${name} ${brief(args)}: ${brief(reply)}`);
    }
  });
}

// For short errors: assert.deepEqual would compare 16 MiB line by line when it fails.
const brief = (value) => JSON.stringify(value).slice(0, 200);
const isSame = (a, b) => {
  const sorted = ({ ok, value }) =>
    typeof value === 'object' && value ? [ok, Object.entries(value).sort()] : [ok, value];
  return JSON.stringify(sorted(a)) === JSON.stringify(sorted(b));
};

test('the stand-in has the facts, files and folders that it is given', async () => {
  installStandIn({
    platform: { user: 'eve', home: 'D:\\eve' },
    files: { 'D:\\eve\\t.txt': 'text', 'D:\\eve\\b.bin': new Uint8Array([0, 255, 128]) },
    projectDirs: { one: 'D:\\one' },
  });
  assert.deepEqual(await host.platform(), {
    name: 'Windows',
    version: '0.0.0',
    user: 'eve',
    home: 'D:\\eve',
  });
  assert.equal(await host.readFile('d:/EVE/t.txt'), 'text');
  assert.equal(await host.readFileBase64('D:\\eve\\b.bin'), 'AP+A');
  assert.equal(await host.readFile('D:\\eve\\b.bin'), '\0\ufffd\ufffd');
  assert.deepEqual(await host.getProjectDirs(), { one: 'D:\\one' });
});

test('a stand-in that is installed again has no files of before', async () => {
  installStandIn();
  await host.writeFile('C:\\x', 'x');
  installStandIn();
  await assert.rejects(host.readFile('C:\\x'), { message: 'no such file' });
});

test('a command is not run, and the reply says so', async () => {
  installStandIn();
  assert.deepEqual(await host.exec('C:\\', 'format c:'), {
    exit: -1,
    stdout: '',
    stderr: 'The stand-in host cannot run commands: format c:',
  });
});

test('functions of the page may play commands and the folder dialog', async () => {
  const asked = [];
  const chosen = [`${kHome}\\src`, null];
  installStandIn({
    exec: (dir, command) => {
      asked.push([dir, command]);
      return { exit: 0, stdout: 'clean\n', stderr: '' };
    },
    pickDirectory: async (title) => {
      asked.push(title);
      return chosen.shift();
    },
  });
  const result = await host.exec('C:\\', 'git status');
  assert.deepEqual(result, { exit: 0, stdout: 'clean\n', stderr: '' });
  assert.equal(await host.pickDirectory('Where?'), `${kHome}\\src`);
  assert.equal(await host.pickDirectory(), null);
  assert.deepEqual(asked, [['C:\\', 'git status'], 'Where?', '']);
  await assert.rejects(host.readFile(`${kHome}\\src`), { message: 'is a directory' });
});

test("without a dialog the browser's prompt asks; empty or cancelled is null", async () => {
  installStandIn();
  const prompts = [];
  const answers = ['C:\\typed', '', null];
  window.prompt = (...args) => {
    prompts.push(args);
    return answers.shift();
  };
  assert.equal(await host.pickDirectory('Where?'), 'C:\\typed');
  assert.equal(await host.pickDirectory(), null);
  assert.equal(await host.pickDirectory(), null);
  assert.match(prompts[0][0], /^Where\?/);
  assert.equal(prompts[0][1], kHome);
});

test('the page is notified when the configuration has been written', async () => {
  installStandIn();
  const changed = new Promise((resolve) => host.onMcpConfigChanged(resolve));
  await host.mcpWriteConfig('{"a":1}');
  await changed;
});

const kEcho = {
  tools: [{ name: 'echo', inputSchema: { type: 'object' } }],
  call: (tool, args) => ({ text: `${tool} ${JSON.stringify(args)}` }),
};

test('the page may play MCP servers, and the configuration has them', async () => {
  const far = { config: { url: 'far.example/mcp/', headers: { A: 'b' } }, error: 'HTTP 401' };
  installStandIn({ mcpServers: { 'My Echo': kEcho, far, bare: {} } });
  assert.deepEqual(JSON.parse((await host.mcpReadConfig()).content), {
    mcpServers: {
      'My Echo': { command: 'My Echo' },
      far: far.config,
      bare: { command: 'bare' },
    },
  });
  assert.deepEqual(await host.mcpServers(), [
    { name: 'my_echo', command: 'My Echo', tools: kEcho.tools },
    { name: 'far', command: '', url: 'https://far.example/mcp', error: 'HTTP 401' },
    { name: 'bare', command: 'bare', tools: [] },
  ]);
  const calls = [
    ['My Echo', { a: [1] }, { text: 'echo {"a":[1]}' }],
    ['My Echo', undefined, { text: 'echo {}' }],
    ['My Echo', [1], { text: 'echo {}' }],
    ['my_echo', {}, { text: 'echo {}' }],
    ['My echo', {}, { error: "unknown MCP server 'My echo'" }],
    ['far', {}, { error: 'HTTP 401' }],
    ['bare', {}, { error: 'MCP call failed' }],
  ];
  for (const [server, args, reply] of calls) {
    assert.deepEqual(await host.mcpCall(server, 'echo', args), reply, server);
  }
});

test('a rewritten configuration decides which MCP servers are there', async () => {
  const cases = [
    [{ command: 'x' }, ['echo']],
    [{ command: 'x', disabled: true }, ['echo']],
    [{ command: 'x', enabled: 'false' }, ['echo']],
    [{ url: '', command: 'x' }, ['echo']],
    [{ url: ' ', command: 'x' }, []],
    [{ url: 'ftp://a', command: 'x' }, []],
    [{ command: 'x', enabled: false }, []],
    [{ command: 'x', enabled: 0 }, []],
    [{ command: 5 }, []],
    [{}, []],
    ['x', []],
  ];
  installStandIn({ mcpServers: { echo: kEcho } });
  for (const [echo, names] of cases) {
    await host.mcpWriteConfig(JSON.stringify({ mcpServers: { echo } }));
    const found = await host.mcpServers();
    assert.deepEqual(found.map(({ name }) => name), names, JSON.stringify(echo));
  }
  for (const text of ['{}', '{"mcpServers":[1]}']) {
    await host.mcpWriteConfig(text);
    assert.deepEqual(await host.mcpServers(), [], text);
  }
  await host.mcpWriteConfig('{"mcpServers":{"other":{"command":"other.exe"}}}');
  const error = "MCP server 'other' is not running";
  assert.deepEqual(await host.mcpServers(), [{ name: 'other', command: 'other.exe', error }]);
  assert.deepEqual(await host.mcpCall('other', 'x'), { error });
});

test('the check for updates answers', async () => {
  installStandIn();
  assert.equal(await host.checkForUpdates(), 'ok');
});

test('page and stand-in share no objects', async () => {
  const result = { exit: 0, stdout: '', stderr: '' };
  installStandIn({ exec: () => result });
  const got = await host.exec('', 'x');
  assert.deepEqual(got, result);
  assert.notEqual(got, result);
});
