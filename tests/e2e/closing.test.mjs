// The window is closed while a modal loop of the system runs, which may swallow the quit message.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kLimitMs = 2_000;
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
};

for (const [when, begin] of Object.entries(cases)) {
  test(`the window is closed ${when}: the program ends`, async () => {
    const host = await startHost({ address: server.url });
    await begin(host);
    const { ms, code } = await host.probe('close', kLimitMs * 5);
    assert.equal(code, 0);
    assert.equal(await host.ended(), 0);
    assert.ok(ms < kLimitMs, `${ms} ms`);
  });
}
