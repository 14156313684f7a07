// Tests requests and replies between a real page and the real host.
import assert from 'node:assert/strict';
import { after, before, beforeEach, test } from 'node:test';
import { startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';

// A page whose first script records what it finds, then asks for the platform.
const kPage = `<!doctype html><title>page</title>
<script>
  window.hostAtStart = JSON.stringify(window.__wendraHost);
  window.channelAtStart = typeof window.chrome?.webview?.postMessage;
  window.replies = [];
  window.__wendra = { __resolve: (...reply) => window.replies.push(reply) };
  chrome.webview.postMessage({ __reqId: 'start', name: 'platform', args: [] });
</script>`;
const kHostObject = '{"platform":"windows","topInset":0}';
const kHead = 'window.__wendra && window.__wendra.__resolve ? window.__wendra.__resolve(';

let server;
let host;
let page;

before(async () => {
  server = await startServer({
    '/': kPage,
    '/second': kPage,
    '/bare': '<!doctype html><title>no resolver</title>',
    '/frame': '<!doctype html><iframe src="/framed"></iframe>',
    '/framed': `<!doctype html><script>
      chrome.webview.postMessage({ __reqId: 'framed', name: 'platform' });
      parent.framedHasPosted = true;
    </script>`,
  });
  host = await startHost({ address: server.url });
  page = host.page;
});

after(async () => {
  assert.equal(await host?.close(), 0);
  await server?.close();
});

beforeEach(async () => {
  const from = host.log.length;
  await page.visit(`${server.url}/`);
  await page.waitFor('window.replies?.length > 0');
  await host.waitForLine('(req start)', { from });
});

// Sends a message, waits until the host has handled it, and gives the replies. The host handles
// messages in order, so the reply to a second request shows that.
async function postAndSettle(message) {
  await page.evaluate((value) => {
    chrome.webview.postMessage(value);
    chrome.webview.postMessage({ __reqId: 'settled', name: 'platform' });
  }, message);
  await page.waitFor('replies.some(([id]) => id === "settled")');
  const replies = await page.evaluate('replies.filter(([id]) => id !== "settled" && id !== "start")');
  await page.evaluate('void (replies.length = 0)');
  return replies;
}

// Does the same, and gives the replies and the lines that the host has logged meanwhile.
async function postAndListen(message) {
  const from = host.log.length;
  const replies = await postAndSettle(message);
  await host.waitForLine('(req settled)', { from });
  return { replies, lines: host.log.slice(from) };
}

test('the host object is there before the first script, after a reload, and in a second document', async () => {
  const seen = () => page.evaluate('[hostAtStart, channelAtStart]');
  assert.deepEqual(await seen(), [kHostObject, 'function']);
  await page.evaluate('window.isOld = true');
  await page.evaluate('location.reload()');
  await page.waitFor('!window.isOld && window.replies?.length > 0');
  assert.deepEqual(await seen(), [kHostObject, 'function']);
  await page.evaluate('location.href = "/second"');
  await page.loaded('/second');
  assert.deepEqual(await seen(), [kHostObject, 'function']);
});

test('exactly one script makes the host object in a document', async () => {
  const kScript = "window.__wendraHost = { platform: 'windows', topInset: 0 };";
  const scripts = await page.scriptsDuring(async () => {
    await page.evaluate('location.href = "/second"');
    await page.loaded('/second');
    await page.waitFor('window.replies?.length > 0');
  });
  assert.equal(scripts.filter((script) => script === kScript).length, 1, scripts.join('\n---\n'));
});

test('platform answers with name, version, user and home, in this order', async () => {
  const [[id, ok, value]] = await page.evaluate('replies');
  assert.equal(id, 'start');
  assert.equal(ok, 1);
  assert.deepEqual(Object.keys(value), ['name', 'version', 'user', 'home']);
  assert.equal(value.name, 'Windows');
  assert.match(value.version, /^10\.0\.\d+$/);
  assert.equal(value.user, 'wendra');
  assert.match(value.home, /^C:\\users\\wendra$/i);
});

test('the reply is exactly the resolve script', async () => {
  const scripts = await page.scriptsDuring(() => postAndSettle({ __reqId: 'r1', name: 'nope', args: [] }));
  const wanted = `${kHead}'r1', 0, "unknown native action 'nope'") : 0;`;
  assert.ok(scripts.includes(wanted), scripts.join('\n'));
});

test('each request is logged and answered once, in order', async () => {
  const cases = [
    [{ __reqId: 'a', name: 'nope' }, "action 'nope' (req a)", ['a', 0, "unknown native action 'nope'"]],
    [{ __reqId: 'b' }, "action '' (req b)", ['b', 0, "unknown native action ''"]],
    [{ __reqId: 'c', name: 7 }, "action '' (req c)", ['c', 0, "unknown native action ''"]],
    [{ __reqId: 'd', name: 'Platform' }, "action 'Platform' (req d)", ['d', 0, "unknown native action 'Platform'"]],
    [{ __reqId: '', name: 'x' }, "action 'x' (req )", ['', 0, "unknown native action 'x'"]],
    [{ __reqId: 'ü😀', name: 'ß\u2028' }, "action 'ß\u2028' (req ü😀)", ['ü😀', 0, "unknown native action 'ß\u2028'"]],
    [{ name: 'first', __reqId: 'e', args: 5 }, "action 'first' (req e)", ['e', 0, "unknown native action 'first'"]],
  ];
  for (const [message, line, reply] of cases) {
    const { replies, lines } = await postAndListen(message);
    assert.deepEqual(replies, [reply]);
    assert.deepEqual(lines, [`[JS->Native] ${line}`, "[JS->Native] action 'platform' (req settled)"]);
  }
});

test('messages that are no requests are logged and never answered', async () => {
  const noObject = '[JS->Native] non-object message';
  const noId = '[JS->Native] message without __reqId';
  const cases = [
    [[1, 2], noObject],
    ['text', noObject],
    ['{"__reqId":"s","name":"platform"}', noObject], // a string that holds a request
    [5, noObject],
    [null, noObject],
    [true, noObject],
    [{ name: 'platform' }, noId],
    [{ __reqId: 7, name: 'platform' }, noId],
    [{ __reqId: null, name: 'platform' }, noId],
    [{}, noId],
  ];
  for (const [message, line] of cases) {
    const { replies, lines } = await postAndListen(message);
    assert.deepEqual(replies, [], JSON.stringify(message));
    assert.deepEqual(lines, [line, "[JS->Native] action 'platform' (req settled)"]);
  }
});

test('a reply that holds U+2028 arrives unchanged', async () => {
  const name = 'a\u2028b\u2029c';
  let replies;
  const scripts = await page.scriptsDuring(async () => {
    replies = await postAndSettle({ __reqId: 'u', name });
  });
  assert.deepEqual(replies, [['u', 0, `unknown native action '${name}'`]]);
  const wanted = `${kHead}'u', 0, "unknown native action 'a\\u2028b\\u2029c'") : 0;`;
  assert.ok(scripts.includes(wanted), scripts.join('\n'));
});

test('a message of 1 MiB is answered', async () => {
  const name = 'x'.repeat(1 << 20);
  assert.deepEqual(await postAndSettle({ __reqId: 'big', name }), [
    ['big', 0, `unknown native action '${name}'`],
  ]);
});

test('a reply to a page without a resolver, or to a page that is left, does no harm', async () => {
  await page.evaluate('location.href = "/bare"');
  await page.loaded('/bare');
  const from = host.log.length;
  await page.evaluate(() => {
    for (let i = 0; i < 50; ++i) chrome.webview.postMessage({ __reqId: `gone${i}`, name: 'platform' });
    location.href = '/';
  });
  await page.loaded(`${server.url}/`);
  await page.waitFor('window.replies?.length > 0');
  await host.waitForLine('(req start)', { from });
  const replies = await page.evaluate('replies.map(([id]) => id)');
  assert.deepEqual(replies.filter((id) => id !== 'start' && !id.startsWith('gone')), []);
  assert.equal(replies.filter((id) => id === 'start').length, 1);
});

test('the host ignores messages of a frame', async () => {
  await page.evaluate('location.href = "/frame"');
  await page.waitFor('window.framedHasPosted');
  await page.evaluate('window.replies = []; window.__wendra = { __resolve: (...reply) => replies.push(reply) }');
  const { replies } = await postAndListen({ __reqId: 'top', name: 'x' });
  assert.deepEqual(replies, [['top', 0, "unknown native action 'x'"]]);
  assert.deepEqual(host.log.filter((line) => line.includes('(req framed)')), []);
});

test('ten thousand messages at once are answered, each once and in order', async () => {
  const kCount = 10_000;
  const from = host.log.length;
  await page.evaluate((count) => {
    for (let i = 0; i < count; ++i) chrome.webview.postMessage({ __reqId: `f${i}`, name: 'platform' });
  }, kCount);
  await page.waitFor(`replies.filter(([id]) => id[0] === 'f').length >= ${kCount}`, { timeoutMs: 60_000 });
  const ids = await page.evaluate("replies.map(([id]) => id).filter((id) => id[0] === 'f')");
  assert.deepEqual(ids, Array.from({ length: kCount }, (_, i) => `f${i}`));
  const lines = await host.loggedSince(from);
  assert.equal(lines.filter((line) => line.includes('(req f')).length, kCount);
});
