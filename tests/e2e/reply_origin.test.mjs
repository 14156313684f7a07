// Tests that only documents of the origin that asked get the reply, with any navigation in between.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { writeFile } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { after, before, beforeEach, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { profileFiles } from '../../tools/wine/prefix.mjs';
import { holdings } from './support/holdings.mjs';
import { startHost, writeConfig } from './support/host.mjs';
import { windowsPath } from './support/machine.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const child = `"${windowsPath(join(kRoot, 'build/windows/bin/test_child.exe'))}"`;

// Records all replies, and runs scripts that its server sends. While a navigation is under way, the
// browser holds back the commands of a DevTools session, so tests send scripts by the server.
const kPage = `<!doctype html><title>page</title><script>
  new EventSource('/orders').onmessage = ({ data }) => (0, eval)(data);
  window.replies = [];
  window.events = 0;
  window.__wendra = { __resolve: (...reply) => replies.push(reply) };
  document.addEventListener('mcpConfigChanged', () => (events += 1));
</script>`;

let server; // localhost and 127.0.0.1
let other; // the same hosts on another port
let host;
let page;

// URL of a request for /slow -> the function that answers it.
const kWaiting = new Map();
const slow = (request) => new Promise((resolve) => kWaiting.set(request.url, resolve));

let giveOrder; // sends a script to the page that was loaded last

before(async () => {
  const routes = {
    '/': kPage,
    '/orders': (request, response) => {
      response.writeHead(200, { 'Content-Type': 'text/event-stream' });
      response.flushHeaders();
      giveOrder = (script) => response.write(`data: ${script}\n\n`);
    },
    '/slow': slow,
    '/nothing': { status: 204 },
    '/loading': kPage.replace('</script>', `
      chrome.webview.postMessage({ __reqId: 'early', name: 'platform' });
    </script><img src="/slow?picture">`),
  };
  server = await startServer(routes);
  other = await startServer(routes);
  // The harder order: the control ends a replaced navigation only after the next one has begun.
  const env = { WENDRA_DEV_REPLACED_ENDS_LATE: '1' };
  host = await startHost({ address: server.url, config: {}, env });
  page = host.page;
});

after(async () => {
  assert.equal(await host?.close(), 0);
  await server?.close();
  await other?.close();
});

beforeEach(async () => {
  for (const answer of kWaiting.values()) answer({ status: 204 });
  kWaiting.clear();
  giveOrder = undefined;
  await page.visit(`${server.url}/`);
  await until('a page that takes orders', () => giveOrder);
});

let navigations = 0;

// Makes the page navigate to an address that is not answered yet; then a navigation is under way.
// Call the result with the answer.
async function setOut(address = '') {
  const path = `/slow?${(navigations += 1)}`;
  giveOrder(`location.href = '${address}${path}'`);
  await until(`a request for ${path}`, () => kWaiting.has(path), { context: host.context });
  return (answer) => {
    kWaiting.get(path)(answer);
    kWaiting.delete(path);
  };
}

let requests = 0;

// Posts a request and waits until the host has logged it; gives the id. The host answers `platform`
// at once.
async function ask(id = `asked${(requests += 1)}`, name = 'platform', args = [], post = page.post.bind(page)) {
  const from = host.log.length;
  await post({ __reqId: id, name, args });
  await host.waitForLine(`(req ${id})`, { from });
  return id;
}

// The same while a navigation is under way: the page posts the request by an order of the server.
const askMeanwhile = (id, name, args) =>
  ask(id, name, args, (message) => giveOrder(`chrome.webview.postMessage(${JSON.stringify(message)})`));

// The ids of all replies to the page so far. Replies come in order, so the reply to one more
// request shows that the earlier ones have arrived.
async function repliesSoFar() {
  const last = await ask();
  await page.waitFor(`replies.some(([id]) => id === '${last}')`);
  return page.evaluate((end) => replies.map(([id]) => id).filter((id) => id !== end), last);
}

// The same for a page that the host does not answer.
async function repliesOfForeignPage() {
  const from = host.log.length;
  await page.post({ __reqId: 'foreign', name: 'platform' });
  await host.waitForLine('[JS->Native] ignoring message from', { from });
  return page.evaluate('replies.map(([id]) => id)');
}

const eventsOfControl = () => readFileSync(profileFiles(host.profile).events, 'utf8');
const failuresSoFar = () => eventsOfControl().split('"failed"').length - 1;

// The name of a Windows event that no other test uses.
let events = 0;
const newEvent = () => `wendra-reply-${process.pid}-${(events += 1)}`;

const foreign = (path) => `http://foreign.test:${other.port}${path}`;
// A request id that would run as script if the host put it into a script unescaped.
const kScriptId = "x', 0, 0) || (window.injected = true) || String('";

test('a reply waits for the navigation and goes to no other origin', async (t) => {
  const cases = {
    'another allowed host': `http://127.0.0.1:${server.port}`,
    'another port': other.url,
  };
  for (const [name, origin] of Object.entries(cases)) {
    await t.test(name, async () => {
      const go = await setOut(origin);
      await askMeanwhile();
      await askMeanwhile(kScriptId);
      go(kPage);
      await page.loaded(origin);
      assert.deepEqual(await repliesSoFar(), []);
      assert.equal(await page.evaluate('window.injected'), undefined);
    });
    await t.test(`${name}, by a redirect`, async () => {
      const go = await setOut();
      await askMeanwhile();
      go({ status: 302, headers: { Location: `${origin}/` } });
      await page.loaded(origin);
      assert.deepEqual(await repliesSoFar(), []);
    });
  }
  await t.test('a foreign page', async () => {
    const go = await setOut(foreign(''));
    await askMeanwhile();
    go(kPage);
    await page.loaded(foreign('/slow'));
    assert.deepEqual(await repliesOfForeignPage(), []);
  });
  await t.test('a foreign page, by a redirect', async () => {
    const go = await setOut();
    await askMeanwhile();
    go({ status: 302, headers: { Location: foreign('/') } });
    await page.loaded(foreign('/'));
    assert.deepEqual(await repliesOfForeignPage(), []);
  });
});

test('a reply waits for the navigation and reaches the page that asked', async (t) => {
  const cases = {
    'an answer without content': { status: 204 },
    'a download': {
      headers: { 'Content-Disposition': 'attachment; filename="a.bin"', 'Content-Type': 'application/x' },
      body: 'x',
    },
    'a redirect to an answer without content': () => ({ status: 302, headers: { Location: foreign('/nothing') } }),
  };
  for (const [name, answer] of Object.entries(cases)) {
    await t.test(name, async () => {
      const go = await setOut();
      const id = await askMeanwhile();
      go(typeof answer === 'function' ? answer() : answer);
      await page.waitFor('replies.length === 1');
      assert.deepEqual(await repliesSoFar(), [id]);
    });
  }
  await t.test('a navigation that the page gives up', async () => {
    await setOut(foreign(''));
    const id = await askMeanwhile();
    giveOrder('stop()');
    await page.waitFor('replies.length === 1');
    assert.deepEqual(await repliesSoFar(), [id]);
  });
});

test('a page that cannot be loaded gets no reply, and the next page works', async () => {
  const closed = await startServer();
  await closed.close();
  const failures = failuresSoFar();
  await page.evaluate((url) => void (location.href = url), closed.url);
  await until('a failure', () => failuresSoFar() > failures, { context: host.context });
  await page.visit(`${server.url}/`);
  assert.deepEqual(await repliesSoFar(), []);
});

test('the end of a replaced navigation does not release replies', async () => {
  await setOut(foreign(''));
  await askMeanwhile();
  const failures = failuresSoFar();
  const go = await setOut(foreign('')); // replaces the first navigation
  await until('the end of the first', () => failuresSoFar() > failures, { context: host.context });
  await askMeanwhile();
  go(kPage);
  await page.loaded(foreign('/slow'));
  assert.deepEqual(await repliesOfForeignPage(), []);
});

test('replies that waited for a replaced navigation come after the newer one', async () => {
  await setOut(foreign(''));
  const first = await askMeanwhile();
  const go = await setOut(foreign(''));
  const second = await askMeanwhile();
  go({ status: 204 });
  await page.waitFor('replies.length === 2');
  assert.deepEqual(await repliesSoFar(), [first, second]);
});

test('a page that is still loading gets its reply', async () => {
  await page.evaluate('location.href = "/loading"');
  await page.waitFor('window.replies?.length === 1');
  assert.equal(await page.evaluate('document.readyState'), 'interactive');
  await until('the picture', () => kWaiting.has('/slow?picture'));
});

// Waits until no command runs any more; then the host has handled all replies of commands.
async function commandsEnded(before) {
  await until('the end of all commands', async () => (await holdings(host)).threads <= before.threads, {
    context: host.context,
  });
}

test('the reply of a command that outlives its page goes to the same origin only', async (t) => {
  const other127 = `http://127.0.0.1:${server.port}/`;
  const begin = async (id) => {
    const event = newEvent();
    await ask(id, 'exec', ['', `${child} await ${event} out 1`]);
    return `${child} set ${event}`;
  };
  await t.test('another page that uses the same request ids', async () => {
    const before = await holdings(host);
    const end = await begin('r1');
    const endOfScript = await begin(kScriptId);
    await page.visit(other127);
    await ask('r1', 'exec', ['', `${child} out 2`]);
    await page.waitFor('replies.length === 1');
    await ask('ended', 'exec', ['', `${end} & ${endOfScript}`]);
    await page.waitFor('replies.length === 2');
    await commandsEnded(before);
    const replies = await page.evaluate('replies.map(([id, ok, value]) => [id, ok, value.stdout])');
    assert.deepEqual(replies, [['r1', 1, 'xx'], ['ended', 1, '']]);
    assert.deepEqual(await repliesSoFar(), ['r1', 'ended']);
    assert.equal(await page.evaluate('window.injected'), undefined);
  });
  await t.test('a foreign page', async () => {
    await page.visit(`${server.url}/`);
    const before = await holdings(host);
    const end = await begin('r1');
    await page.evaluate((command, url) => {
      chrome.webview.postMessage({ __reqId: 'end', name: 'exec', args: ['', command] });
      location.href = url;
    }, end, foreign('/'));
    await page.loaded(foreign('/'));
    await commandsEnded(before);
    assert.deepEqual(await repliesOfForeignPage(), []);
  });
  await t.test('the first origin again', async () => {
    await page.visit(`${server.url}/`);
    const end = await begin('back');
    await page.visit(other127);
    await page.visit(`${server.url}/`);
    await ask('end', 'exec', ['', end]);
    await page.waitFor('replies.length === 2');
    assert.deepEqual((await page.evaluate('replies.map(([id]) => id)')).sort(), ['back', 'end']);
  });
});

test('a blob document gets its replies, as it has the origin of its page', async () => {
  await page.evaluate((text) => {
    location.href = URL.createObjectURL(new Blob([text], { type: 'text/html' }));
  }, kPage.replace(/new EventSource.*/, '')); // a relative address leads nowhere in a blob document
  await page.loaded(`blob:${server.url}/`);
  const id = await ask();
  await page.waitFor('replies.length === 1');
  assert.deepEqual(await page.evaluate('replies.map(([id]) => id)'), [id]);
});

test('the event of a changed configuration goes to any trusted page, and to no other', async () => {
  let changes = 0;
  const change = async () => {
    const from = host.log.length;
    await writeConfig(host.profile, { changes: (changes += 1) });
    await host.waitForLine('[MCP] config.json changed on disk - reloading servers', { from });
    await host.waitForLine('[MCP] no mcpServers configured', { from });
  };
  giveOrder = undefined;
  await page.visit(`http://127.0.0.1:${server.port}/`);
  await until('a page that takes orders', () => giveOrder);
  await change();
  await page.waitFor('events === 1');
  const go = await setOut(foreign(''));
  await change();
  go({ status: 204 });
  await page.waitFor('events === 2');
  const goOn = await setOut(foreign(''));
  await change();
  goOn(kPage);
  await page.loaded(foreign('/slow'));
  assert.deepEqual(await repliesOfForeignPage(), []);
  assert.equal(await page.evaluate('events'), 0);
});

test('waiting replies have a limit of memory, and are dropped after ten seconds', async () => {
  const kMiB = 1 << 20;
  const kReplies = 40;
  const file = join(host.profile, 'large.txt');
  await writeFile(file, 'x'.repeat(16 * kMiB));
  await setOut(foreign(''));
  const before = await holdings(host);
  let most = 0;
  for (let i = 0; i < kReplies; ++i) {
    await askMeanwhile(`large${i}`, 'readFile', [windowsPath(file)]);
    most = Math.max(most, (await holdings(host)).bytes - before.bytes);
  }
  // 64 MiB of waiting replies, and the reply that is being made.
  assert.ok(most > 40 * kMiB && most < 110 * kMiB, `${most / kMiB} MiB more`);
  // The first replies wait until their time is over. Memory alone does not show that: the program may
  // have held memory of an earlier test when this one began.
  const askedMs = performance.now();
  const isOver = () => performance.now() - askedMs > 10_000;
  const left = async () => (await holdings(host)).bytes - before.bytes;
  await until('the memory of late replies', async () => isOver() && (await left()) < 8 * kMiB, {
    context: host.context,
  });
  giveOrder('stop()');
  assert.deepEqual(await repliesSoFar(), []);
});
