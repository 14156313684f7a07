// Makes system calls fail while the host talks to remote MCP servers: each step of a request,
// making threads, posting to a full message queue. docs/failures.md lists all these calls.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { callTool, kEcho, letAllTimeOut, lookAtConfig } from './support/calls.mjs';
import { makeFailures } from './support/failing_calls.mjs';
import { holdings, holdsNoMore } from './support/holdings.mjs';
import { replaceConfig, startHost } from './support/host.mjs';
import { beginEvents, event, startMcpServers } from './support/mcp_http_server.mjs';
import { kHttpPosted, kMcp } from './support/messages.mjs';
import { answer, asks, begins, kNoResponse, says } from './support/remotes.mjs';
import { startServer } from './support/server.mjs';

const kContextValue = 45; // WINHTTP_OPTION_CONTEXT_VALUE
const kDisableFeature = 63; // WINHTTP_OPTION_DISABLE_FEATURE

let page;
let remotes;
let failures;
let host;
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>failing calls</title>' });
  remotes = await startMcpServers({
    session: { initialize: begins('s-1') },
    asks: {
      call: ({ response, message }) =>
        beginEvents(response).end(event(asks(7)) + event(answer(message.id))),
    },
    speaks: { listen: ({ response }) => beginEvents(response).write(event(says('hello'))) },
  });
  failures = await makeFailures();
  host = await startHost({ address: page.url, config: { mcpServers: {} }, env: failures.env });
});
after(async () => {
  const code = await host?.close();
  await failures?.close();
  await remotes?.close();
  await page?.close();
  assert.equal(code, 0);
});

// Loads a config.json with one server, or with none. `remotes` plays a proper server under any name
// that it has no functions for.
async function load(name) {
  const from = host.log.length;
  await replaceConfig(host.profile, { mcpServers: name ? { [name]: remotes.entry(name) } : {} });
  await lookAtConfig(host);
  await host.waitForLine(name ? '[MCP] loaded 1 server(s)' : '[MCP] no mcpServers', { from });
}

const call = async (name) => (await callTool(host, name)).value;
const calledDuring = (plan, name) => failures.during(plan, () => call(name));

// The steps of a request: the call that fails, and what the page gets.
const kSteps = [
  ['WinHttpCrackUrl', { error: 'invalid URL' }],
  ['WinHttpOpen', { error: 'WinHttpOpen failed' }],
  ['WinHttpConnect', { error: 'connect failed' }],
  ['WinHttpOpenRequest/POST', { error: 'request failed' }],
  [`WinHttpSetOption/${kContextValue}`, { error: 'request failed' }],
  ['WinHttpSetStatusCallback', { error: 'request failed' }],
  [`WinHttpSetOption/${kDisableFeature}`, { error: 'request failed' }],
  ['WinHttpSendRequest', { error: 'request failed (offline?)' }],
  ['WinHttpReceiveResponse', { error: 'request failed (offline?)' }],
  ['WinHttpQueryHeaders', { error: 'HTTP 0' }],
  ['WinHttpQueryDataAvailable', kNoResponse],
  ['WinHttpReadData', kNoResponse],
];

test('each step of a request that fails has its error text and leaks nothing', async () => {
  await load('proper');
  // Makes what the program keeps until its end.
  await failures.during('WinHttpSendRequest', () => call('proper'));
  const held = await holdings(host);
  for (const [plan, answer] of kSteps) {
    assert.deepEqual(await calledDuring(plan, 'proper'), answer, plan);
    assert.equal((await host.page.call('platform', [])).value.name, 'Windows');
  }
  await holdsNoMore(host, held);
  assert.deepEqual(await call('proper'), kEcho);
});

test('a request goes on without its time-outs and without its headers', async () => {
  await load('headers');
  for (const plan of ['WinHttpSetTimeouts', 'WinHttpAddRequestHeaders']) {
    assert.deepEqual(await calledDuring(plan, 'headers'), kEcho, plan);
  }
  const { headers } = remotes.of('headers', 'call').at(-1);
  assert.notEqual(headers.accept, 'application/json, text/event-stream');
});

test('a request that gets no thread fails', async () => {
  await load('threads');
  assert.deepEqual(await calledDuring('CreateThread', 'threads'), { error: 'MCP request failed' });
  assert.deepEqual(await call('threads'), kEcho);
  assert.deepEqual(await calledDuring('CreateThread', 'threads'), { error: 'MCP request failed' });
  assert.deepEqual(await call('threads'), kEcho);
});

test('a handshake whose notification gets no thread goes on', async () => {
  await load('notification');
  assert.deepEqual(await calledDuring('CreateThread:2', 'notification'), kEcho);
  assert.deepEqual(remotes.of('notification', 'initialized'), []);
});

test('a request of a server whose response gets no thread is not answered; the next one is', async () => {
  await load('asks');
  assert.deepEqual(await call('asks'), kEcho);
  await remotes.waitFor('asks', 'answer');
  assert.deepEqual(await calledDuring('CreateThread:2', 'asks'), kEcho);
  assert.equal(remotes.of('asks', 'answer').length, 1);
  assert.deepEqual(await call('asks'), kEcho);
  await remotes.waitFor('asks', 'answer', 2);
});

test('a request that gets no thread while the queue is full ends by its time-out', async () => {
  await load('queue');
  assert.deepEqual(await call('queue'), kEcho);
  failures.plan(`CreateThread PostMessageW/${kMcp}`);
  const late = call('queue');
  await failures.waitFor('PostMessageW');
  failures.plan('');
  await letAllTimeOut(host, late);
  assert.deepEqual(await late, { error: 'MCP request timed out' });
  assert.deepEqual(await call('queue'), kEcho);
});

test('responses, and the messages about sent requests, wait for room in a full queue', async () => {
  await load('posts');
  const plan = `PostMessageW/${kMcp}:1-20 PostMessageW/${kHttpPosted}:1-20`;
  assert.deepEqual(await calledDuring(plan, 'posts'), kEcho);
  assert.deepEqual(await call('posts'), kEcho);
});

test('a server whose listener gets no thread still answers', async () => {
  await failures.during('CreateThread', () => load('session'));
  assert.deepEqual(await call('session'), kEcho);
  await load('proper'); // the listener of the next server gets a thread
  await call('proper');
  await remotes.waitFor('proper', 'listen');
  assert.deepEqual(remotes.of('session', 'listen'), []);
});

test('a session ends without its DELETE request when that gets no thread or fails', async () => {
  const deletes = () => remotes.of('session', 'end').length;
  const plans = [
    'CreateThread', 'WinHttpCrackUrl', 'WinHttpOpen', 'WinHttpConnect', 'WinHttpOpenRequest/DELETE',
    'WinHttpSendRequest',
  ];
  const before = deletes();
  for (const plan of plans) {
    await load('session');
    assert.deepEqual(await call('session'), kEcho);
    failures.plan(plan);
    await load();
    await failures.waitFor(plan);
    failures.plan('');
    assert.equal((await host.page.call('platform', [])).value.name, 'Windows', plan);
  }
  assert.equal(deletes(), before);
  await load('session');
  await call('session');
  await load();
  await remotes.waitFor('session', 'end', before + 1);
});

test('a listener goes on after each of its steps has failed', async () => {
  const from = host.log.length;
  const listens = () => remotes.of('speaks', 'listen').length;
  await load('speaks');
  failures.plan('WinHttpOpenRequest/GET');
  assert.deepEqual(await call('speaks'), kEcho);
  await failures.waitFor('WinHttpOpenRequest/GET');
  const steps = [
    'WinHttpCrackUrl', 'WinHttpOpen', 'WinHttpConnect', 'WinHttpSetStatusCallback', 'WinHttpSendRequest',
    'WinHttpReceiveResponse', 'WinHttpQueryHeaders', 'WinHttpQueryDataAvailable', 'WinHttpReadData',
  ];
  for (const plan of steps) {
    failures.plan(plan);
    await failures.waitFor(plan);
  }
  failures.plan('');
  const before = listens();
  await remotes.waitFor('speaks', 'listen', before + 1);
  await host.waitForLine('[MCP speaks] hello', { from });
  assert.deepEqual(await call('speaks'), kEcho);
});
