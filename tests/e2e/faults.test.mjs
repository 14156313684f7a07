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
  const panel = await host.panel();
  assert.equal(panel.visible, true);
  assert.equal(panel.text, host.log.map((line) => `${line}\r\n`).join(''));
  assert.equal(await host.close(), 0);
});

test('a server that nobody runs leaves the window usable', async () => {
  const server = await startServer();
  const address = server.url;
  await server.close();
  const host = await startHost({ address, page: false });
  await host.window();
  await host.keys('ctrl+l');
  await host.waitForLine('[Log] log panel shown (Ctrl+L)');
  assert.equal(await host.close(), 0);
});
