// Local servers that misbehave, each in its own way (tests/support/mcp_child_win.cpp lists the words):
// what the page gets, what the log says, and that the others go on.
import assert from 'node:assert/strict';
import { readFile, rm, writeFile } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { windowsPath } from '../../tools/wine/prefix.mjs';
import { makeProfile, startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kChild = windowsPath(join(kRoot, 'build/windows/bin/mcp_child.exe'));
const kMebibyte = 1_048_576;

let server;
before(async () => {
  server = await startServer({ '/': '<!doctype html><title>mcp</title>' });
});
after(() => server?.close());

const mcpChild = (...args) => ({ command: kChild, args });

// `wanted` is what startHost takes besides.
async function withServers(mcpServers, use, wanted = {}) {
  const host = await startHost({ address: server.url, config: { mcpServers }, ...wanted });
  try {
    await host.waitForLine('[MCP] loaded ');
    await use(host);
  } finally {
    assert.equal(await host.close(), 0);
  }
}

async function ownProfile(t) {
  const profile = await makeProfile();
  t.after(() => rm(profile, { recursive: true, force: true }));
  return profile;
}

const callEcho = (host, name) => host.page.call('mcpCall', [name, 'echo', { text: 'hi' }]);

// The result of that call, if all goes well.
const kEcho = { text: 'hi' };

const kClosed = 'subprocess exited / closed stdout';
const kMiddleOfLine = ['line', ''];
const request = (id, method) => `{"jsonrpc":"2.0","id":${id},"method":"${method}"}`;
const notification = (rest) => `{"jsonrpc":"2.0","method":"notifications/message"${rest}}`;
const exited = (name) => ({ error: `MCP server '${name}' exited unexpectedly` });
const notRunning = (name) => ({ error: `MCP server '${name}' is not running` });

// Name -> words of the server, what the page gets, what the log says after the start.
const kCases = {
  good: [[], kEcho, []],
  'has "quotes", a blank and ü': [[], kEcho, []],

  'exits at once': [['exit', '0'], notRunning, [kClosed]],
  'exits during the handshake': [['initialize', 'exit', '3'], exited, [kClosed]],
  'exits during a call': [['call', 'exit', '3'], exited, [kClosed]],
  'crashes during a call': [['call', 'crash'], exited, [kClosed]],
  'closes its output and lives': [['call', 'close', 'stay'], exited, [kClosed]],
  'fails the handshake': [['initialize', 'error', 'no greeting'], { error: 'no greeting' }, []],
  'greets without a version': [['initialize', 'result', '{}'], kEcho, []],

  'prints garbage': [['line', 'Listening…', 'call', 'line', '{"id":', 'line', '[]', 'answer'], kEcho, []],
  'prints blank lines': [['bytes', '0a0a0d0a200a', 'call', 'bytes', '0a0a', 'answer'], kEcho, []],
  'prints what is no UTF-8': [['bytes', 'fffec3280a', 'call', 'bytes', 'ff0a', 'answer'], kEcho, []],
  'two messages in one write': [
    ['call', 'hold', 'line', notification(',"params":{"message":"one"}'), 'answer', 'flush'],
    kEcho, ['one'],
  ],
  'writes byte by byte': [['bytewise'], kEcho, []],
  'ends without a line feed': [
    ['call', 'text', '{"id":$ID,"result":{"content":[]}}', 'exit', '0'], { text: '' }, [kClosed],
  ],
  'ten mebibytes without a line feed': [
    ['call', 'fill', String(10 * kMebibyte), ...kMiddleOfLine, 'answer'], kEcho, [],
  ],
  'nests 100,000 deep': [['call', 'nest', '100000'], { text: '' }, []],
  'a number out of range': [['call', 'result', '{"content":[],"x":1e400}', 'answer'], kEcho, []],

  '5 bytes of errors': [['err', '5', 'call', 'answer', 'exit', '0'], kEcho, [kClosed, 'stderr: eeeee']],
  '70,000 bytes of errors': [['err', '70000', 'call', 'answer', 'exit', '0'], kEcho, [kClosed]],
  '10 MiB of errors': [['err', String(10 * kMebibyte)], kEcho, []],
  'nothing but errors': [['err', '7', 'exit', '1'], notRunning, [kClosed, 'stderr: eeeeeee']],

  'answers twice': [['call', 'answer', 'answer'], kEcho, []],
  "answers another's id first": [['call', 'answer-as', '"4711"', 'answer'], kEcho, []],
  'answers to a number': [['initialize', 'answer-as', '$BARE', 'call', 'answer-as', '$BARE'], kEcho, []],
  'answers with an error': [['call', 'error', 'broken'], { error: 'broken' }, []],
  'numbers its requests like ours': [['call', 'line', request('$BARE', 'ping'), 'answer'], kEcho, []],
  'notifies': [
    ['call', 'line', notification(',"params":{"message":"Grüße"}'), 'line', notification(''),
      'line', notification(',"params":{"level":"info"}'), 'answer'],
    kEcho, ['Grüße'],
  ],
  'starts others that stay': [['spawn', 'spawn'], kEcho, []],
};

test('a server that misbehaves harms nobody but itself', async () => {
  const entries = Object.entries(kCases).map(([name, [words]]) => [name, mcpChild(...words)]);
  await withServers(Object.fromEntries(entries), async (host) => {
    const waitForLines = async (name, lines) => {
      for (const line of lines) await host.waitForLine(`[MCP ${name}] ${line}`);
    };
    await Promise.all(Object.entries(kCases).map(async ([name, [, wanted, lines]]) => {
      if (wanted === notRunning) await waitForLines(name, lines);
      const value = typeof wanted === 'function' ? wanted(name) : wanted;
      assert.deepEqual(await callEcho(host, name), { ok: 1, value }, name);
      await waitForLines(name, lines);
    }));
    for (const [name, [, , lines]] of Object.entries(kCases)) {
      const tag = `[MCP ${name}] `;
      const logged = host.log.filter((line) => line.startsWith(tag)).map((line) => line.slice(tag.length));
      assert.deepEqual(logged.sort(), [`started ${kChild}`, ...lines].sort(), name);
    }
  });
});

test('what cannot be started is said, counted or left out', async (t) => {
  const profile = await ownProfile(t);
  const inProfile = (name) => windowsPath(join(profile, name));
  await writeFile(join(profile, 'my notes.txt'), 'no program');
  const servers = {
    text: { command: inProfile('my notes.txt'), args: ['-y', 'two words'] },
    folder: { command: windowsPath(profile) },
    gone: { command: inProfile('gone.exe') },
    good: mcpChild(),
  };
  await withServers(servers, async (host) => {
    assert.deepEqual(host.log.filter((line) => line.startsWith('[MCP')), [
      `[MCP text] launch failed: "${inProfile('my notes.txt')}" -y "two words"`,
      `[MCP] server 'folder': command not found: ${windowsPath(profile)}`,
      `[MCP] server 'gone': command not found: ${inProfile('gone.exe')}`,
      `[MCP good] started ${kChild}`,
      '[MCP] loaded 2 server(s)',
    ]);
    assert.deepEqual(await callEcho(host, 'text'), { ok: 1, value: notRunning('text') });
    assert.deepEqual(await callEcho(host, 'gone'),
      { ok: 1, value: { error: "unknown MCP server 'gone'" } });
    assert.deepEqual(await callEcho(host, 'good'), { ok: 1, value: kEcho });
  }, { profile });
});

test('a line may hold one mebibyte and not more', async () => {
  const sizes = [kMebibyte - 1, kMebibyte, kMebibyte + 1];
  // What is lost is not missed: the second answer is taken instead.
  const entries = sizes.map((bytes) => [bytes, mcpChild('call', 'answer-of', String(bytes), 'answer')]);
  await withServers(Object.fromEntries(entries), async (host) => {
    for (const bytes of sizes) {
      const { value } = await callEcho(host, String(bytes));
      assert.match(value.text, bytes > kMebibyte ? /^hi$/ : /^x{1048000,}$/);
    }
  });
});

test("a server's requests are refused under their own ids", async (t) => {
  const profile = await ownProfile(t);
  const record = join(profile, 'record');
  const requests = [
    request(0, 'ping'), request('"1"', 'roots/list'), request('$BARE', 'sampling/createMessage'),
  ];
  const words = ['call', ...requests.flatMap((text) => ['line', text]), 'answer'];
  await withServers({ asks: mcpChild('record', windowsPath(record), ...words) }, async (host) => {
    for (let i = 0; i < 2; ++i) assert.deepEqual(await callEcho(host, 'asks'), { ok: 1, value: kEcho });
    await host.page.call('mcpCall', ['asks', 'cwd']); // refusals have been read when this is answered
  }, { profile });

  const sent = (await readFile(record, 'utf8')).trimEnd().split('\n').map((line) => JSON.parse(line));
  const calls = sent.filter(({ method }) => method === 'tools/call').map(({ id }) => Number(id));
  const error = { code: -32601, message: 'Method not found' };
  assert.deepEqual(
    sent.filter((message) => message.error).slice(0, 6),
    calls.slice(0, 2).flatMap((id) => [0, '1', id].map((own) => ({ jsonrpc: '2.0', id: own, error }))),
  );
});

test('the window lives beside servers that read nothing, and closes them', async () => {
  const stubborn = {
    'reads nothing': mcpChild('stay'),
    'reads nothing more': mcpChild('initialize', 'answer', 'stay'),
    'never answers': mcpChild('call'),
    'ignores the end of its input': mcpChild('end', 'stay'),
    'has others that do': mcpChild('spawn', 'spawn', 'end', 'stay'),
  };
  await withServers(stubborn, async (host) => {
    await host.page.evaluate(`for (const name of ${JSON.stringify(Object.keys(stubborn))}) {
      const args = [name, 'echo', { text: 'x'.repeat(1 << 20) }];
      chrome.webview.postMessage({ __reqId: name, name: 'mcpCall', args });
    }`);
    assert.equal((await host.page.call('platform', [])).ok, 1);
  }); // closing waits until no process is left
});

test('arguments and variables reach a program and a batch file as they were written', async (t) => {
  const profile = await ownProfile(t);
  const script = join(profile, 'shim & more.cmd');
  await writeFile(script, `@ECHO off\r\n"${kChild}" %*\r\n`);
  const words = [
    'rest', '', 'two words', '"', 'a"b', '\\', 'C:\\dir\\', '{"a b":"c&d"}', '& echo x > pwned.txt',
    '"&calc', '!x!', '^', '(', '|', '*', 'ü 日本',
  ];
  const programWords = [...words, '%COMSPEC%', '100%', 'a\r\nb'];
  const env = { Wendra_Test: 'grün & blau', PATH: 'C:\\only' };
  const batch = (args) => ({ command: windowsPath(script), args, env });
  const servers = {
    program: { command: kChild, args: programWords, env },
    batch: batch(words),
    refused: batch(['a\nb']),
    zero: { command: kChild, args: ['a\0b'] },
  };
  await withServers(servers, async (host) => {
    const textOf = async (name, tool, args) =>
      (await host.page.call('mcpCall', [name, tool, args])).value.text;
    const lines = (all) => all.map((word) => `${word}\n`).join('');
    assert.equal(await textOf('program', 'args'), lines(programWords));
    assert.equal(await textOf('batch', 'args'), lines(words));
    for (const name of ['program', 'batch']) {
      assert.equal(await textOf(name, 'env', { name: 'WENDRA_TEST' }), 'grün & blau');
      assert.equal(await textOf(name, 'env', { name: 'PATH' }), 'C:\\only');
      assert.equal(await textOf(name, 'cwd'), await textOf(name, 'env', { name: 'USERPROFILE' }));
    }
    await host.waitForLine('[MCP refused] launch failed: a batch file takes no argument with a ' +
      `line break or a zero: ${windowsPath(script)}`);
    await host.waitForLine(`[MCP zero] launch failed: a program takes no argument with a zero: ${kChild}`);
  }, { profile });
});
