// Tests what the real control does that is hard on a host. Where its behaviour is not known, both
// settings of the development runtime are tested.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { rm } from 'node:fs/promises';
import { after, before, test } from 'node:test';
import { profileFiles } from '../../tools/wine/prefix.mjs';
import { makeProfile, replaceConfig, startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const WM_SYSCOMMAND = 0x112;
const WS_MINIMIZE = 0x20000000;
const SC_MINIMIZE = 0xf020;
const SC_RESTORE = 0xf120;
const kShowLogItem = 0x100;
const kReloadItem = 0x110;
const kCheckForUpdatesItem = 0x120;

let server;
let foreign; // the address of a foreign host, which is this machine too

before(async () => {
  server = await startServer();
  foreign = `http://sign-in.test:${server.port}`;
  const to = (address) => ({ status: 302, headers: { Location: address } });
  Object.assign(server.routes, {
    '/': '<!doctype html><title>start</title><input id="field">',
    '/guarded': to(`${foreign}/sign-in`),
    '/chain': to('/chain/2'),
    '/chain/2': to(`${foreign}/chain/3`),
    '/chain/3': to(`${foreign}/sign-in`),
    '/sign-in': `<!doctype html><title>sign in</title>
      <button id="windows" onclick="for (const one of ['https://a.test/', 'mailto:a@b.test',
        'HTTP://c.test/', 'ftp://d.test/', 'ms-settings:'])
        window.open(one)">windows</button>`,
    '/links': `<!doctype html><title>links</title>
      <p><a id="chain" href="/chain">chain</a></p>
      <p><a id="foreign" href="${foreign}/clicked">foreign</a></p>
      <form action="/chain" method="post"><button id="post">post</button></form>
      <button id="script" onclick="location.href = '/chain'">script</button>
      <button id="windows" onclick="for (const one of [1, 2, 3])
        window.open('${foreign}/' + one)">windows</button>`,
  });
});
after(() => server?.close());

const externalLines = (host) => host.log.filter((line) => line.startsWith('[External]'));

for (const [redirectGesture, apiGesture] of [['0', '0'], ['0', '1'], ['1', '0'], ['1', '1']]) {
  test(`redirects and reloads stay inside, redirects ${redirectGesture} and calls ${apiGesture} user-initiated`, async () => {
    const host = await startHost({
      address: `${server.url}/guarded`,
      env: {
        WENDRA_DEV_REDIRECT_GESTURE: redirectGesture,
        WENDRA_DEV_API_USER_INITIATED: apiGesture,
      },
    });
    const { page } = host;
    await page.loaded(`${foreign}/sign-in`);
    await page.evaluate('window.isOld = true');
    await host.keys('ctrl+r');
    await page.waitFor('!window.isOld && document.title === "sign in"');
    assert.equal(await page.evaluate('location.href'), `${foreign}/sign-in`);

    for (const way of ['#chain', '#post', '#script']) {
      await page.visit(`${server.url}/links`);
      await host.clickElement(way);
      await page.loaded(`${foreign}/sign-in`);
    }
    assert.deepEqual(externalLines(host), []);

    await page.visit(`${server.url}/links`);
    await host.clickElement('#foreign');
    await host.waitForOpenedInBrowser(`${foreign}/clicked`);
    assert.equal(await page.evaluate('location.href'), `${server.url}/links`);
    assert.deepEqual(externalLines(host), [`[External] opening in browser: ${foreign}/clicked`]);
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
  await rm(profile, { recursive: true, force: true });
});

test('a slow start of the browser, which dispatches messages, holds up nothing and keeps the order', async () => {
  const host = await startHost({
    address: `${server.url}/links`,
    env: { WENDRA_DEV_SHELL_MS: '3000' },
  });
  await host.clickElement('#windows');
  const wanted = [1, 2, 3].map((one) => `${foreign}/${one}`);
  await host.waitForLine(`[External] opening in browser: ${wanted[2]}`);
  // The first start still takes its time: the page and its requests go on meanwhile.
  const { ok } = await host.page.call('platform', [], { timeoutMs: 2000 });
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
  await rm(profile, { recursive: true, force: true });
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
