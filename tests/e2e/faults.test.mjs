// Tests the host with a broken page, without a browser runtime, and without a server.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';

test('a number beyond the range of a double in a message ends the host abnormally', async () => {
  const server = await startServer({ '/': '<!doctype html><title>start</title>' });
  const host = await startHost({ address: server.url });
  const from = host.log.length;
  // JavaScript has no number of that size; JSON.rawJSON writes the literal into the message.
  await host.page.evaluate(() =>
    chrome.webview.postMessage({ __reqId: 'a', name: 'platform', args: [JSON.rawJSON('1e400')] }));
  assert.notEqual(await host.ended(), 0);
  assert.deepEqual(host.log.slice(from), []);
  await server.close();
});

test('without a browser runtime the window stays empty and the log panel works', async () => {
  const host = await startHost({ args: ['localhost'], env: { WENDRA_DEV_NO_RUNTIME: '1' } });
  await host.window();
  await host.keys('ctrl+r'); // nothing to reload
  await host.keys('ctrl+l');
  await host.waitForLine('[Log] log panel shown (Ctrl+L)');
  await host.feedChecked(); // after this nothing more is logged
  const panel = await host.panel();
  assert.equal(panel.visible, true);
  assert.equal(panel.text, host.log.map((line) => `${line}\r\n`).join(''));
  assert.equal(await host.close(), 0);
});

test('the window works when its server is not running', async () => {
  const server = await startServer();
  const address = server.url;
  await server.close();
  // Waits for the browser's error page: a Ctrl that is held while the page's window opens is lost.
  const host = await startHost({ address });
  await host.window();
  await host.keys('ctrl+l');
  await host.waitForLine('[Log] log panel shown (Ctrl+L)');
  assert.equal(await host.close(), 0);
});

test('the window works when its browser control fails, never comes, or comes at once or twice', async (t) => {
  const server = await startServer({ '/': '<!doctype html><title>start</title>' });
  const showsPages = {
    fail: false, never: false, 'controller-fail': false, 'no-view': false, sync: true, twice: true,
  };
  for (const [mode, showsPage] of Object.entries(showsPages)) {
    await t.test(mode, async () => {
      const host = await startHost({
        address: server.url,
        env: { WENDRA_DEV_CREATE: mode },
        page: showsPage,
      });
      if (showsPage) {
        assert.equal(await host.page.evaluate('document.title'), 'start');
        for (let i = 0; i < 3; ++i) await host.page.call('platform', []);
        assert.equal((await host.page.replies()).length, 3); // one to each request
      }
      await host.window();
      await host.keys('ctrl+l');
      await host.waitForLine('[Log] log panel shown (Ctrl+L)');
      assert.equal(await host.close(), 0);
    });
  }
  await server.close();
});

test('the program ends when its window is closed while the browser control is made', async () => {
  const server = await startServer({ '/': '<!doctype html><title>start</title>' });
  for (let i = 0; i < 5; ++i) {
    const host = await startHost({ address: server.url, page: false });
    await host.waitForLine('[Server] loading');
    assert.equal(await host.close(), 0);
  }
  await server.close();
});
