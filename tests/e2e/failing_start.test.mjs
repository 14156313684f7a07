// Makes system calls fail while the program starts. Tests after which failures the program goes on,
// and after which it ends. docs/failures.md lists all these calls.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { lookAtConfig } from './support/calls.mjs';
import { makeFailures } from './support/failing_calls.mjs';
import { startHost } from './support/host.mjs';
import { kConfigWatchTimer, kCreateWebView, kFirstNavigationTimer } from './support/messages.mjs';
import { startServer } from './support/server.mjs';
import { inTime } from './support/waiting.mjs';

const kPrompt = 'WendraServerPrompt';
const kShown = '[Log] log panel shown (Ctrl+L)';
const kCancelled = '[Server] no server chosen — startup cancelled';
const kCouldNotFetch = (reason) =>
  `[Update] could not fetch feed (${reason}) - see WinSparkle result below`;
const kPath = 'C:\\users\\wendra\\.config\\wendra\\config.json';
const kFeed = '<rss><item><enclosure url="https://x.test/a.exe" sparkle:version="1"/>' +
  '<sparkle:version>0.1.0.1</sparkle:version></item></rss>';

const WM_COMMAND = 0x111;
const kToggleLogPanel = 100;

let server;
before(async () => {
  server = await startServer({
    '/': '<!doctype html><title>failing calls</title>',
    '/feed': kFeed,
  });
});
after(() => server?.close());

// Starts a host under `plan` and ends it after `use(host, failures)`. Checks that each function of
// the plan has failed, and that the exit code is `code`.
async function startWith(plan, use, { code = 0, env, ...wanted } = {}) {
  const failures = await makeFailures(plan);
  const host = await startHost({
    args: ['localhost:1'],
    env: { WENDRA_DEV_NO_RUNTIME: '1', ...env, ...failures.env },
    ...wanted,
  });
  try {
    await use(host, failures);
    const made = (await failures.made()).map((call) => call.split('/')[0]);
    const names = plan.split(' ').filter(Boolean).map((word) => word.split(/[/:=]/)[0]);
    for (const name of names) assert.ok(made.includes(name), `${name} has not failed`);
  } finally {
    assert.equal(await host.close(), code);
    await failures.close();
  }
}

const hasEnded = (host) => inTime('the end of the host', host.exit, { context: host.context });

// Checks that the window works: it shows its log panel.
async function works(host) {
  await host.window();
  await host.probe('post', 'window', WM_COMMAND, kToggleLogPanel, 0);
  await host.waitForLine(kShown);
}

test('without a main window the program ends with code 1', async (t) => {
  for (const plan of ['CreateWindowExW/WendraHostWnd', 'RegisterClassExW']) {
    await t.test(plan, () => startWith(plan, hasEnded, { code: 1 }));
  }
});

test('a window without icon, keys, font and panel opens and closes', async () => {
  const plan = 'LoadImageW CreateAcceleratorTableW CreateFontW CreateWindowExW/EDIT';
  await startWith(plan, async (host) => {
    await host.window();
    await host.keys('ctrl+l'); // does nothing
    await works(host);
    assert.equal(host.log.filter((line) => line === kShown).length, 1);
  });
});

test('without cursor, COM and DPI the window opens and moves', async () => {
  await startWith('LoadCursorW CoInitializeEx GetDpiForWindow', async (host) => {
    await host.window();
    const { rect } = await host.probe('move', 10, 10, 100, 100);
    assert.deepEqual([rect[2] - rect[0], rect[3] - rect[1]], [720, 480]); // the smallest size at 96 DPI
    await works(host);
  });
});

test('without the known folder the profile is where the environment says', async () => {
  await startWith('SHGetKnownFolderPath', async (host) => {
    await host.waitForLine(/^\[MCP\] created default config at /);
    const lines = host.log.map((line) => line.replace(/C:\\users/i, 'C:\\users'));
    assert.ok(lines.includes(`[MCP] created default config at ${kPath}`), host.context());
    await works(host);
  });
});

test('without its arguments the program takes the server of its configuration', async () => {
  await startWith('CommandLineToArgvW', async (host) => {
    await host.waitForLine('(from "server" in ');
    await works(host);
  }, { config: { server: 'localhost:2' } });
});

test('a configuration that can neither be read nor made is logged', async () => {
  await startWith('CreateFileW/config.json=2 SHCreateDirectoryExW', async (host) => {
    await host.waitForLine('[MCP] could not read config.json — skipping client MCP');
    await works(host);
  });
});

test('a configuration without a time at the start counts as changed at the first look', async () => {
  await startWith('GetFileAttributesExW:1', async (host) => {
    await host.window();
    await lookAtConfig(host);
    await host.waitForLine('[MCP] config.json changed on disk - reloading servers');
    const from = host.log.length;
    await lookAtConfig(host);
    await works(host);
    assert.ok(!host.log.slice(from).some((line) => line.includes('changed')));
  }, { config: { mcpServers: {} } });
});

test('the window works without its timer and without the message that makes the control', async () => {
  await startWith(`SetTimer/${kConfigWatchTimer} PostMessageW/${kCreateWebView}`, works);
});

test('the server is shown at once without the timer of the first navigation', async () => {
  await startWith(`SetTimer/${kFirstNavigationTimer}`, async (host) => {
    assert.equal(await host.page.evaluate('document.title'), 'failing calls');
    await works(host);
  }, { args: [server.url], env: { WENDRA_DEV_NO_RUNTIME: '0', WENDRA_DEV_SCRIPT_ADDED: 'never' }, page: true });
});

test('the program asks for the control even without a folder for its data', async () => {
  await startWith('ExpandEnvironmentStringsW CreateCoreWebView2EnvironmentWithOptions', works);
});

test('the program ends when the message loop fails', async () => {
  await startWith('GetMessageW', hasEnded);
});

test('without the prompt no server is chosen', async () => {
  await startWith(`CreateWindowExW/${kPrompt}`, async (host) => {
    await hasEnded(host);
    assert.deepEqual(host.log, [kCancelled]);
  }, { args: [] });
});

test('a prompt without accent colour, round corners, fonts and icon can be cancelled', async () => {
  const plan = 'RegGetValueW DwmSetWindowAttribute CreateFontW LoadImageW';
  await startWith(plan, async (host) => {
    await host.window(kPrompt);
    await host.keys('Escape');
    await hasEnded(host);
    assert.deepEqual(host.log, [kCancelled]);
  }, { args: [] });
});

test('a prompt without its field can be closed', async () => {
  await startWith('CreateWindowExW/EDIT', async (host) => {
    await host.window(kPrompt);
    host.signal('SIGTERM'); // closes the window
    await hasEnded(host);
    assert.deepEqual(host.log, [kCancelled]);
  }, { args: [] });
});

test('a chosen server that cannot be saved is still shown', async () => {
  await startWith('CreateFileW/config.json.tmp', async (host) => {
    await host.window(kPrompt);
    await host.keys('ctrl+a');
    await host.type('localhost:3');
    await host.keys('Return');
    await host.waitForLine('(chosen in the first-run prompt)');
    const said = '[Server] could not save the chosen server to ';
    assert.ok(host.log[0].startsWith(said), host.context());
    await works(host);
  }, { args: [] });
});

const updating = () => ({ config: { updateFeed: `${server.url}/feed` } });

test('a version that cannot be read is unknown', async (t) => {
  for (const plan of ['GetModuleFileNameW', 'GetFileVersionInfoSizeW', 'GetFileVersionInfoW', 'VerQueryValueW']) {
    await t.test(plan, () => startWith(plan, async (host) => {
      await host.waitForLine("[Update] cannot compare versions (current='')");
      assert.ok(host.log.includes('[Update] current app version: (unknown)'), host.context());
    }, updating()));
  }
});

test('a version without languages is the number of the fixed part', async () => {
  await startWith('VerQueryValueW/\\VarFileInfo\\Translation', async (host) => {
    await host.waitForLine('[Update] decision: feed 0.1.0.1 > current 0.1.0.0 ');
  }, updating());
});

test('each step of the feed check that fails has its text in the log', async (t) => {
  const steps = [
    ['WinHttpCrackUrl', kCouldNotFetch('invalid URL')],
    ['WinHttpOpen', kCouldNotFetch('WinHttpOpen failed')],
    ['WinHttpConnect', kCouldNotFetch('connect failed')],
    ['WinHttpOpenRequest', kCouldNotFetch('request failed')],
    ['WinHttpSendRequest', kCouldNotFetch('request failed (offline?)')],
    ['WinHttpReceiveResponse', kCouldNotFetch('request failed (offline?)')],
    ['WinHttpQueryHeaders', kCouldNotFetch('HTTP 0')],
    ['WinHttpQueryDataAvailable', '[Update] feed advertises no <sparkle:version>'],
    ['WinHttpReadData', '[Update] feed advertises no <sparkle:version>'],
    ['WinHttpSetTimeouts', '[Update] decision: feed 0.1.0.1 > current 0.1.0.0 '],
  ];
  for (const [plan, line] of steps) {
    await t.test(plan, () => startWith(plan, (host) => host.waitForLine(line), updating()));
  }
});

test('without a thread there is no feed check, and the program goes on', async () => {
  const before = server.requests.length;
  await startWith('CreateThread:1', async (host) => {
    await host.waitForLine('[Update] updater ready');
    await works(host);
  }, updating());
  assert.equal(server.requests.length, before);
});
