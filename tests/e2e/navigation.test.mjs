// Tests which addresses stay in the window, which go to the default browser, and which pages'
// messages the host takes.
import assert from 'node:assert/strict';
import { after, before, beforeEach, test } from 'node:test';
import { startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';

let server;
let other; // another port of the same host; also the foreign hosts, as *.test is this machine too
let host;
let page;

const link = (id, href, more = '') => `<p><a id="${id}" href="${href}" ${more}>${id}</a></p>`;

before(async () => {
  other = await startServer({
    '/': '<!doctype html><title>other</title><p>other',
    '/talks': `<!doctype html><title>talks</title><script>
      window.replies = [];
      window.__wendra = { __resolve: (...reply) => replies.push(reply) };
      chrome.webview.postMessage({ __reqId: 'foreign', name: 'platform' });
    </script>`,
    // Makes a document of its own whose address ends like an address of this machine.
    '/disguised': {
      headers: { 'Content-Security-Policy': 'sandbox allow-scripts' },
      body: `<!doctype html><script>
        const page = "<script>chrome.webview.postMessage({ __reqId: 'disguised', name: 'platform' });" +
          "chrome.webview.postMessage('end')</" + "script>";
        const blob = URL.createObjectURL(new Blob([page], { type: 'text/html' }));
        location.href = blob + '#://localhost/';
      </script>`,
    },
    '/harvests': `<!doctype html><title>harvests</title><script>
      window.harvest = [];
      window.__wendra = { __resolve: (...reply) => harvest.push(reply) };
    </script>`,
    '/nothing': { status: 204 },
  });
  const foreign = `http://foreign.test:${other.port}`;
  server = await startServer({
    '/': `<!doctype html><title>start</title>
      ${link('foreign', `${foreign}/clicked`)}
      ${link('port', `http://localhost:${other.port}/`)}
      ${link('case', `http://LOCALHOST:${other.port}/`)}
      ${link('inside', '/second')}
      ${link('blank', `${foreign}/blank`, 'target="_blank"')}
      ${link('blank-inside', '/second', 'target="_blank"')}
      ${link('redirect', '/redirect')}
      ${link('fragment', '#there')}
      ${link('mail', 'mailto:somebody@foreign.test')}
      ${link('lookalike', `http://localhost.test:${other.port}/`)}
      <form action="${foreign}/form"><button id="form">form</button></form>
      <button id="open" onclick="window.open('${foreign}/opened')">open</button>
      <button id="script" onclick="location.href = '${foreign}/scripted'">script</button>`,
    '/second': '<!doctype html><title>second</title>',
    '/redirect': { status: 302, headers: { Location: `${foreign}/talks` } },
  });
  host = await startHost({ address: server.url });
  page = host.page;
});

after(async () => {
  assert.equal(await host?.close(), 0);
  await server?.close();
  await other?.close();
});

beforeEach(async () => {
  await page.visit(`${server.url}/`);
});

const foreign = (path) => `http://foreign.test:${other.port}${path}`;
const openedLine = (address) => `[External] opening in browser: ${address}`;

// Clicks, and checks that `address` is opened outside and that the page stays.
async function clickOpensOutside(selector, address, options) {
  const from = host.log.length;
  await host.clickElement(selector, options);
  assert.equal(await host.waitForLine(openedLine(address), { from }), openedLine(address));
  await host.waitForOpenedInBrowser(address);
  assert.equal(await page.evaluate('location.href'), `${server.url}/`);
  assert.equal(await page.evaluate('document.title'), 'start');
}

async function clickStaysInside(selector, address, title) {
  const from = host.log.length;
  await host.clickElement(selector);
  await page.loaded(address);
  await page.waitFor(`document.title === '${title}'`);
  assert.deepEqual((await host.loggedSince(from)).filter((line) => line.includes('[External]')), []);
}

test('a clicked link to a foreign host opens outside, and the window requests nothing', async () => {
  await clickOpensOutside('#foreign', foreign('/clicked'));
  assert.deepEqual(other.requests.filter(({ url }) => url === '/clicked'), []);
});

test('a clicked form and a clicked script that lead to a foreign host open outside', async () => {
  await clickOpensOutside('#form', foreign('/form?'));
  await clickOpensOutside('#script', foreign('/scripted'));
});

test('a clicked link to a host with a similar name opens outside', async () => {
  await clickOpensOutside('#lookalike', `http://localhost.test:${other.port}/`);
});

test('a clicked link to the same host stays inside, with any port and letter case', async () => {
  await clickStaysInside('#inside', '/second', 'second');
  await page.evaluate('history.back()');
  await page.loaded(`${server.url}/`);
  await clickStaysInside('#port', `http://localhost:${other.port}/`, 'other');
  await page.evaluate('history.back()');
  await page.loaded(`${server.url}/`);
  await clickStaysInside('#case', `http://localhost:${other.port}/`, 'other');
});

test('a clicked fragment stays in its document', async () => {
  await page.evaluate('window.isSame = true');
  await host.clickElement('#fragment');
  await page.waitFor('location.hash === "#there"');
  assert.equal(await page.evaluate('window.isSame'), true);
});

test('a script without a click loads a foreign host inside', async () => {
  const from = host.log.length;
  await page.evaluate((url) => void (location.href = url), foreign('/'));
  await page.loaded(foreign('/'));
  await page.visit(`${server.url}/`);
  assert.deepEqual((await host.loggedSince(from)).filter((line) => line.includes('[External]')), []);
});

test('new windows open outside, with any host', async () => {
  await clickOpensOutside('#blank', foreign('/blank'));
  await clickOpensOutside('#blank-inside', `${server.url}/second`);
  await clickOpensOutside('#open', foreign('/opened'));
  await clickOpensOutside('#inside', `${server.url}/second`, { keys: ['ctrl'] });
});

test('a redirect loads a foreign host inside, and its messages are ignored', async () => {
  const from = host.log.length;
  await page.evaluate('void (location.href = "/redirect")');
  await page.loaded(foreign('/talks'));
  const ignored = '[JS->Native] ignoring message from foreign.test';
  assert.equal(await host.waitForLine(ignored, { from }), ignored);
  assert.deepEqual(await page.evaluate('replies'), []);
  assert.deepEqual(host.log.slice(from).filter((line) => line.includes("action '")), []);
  assert.equal(await page.evaluate('JSON.stringify(window.__wendraHost)'), '{"platform":"windows","topInset":0}');
});

test('messages of another server on this machine are taken, since its host is allowed', async () => {
  const from = host.log.length;
  await page.evaluate((url) => void (location.href = url), `http://127.0.0.1:${other.port}/talks`);
  await host.waitForLine("[JS->Native] action 'platform' (req foreign)", { from });
  await page.waitFor('replies.length === 1');
});

test('messages of a foreign page with a disguised address are ignored', async () => {
  const from = host.log.length;
  await page.evaluate((url) => void (location.href = url), foreign('/disguised'));
  await host.waitForLine('[JS->Native] ignoring message from', { from });
  await host.waitForLine('[JS->Native] ignoring message from', { from: host.log.length - 1 });
  assert.deepEqual(host.log.slice(from).filter((line) => line.includes('action')), []);
});

// Posts requests and navigates in one turn of the page, so that the replies come during the
// navigation.
async function askAndLeave(count, address) {
  await page.evaluate((wanted, url) => {
    window.__wendra = { __resolve: (...reply) => (window.replies ??= []).push(reply) };
    for (let i = 0; i < wanted; ++i) chrome.webview.postMessage({ __reqId: `left${i}`, name: 'platform' });
    location.href = url;
  }, count, address);
}

test('replies that come too late do not reach a foreign page', async () => {
  const from = host.log.length;
  await askAndLeave(2000, foreign('/harvests'));
  await page.loaded(foreign('/harvests'));
  await host.waitForLine('(req left1999)', { from, timeoutMs: 60_000 });
  // A reply that the host let through would have arrived before this evaluation.
  assert.deepEqual(await page.evaluate('harvest'), []);
});

test('after a foreign address that gives no page, the old page gets its replies', async (t) => {
  const leave = {
    'an answer without content': () => askAndLeave(3, foreign('/nothing')),
    'an address for another program': async () => {
      await page.evaluate(`window.__wendra = { __resolve: (...reply) => (window.replies ??= []).push(reply) }`);
      await host.clickElement('#mail');
      await page.evaluate(`for (const i of [0, 1, 2]) chrome.webview.postMessage({ __reqId: 'left' + i, name: 'platform' })`);
    },
  };
  for (const [name, action] of Object.entries(leave)) {
    await t.test(name, async () => {
      await page.evaluate('window.replies = []');
      await action();
      await page.waitFor('replies.length === 3');
      assert.equal(await page.evaluate('document.title'), 'start');
    });
  }
});
