// Tests many requests for a folder at once: the host shows one dialog at a time, in order.
import assert from 'node:assert/strict';
import { mkdirSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { startHost } from './support/host.mjs';
import { windowsPath } from './support/machine.mjs';
import { startServer } from './support/server.mjs';
import { inTime, until } from './support/waiting.mjs';

const kRequests = 300;
const kDialogs = 17; // one is shown and 16 wait

let server;
let host;

before(async () => {
  server = await startServer({ '/': '<!doctype html><title>folders</title>' });
  host = await startHost({ address: server.url });
});

after(async () => {
  assert.equal(await host?.close(), 0);
  await server?.close();
});

async function dialogs() {
  const { windows } = await host.probe('windows');
  return windows.map(({ text }) => text).filter((text) => text.startsWith('folder '));
}

// Runs in the page: makes all requests in one turn of its event loop.
function askForFolders(count) {
  const bridge = (window.__wendra ??= {});
  window.answers = [];
  bridge.__resolve = (id, ok, value) => window.answers.push([id, ok, value]);
  for (let i = 0; i < count; i += 1) {
    chrome.webview.postMessage({ __reqId: `${i}`, name: 'pickDirectory', args: [`folder ${i}`] });
  }
}

test('of 300 requests at once 17 get a dialog, one after the other; the others get null', async () => {
  const folder = join(host.profile, 'chosen');
  mkdirSync(folder);
  const answers = () => host.page.evaluate('window.answers');
  await host.page.evaluate(askForFolders, kRequests);
  await host.page.waitFor(`window.answers.length === ${kRequests - kDialogs}`);
  const refused = await answers();
  assert.deepEqual(refused, Array.from({ length: kRequests - kDialogs }, (_, i) =>
    [`${i + kDialogs}`, 1, null]));

  for (let i = 0; i < kDialogs; i += 1) {
    await until(`dialog ${i} alone`, async () => {
      const shown = await dialogs();
      return shown.length === 1 && shown[0] === `folder ${i}`;
    }, { context: host.context });
    if (i === 3) await host.type(windowsPath(folder));
    await host.keys(i === 3 ? 'Return' : 'Escape');
  }
  await host.page.waitFor(`window.answers.length === ${kRequests}`);
  const chosen = (await answers()).slice(refused.length);
  assert.deepEqual(chosen, Array.from({ length: kDialogs }, (_, i) =>
    [`${i}`, 1, i === 3 ? windowsPath(folder) : null]));
  assert.deepEqual(await dialogs(), []);
  await inTime('the page to be answered', host.page.call('platform'));
});
