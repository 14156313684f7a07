// Tests the main window with real keys and a real mouse: shortcuts, log panel, sizes.
import assert from 'node:assert/strict';
import { appendFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { makeProfile, removeProfile, startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

let server;
let host;

before(async () => {
  server = await startServer({ '/': '<!doctype html><title>page</title><input id="field" autofocus><input id="last">' });
  host = await startHost({ address: server.url });
});

after(async () => {
  assert.equal(await host?.close(), 0);
  await server?.close();
});

const sizeOf = ([left, top, right, bottom]) => [right - left, bottom - top];
const shownLog = () => host.log.map((line) => `${line}\r\n`).join('');

// Checks that the panel fills the lowest `panelHeight` pixels of the client area, the page the
// rest.
async function checkLayout({ client }, panelHeight) {
  const [width, height] = sizeOf(client);
  await host.page.waitFor(`innerWidth === ${width} && innerHeight === ${height - panelHeight}`);
  const [left, , right, bottom] = client;
  assert.deepEqual((await host.panel()).rect, [left, bottom - panelHeight, right, bottom]);
}

test('the window has its class, title and size, and the page fills it', async () => {
  const window = await host.window();
  assert.equal(window.text, 'Wendra');
  assert.deepEqual(sizeOf(window.rect), [1260, 900]);
  await checkLayout(window, 0);
});

test('Ctrl+L shows the whole log in 200 pixels at the bottom, and hides it again', async () => {
  const window = await host.window();
  assert.equal((await host.panel()).visible, false);

  await host.keys('ctrl+l');
  await host.waitForLine('[Log] log panel shown (Ctrl+L)');
  await checkLayout(window, 200);
  assert.equal((await host.panel()).visible, true);
  assert.equal((await host.panel()).text, shownLog());

  await host.keys('ctrl+l');
  await host.waitForLine('[Log] log panel hidden (Ctrl+L)');
  await checkLayout(window, 0);
  assert.equal((await host.panel()).visible, false);
  assert.equal((await host.panel()).text, shownLog());
});

test('Ctrl+R reloads the page', async () => {
  await host.page.evaluate('window.isOld = true');
  const asked = server.requests.filter(({ url }) => url === '/').length;
  await host.keys('ctrl+r');
  await host.page.waitFor('!window.isOld && document.title === "page"');
  await host.page.loaded();
  assert.equal(server.requests.filter(({ url }) => url === '/').length, asked + 1);
});

test('page and panel change their size with the window', async () => {
  const from = host.log.length;
  await host.keys('ctrl+l');
  await host.waitForLine('[Log] log panel shown (Ctrl+L)', { from });
  for (const [width, height] of [[1000, 700], [1300, 950], [800, 600]]) {
    await host.probe('move', 0, 0, width, height);
    await checkLayout(await host.window(), 200);
  }
  await host.keys('ctrl+l');
  await checkLayout(await host.window(), 0);
});

test('the window cannot be made smaller than 720 by 480', async () => {
  const { rect: [left, top, right, bottom] } = await host.window();
  const screen = await host.screen();
  await screen.drag([right - 2, bottom - 2], [left + 100, top + 100]);
  await until('the smallest window', async () => {
    const [width, height] = sizeOf((await host.window()).rect);
    return width === 720 && height === 480;
  }, { context: host.context });
});

test('Tab goes round in the page, even while the panel is shown', async () => {
  const from = host.log.length;
  await host.keys('ctrl+l');
  await host.waitForLine('[Log] log panel shown (Ctrl+L)', { from });
  await host.clickElement('#field');
  for (const [key, id] of [['Tab', 'last'], ['Tab', 'field'], ['shift+Tab', 'last'], ['shift+Tab', 'field']]) {
    await host.keys(key);
    await host.page.waitFor(`document.activeElement.id === '${id}' && document.hasFocus()`);
  }
});

test('the window ignores shortcuts while the page has the keyboard', async () => {
  await host.clickElement('#field');
  await host.page.waitFor('document.activeElement.id === "field"');
  const from = host.log.length;
  await host.type('grün');
  await host.keys('ctrl+l');
  await host.type('!');
  await host.page.waitFor('document.querySelector("#field").value.endsWith("!")');
  assert.equal(await host.page.evaluate('document.querySelector("#field").value'), 'grün!');
  assert.deepEqual(await host.loggedSince(from), []);
});

test('the smallest size depends on the DPI, the first size does not', async (t) => {
  const kShown = { 144: [1080, 720], 192: undefined }; // the smallest at 192 is larger than the screen
  for (const [dpi, smallest] of Object.entries(kShown)) {
    await t.test(`${dpi} DPI`, async () => {
      const profile = await makeProfile();
      const withoutBrowser = { args: ['localhost'], profile, env: { WENDRA_DEV_NO_RUNTIME: '1' } };
      const first = await startHost(withoutBrowser); // makes the profile
      await first.window();
      assert.equal(await first.close(), 0);
      await appendFile(join(profile, '.wine/user.reg'),
        `\n[Control Panel\\\\Desktop]\n"LogPixels"=dword:${Number(dpi).toString(16).padStart(8, '0')}\n`);
      const scaled = await startHost(withoutBrowser);
      const { rect, dpi: seen } = await scaled.window();
      assert.equal(seen, Number(dpi));
      assert.deepEqual(sizeOf(rect), [1260, 900]);
      if (smallest) {
        const [left, top, right, bottom] = rect;
        const screen = await scaled.screen();
        await screen.drag([right - 2, bottom - 2], [left + 100, top + 100]);
        await until('the smallest window', async () => {
          const [width, height] = sizeOf((await scaled.window()).rect);
          return width === smallest[0] && height === smallest[1];
        }, { context: scaled.context });
      }
      assert.equal(await scaled.close(), 0);
      await removeProfile(profile);
    });
  }
});
