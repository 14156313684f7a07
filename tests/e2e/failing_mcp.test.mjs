// Makes system calls fail while the host works with local MCP servers. Tests what the page gets,
// what the log says, and that the next load of config.json works. docs/failures.md lists all these
// calls.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { callTool, kEcho, letAllTimeOut, lookAtConfig } from './support/calls.mjs';
import { makeFailures } from './support/failing_calls.mjs';
import { holdings, holdsNoMore, processesNamed } from './support/holdings.mjs';
import { replaceConfig, startHost } from './support/host.mjs';
import { kChild, kClosed, mcpChild } from './support/mcp_children.mjs';
import { kLogLine, kMcp, kMcpClosed } from './support/messages.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kTimedOut = { error: 'MCP request timed out' };
const kExited = { error: "MCP server 'one' exited unexpectedly" };
const kNotRunning = { error: "MCP server 'one' is not running" };
const kStarted = `[MCP one] started ${kChild}`;
const kUntied = '[MCP one] could not be tied to Wendra: its processes may outlive it';

let server;
let failures;
let host;
before(async () => {
  server = await startServer({ '/': '<!doctype html><title>failing calls</title>' });
  failures = await makeFailures();
  host = await startHost({ address: server.url, config: { mcpServers: {} }, env: failures.env });
});
after(async () => {
  const code = await host?.close();
  await failures?.close();
  await server?.close();
  assert.equal(code, 0);
});

// Loads a config.json with these servers under `plan`; gives the log lines of the server "one".
async function load(mcpServers, plan = '') {
  const from = host.log.length;
  const count = Object.keys(mcpServers).length;
  const loaded = async () => {
    await replaceConfig(host.profile, { mcpServers });
    await lookAtConfig(host);
    await host.waitForLine(count ? `[MCP] loaded ${count} server(s)` : 'no mcpServers', { from });
  };
  await (plan ? failures.during(plan, loaded) : loaded());
  return host.log.slice(from).filter((line) => line.startsWith('[MCP one] '));
}

const call = async () => (await callTool(host, 'one')).value;
const calledDuring = (plan) => failures.during(plan, call);

async function stopsWholly(held) {
  await load({});
  await until('the end of the server', () => processesNamed(host, 'mcp_child.exe').length === 0);
  await holdsNoMore(host, held);
}

async function worksAgain() {
  assert.deepEqual(await load({ one: mcpChild() }), [kStarted]);
  assert.deepEqual(await call(), kEcho);
  assert.equal((await host.page.call('platform', [])).value.name, 'Windows');
  await host.loggedSince(0); // no line of this comes later
}

// Name of the test -> the plan during the load, the log lines, and the answer to a call afterwards.
const kLoads = {
  'a server whose first pipe cannot be made is not running':
    ['CreatePipe:1', ['[MCP one] failed to create pipes'], kNotRunning],
  'a server whose second pipe cannot be made is not running':
    ['CreatePipe:2', ['[MCP one] failed to create pipes'], kNotRunning],
  'a server whose third pipe cannot be made is not running':
    ['CreatePipe:3', ['[MCP one] failed to create pipes'], kNotRunning],
  'a server whose process cannot be created is not running':
    ['CreateProcessW', [`[MCP one] launch failed: ${kChild}`], kNotRunning],
  'a server whose stderr has no collector still answers':
    ['CreateThread:2', [kStarted], kEcho],
  'a server that gets no job runs without one':
    ['CreateJobObjectW', [kStarted, kUntied], kEcho],
  'a server whose job does not get its limit runs without one':
    ['SetInformationJobObject', [kStarted, kUntied], kEcho],
  'a server that cannot be given its job runs without one':
    ['UpdateProcThreadAttribute/131085', [kStarted, kUntied], kEcho],
  'a server whose attributes cannot be set still runs':
    ['InitializeProcThreadAttributeList UpdateProcThreadAttribute', undefined, kEcho],
};

test('a failure while a server is started is logged and leaks nothing', async (t) => {
  await worksAgain(); // makes what the program keeps until its end
  await load({});
  const held = await holdings(host);
  for (const [name, [plan, lines, answer]] of Object.entries(kLoads)) {
    await t.test(name, async () => {
      const said = await load({ one: mcpChild() }, plan);
      if (lines) assert.deepEqual(said, lines);
      else assert.ok(said.includes(kStarted), said.join('\n'));
      assert.deepEqual(await call(), answer);
      await stopsWholly(held);
    });
  }
  await worksAgain();
});

test('a request to a server whose output has no reader ends by its time-out', async () => {
  await load({ one: mcpChild() }, 'CreateThread:1');
  const late = call();
  await letAllTimeOut(host, late);
  assert.deepEqual(await late, kTimedOut);
  await worksAgain();
});

test('a request that gets no timer ends at once', async () => {
  await load({ one: mcpChild('call') });
  assert.deepEqual(await calledDuring('SetTimer:2'), { error: 'MCP request failed' });
  await worksAgain();
});

test('a server that cannot be written to sees the end of its input', async () => {
  await load({ one: mcpChild() });
  const from = host.log.length;
  assert.deepEqual(await calledDuring('CreateThread'), kExited);
  await host.waitForLine(`[MCP one] ${kClosed}`, { from });
  assert.deepEqual(await call(), kNotRunning);
  await worksAgain();
});

test('a request that is not written, or only in part, ends by its time-out', async () => {
  for (const plan of ['WriteFile', 'WriteFile.short']) {
    await load({ one: mcpChild() });
    failures.plan(plan);
    const late = call();
    await failures.waitFor(plan);
    failures.plan('');
    await letAllTimeOut(host, late);
    assert.deepEqual(await late, kTimedOut, plan);
  }
  await worksAgain();
});

test('a server whose output cannot be read counts as ended', async () => {
  await load({ one: mcpChild() });
  assert.deepEqual(await call(), kEcho);
  const from = host.log.length;
  // The reader is already in a ReadFile, which succeeds; the next ReadFile fails. That may happen
  // after the answer has come.
  const answer = await failures.during('ReadFile', async () => {
    const answer = await call();
    await failures.waitFor('ReadFile');
    return answer;
  });
  assert.deepEqual(answer, kEcho);
  await host.waitForLine(`[MCP one] ${kClosed}`, { from });
  assert.deepEqual(await call(), kNotRunning);
  await worksAgain();
});

test("a server's messages and its end wait for room in a full queue", async () => {
  await load({ one: mcpChild('call', 'exit', '3') });
  const from = host.log.length;
  assert.deepEqual(await calledDuring(`PostMessageW/${kMcp}:1-20 PostMessageW/${kMcpClosed}:1-20`),
    kExited);
  await host.waitForLine(`[MCP one] ${kClosed}`, { from });
  await load({ one: mcpChild() });
  assert.deepEqual(await calledDuring(`PostMessageW/${kMcp}:1-20`), kEcho);
  await worksAgain();
});

test('a stderr line for which the queue has no room is lost, and only that', async () => {
  await load({ one: mcpChild('call', 'err', '5', 'exit', '3') });
  const from = host.log.length;
  failures.plan(`PostMessageW/${kLogLine}`);
  assert.deepEqual(await call(), kExited);
  await failures.waitFor('PostMessageW');
  failures.plan('');
  await worksAgain();
  assert.deepEqual(host.log.slice(from).filter((line) => line.includes('stderr')), []);
});

test('a server that cannot be terminated, or whose pipes cannot be cancelled, still ends', async () => {
  await load({});
  const held = await holdings(host);
  for (const plan of ['TerminateProcess', 'CancelIoEx']) {
    await load({ one: mcpChild() });
    assert.deepEqual(await call(), kEcho);
    await load({}, plan);
    await stopsWholly(held);
  }
  await worksAgain();
});

test('a configuration whose time cannot be read is looked at again', async () => {
  const from = host.log.length;
  failures.plan('GetFileAttributesExW');
  await replaceConfig(host.profile, { mcpServers: {} });
  for (const times of [1, 2]) {
    await lookAtConfig(host);
    await failures.waitFor('GetFileAttributesExW', times);
  }
  assert.deepEqual(host.log.slice(from), []);
  failures.plan('');
  await host.waitForLine('[MCP] no mcpServers configured', { from });
  await worksAgain();
});

test('a changed file that cannot be read keeps the servers until it can', async () => {
  for (const plan of ['CreateFileW/config.json', 'GetFileSizeEx']) {
    await worksAgain();
    const from = host.log.length;
    await failures.during(plan, async () => {
      await replaceConfig(host.profile, { mcpServers: {} });
      await lookAtConfig(host);
      await host.waitForLine(
        '[MCP] config.json changed but is not valid JSON - keeping current servers', { from });
      assert.deepEqual(await call(), kEcho, plan);
    });
    await host.waitForLine('[MCP] no mcpServers configured', { from });
  }
});
