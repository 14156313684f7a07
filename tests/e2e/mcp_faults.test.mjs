// Tests local servers that misbehave, each in its own way (tests/support/mcp_child_win.cpp lists
// the words): what the page gets, what the log says, and that the other servers work.
import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { callTool, kEcho, letTimeOut } from './support/calls.mjs';
import { windowsPath } from './support/machine.mjs';
import {
  endlessly, kChild, kClosed, mcpChild, notification, ownProfile, request, says, withLocalServers,
} from './support/mcp_children.mjs';
import { writeConfig } from './support/host.mjs';
import { startServer } from './support/server.mjs';

const kMebibyte = 1_048_576;
// How long the window may be silent while the page sends calls with 1 MiB of arguments. On an idle
// machine it is silent for a tenth of that.
const kSilenceMs = 2000;
const kReplyMs = 1000; // the limit of a call while another server keeps the window busy

let server;
before(async () => {
  server = await startServer({ '/': '<!doctype html><title>mcp</title>' });
});
after(() => server?.close());

const withServers = (mcpServers, use, wanted) => withLocalServers(server, mcpServers, use, wanted);

const kMiddleOfLine = ['line', ''];
const exited = (name) => ({ error: `MCP server '${name}' exited unexpectedly` });
const notRunning = (name) => ({ error: `MCP server '${name}' is not running` });

// Name -> the words of the server, what the page gets, the log lines after the start.
const kCases = {
  good: [[], kEcho, []],
  'has "quotes", a space and ü': [[], kEcho, []],

  'exits at once': [['exit', '0'], notRunning, [kClosed]],
  'exits during the handshake': [['initialize', 'exit', '3'], exited, [kClosed]],
  'exits during a call': [['call', 'exit', '3'], exited, [kClosed]],
  'crashes during a call': [['call', 'crash'], exited, [kClosed]],
  'closes its output and lives': [['call', 'close', 'stay'], exited, [kClosed]],
  'fails the handshake': [['initialize', 'error', 'no greeting'], { error: 'no greeting' }, []],
  'names no protocol version': [['initialize', 'result', '{}'], kEcho, []],

  'prints garbage': [['line', 'Listening…', 'call', 'line', '{"id":', 'line', '[]', 'answer'], kEcho, []],
  'prints empty lines': [['bytes', '0a0a0d0a200a', 'call', 'bytes', '0a0a', 'answer'], kEcho, []],
  'prints invalid UTF-8': [['bytes', 'fffec3280a', 'call', 'bytes', 'ff0a', 'answer'], kEcho, []],
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
  'uses the ids of the host': [['call', 'line', request('$BARE', 'ping'), 'answer'], kEcho, []],
  'notifies': [
    ['call', 'line', notification(',"params":{"message":"Grüße"}'), 'line', notification(''),
      'line', notification(',"params":{"level":"info"}'), 'answer'],
    kEcho, ['Grüße'],
  ],
  'starts children that stay': [['spawn', 'spawn'], kEcho, []],
};

test('a server that misbehaves does not disturb the others', async () => {
  const entries = Object.entries(kCases).map(([name, [words]]) => [name, mcpChild(...words)]);
  await withServers(Object.fromEntries(entries), async (host) => {
    const waitForLines = async (name, lines) => {
      for (const line of lines) await host.waitForLine(`[MCP ${name}] ${line}`);
    };
    await Promise.all(Object.entries(kCases).map(async ([name, [, wanted, lines]]) => {
      if (wanted === notRunning) await waitForLines(name, lines);
      const value = typeof wanted === 'function' ? wanted(name) : wanted;
      assert.deepEqual(await callTool(host, name), { ok: 1, value }, name);
      await waitForLines(name, lines);
    }));
    for (const [name, [, , lines]] of Object.entries(kCases)) {
      const tag = `[MCP ${name}] `;
      const logged = host.log.filter((line) => line.startsWith(tag)).map((line) => line.slice(tag.length));
      assert.deepEqual(logged.sort(), [`started ${kChild}`, ...lines].sort(), name);
    }
  });
});

test('a server that cannot be started is logged, and calls of it fail', async (t) => {
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
    assert.deepEqual(await callTool(host, 'text'), { ok: 1, value: notRunning('text') });
    assert.deepEqual(await callTool(host, 'gone'),
      { ok: 1, value: { error: "unknown MCP server 'gone'" } });
    assert.deepEqual(await callTool(host, 'good'), { ok: 1, value: kEcho });
  }, { profile });
});

test('a line of 1 MiB is taken, a longer line is dropped', async () => {
  const sizes = [kMebibyte - 1, kMebibyte, kMebibyte + 1];
  // When the host drops the first answer, it takes the second one.
  const entries = sizes.map((bytes) => [bytes, mcpChild('call', 'answer-of', String(bytes), 'answer')]);
  await withServers(Object.fromEntries(entries), async (host) => {
    for (const bytes of sizes) {
      const { value } = await callTool(host, String(bytes));
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
    for (let i = 0; i < 2; ++i) assert.deepEqual(await callTool(host, 'asks'), { ok: 1, value: kEcho });
    await host.page.call('mcpCall', ['asks', 'cwd']); // the server reads the refusals before this
  }, { profile });

  const sent = (await readFile(record, 'utf8')).trimEnd().split('\n').map((line) => JSON.parse(line));
  const calls = sent.filter(({ method }) => method === 'tools/call').map(({ id }) => Number(id));
  const error = { code: -32601, message: 'Method not found' };
  assert.deepEqual(
    sent.filter((message) => message.error).slice(0, 6),
    calls.slice(0, 2).flatMap((id) => [0, '1', id].map((own) => ({ jsonrpc: '2.0', id: own, error }))),
  );
});

test('the window reacts while servers read nothing, and ends them when it closes', async (t) => {
  const stubborn = {
    'reads nothing': mcpChild('stay'),
    'reads nothing more': mcpChild('initialize', 'answer', 'stay'),
    'never answers': mcpChild('call'),
    'ignores the end of its input': mcpChild('end', 'stay'),
    'has children that ignore it': mcpChild('spawn', 'spawn', 'end', 'stay'),
  };
  await withServers(stubborn, async (host) => {
    await host.probe('watch');
    await host.page.evaluate(`for (const name of ${JSON.stringify(Object.keys(stubborn))}) {
      const args = [name, 'echo', { text: 'x'.repeat(1 << 20) }];
      chrome.webview.postMessage({ __reqId: name, name: 'mcpCall', args });
    }`);
    assert.equal((await host.page.call('platform', [])).ok, 1);
    const { longestMs, answers } = await host.probe('watched');
    assert.ok(answers > 0);
    t.diagnostic(`silent for ${longestMs} ms at most`);
    assert.ok(longestMs < kSilenceMs, `${longestMs} ms`);
  });
});

const kFloods = {
  notifications: endlessly(...says('more', 100)),
  garbage: endlessly('line', 'garbage'),
  requests: endlessly('line', request(1, 'ping')),
  errors: endlessly('err', '65536'),
  'a line': endlessly('fill', '65536'),
};
const flooding = (kind) => mcpChild('call', ...says('begun'), ...kFloods[kind]);
async function beginFlood(host, name) {
  void callTool(host, name).catch(() => {}); // the page may end before the call has a reply
  await host.waitForLine(`[MCP ${name}] begun`);
}

test('calls of other servers are answered while a server sends without end', async (t) => {
  for (const name of Object.keys(kFloods)) {
    await withServers({ good: mcpChild(), [name]: flooding(name) }, async (host) => {
      await beginFlood(host, name);
      let longestMs = 0;
      for (let i = 0; i < 10; ++i) {
        const startMs = performance.now();
        assert.deepEqual(await callTool(host, 'good'), { ok: 1, value: kEcho });
        longestMs = Math.max(longestMs, Math.round(performance.now() - startMs));
      }
      t.diagnostic(`${name}: a call of another takes ${longestMs} ms at most`);
      assert.ok(longestMs < kReplyMs, `${longestMs} ms`);
    });
  }
});

test('keys and timers are handled while many servers send without end', async () => {
  const names = Array.from({ length: 8 }, (_, i) => `flood ${i}`);
  const servers = { good: mcpChild() };
  for (const name of names) servers[name] = flooding('notifications');
  await withServers(servers, async (host) => {
    for (const name of names) await beginFlood(host, name);
    assert.deepEqual(await callTool(host, 'good'), { ok: 1, value: kEcho });
    await host.keys('ctrl+l');
    await host.waitForLine('[Log] log panel shown (Ctrl+L)');
    await writeConfig(host.profile, { mcpServers: { good: mcpChild() } });
    await host.waitForLine('[MCP] config.json changed on disk');
  });
});

// Posts a call and does not wait for its reply.
const post = (host, id, name) =>
  host.page.post({ __reqId: id, name: 'mcpCall', args: [name, 'echo', { text: 'hi' }] });
// All replies to the request `id`; waits for the first.
async function repliesTo(host, id) {
  await host.page.waitFor(`__wendra.testReplies.some((reply) => reply.id === '${id}')`);
  await host.page.call('platform', []); // a second reply would come before this one
  return (await host.page.replies()).filter((reply) => reply.id === id);
}
const kTimedOut = { error: 'MCP request timed out' };

test('a request to a server that does not answer times out, and a late answer is ignored', async () => {
  // The server answers the first call (id 2) when the second comes, then the second.
  const words = ['call', ...says('begun'), 'call', 'answer-as', '"2"', 'answer'];
  const servers = { late: mcpChild(...words), mute: mcpChild('initialize', ...says('begun')) };
  await withServers(servers, async (host) => {
    await host.page.call('platform', []);
    await post(host, 'first', 'late');
    await host.waitForLine('[MCP late] begun');
    for (let i = 0; i < 2; ++i) await letTimeOut(host, 2);
    const wanted = [{ id: 'first', ok: 1, value: kTimedOut }];
    assert.deepEqual(await repliesTo(host, 'first'), wanted);
    assert.deepEqual(await callTool(host, 'late'), { ok: 1, value: kEcho });
    assert.deepEqual(await repliesTo(host, 'first'), wanted);

    await post(host, 'handshake', 'mute');
    await host.waitForLine('[MCP mute] begun');
    await letTimeOut(host, 4);
    assert.deepEqual(await repliesTo(host, 'handshake'), [{ id: 'handshake', ok: 1, value: kTimedOut }]);
  });
});

test('a call that waits while its server is replaced ends at once, with one reply', async () => {
  const silent = { one: mcpChild('call', ...says('begun')) };
  await withServers(silent, async (host) => {
    await host.page.call('platform', []);
    await post(host, 'old', 'one');
    await host.waitForLine('[MCP one] begun');
    // The new server of that name answers under the old call's id, and then under its own.
    const next = JSON.stringify({ mcpServers: { one: mcpChild('call', 'answer-as', '"2"', 'answer') } });
    const from = host.log.length;
    assert.deepEqual(await host.page.call('mcpWriteConfig', [next]), { ok: 1, value: { ok: true } });
    await host.waitForLine('[MCP] config.json changed on disk', { from }); // a second reload
    assert.deepEqual(await callTool(host, 'one'), { ok: 1, value: kEcho });
    const stopped = { error: "MCP server 'one' was stopped" };
    assert.deepEqual(await repliesTo(host, 'old'), [{ id: 'old', ok: 1, value: stopped }]);
  });
});

// Runs only by hand, with TIMEOUTS=1; takes nearly three minutes.
const kByHand = { timeout: 240_000 };
if (process.env.TIMEOUTS) test('each kind of request has its own time-out', kByHand, async () => {
  const servers = {
    'answers no handshake': mcpChild('initialize'),
    'lists nothing': mcpChild('list'),
    'calls nothing': mcpChild('call'),
  };
  await withServers(servers, async (host) => {
    const timed = async (action, args) => {
      const startMs = performance.now();
      const reply = await host.page.call(action, args, { timeoutMs: 150_000 });
      return [Math.floor((performance.now() - startMs) / 1000), reply.value];
    };
    const [[listSeconds, list], ...calls] = await Promise.all([
      timed('mcpServers', []),
      timed('mcpCall', ['answers no handshake', 'echo', {}]),
      timed('mcpCall', ['calls nothing', 'echo', {}]),
    ]);
    assert.deepEqual([listSeconds, ...calls.map(([seconds]) => seconds)], [45, 45, 120]);
    assert.deepEqual(calls.map(([, value]) => value), [kTimedOut, kTimedOut]);
    const errors = Object.fromEntries(list.map(({ name, error }) => [name, error]));
    const { error } = kTimedOut;
    assert.deepEqual(errors,
      { answers_no_handshake: error, lists_nothing: error, calls_nothing: undefined });
    const [seconds] = await timed('mcpServers', []);
    assert.equal(seconds, 45);
  });
});
