// Tests how the host sets up the update library, its callbacks and its end, and the feed check.
import assert from 'node:assert/strict';
import { createServer as createSecureServer } from 'node:https';
import { createServer as createTcpServer } from 'node:net';
import { after, before, test } from 'node:test';
import { makeCertificate } from './support/certificate.mjs';
import { startHost } from './support/host.mjs';
import { endsWithFile } from './support/leftovers.mjs';
import { kUpdateRetryTimer } from './support/messages.mjs';
import { startServer } from './support/server.mjs';
import { startWinSparkle } from './support/winsparkle.mjs';

const kBuiltInFeed = 'https://releases.wendra.example/releases/win/appcast.xml';
const kCurrent = '0.1.0.0'; // the version in the development build's resources
const kMebibyte = 1_048_576;
const WM_COMMAND = 0x111;
const WM_TIMER = 0x113;
const kToggleLogPanel = 100;
// Far shorter than every time-out of the host and of tools/launch.
const kAtOnceMs = 4_000;

const kCallbacks = [
  'can_shutdown', 'shutdown_request', 'did_find_update', 'did_not_find_update', 'error',
  'update_postponed', 'update_skipped', 'update_cancelled', 'update_dismissed',
];

let server;
before(async () => {
  server = await startServer({ '/': '<!doctype html><title>update</title>' });
});
after(() => server?.close());

// Starts a host without a page, with the stand-in for the update library.
async function startUpdating({ config = {}, settings, env } = {}) {
  const sparkle = await startWinSparkle(settings);
  const host = await startHost({
    args: ['localhost:1'],
    config,
    env: { WENDRA_DEV_NO_RUNTIME: '1', ...sparkle.env, ...env },
  });
  return { host, sparkle };
}

async function end({ host, sparkle }) {
  const code = await host.close();
  await sparkle.close();
  assert.equal(code, 0);
}

const updateLines = (host) => host.log.filter((line) => line.startsWith('[Update]'));

const setUpLines = (feed) => [
  `[Update] current app version: ${kCurrent}`,
  `[Update] feed: ${feed}`,
  '[Update] automatic checks enabled, interval 3600s, WinSparkle 0.9.4',
  '[Update] last successful check: never',
  '[Update] updater ready',
];

// Waits for the end of the feed check; gives its log lines.
async function reportOf(host) {
  await host.feedChecked();
  const lines = updateLines(host);
  return lines.slice(lines.indexOf('[Update] updater ready') + 1);
}

test('the library is set up in order, on the UI thread, and cleaned up at the end', async () => {
  const feed = `${server.url}/feed`;
  const updating = await startUpdating({ config: { updateFeed: feed } });
  const { host, sparkle } = updating;
  const { thread } = await host.window();
  await host.waitForLine('[Update] updater ready');
  assert.deepEqual(updateLines(host).slice(0, 5), setUpLines(feed));
  const wanted = [
    ['win_sparkle_set_appcast_url', feed],
    ['win_sparkle_set_can_shutdown_callback', true],
    ['win_sparkle_set_shutdown_request_callback', true],
    ['win_sparkle_set_did_find_update_callback', true],
    ['win_sparkle_set_did_not_find_update_callback', true],
    ['win_sparkle_set_error_callback', true],
    ['win_sparkle_set_update_postponed_callback', true],
    ['win_sparkle_set_update_skipped_callback', true],
    ['win_sparkle_set_update_cancelled_callback', true],
    ['win_sparkle_set_update_dismissed_callback', true],
    ['win_sparkle_set_automatic_check_for_updates', 1],
    ['win_sparkle_set_update_check_interval', 3600],
    ['win_sparkle_init'],
    ['win_sparkle_get_automatic_check_for_updates'],
    ['win_sparkle_get_update_check_interval'],
    ['win_sparkle_get_last_check_time'],
  ].map(([call, ...args]) => ({ call, args, thread }));
  assert.deepEqual(await sparkle.record(), wanted);
  assert.equal(await host.close(), 0);
  assert.deepEqual(await sparkle.record(), [
    ...wanted,
    { call: 'win_sparkle_cleanup', args: [], thread },
  ]);
  await sparkle.close();
});

test('without a main window the library is never called', async () => {
  const sparkle = await startWinSparkle();
  const env = { WENDRA_DEV_NO_RUNTIME: '1', ...sparkle.env };
  const host = await startHost({ args: ['https://evil.test'], env });
  await host.waitForLine('[Server] ignoring command-line URL'); // now the prompt is shown
  assert.equal(await host.close(), 0);
  assert.deepEqual(await sparkle.record(), []);
  await sparkle.close();
});

test('the log has the settings that the library reports', async (t) => {
  const cases = [
    [{ AUTOMATIC: 0 }, 'automatic checks disabled, interval 3600s, WinSparkle 0.9.4', 'never'],
    [{ AUTOMATIC: -1 }, 'automatic checks enabled, interval 3600s, WinSparkle 0.9.4', 'never'],
    [{ INTERVAL: 86400 }, 'automatic checks enabled, interval 86400s, WinSparkle 0.9.4', 'never'],
    [{ LAST_CHECK: -1 }, null, 'never'],
    [{ LAST_CHECK: 0 }, null, 'never'],
    [{ LAST_CHECK: 1 }, null, '1970-01-01 02:00:01'],
    [{ LAST_CHECK: 1_700_000_000 }, null, '2023-11-15 00:13:20'],
    [{ LAST_CHECK: 5_000_000_000 }, null, '2128-06-11 10:53:20'],
  ];
  for (const [settings, automatic, lastCheck] of cases) {
    await t.test(JSON.stringify(settings), async () => {
      const updating = await startUpdating({ settings, env: { TZ: 'EET-2' } }); // two hours ahead
      await updating.host.waitForLine('[Update] updater ready');
      const lines = updateLines(updating.host);
      if (automatic) assert.equal(lines[2], `[Update] ${automatic}`);
      assert.equal(lines[3], `[Update] last successful check: ${lastCheck}`);
      await end(updating);
    });
  }
});

test('each callback is logged, and comes from another thread', async () => {
  const updating = await startUpdating();
  const { host, sparkle } = updating;
  await host.feedChecked();
  const { thread } = await host.window();
  const cases = [
    ['did_find_update', 'update available -> prompting'],
    ['did_not_find_update', 'no newer version -> not prompting'],
    ['error', 'update check failed (network / feed / signature)'],
    ['update_postponed', 'user postponed the update'],
    ['update_skipped', 'user skipped this version'],
    ['update_cancelled', 'update cancelled'],
    ['update_dismissed', 'update dialog dismissed'],
  ];
  const before = host.log.length;
  for (const [callback, text] of cases) {
    const from = host.log.length;
    assert.deepEqual(await sparkle.fire(callback), { fired: callback, returned: null });
    assert.equal(await host.waitForLine('[Update]', { from }), `[Update] WinSparkle: ${text}`);
  }
  assert.deepEqual(await sparkle.fire('can_shutdown'), { fired: 'can_shutdown', returned: 1 });
  assert.equal(host.log.length, before + cases.length);
  const fired = (await sparkle.record()).filter((entry) => entry.fired);
  assert.equal(fired.length, cases.length + 1);
  for (const entry of fired) assert.notEqual(entry.thread, thread);
  await end(updating);
});

test('a shutdown request closes the window the normal way', async () => {
  const updating = await startUpdating();
  const { host, sparkle } = updating;
  await host.feedChecked();
  await sparkle.fire('shutdown_request');
  assert.equal(await host.ended(), 0);
  assert.equal((await sparkle.calls()).at(-1).call, 'win_sparkle_cleanup');
  await sparkle.close();
});

// A check of the real library goes on after the clean-up and calls the callbacks.
test('callbacks during and after the clean-up do nothing', async () => {
  const { host, sparkle } = await startUpdating({ settings: { LATE: 1 } });
  await host.feedChecked();
  const before = host.log.length;
  assert.equal(await host.close(), 0);
  assert.deepEqual(host.log.slice(before), []);
  const record = await sparkle.record();
  const late = record.slice(record.findIndex(({ call }) => call === 'win_sparkle_cleanup') + 1);
  assert.deepEqual(late.map(({ fired }) => fired), [...kCallbacks, ...kCallbacks]);
  await sparkle.close();
});

test('Ctrl+U and the page start a check with a dialog', async () => {
  const sparkle = await startWinSparkle();
  const host = await startHost({ address: server.url, env: sparkle.env });
  const { thread } = await host.window();
  const from = host.log.length;
  const call = { call: 'win_sparkle_check_update_with_ui', args: [], thread };

  await host.keys('ctrl+u');
  await host.waitForLine('[Update] manual update check', { from });
  assert.deepEqual(await sparkle.waitForCall(call.call), call);

  const first = host.log.indexOf('[Update] manual update check', from);
  assert.deepEqual(await host.page.call('checkForUpdates', []), { ok: 1, value: 'ok' });
  assert.deepEqual(await sparkle.waitForCall(call.call, 1), call);
  assert.equal((await sparkle.calls()).filter((one) => one.call === call.call).length, 2);
  await host.waitForLine('[Update] manual update check', { from: first + 1 });
  const lines = host.log.slice(from);
  assert.equal(lines.filter((line) => line === '[Update] manual update check').length, 2);
  assert.equal(await host.close(), 0);
  await sparkle.close();
});

test('after a failed check that no person has asked for, the host checks again', async () => {
  const updating = await startUpdating();
  const { host, sparkle } = updating;
  // Posted messages are handled in order: once the last one is, so are all before it.
  const allIsHandled = async () => {
    const from = host.log.length;
    await host.probe('post', 'window', WM_COMMAND, kToggleLogPanel, 0);
    await host.waitForLine('[Log] log panel', { from });
  };
  const timerFires = async () => {
    await host.probe('post', 'window', WM_TIMER, kUpdateRetryTimer, 0);
    await allIsHandled();
  };
  const retries = async () =>
    (await sparkle.calls()).filter(({ call }) => call === 'win_sparkle_check_update_without_ui').length;
  const fires = async (outcome) => {
    await sparkle.fire(outcome);
    await allIsHandled();
  };
  await host.window();
  await reportOf(host);
  await timerFires(); // any program may send this
  await fires('did_not_find_update');
  await timerFires();
  assert.equal(await retries(), 0);
  await fires('error');
  assert.equal(await retries(), 0);
  await timerFires();
  await timerFires();
  assert.equal(await retries(), 1);
  await host.keys('ctrl+u');
  await sparkle.waitForCall('win_sparkle_check_update_with_ui');
  await fires('error');
  await timerFires();
  assert.equal(await retries(), 1);
  await end(updating);
});

// The feed check.

const version = (text) => `<sparkle:version>${text}</sparkle:version>`;
const item = (inner) =>
  `<?xml version="1.0"?>\n<rss><channel><item>${inner}</item></channel></rss>\n`;
const advertises = (text) => `[Update] feed advertises version ${text}`;
const decision = (text) => `[Update] decision: feed ${text}`;
const upToDate = `current ${kCurrent} -> up to date, no prompt`;
const equal = (text) => [advertises(text), decision(`${text} == ${upToDate}`)];
const kNoVersion = [
  '[Update] feed advertises no <sparkle:version>',
  `[Update] cannot compare versions (current='${kCurrent}')`,
];
const unfetched = (reason) =>
  [`[Update] could not fetch feed (${reason}) - see WinSparkle result below`];
const kOffline = unfetched('request failed (offline?)');

// A version, filled up with spaces to `bytes` bytes.
const padded = (text, bytes) => version(text) + ' '.repeat(bytes - version(text).length);

async function inSteps(response, pieces) {
  for (const piece of pieces) {
    await new Promise((resolve) => response.write(piece, resolve));
    await new Promise((resolve) => setTimeout(resolve, 300)); // the server is slow
  }
  response.end();
}

const kFeeds = [
  ['newer', item(version('0.1.0.1')), [
    advertises('0.1.0.1'),
    decision(`0.1.0.1 > current ${kCurrent} -> update expected (prompt / install)`),
  ]],
  ['equal, with fewer numbers', item(version('0.1')), equal('0.1')],
  ['older', item(version('0.0.9')), [advertises('0.0.9'), decision(`0.0.9 < ${upToDate}`)]],
  ['no version', item(''), kNoVersion],
  ['empty', '', kNoVersion],
  ['a version to show', item(version('0.1') + '<sparkle:shortVersionString>0.1 beta</sparkle:shortVersionString>'), [
    `${advertises('0.1')} (shortVersionString 0.1 beta)`,
    decision(`0.1 == ${upToDate}`),
  ]],
  ['a download', item(`${version('0.1')}<enclosure url="https://x.test/setup.exe" length="1"/>`), [
    advertises('0.1'),
    '[Update]   download: https://x.test/setup.exe',
    decision(`0.1 == ${upToDate}`),
  ]],
  ['letters beyond ASCII', item(version('0.1 für alle')), equal('0.1 für alle')],
  ['204', { status: 204 }, unfetched('HTTP 204')],
  ['304', { status: 304 }, unfetched('HTTP 304')],
  ['404', { status: 404, body: item(version('9')) }, unfetched('HTTP 404')],
  ['500', { status: 500, body: item(version('9')) }, unfetched('HTTP 500')],
  ['exactly 1 MiB', ' '.repeat(kMebibyte - version('0.1').length) + version('0.1'), equal('0.1')],
  ['larger, cut but parsed', padded('0.1', 2 * kMebibyte), equal('0.1')],
  ['larger, cut before the version', ' '.repeat(kMebibyte) + version('0.1'), kNoVersion],
  ['slow', (request, response) => inSteps(response, ['<sparkle:ver', 'sion>0', '.1</sparkle', ':version>']), equal('0.1')],
  ['cut off in the headers', (request, response) => response.destroy(), kOffline],
  ['cut off in the body', (request, response) => {
    response.writeHead(200, { 'Content-Length': '100000' });
    response.write(version('0.1'), () => response.destroy());
  }, equal('0.1')],
  ['moved', { status: 302, headers: { Location: '/moved' } }, equal('0.1')],
  ['moved for ever', { status: 302, headers: { Location: '/feed' } }, kOffline],
];

test('the log says what the feed advertises and what follows from it', async (t) => {
  server.routes['/moved'] = item(version('0.1'));
  for (const [name, route, lines] of kFeeds) {
    await t.test(name, async () => {
      server.routes['/feed'] = route;
      const from = server.requests.length;
      const updateFeed = `${server.url}/feed?a=b&c`;
      const updating = await startUpdating({ config: { updateFeed } });
      assert.deepEqual(await reportOf(updating.host), lines);
      const { method, url, headers } = server.requests.slice(from)[0];
      assert.deepEqual([method, url], ['GET', '/feed?a=b&c']);
      assert.equal(headers['user-agent'], 'Wendra-Windows-Updater/1.0');
      await end(updating);
    });
  }
});

test('the feed check follows a redirect to another host', async () => {
  server.routes['/feed'] = {
    status: 301,
    headers: { Location: `http://127.0.0.1:${server.port}/moved` },
  };
  server.routes['/moved'] = item(version('0.1'));
  const updating = await startUpdating({ config: { updateFeed: `${server.url}/feed` } });
  assert.deepEqual(await reportOf(updating.host), equal('0.1'));
  await end(updating);
});

test('updateFeed is used when it is an http or https address, else the built-in feed', async (t) => {
  server.routes['/feed'] = item(version('0.1'));
  const feed = `${server.url}/feed`;
  const ignoring = '[Update] ignoring "updateFeed" — expected an http/https URL';
  const cases = [
    ['missing', {}, kBuiltInFeed],
    ['http', { updateFeed: feed }, feed],
    ['empty', { updateFeed: '' }, kBuiltInFeed],
    ['no text', { updateFeed: 5 }, kBuiltInFeed],
    ['ftp', { updateFeed: 'ftp://x.test/feed' }, kBuiltInFeed, [ignoring]],
    ['capitals', { updateFeed: feed.replace('http', 'HTTP') }, kBuiltInFeed, [ignoring]],
    ['no object', `["${feed}"]`, kBuiltInFeed],
    ['broken', `{"updateFeed":"${feed}"`, kBuiltInFeed],
    ['a number out of range', `{"updateFeed":"${feed}","n":1e400}`, kBuiltInFeed],
  ];
  for (const [name, config, address, complaint = []] of cases) {
    await t.test(name, async () => {
      const updating = await startUpdating({ config });
      const report = await reportOf(updating.host);
      assert.deepEqual(report, [...complaint, ...(address === feed ? equal('0.1') : kOffline)]);
      const setUp = updateLines(updating.host).slice(0, -report.length);
      assert.deepEqual(setUp, [...complaint, ...setUpLines(address)]);
      assert.deepEqual((await updating.sparkle.calls())[0].args, [address]);
      await end(updating);
    });
  }
});

test('an invalid feed address and a closed port are logged', async (t) => {
  const listener = createTcpServer();
  await new Promise((resolve) => listener.listen(0, '127.0.0.1', resolve));
  const { port } = listener.address();
  await new Promise((resolve) => listener.close(resolve)); // now the port is closed
  for (const [address, lines] of [
    ['http://', unfetched('invalid URL')],
    ['http://x:99999/', unfetched('invalid URL')],
    [`http://localhost:${port}/`, kOffline],
  ]) {
    await t.test(address, async () => {
      const updating = await startUpdating({ config: { updateFeed: address } });
      assert.deepEqual(await reportOf(updating.host), lines);
      await end(updating);
    });
  }
});

test('a feed server with an unknown certificate gets no request', async () => {
  let asked = 0;
  const secure = createSecureServer(makeCertificate(), (request, response) => {
    asked += 1;
    response.end(item(version('9')));
  });
  secure.on('tlsClientError', () => {});
  await new Promise((resolve) => secure.listen(0, '127.0.0.1', resolve));
  const closeSecure = endsWithFile(() => {
    secure.closeAllConnections();
    return new Promise((resolve) => secure.close(resolve));
  });
  const updateFeed = `https://localhost:${secure.address().port}/feed`;
  const updating = await startUpdating({ config: { updateFeed } });
  assert.deepEqual(await reportOf(updating.host), kOffline);
  assert.equal(asked, 0);
  await end(updating);
  await closeSecure();
});

test('the window closes at once while the feed does not come', async (t) => {
  const hanging = {
    'no headers': () => {},
    'no end of the body': (request, response) => {
      response.writeHead(200, { 'Content-Length': '1000' });
      response.write(version('0.1'));
    },
  };
  for (const [name, route] of Object.entries(hanging)) {
    await t.test(name, async () => {
      const path = `/${name.replaceAll(' ', '-')}`;
      server.routes[path] = route;
      const updateFeed = server.url + path;
      const { host, sparkle } = await startUpdating({ config: { updateFeed } });
      await server.waitForRequest(path);
      await host.waitForLine('[Update] updater ready');
      const before = Date.now();
      assert.equal(await host.close(), 0);
      assert.ok(Date.now() - before < kAtOnceMs, `took ${Date.now() - before} ms`);
      assert.deepEqual(updateLines(host), setUpLines(updateFeed), 'nothing is said of it');
      assert.equal((await sparkle.calls()).at(-1).call, 'win_sparkle_cleanup');
      await sparkle.close();
    });
  }
});
