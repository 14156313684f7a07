// Tests page/wendra-host.js with a window that records the posted requests.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { importModule, makePage } from './fake_page.mjs';

test('every action posts one request object with its arguments', async () => {
  const { posted } = makePage();
  const host = await importModule();
  const cases = [
    ['pickDirectory', [], ['']],
    ['pickDirectory', ['Where?'], ['Where?']],
    ['platform', [], []],
    ['getProjectDirs', [], []],
    ['setProjectDir', ['p1', 'C:\\x'], ['p1', 'C:\\x']],
    ['setProjectDir', ['p1', ''], ['p1', '']],
    ['readFile', ['C:\\a "b".txt'], ['C:\\a "b".txt']],
    ['readFileBase64', ['C:\\a'], ['C:\\a']],
    ['writeFile', ['C:\\a', 'one\r\ntwo'], ['C:\\a', 'one\r\ntwo']],
    ['exec', ['', 'echo hi'], ['', 'echo hi']],
    ['mcpServers', [], []],
    ['mcpReadConfig', [], []],
    ['mcpWriteConfig', ['{}'], ['{}']],
    ['mcpCall', ['files', 'list'], ['files', 'list', {}]],
    ['mcpCall', ['files', 'list', { depth: 2 }], ['files', 'list', { depth: 2 }]],
    ['checkForUpdates', [], []],
  ];
  for (const [name, given, args] of cases) {
    void host[name](...given);
    const request = posted.at(-1);
    assert.deepEqual(Object.keys(request), ['__reqId', 'name', 'args'], name);
    assert.equal(request.name, name);
    assert.deepEqual(request.args, args, name);
  }
  assert.equal(posted.length, cases.length);
});

test('call sends any name, and arguments of any shape', async () => {
  const { posted } = makePage();
  const host = await importModule();
  for (const args of [[], [1, null], null, {}, 'text', 5]) void host.call('nope', args);
  void host.call('nope');
  assert.deepEqual(posted.map(({ args }) => args), [[], [1, null], null, {}, 'text', 5, []]);
});

test('a success resolves with the value of the reply, unchanged', async () => {
  const { posted, reply } = makePage();
  const host = await importModule();
  for (const value of [null, true, false, 0, '', 'ok', [], { exit: -1 }]) {
    const answer = host.call('any');
    reply(posted.at(-1), 1, value);
    assert.deepEqual(await answer, value);
  }
});

test('a failure rejects with the text of the host, unchanged', async () => {
  const { posted, reply } = makePage();
  const host = await importModule();
  const texts = [
    'no such file',
    "unknown native action 'x'",
    'Invalid JSON — the file must contain a JSON object',
    '',
    ' "quoted" \\ \n\u2028\u0000 日本 \ud83d\ude00 ',
  ];
  for (const text of texts) {
    const answer = host.readFile('C:\\a');
    reply(posted.at(-1), 0, text);
    const error = await answer.catch((reason) => reason);
    assert.ok(error instanceof host.HostError && error instanceof Error);
    assert.equal(error.message, text);
    assert.equal(error.name, 'HostError');
    assert.equal(error.action, 'readFile');
  }
});

test('ids need no escaping in a string, and differ between copies of the module', async () => {
  const { posted } = makePage();
  const [first, second] = [await importModule(), await importModule()];
  for (let count = 0; count < 500; count += 1) {
    void first.platform();
    void second.platform();
  }
  const ids = posted.map(({ __reqId }) => __reqId);
  assert.equal(new Set(ids).size, 1000);
  for (const id of ids) assert.match(id, /^[0-9a-z]+-[0-9]+$/);
});

test('replies may come in any order', async () => {
  const { posted, reply } = makePage();
  const host = await importModule();
  const answers = ['a', 'b', 'c'].map((path) => host.readFile(path));
  for (const at of [2, 0, 1]) reply(posted[at], 1, `content of ${posted[at].args[0]}`);
  assert.deepEqual(await Promise.all(answers), ['content of a', 'content of b', 'content of c']);
});

test('a reply that comes while the request is being posted is taken', async () => {
  makePage({ post: ({ __reqId }, window) => window.__wendra.__resolve(__reqId, 1, 'at once') });
  const host = await importModule();
  assert.equal(await host.readFile('a'), 'at once');
});

test('a second reply and a reply with an unknown id change nothing', async () => {
  const { posted, reply, window } = makePage();
  const host = await importModule();
  const answer = host.readFile('a');
  reply(posted[0], 1, 'first');
  reply(posted[0], 0, 'second');
  window.__wendra.__resolve('stranger', 1, 'third');
  assert.equal(await answer, 'first');
});

test('the __wendra object of another script is kept, and gets the replies to other ids', async () => {
  const seen = [];
  const bridge = {
    version: 7,
    __resolve(...reply) {
      seen.push([this.version, ...reply]);
      return 'theirs';
    },
  };
  const { posted, reply, window } = makePage({ bridge });
  const host = await importModule();
  assert.equal(window.__wendra, bridge);
  assert.equal(bridge.version, 7);
  assert.equal(window.__wendra.__resolve('other-1', 0, 'no'), 'theirs');
  const answer = host.readFile('a');
  reply(posted[0], 1, 'mine');
  assert.equal(await answer, 'mine');
  assert.deepEqual(seen, [[7, 'other-1', 0, 'no']]);
  reply(posted[0], 1, 'again'); // the module has forgotten this id, so the other script gets it
  assert.deepEqual(seen[1], [7, posted[0].__reqId, 1, 'again']);
});

test('two copies in one document each get their own replies', async () => {
  const { posted, reply } = makePage();
  const [first, second] = [await importModule(), await importModule()];
  const answers = [first.readFile('1'), second.readFile('2')];
  reply(posted[0], 1, 'for the first');
  reply(posted[1], 1, 'for the second');
  assert.deepEqual(await Promise.all(answers), ['for the first', 'for the second']);
});

test('without a host a call rejects at once', async (t) => {
  const otherProgram = () => {
    const page = makePage();
    delete page.window.__wendraHost;
    return page;
  };
  const noWindow = () => {
    makePage();
    delete globalThis.window;
    return { posted: [] };
  };
  const cases = [
    ['an ordinary browser', () => makePage({ inside: false }), /does not run in Wendra/],
    ['another program with a WebView2 control', otherProgram, /does not run in Wendra/],
    ['a frame in the window', () => makePage({ framed: true }), /top document only/],
    ['a server that renders the page', noWindow, /does not run in Wendra/],
  ];
  for (const [where, enter, message] of cases) {
    await t.test(where, async () => {
      const { posted } = enter();
      const host = await importModule();
      assert.equal(host.isInsideHost(), false);
      assert.equal(host.isStandIn(), false);
      const error = await host.readFile('a').catch((reason) => reason);
      assert.ok(error instanceof host.NoHostError && !(error instanceof host.HostError));
      assert.equal(error.name, 'NoHostError');
      assert.equal(error.action, 'readFile');
      assert.match(error.message, message);
      assert.deepEqual(posted, []);
    });
  }
});

test('the module recognises the window of Wendra by the objects that the host adds', async () => {
  makePage();
  const host = await importModule();
  assert.equal(host.isInsideHost(), true);
  assert.equal(host.isStandIn(), false);
});

test('a request that cannot be posted rejects, and later requests work', async () => {
  const { posted, reply } = makePage({
    post: ({ args }) => {
      if (args[0] === 'bad') throw new TypeError('cannot be cloned');
    },
  });
  const host = await importModule();
  await assert.rejects(host.call('any', ['bad']), { message: 'cannot be cloned' });
  const answer = host.call('any', ['good']);
  reply(posted.at(-1), 1, 'yes');
  assert.equal(await answer, 'yes');
});

test('each listener for changes of the configuration ends by its own function', async () => {
  const { document } = makePage();
  const host = await importModule();
  const calls = [];
  const listener = (...args) => calls.push(args);
  const change = () => document.dispatchEvent(new CustomEvent('mcpConfigChanged'));
  const [endFirst, endSecond] = [
    host.onMcpConfigChanged(listener),
    host.onMcpConfigChanged(listener),
  ];
  change();
  assert.deepEqual(calls, [[], []]);
  endFirst();
  endFirst();
  change();
  assert.equal(calls.length, 3);
  endSecond();
  change();
  assert.equal(calls.length, 3);
});
