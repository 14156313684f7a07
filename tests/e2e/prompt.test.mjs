// Tests the first-run prompt for the server with real keys and a real mouse.
import assert from 'node:assert/strict';
import { existsSync } from 'node:fs';
import { appendFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { configFile, makeProfile, removeProfile, startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kPrompt = 'WendraServerPrompt';
const kFieldId = 200;
const kAcceptId = 201;
const kCancelId = 202;
const kCancelled = '[Server] no server chosen — startup cancelled';
const kEnglish = [
  'Connect to Wendra', 'Enter the address of your Wendra instance.', 'Instance address',
  'demo.on.wendra.example', 'The address must end with wendra.example or be localhost.',
  'Continue', 'Cancel',
];
const kGerman = [
  'Mit Wendra verbinden', 'Gib die Adresse deiner Wendra-Instanz ein.', 'Instanz-Adresse',
  'demo.on.wendra.example', 'Die Adresse muss auf wendra.example enden oder localhost sein.',
  'Weiter', 'Abbrechen',
];

const withoutBrowser = { WENDRA_DEV_NO_RUNTIME: '1' };
let server;
before(async () => {
  server = await startServer({ '/': '<!doctype html><title>chosen</title>' });
});
after(() => server?.close());

// Starts a host that shows the prompt; gives functions that look at the prompt and use it.
async function ask(wanted = {}) {
  const host = await startHost({ env: withoutBrowser, ...wanted });
  await host.window(kPrompt);
  const controls = async () => (await host.probe('controls', kPrompt)).controls;
  const control = async (id) => (await controls()).find((one) => one.id === id);
  const focused = (id) => until(`focus on ${id}`, async () => (await control(id)).focused, {
    context: host.context,
  });
  await focused(kFieldId);
  return {
    host,
    controls,
    control,
    focused,
    errorLine: async () => (await controls())[4],
    // Replaces the text of the field.
    type: async (text) => {
      await host.keys('ctrl+a');
      await host.type(text);
      await until(text, async () => (await control(kFieldId)).text === text, {
        context: host.context,
      });
    },
    clickControl: async (id) => {
      const [left, top, right, bottom] = (await control(id)).rect;
      await (await host.screen()).click((left + right) / 2, (top + bottom) / 2);
    },
    colorAt: async (x, y) => (await host.screen()).colorAt(x, y),
  };
}

const noHostWindow = (host) => assert.rejects(host.probe('window'), /no window/);

test("the prompt has the user's language, is in front and has the keyboard", async (t) => {
  for (const [lang, texts] of [['en', kEnglish], ['de', kGerman]]) {
    await t.test(lang, async () => {
      const { host, controls, control, errorLine } = await ask({ lang });
      const window = await host.window(kPrompt);
      assert.equal(window.text, 'Wendra');
      assert.equal(window.foreground, true);
      assert.equal(window.rect[2] - window.rect[0], 480);
      assert.deepEqual((await controls()).map(({ text }) => text), texts);
      assert.equal((await errorLine()).visible, false);
      assert.deepEqual((await controls()).map(({ id }) => id).slice(3), [
        kFieldId, 0, kAcceptId, kCancelId,
      ]);
      const [left, top, right, bottom] = (await control(kAcceptId)).rect;
      assert.deepEqual([right - left, bottom - top], [110, 32]);
      await noHostWindow(host);
      await host.keys('Escape');
      assert.equal(await host.ended(), 0);
    });
  }
});

test('an accepted address is saved and shown, and the next start does not ask', async (t) => {
  const accept = {
    Enter: ({ host }) => host.keys('Return'),
    'the button': ({ clickControl }) => clickControl(kAcceptId),
    'the button, by keyboard': async ({ host, focused }) => {
      await host.keys('Tab');
      await focused(kAcceptId);
      await host.keys('space');
    },
  };
  for (const [name, press] of Object.entries(accept)) {
    await t.test(name, async () => {
      const profile = await makeProfile();
      const prompt = await ask({ profile });
      await prompt.type(`${server.url}/`);
      await press(prompt);
      await prompt.host.window();
      await prompt.host.waitForLine('(chosen in the first-run prompt)');
      assert.deepEqual(prompt.host.log.slice(0, 2), [
        '[Server] saved "server" to C:\\users\\wendra\\.config\\wendra\\config.json',
        `[Server] loading ${server.url} (chosen in the first-run prompt)`,
      ]);
      assert.equal(await prompt.host.config(), `${JSON.stringify({ server: server.url })}\r\n`);
      assert.equal(await prompt.host.close(), 0);

      const again = await startHost({ profile, env: withoutBrowser });
      await again.window();
      await again.waitForLine('[Server] loading ');
      assert.match(again.log[0], /\(from "server" in /);
      assert.equal(await again.close(), 0);
      await removeProfile(profile);
    });
  }
});

test('a cancelled prompt ends the program and saves nothing', async (t) => {
  const cancel = {
    Escape: ({ host }) => host.keys('Escape'),
    // The display ends with the host, perhaps before the click has returned.
    'the button': ({ clickControl }) => clickControl(kCancelId).catch(() => {}),
    'Alt+F4': ({ host }) => host.keys('alt+F4'),
  };
  for (const [name, press] of Object.entries(cancel)) {
    await t.test(name, async () => {
      const profile = await makeProfile();
      const prompt = await ask({ profile });
      await prompt.type('demo');
      await press(prompt);
      assert.equal(await prompt.host.ended(), 0);
      assert.deepEqual(prompt.host.log, [kCancelled]);
      assert.equal(existsSync(configFile(profile)), false);
      await removeProfile(profile);
    });
  }
});

test('a rejected address shows the error line and can be corrected', async () => {
  const prompt = await ask({ config: { server: 'https://evil.test', kept: [1.5] } });
  const { host, errorLine, control, focused, colorAt } = prompt;
  const [frameLeft, fieldTop, , fieldBottom] = (await control(kFieldId)).rect;
  const frameColor = () => colorAt(frameLeft - 3, (fieldTop + fieldBottom) / 2);
  const settled = (color) => until(`a frame in ${color}`, async () => (await frameColor()) === color);
  await settled('#0067C0');
  const places = async () => (await prompt.controls()).map(({ rect }) => rect);
  const before = await places();
  for (const address of [
    'evil.test', 'https://localhost@evil.test', 'notwendra.example', 'ftp://localhost', 'http://',
    'localhost.', ' ', 'a b.test',
  ]) {
    await prompt.type(address);
    await host.keys('Return');
    await until('the error line', async () => (await errorLine()).visible);
    await focused(kFieldId);
    assert.deepEqual(await places(), before, address);
  }
  await settled('#C42B1C');
  await noHostWindow(host);
  await prompt.type('  demo  ');
  await host.keys('Return');
  await host.window();
  const url = 'https://demo.on.wendra.example';
  assert.equal(await host.config(), `${JSON.stringify({ kept: [1.5], server: url })}\r\n`);
  assert.equal(await host.close(), 0);
});

test('Tab goes from the field to both buttons and back', async () => {
  const { host, focused } = await ask();
  for (const id of [kAcceptId, kCancelId, kFieldId]) {
    await host.keys('Tab');
    await focused(id);
  }
  await host.keys('shift+Tab');
  await focused(kCancelId);
  await host.keys('space');
  assert.equal(await host.ended(), 0);
});

test('each rejection by the button gives the keyboard back to the field', async (t) => {
  const { host, type, focused, errorLine } = await ask();
  for (const address of ['evil.test', 'ftp://localhost', 'https://', '127.0.0.2', '  ']) {
    await t.test(`"${address}"`, async () => {
      await type(address);
      await host.keys('Tab');
      await focused(kAcceptId);
      await host.keys('space');
      await focused(kFieldId);
      assert.equal((await errorLine()).visible, true);
    });
  }
  await host.keys('Escape');
  assert.equal(await host.ended(), 0);
});

test('the control with the keyboard gets it back when the window is activated again', async () => {
  const { host, control, focused } = await ask();
  const [left, top] = (await host.window(kPrompt)).rect;
  for (const id of [kFieldId, kAcceptId]) {
    await focused(id);
    assert.deepEqual(await host.probe('away'), { foreground: true });
    await until('the keyboard elsewhere', async () => !(await control(id)).focused);
    await (await host.screen()).click(left + 5, top + 5); // a place without a control
    await focused(id);
    await host.keys('Tab');
  }
  await host.keys('Escape');
  assert.equal(await host.ended(), 0);
});

test('the cancel button has another colour under the mouse', async () => {
  const { host, control, colorAt } = await ask();
  const screen = await host.screen();
  const [left, top, right, bottom] = (await control(kCancelId)).rect;
  const fill = () => colorAt(left + 8, bottom - 8);
  const settled = (color) => until(`a button in ${color}`, async () => (await fill()) === color);
  await settled('#FBFBFB');
  await screen.moveMouse((left + right) / 2, (top + bottom) / 2);
  await settled('#F5F5F5');
  await screen.moveMouse(left - 60, top);
  await settled('#FBFBFB');
  await host.keys('Escape');
  assert.equal(await host.ended(), 0);
});

test("the prompt has the user's accent colour and DPI", async (t) => {
  const accent = (bytes) => `[Software\\\\Microsoft\\\\Windows\\\\DWM]\n"AccentColor"=${bytes}\n`;
  const dpi = (value) => `[Control Panel\\\\Desktop]\n"LogPixels"=dword:${value.toString(16).padStart(8, '0')}\n`;
  const cases = [
    ['an accent colour', accent('dword:ff2040e0'), '#E04020', 96],
    ['an accent colour of the wrong size', accent('hex:11,22,33'), '#0067C0', 96],
    ['144 DPI', dpi(144), '#0067C0', 144],
    ['192 DPI', dpi(192), '#0067C0', 192],
  ];
  for (const [name, registry, color, atDpi] of cases) {
    await t.test(name, async () => {
      const profile = await makeProfile();
      const first = await ask({ profile }); // makes the profile
      await first.host.keys('Escape');
      assert.equal(await first.host.ended(), 0);
      await appendFile(join(profile, '.wine/user.reg'), `\n${registry}`);

      const { host, control, colorAt } = await ask({ profile });
      const [left, top, right] = (await control(kAcceptId)).rect;
      assert.equal(right - left, (110 * atDpi) / 96);
      const inside = (8 * atDpi) / 96;
      await until(`a button in ${color}`, async () => (await colorAt(left + inside, top + inside)) === color);
      const window = await host.window(kPrompt);
      assert.equal(window.rect[2] - window.rect[0], (480 * atDpi) / 96);
      await host.keys('Escape');
      assert.equal(await host.ended(), 0);
      await removeProfile(profile);
    });
  }
});

test('a pasted text loses the whitespace around it and all lines after the first', async () => {
  const { host, control } = await ask();
  await host.probe('clipboard', JSON.stringify('  demo \t\r\nsecond line'));
  await host.keys('ctrl+v');
  await until('the pasted text', async () => (await control(kFieldId)).text.startsWith('  demo'), {
    context: () => host.context(),
  });
  await host.keys('Return');
  await host.window();
  const loading = '[Server] loading https://demo.on.wendra.example (chosen in the first-run prompt)';
  assert.equal(await host.waitForLine(loading), loading);
  assert.equal(await host.close(), 0);
});

test('the field takes 2,048 characters', async () => {
  const { host, control } = await ask();
  await host.keys('ctrl+a');
  await host.type('x'.repeat(2_060));
  await until('a full field', async () => (await control(kFieldId)).text === 'x'.repeat(2_048));
  await host.keys('Escape');
  assert.equal(await host.ended(), 0);
});
