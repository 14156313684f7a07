// Tests that private messages of the main window without a payload do no harm when another program
// posts them, with any parameters.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { startHost } from './support/host.mjs';
import { kCreateWebView, kOpenInBrowser, kPickDirectory, kUpdateFailed } from './support/messages.mjs';
import { startServer } from './support/server.mjs';

const kMessages = { kCreateWebView, kOpenInBrowser, kPickDirectory, kUpdateFailed };
const kNumbers = [0, 1, -1, 4096, 0x7fff_ffff_ffff];

let server;
let host;

before(async () => {
  server = await startServer({ '/': '<!doctype html><title>page</title>' });
  host = await startHost({ address: server.url });
});

after(async () => {
  assert.equal(await host?.close(), 0);
  await server?.close();
});

const children = async () => (await host.probe('controls', 'WendraHostWnd')).controls.length;
const loads = () => server.requests.filter(({ url }) => url === '/').length;

for (const [name, message] of Object.entries(kMessages)) {
  test(`${name} from another program does nothing`, async () => {
    await host.page.evaluate('window.isOld = true');
    const before = [await children(), loads()];
    for (const wparam of kNumbers) {
      for (const lparam of kNumbers) {
        await host.probe('post', 'window', message, wparam, lparam);
        await host.probe('send', 'window', message, wparam, lparam);
      }
    }
    assert.equal((await host.page.call('platform')).ok, 1); // handled after all of them
    assert.equal(await host.page.evaluate('window.isOld'), true);
    assert.deepEqual([await children(), loads()], before);
    assert.equal((await host.probe('windows')).windows.length, 1);
    assert.deepEqual(await host.openedInBrowser(), []);
  });
}
