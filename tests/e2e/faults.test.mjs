// What the host does when something around it is broken.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';

test('a number beyond the range of a double in a message ends the host abnormally', async () => {
  const server = await startServer({ '/': '<!doctype html><title>start</title>' });
  const host = await startHost({ address: server.url });
  const from = host.log.length;
  // No number of script is that large, but a literal can be.
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
  await host.feedChecked(); // nothing more comes by itself
  const panel = await host.panel();
  assert.equal(panel.visible, true);
  assert.equal(panel.text, host.log.map((line) => `${line}\r\n`).join(''));
  assert.equal(await host.close(), 0);
});

test('a server that nobody runs leaves the window usable', async () => {
  const server = await startServer();
  const address = server.url;
  await server.close();
  // With the browser's error page: a Ctrl that is held while the page's window opens is lost.
  const host = await startHost({ address });
  await host.window();
  await host.keys('ctrl+l');
  await host.waitForLine('[Log] log panel shown (Ctrl+L)');
  assert.equal(await host.close(), 0);
});

test('a browser control that cannot be made, or comes in an odd order, does no harm', async (t) => {
  const server = await startServer({ '/': '<!doctype html><title>start</title>' });
  for (const [mode, showsPage] of [['fail', false], ['never', false], ['controller-fail', false], ['no-view', false], ['sync', true]]) {
    await t.test(mode, async () => {
      const host = await startHost({
        address: server.url,
        env: { WENDRA_DEV_CREATE: mode },
        page: showsPage,
      });
      if (showsPage) assert.equal(await host.page.evaluate('document.title'), 'start');
      await host.window();
      await host.keys('ctrl+l');
      await host.waitForLine('[Log] log panel shown (Ctrl+L)');
      assert.equal(await host.close(), 0);
    });
  }
  await server.close();
});

test('a window that is closed while its browser control is being made ends at once', async () => {
  const server = await startServer({ '/': '<!doctype html><title>start</title>' });
  for (let i = 0; i < 5; ++i) {
    const host = await startHost({ address: server.url, page: false });
    await host.waitForLine('[Server] loading');
    assert.equal(await host.close(), 0);
  }
  await server.close();
});
