// Tests that no process of the local servers is left when the window closes or the host is killed,
// whatever the servers are doing at that moment.
import assert from 'node:assert/strict';
import { writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { makeProfile, removeProfile, writeConfig } from './support/host.mjs';
import { endAlone, remains, startLonelyHost } from './support/lonely_host.mjs';
import { windowsPath } from './support/machine.mjs';
import { endlessly, kChild, kClosed, mcpChild, request, says } from './support/mcp_children.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

// The limit from the request to close the window to the end of the host and of all its servers.
const kEndMs = 2000;
const kMebibyte = 1 << 20;

let page;
let profile;
let batchFile;
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>mcp</title>' });
  profile = await makeProfile();
  batchFile = windowsPath(join(profile, 'a server.cmd'));
  await writeFile(join(profile, 'a server.cmd'), `@ECHO off\r\n"${kChild}" %*\r\n`);
});
after(async () => {
  await page?.close();
  await removeProfile(profile);
});

const kBegun = 'begun';
const begins = says(kBegun);

// Name ->
//   words   the arguments of the server; or `entry`, which makes its whole entry
//   begun   the log line that shows that the moment has come
//   lines   how many such lines must have come (1)
//   calls   how many calls the page makes (1)
//   text    the text of these calls
//   count   how many such servers there are (1)
const kMoments = {
  'a server that behaves': { words: [], begun: `started ${kChild}`, calls: 0 },
  'a handshake that is not answered': { words: ['initialize', ...begins] },
  'ten calls in flight': { words: ['call', ...begins], calls: 10 },
  'an answer byte by byte': {
    words: ['bytewise', 'call', ...begins, 'answer-of', String(kMebibyte), 'call', 'answer'],
  },
  'a mebibyte that is not read': {
    words: ['initialize', 'answer', ...begins, 'stay'], calls: 2, text: 'x'.repeat(kMebibyte),
  },
  'an end of the input that is ignored': { words: ['call', ...begins, 'end', 'stay'] },
  'an output that is closed': { words: ['call', 'close', 'stay'], begun: kClosed },
  'a server that has ended': { words: ['exit', '0'], begun: kClosed, calls: 0 },
  'children that stay': { words: ['spawn', 'spawn', 'call', ...begins] },
  'children that outlive their server': { words: ['spawn', 'spawn', 'call', ...begins, 'exit', '0'] },
  'a batch file': { entry: () => ({ command: batchFile, args: ['call', ...begins, 'end', 'stay'] }) },
  'twenty servers': { words: ['call', ...begins], count: 20 },
  'a line without end': { words: ['call', ...begins, ...endlessly('fill', '65536')] },
  'garbage without end': { words: ['call', ...begins, ...endlessly('line', 'garbage')] },
  // They come faster than the window can handle them. 3,000 of them have been logged when the test
  // goes on.
  'notifications without end': {
    words: ['call', ...endlessly(...says('more', 100))], begun: 'more', lines: 3000,
  },
  'requests without end': { words: ['call', ...begins, ...endlessly('line', request(1, 'ping'))] },
  'errors without end': { words: ['call', ...begins, ...endlessly('err', '65536')] },
};

function entriesOf(name) {
  const { entry = () => mcpChild(...kMoments[name].words), count = 1 } = kMoments[name];
  const names = Array.from({ length: count }, (_, i) => (i ? `${name} ${i}` : name));
  return Object.fromEntries(names.map((one) => [one, entry()]));
}

async function bringAbout(host, name) {
  const { calls = 1, text = 'hi', begun = kBegun, lines = 1 } = kMoments[name];
  const names = Object.keys(entriesOf(name));
  await host.page.evaluate((servers, times, textOrNumber) => {
    for (const server of servers) {
      for (let i = 0; i < times; ++i) {
        const args = [server, 'echo', { text: textOrNumber }];
        chrome.webview.postMessage({ __reqId: 'unheard', name: 'mcpCall', args });
      }
    }
  }, names, calls, text);
  for (const one of names) {
    const line = `[MCP ${one}] ${begun}`;
    await host.waitForLine(line);
    await until(line, () => host.log.filter((logged) => logged === line).length >= lines);
  }
  // The host handles messages in order: with this reply it has taken all calls above.
  await host.page.call('platform', []);
}

async function endWithin(t, host, how, { code, limitMs = kEndMs } = {}) {
  const end = await endAlone(host, how);
  await until('the end of its servers', () => remains(host).length === 0, {
    timeoutMs: Math.max(limitMs - end.ms, 0),
    context: () => `the host took ${end.ms} ms; still there:\n${remains(host).join('\n')}`,
  });
  t.diagnostic(`${how}: ${end.ms} ms`);
  assert.equal(end.code, code);
  assert.ok(end.ms < limitMs, `${end.ms} ms`);
}

async function withServers(mcpServers, use) {
  const host = await startLonelyHost({ address: page.url, config: { mcpServers } });
  try {
    await host.waitForLine('[MCP] loaded ');
    await use(host);
  } finally {
    await host.kill(); // ends tools/launch and all that still runs
  }
}

for (const name of Object.keys(kMoments)) {
  test(`closing the window ends host and servers within two seconds: ${name}`, (t) =>
    withServers(entriesOf(name), async (host) => {
      await bringAbout(host, name);
      await endWithin(t, host, 'close', { code: 0 });
    }));
}

const kAll = Object.keys(kMoments);
const allEntries = () => Object.assign({}, ...kAll.map(entriesOf));

for (const [how, code] of Object.entries({ close: 0, kill: 1, SIGKILL: undefined })) {
  test(`no process is left when the host ends with all these servers at once: ${how}`, (t) =>
    withServers(allEntries(), async (host) => {
      for (const name of kAll) await bringAbout(host, name);
      assert.ok(remains(host).length > kAll.length, remains(host).join('\n'));
      await endWithin(t, host, how, { code });
    }));
}

for (const [how, code] of Object.entries({ close: 0, kill: 1 })) {
  test(`no process is left when the host ends in the middle of a reload: ${how}`, (t) =>
    withServers(entriesOf('twenty servers'), async (host) => {
      await bringAbout(host, 'twenty servers');
      await host.probe('process'); // starts the probe before it is needed
      const from = host.log.length;
      await writeConfig(host.profile, { mcpServers: entriesOf('twenty servers') });
      await host.waitForLine('[MCP twenty servers 5] started', { from });
      await endWithin(t, host, how, { code });
      const isLoaded = host.log.slice(from).some((line) => line.startsWith('[MCP] loaded '));
      assert.equal(isLoaded, how === 'close'); // the UI thread takes the close after the reload
    }));
}
