// Tests that the program ends when its window is closed while the program is busy: in a modal loop
// of Windows, which may swallow the quit message, or with many log lines.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { endAlone, startLonelyHost } from './support/lonely_host.mjs';
import { endlessly, mcpChild, says } from './support/mcp_children.mjs';
import { startServer } from './support/server.mjs';
import { kPatienceMs, until } from './support/waiting.mjs';

const kLimitMs = 2_000;
const kFlood = 30_000; // bad messages; the host logs each of them
const WM_SYSCOMMAND = 0x112;
const SC_MOVE = 0xf010;
const SC_SIZE = 0xf000;

let server;
before(async () => {
  server = await startServer({ '/': '<!doctype html><title>closing</title>' });
});
after(() => server?.close());

const isInModalLoop = (host) => async () => (await host.probe('modal')).modal;

const cases = {
  'while its title bar is dragged': async (host) => {
    const { rect: [left, top] } = await host.window();
    const screen = await host.screen();
    await screen.press(left + 200, top + 12);
    await screen.moveMouse(left + 240, top + 40);
    await until('the drag', async () => (await host.window()).rect[0] !== left);
  },
  'while the system menu moves it': async (host) => {
    await host.probe('post', 'window', WM_SYSCOMMAND, SC_MOVE, 0);
    await until('the moving', isInModalLoop(host));
  },
  'while the system menu sizes it': async (host) => {
    await host.probe('post', 'window', WM_SYSCOMMAND, SC_SIZE, 0);
    await until('the sizing', isInModalLoop(host));
  },
  'while a folder is being picked': async (host) => {
    for (const title of ['first', 'second']) {
      await host.page.post({ __reqId: title, name: 'pickDirectory', args: [title] });
    }
    await until('the dialog', async () =>
      (await host.probe('windows')).windows.some(({ text }) => text === 'first'));
  },
  'while its page floods it': async (host) => {
    await host.page.evaluate((count) => {
      for (let i = 0; i < count; i += 1) chrome.webview.postMessage({ bad: i });
    }, kFlood);
    await host.waitForLine('[JS->Native]');
  },
  'after its page has flooded it': async (host) => {
    await host.page.evaluate((count) => {
      for (let i = 0; i < count; i += 1) chrome.webview.postMessage({ bad: i });
    }, kFlood);
    const isLogged = () => host.log.length > kFlood;
    await until('the flood in the log', isLogged, { timeoutMs: kPatienceMs });
  },
  'while a server floods the log': async (host) => {
    await until('the flood in the log', () => host.log.length > 1_000);
  },
};

const kFloodingServer = mcpChild('answer', ...endlessly(...says('x', 50)));
const configs = { 'while a server floods the log': { mcpServers: { a: kFloodingServer } } };

for (const [when, begin] of Object.entries(cases)) {
  test(`the program ends when its window is closed ${when}`, async () => {
    const host = await startLonelyHost({ address: server.url, config: configs[when] });
    try {
      await begin(host);
      const { ms, code } = await endAlone(host, 'close');
      assert.equal(code, 0);
      assert.ok(ms < kLimitMs, `${ms} ms`);
    } finally {
      await host.kill();
    }
  });
}
