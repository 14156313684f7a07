// Which documents get replies: those of the origin that asked, whatever the window does meanwhile.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { writeFile } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { after, before, beforeEach, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { profileFiles, windowsPath } from '../../tools/wine/prefix.mjs';
import { holdings } from './support/holdings.mjs';
import { startHost, writeConfig } from './support/host.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const child = `"${windowsPath(join(kRoot, 'build/windows/bin/test_child.exe'))}"`;

// Takes whatever comes, and orders from its server: while a navigation is under way the browser
// holds back what a DevTools session wants of the page.
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

// From the query of a request for /slow to what answers it.
const kWaiting = new Map();
const slow = (request) => new Promise((resolve) => kWaiting.set(request.url, resolve));

let giveOrder; // to the page that came last

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
  // The harder order: a control need not end one navigation before it begins the next.
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

// Lets the page navigate to an address that is not answered until the result is called with the
// answer: from then on a navigation is under way.
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

// Posts a request that is answered at once; resolves when the host has dealt with it.
async function ask(id = `asked${(requests += 1)}`, name = 'platform', args = [], post = page.post.bind(page)) {
  const from = host.log.length;
  await post({ __reqId: id, name, args });
  await host.waitForLine(`(req ${id})`, { from });
  return id;
}

// The same while a navigation is under way.
const askMeanwhile = (id, name, args) =>
  ask(id, name, args, (message) => giveOrder(`chrome.webview.postMessage(${JSON.stringify(message)})`));

// The ids of the replies that the page has got, once everything before has reached it: replies
// come in order.
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

// Event names that no other test uses.
let events = 0;
const newEvent = () => `wendra-reply-${process.pid}-${(events += 1)}`;

const foreign = (path) => `http://foreign.test:${other.port}${path}`;
// As an id it is script of its own, where a page runs it.
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

test('a page that cannot be loaded gets nothing, and the next one works', async () => {
  const closed = await startServer();
  await closed.close();
  const failures = failuresSoFar();
  await page.evaluate((url) => void (location.href = url), closed.url);
  await until('a failure', () => failuresSoFar() > failures, { context: host.context });
  await page.visit(`${server.url}/`);
  assert.deepEqual(await repliesSoFar(), []);
});

test('the end of an older navigation decides nothing', async () => {
  await setOut(foreign(''));
  await askMeanwhile();
  const failures = failuresSoFar();
  const go = await setOut(foreign('')); // takes the place of the other one
  await until('the end of the first', () => failuresSoFar() > failures, { context: host.context });
  await askMeanwhile();
  go(kPage);
  await page.loaded(foreign('/slow'));
  assert.deepEqual(await repliesOfForeignPage(), []);
});

test('what waited for an older navigation runs after the newer one', async () => {
  await setOut(foreign(''));
  const first = await askMeanwhile();
  const go = await setOut(foreign(''));
  const second = await askMeanwhile();
  go({ status: 204 });
  await page.waitFor('replies.length === 2');
  assert.deepEqual(await repliesSoFar(), [first, second]);
});

test('a page that still loads is answered', async () => {
  await page.evaluate('location.href = "/loading"');
  await page.waitFor('window.replies?.length === 1');
  assert.equal(await page.evaluate('document.readyState'), 'interactive');
  await until('the picture', () => kWaiting.has('/slow?picture'));
});

// Waits until no command runs any more: its reply has been dealt with then.
async function commandsEnded(before) {
  await until('the end of all commands', async () => (await holdings(host)).threads <= before.threads, {
    context: host.context,
  });
}

test('a command that outlives its page answers that page\'s origin alone', async (t) => {
  const other127 = `http://127.0.0.1:${server.port}/`;
  const begin = async (id) => {
    const event = newEvent();
    await ask(id, 'exec', ['', `${child} await ${event} out 1`]);
    return `${child} set ${event}`;
  };
  await t.test('another page that numbers its requests alike', async () => {
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
  await t.test('the origin is back', async () => {
    await page.visit(`${server.url}/`);
    const end = await begin('back');
    await page.visit(other127);
    await page.visit(`${server.url}/`);
    await ask('end', 'exec', ['', end]);
    await page.waitFor('replies.length === 2');
    assert.deepEqual((await page.evaluate('replies.map(([id]) => id)')).sort(), ['back', 'end']);
  });
});

test('a document that a page makes itself is of the page\'s origin', async () => {
  await page.evaluate((text) => {
    location.href = URL.createObjectURL(new Blob([text], { type: 'text/html' }));
  }, kPage.replace(/new EventSource.*/, '')); // its server has no address in there
  await page.loaded(`blob:${server.url}/`);
  const id = await ask();
  await page.waitFor('replies.length === 1');
  assert.deepEqual(await page.evaluate('replies.map(([id]) => id)'), [id]);
});

test('the event about the configuration goes to any trusted page, and to no other', async () => {
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

test('what waits is bounded, and dropped after ten seconds', async () => {
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
  // 64 MiB of what waits, and one that is being worked on.
  assert.ok(most > 40 * kMiB && most < 110 * kMiB, `${most / kMiB} MiB more`);
  const left = async () => (await holdings(host)).bytes - before.bytes;
  await until('the memory of late replies', async () => (await left()) < 8 * kMiB, {
    context: host.context,
  });
  giveOrder('stop()');
  assert.deepEqual(await repliesSoFar(), []);
});
