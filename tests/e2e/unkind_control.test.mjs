// Tests what the real control does that is hard on a host. Where its behaviour is not known, both
// settings of the development runtime are tested.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { after, before, test } from 'node:test';
import { profileFiles } from '../../tools/wine/prefix.mjs';
import { makeCertificate, trustFlag } from './support/certificate.mjs';
import { makeProfile, removeProfile, replaceConfig, startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const WM_SYSCOMMAND = 0x112;
const WS_MINIMIZE = 0x20000000;
const SC_MINIMIZE = 0xf020;
const SC_RESTORE = 0xf120;
const kShowLogItem = 0x640;
const kReloadItem = 0x650;
const kCheckForUpdatesItem = 0x660;

let server;
let foreign; // the address of a foreign host, which is this machine too

const certificate = makeCertificate();
let secureServer;

// The pages of a server. `there`: the address of a foreign host, which is the same server.
function pagesOf(there) {
  const to = (address) => ({ status: 302, headers: { Location: address } });
  return {
    '/': '<!doctype html><title>start</title><input id="field">',
    '/guarded': to(`${there}/sign-in`),
    '/chain': to('/chain/2'),
    '/chain/2': to(`${there}/chain/3`),
    '/chain/3': to(`${there}/sign-in`),
    '/sign-in': `<!doctype html><title>sign in</title>
      <button id="windows" onclick="for (const one of ['https://a.test/', 'mailto:a@b.test',
        'HTTP://c.test/', 'ftp://d.test/', 'ms-settings:'])
        window.open(one)">windows</button>`,
    '/links': `<!doctype html><title>links</title>
      <p><a id="chain" href="/chain">chain</a></p>
      <p><a id="foreign" href="${there}/clicked">foreign</a></p>
      <form action="/chain" method="post"><button id="post">post</button></form>
      <button id="script" onclick="location.href = '/chain'">script</button>
      <button id="windows" onclick="for (const one of [1, 2, 3])
        window.open('${there}/' + one)">windows</button>`,
  };
}
const foreignOf = ({ url }) => url.replace('localhost', 'sign-in.test');

before(async () => {
  server = await startServer();
  foreign = foreignOf(server);
  Object.assign(server.routes, pagesOf(foreign));
  secureServer = await startServer({}, { certificate });
  Object.assign(secureServer.routes, pagesOf(foreignOf(secureServer)));
});
after(async () => {
  await server?.close();
  await secureServer?.close();
});

const externalLines = (host) => host.log.filter((line) => line.startsWith('[External]'));

// Both settings of what is not known of the control. Over https the calls are user-initiated, as the
// platform documents.
const kGestures = [
  ['0', '0', 'http'], ['0', '1', 'http'], ['1', '0', 'http'], ['1', '1', 'http'],
  ['0', '1', 'https'], ['1', '1', 'https'],
];
for (const [redirectGesture, apiGesture, scheme] of kGestures) {
  test(`${scheme}: redirects and reloads stay inside, redirects ${redirectGesture} and calls ${apiGesture} user-initiated`, async () => {
    const shown = scheme === 'https' ? secureServer : server;
    const there = foreignOf(shown);
    const host = await startHost({
      address: `${shown.url}/guarded`,
      env: {
        WENDRA_DEV_REDIRECT_GESTURE: redirectGesture,
        WENDRA_DEV_API_USER_INITIATED: apiGesture,
        WENDRA_DEV_BROWSER_FLAGS: trustFlag(certificate),
      },
    });
    const { page } = host;
    await page.loaded(`${there}/sign-in`);
    await page.evaluate('window.isOld = true');
    await host.keys('ctrl+r');
    await page.waitFor('!window.isOld && document.title === "sign in"');
    assert.equal(await page.evaluate('location.href'), `${there}/sign-in`);

    for (const way of ['#chain', '#post', '#script']) {
      await page.visit(`${shown.url}/links`);
      await host.clickElement(way);
      await page.loaded(`${there}/sign-in`);
    }
    await page.visit(`${shown.url}/links`);
    await host.clickElement('#foreign');
    await host.waitForOpenedInBrowser(`${there}/clicked`);
    assert.equal(await page.evaluate('location.href'), `${shown.url}/links`);
    const external = (await host.loggedSince(0)).filter((line) => line.startsWith('[External]'));
    assert.deepEqual(external, [`[External] opening in browser: ${there}/clicked`]);
    assert.equal(await host.close(), 0);
  });
}

test('the first document has the host object, though the script takes effect late', async () => {
  const host = await startHost({ address: server.url, env: { WENDRA_DEV_SCRIPT_ADDED: '1500' } });
  assert.deepEqual(await host.page.evaluate('window.__wendraHost'), { platform: 'windows', topInset: 0 });
  assert.equal(await host.close(), 0);
});

test('the server is shown, though the script never takes effect', async () => {
  const host = await startHost({ address: server.url, env: { WENDRA_DEV_SCRIPT_ADDED: 'never' } });
  assert.equal(await host.page.evaluate('document.title'), 'start');
  assert.equal(await host.close(), 0);
});

// Ways to leave the window and to come back.
const kWays = {
  'another window': [
    async (host) => {
      await host.probe('away');
      const screen = await host.screen();
      await until('the other window', async () => {
        await host.window(); // the program with the other window handles messages only when asked
        return (await screen.focusedWindow()) === 'elsewhere';
      });
    },
    async (host) => {
      const { rect: [left, top] } = await host.window();
      await (await host.screen()).click(left + 200, top + 12); // the title bar
    },
  ],
  minimised: [
    (host) => host.probe('post', 'window', WM_SYSCOMMAND, SC_MINIMIZE, 0),
    (host) => host.probe('post', 'window', WM_SYSCOMMAND, SC_RESTORE, 0),
  ],
};

for (const [way, [leave, comeBack]] of Object.entries(kWays)) {
  test(`the page or the window gets back the keyboard that it had: ${way}`, async () => {
    const host = await startHost({ address: server.url });
    const screen = await host.screen();
    const isInFront = async () => {
      const { foreground, style } = await host.window();
      return foreground && !(style & WS_MINIMIZE) && (await screen.focusedWindow()) === 'Wendra';
    };
    await until('the window in front', isInFront);
    const leaveAndComeBack = async () => {
      await leave(host);
      await until('the window away', async () => !(await isInFront()));
      await comeBack(host);
      await until('the window in front', isInFront);
    };
    // The page has not been clicked yet.
    await leaveAndComeBack();
    await host.keys('ctrl+l');
    await host.waitForLine('[Log] log panel shown (Ctrl+L)');

    const value = (want) => host.page.waitFor(`document.querySelector('#field').value === '${want}'`);
    await host.clickElement('#field');
    await host.type('a');
    await value('a');
    await leaveAndComeBack();
    await host.type('b');
    await value('ab');
    assert.equal(await host.close(), 0);
  });
}

// Waits until a child of the window has the keyboard: the control's window, or the panel.
const untilFocused = (host, className) =>
  until(`the keyboard in ${className}`, async () => {
    const { controls } = await host.probe('controls', 'WendraHostWnd');
    return controls.some((control) => control.class === className && control.focused);
  }, { context: host.context });
const kPageClass = 'WendraDevRuntimePage';
const kPanelClass = 'Edit';

test('the page gets back the keyboard after a dialog of the host', async () => {
  const host = await startHost({ address: server.url });
  const value = (want) => host.page.waitFor(`document.querySelector('#field').value === '${want}'`);
  await host.clickElement('#field');
  await host.type('a');
  await value('a');
  const chosen = host.page.call('pickDirectory', ['a folder']);
  const screen = await host.screen();
  await until('the dialog', async () => (await screen.focusedWindow()) === 'a folder');
  await host.keys('Escape');
  assert.deepEqual(await chosen, { ok: 1, value: null });
  await untilFocused(host, kPageClass);
  await host.type('b');
  await value('ab');
  assert.equal(await host.close(), 0);
});

test('the window has the keyboard when the panel that had it is hidden', async () => {
  const host = await startHost({ address: server.url });
  const toggled = async (state, toggle) => {
    const from = host.log.length;
    await toggle();
    await host.waitForLine(`[Log] log panel ${state} (Ctrl+L)`, { from });
  };
  await host.clickElement('#field');
  await toggled('shown', () => host.probe('post', 'window', WM_SYSCOMMAND, kShowLogItem, 0));
  const { client } = await host.window();
  const { rect } = await host.panel();
  await host.click(rect[0] - client[0] + 50, rect[1] - client[1] + 50);
  await untilFocused(host, kPanelClass);
  await toggled('hidden', () => host.probe('post', 'window', WM_SYSCOMMAND, kShowLogItem, 0));
  await toggled('shown', () => host.keys('ctrl+l'));
  await toggled('hidden', () => host.keys('ctrl+l'));
  await host.clickElement('#field');
  await host.type('c');
  await host.page.waitFor("document.querySelector('#field').value === 'c'");
  assert.equal(await host.close(), 0);
});

test('the window takes the place that Windows suggests on a monitor with another DPI', async () => {
  const host = await startHost({ address: server.url });
  const { rect } = await host.probe('dpi', 144, 40, 30, 1100, 800);
  assert.deepEqual(rect, [40, 30, 1140, 830]);
  const { client: [left, top, right, bottom] } = await host.window();
  await host.page.waitFor(`innerWidth === ${right - left} && innerHeight === ${bottom - top}`);
  assert.equal(await host.close(), 0);
});

test('the control learns that its window has moved', async () => {
  const profile = await makeProfile();
  const host = await startHost({ address: server.url, profile });
  const moves = () =>
    readFileSync(profileFiles(profile).events, 'utf8').split('\n')
      .filter((line) => line.includes('"moved"')).length;
  const before = moves();
  await host.probe('move', 30, 40, 1000, 700);
  await until('the event', () => moves() > before, { context: host.context });
  assert.equal(await host.close(), 0);
  await removeProfile(profile);
});

test('a slow start of the browser, which dispatches messages, holds up nothing and keeps the order', async () => {
  const host = await startHost({
    address: `${server.url}/links`,
    env: { WENDRA_DEV_SHELL_MS: '6000' },
  });
  await host.clickElement('#windows');
  const wanted = [1, 2, 3].map((one) => `${foreign}/${one}`);
  await host.waitForLine(`[External] opening in browser: ${wanted[2]}`);
  // The first start still takes its time: the page and its requests go on meanwhile.
  const { ok } = await host.page.call('platform', [], { timeoutMs: 4000 });
  assert.equal(ok, 1);
  assert.ok((await host.openedInBrowser()).length < 2);
  await host.waitForOpenedInBrowser(wanted[2]);
  assert.deepEqual(await host.openedInBrowser(), wanted);
  assert.equal(await host.close(), 0);
});

test('a page that is not trusted can have only web and mail addresses opened', async () => {
  const host = await startHost({ address: `${server.url}/guarded` });
  await host.page.loaded(`${foreign}/sign-in`);
  await host.clickElement('#windows');
  await host.waitForLine('[External] not opening: ms-settings:');
  assert.deepEqual(externalLines(host), [
    '[External] opening in browser: https://a.test/',
    '[External] opening in browser: mailto:a@b.test',
    '[External] opening in browser: http://c.test/',
    '[External] not opening: ftp://d.test/',
    '[External] not opening: ms-settings:',
  ]);
  assert.equal(await host.close(), 0);
});

// tools/launch posts WM_CLOSE again and again until the host has ended.
test('messages that the control dispatches while it closes start no servers and destroy nothing twice', async () => {
  const profile = await makeProfile();
  const host = await startHost({ address: server.url, profile, env: { WENDRA_DEV_CLOSE_MS: '3000' } });
  host.signal('SIGTERM');
  const events = () => readFileSync(profileFiles(profile).events, 'utf8');
  await until('the end of the control to begin', () => events().includes('"closing"'));
  const from = host.log.length;
  await replaceConfig(profile, { mcpServers: { late: { command: 'cmd.exe' } } });
  assert.equal(await host.ended(), 0);
  assert.deepEqual(host.log.slice(from), []);
  assert.equal(events().split('\n').filter((line) => line.includes('"closing"')).length, 1);
  assert.match(events(), /"closed","hasParent":true/);
  await removeProfile(profile);
});

// The documented error codes, and where the control reports them.
const kErrors = {
  refuse: {
    '80070002': 'no runtime', '80070652': 'the runtime is uninstalled', '80070032': 'not supported',
    '800401f0': 'COM is not initialised', '80010106': 'the wrong apartment',
  },
  fail: {
    '80070005': 'the data folder cannot be written', '80070050': 'the data folder is a file',
    '80070070': 'too many runtimes', '80070652': 'the runtime is uninstalled',
  },
  'controller-fail': {
    '8007139f': 'other options of another process', '80004004': 'the window has gone',
    '80070005': 'no access',
  },
};

test('a control that fails leaves an empty window whose log and keys work', async (t) => {
  for (const [mode, codes] of Object.entries(kErrors)) {
    for (const [code, meaning] of Object.entries(codes)) {
      await t.test(`${mode} ${code}: ${meaning}`, async () => {
        const env = { WENDRA_DEV_CREATE: mode, WENDRA_DEV_CREATE_ERROR: code };
        const host = await startHost({ address: server.url, env, page: false });
        await host.feedChecked();
        const from = host.log.length;
        await host.keys('ctrl+l');
        await host.waitForLine('[Log] log panel shown (Ctrl+L)');
        assert.deepEqual(host.log.slice(from), ['[Log] log panel shown (Ctrl+L)']);
        assert.equal(await host.close(), 0);
      });
    }
  }
});

test('a control that gives up while its window is destroyed does no harm', async () => {
  const profile = await makeProfile();
  const env = { WENDRA_DEV_CREATE: 'abort' };
  const host = await startHost({ address: server.url, env, page: false, profile });
  await host.feedChecked();
  await host.window();
  assert.equal(await host.close(), 0);
  assert.match(readFileSync(profileFiles(profile).events, 'utf8'), /"event":"aborted"/);
  await removeProfile(profile);
});

const kSourceUnknown = { fail: true, null: true, empty: false }; // whether a message is taken
test('a message whose source the control does not tell is taken, and one with an empty source is not', async (t) => {
  for (const [mode, isTaken] of Object.entries(kSourceUnknown)) {
    await t.test(mode, async () => {
      const host = await startHost({ address: server.url, env: { WENDRA_DEV_MESSAGE_SOURCE: mode } });
      const from = host.log.length;
      if (isTaken) {
        assert.equal((await host.page.call('platform')).ok, 1);
      } else {
        await host.page.post({ __reqId: 'x', name: 'platform', args: [] });
        await host.waitForLine('[JS->Native] ignoring message from ', { from });
      }
      assert.equal(await host.close(), 0);
    });
  }
});

test('a control that does not tell which page it shows gets no replies', async (t) => {
  for (const mode of Object.keys(kSourceUnknown)) {
    await t.test(mode, async () => {
      const host = await startHost({ address: server.url, env: { WENDRA_DEV_VIEW_SOURCE: mode } });
      await host.page.evaluate(() => {
        window.replies = [];
        window.__wendra = { __resolve: (...reply) => window.replies.push(reply) };
      });
      await host.page.post({ __reqId: 'x', name: 'platform', args: [] });
      await host.waitForLine("[JS->Native] action 'platform' (req x)");
      await host.loggedSince(0); // the host has sent what it sends before it logs this request
      assert.deepEqual(await host.page.evaluate('replies'), []);
      await host.keys('ctrl+r');
      await host.page.waitFor('!window.replies && document.title === "start"');
      assert.equal(await host.close(), 0);
    });
  }
});

test('the log names the process that has died, and the window stays usable', async () => {
  const host = await startHost({ address: server.url });
  host.page.send('Page.crash').catch(() => {}); // gets no answer
  await host.waitForLine('[WebView] process failed: renderer exited');
  await host.keys('ctrl+l');
  await host.waitForLine('[Log] log panel shown (Ctrl+L)');
  assert.equal(await host.close(), 0);
});

test('the system menu has the commands while the page has the keyboard', async () => {
  const host = await startHost({ address: server.url });
  await host.clickElement('#field');
  const choose = (item) => host.probe('post', 'window', WM_SYSCOMMAND, item, 0);
  await choose(kShowLogItem);
  await host.waitForLine('[Log] log panel shown (Ctrl+L)');
  await choose(kShowLogItem);
  await host.waitForLine('[Log] log panel hidden (Ctrl+L)');
  await host.page.evaluate('window.isOld = true');
  await choose(kReloadItem);
  await host.page.waitFor('!window.isOld && document.title === "start"');
  await choose(kCheckForUpdatesItem);
  await host.waitForLine('[Update] manual update check');
  assert.equal(await host.close(), 0);
});
