// Tests servers that send far too much: the host's process stays small, calls of other servers are
// answered, and the window closes.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { staysWithinBounds } from './support/bounds.mjs';
import { callTool, kEcho } from './support/calls.mjs';
import { endlessly, mcpChild, request } from './support/mcp_children.mjs';
import { beginEvents, event, send, startMcpServers } from './support/mcp_http_server.mjs';
import { asks, kNoResponse, never } from './support/remotes.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kQuestions = 20_000;
const kListMs = 60_000; // more than the time-out of a tool list, 30 seconds

let page;
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>bounds</title>' });
});
after(() => page?.close());

// Runs staysWithinBounds with one remote server, "flood".
async function withRemote(t, remote, flood) {
  const remotes = await startMcpServers({ flood: remote });
  try {
    await staysWithinBounds(t, { page, mcpServers: { flood: remotes.entry('flood') }, ...flood(remotes) });
  } finally {
    await remotes.close();
  }
}

// Starts a call. `reply` is its promise; a call that gets no reply is no error.
function startCall(host, action, args) {
  const reply = host.page.call(action, args, { timeoutMs: kListMs });
  reply.catch(() => {});
  return { reply };
}

test('the host keeps its limits with a remote server that takes no responses', (t) =>
  withRemote(t, {
    answer: never,
    call: ({ response }) => {
      const stream = beginEvents(response);
      for (let i = 0; i < kQuestions; ++i) stream.write(event(asks(i)));
    },
  }, (remotes) => ({
    begin: async (host) => {
      startCall(host, 'mcpCall', ['flood', 'echo', {}]);
      await remotes.waitFor('flood', 'answer');
    },
  })));

test('the host keeps its limits with a remote server that sends requests to its listener', (t) =>
  withRemote(t, {
    answer: never,
    listen: ({ response }) => {
      const stream = beginEvents(response);
      for (let i = 0; i < kQuestions; ++i) stream.write(event(asks(i)));
    },
  }, (remotes) => ({
    begin: async (host) => {
      startCall(host, 'mcpServers', []);
      await remotes.waitFor('flood', 'answer');
    },
  })));

test('the host keeps its limits with a remote server whose requests have ids of 1 MiB', (t) =>
  withRemote(t, {
    answer: never,
    call: ({ response }) => {
      const stream = beginEvents(response);
      const large = event(asks('x'.repeat(1 << 20)));
      for (let i = 0; i < 100; ++i) stream.write(large);
    },
  }, (remotes) => ({
    begin: async (host) => {
      startCall(host, 'mcpCall', ['flood', 'echo', {}]);
      await remotes.waitFor('flood', 'answer');
    },
  })));

test('the host keeps its limits with a local server that sends requests and does not read', (t) =>
  staysWithinBounds(t, {
    page,
    mcpServers: {
      flood: mcpChild('call', ...endlessly('line', Array(100).fill(request(1, 'ping')).join('\n'))),
    },
    begin: (host) => startCall(host, 'mcpCall', ['flood', 'echo', {}]),
  }));

test('the host keeps its limits with a local server whose requests have ids of a megabyte', (t) =>
  staysWithinBounds(t, {
    page,
    mcpServers: {
      flood: mcpChild('call', ...endlessly('text', '{"method":"x","id":"', 'fill', '1000000', 'line', '"}')),
    },
    begin: (host) => startCall(host, 'mcpCall', ['flood', 'echo', {}]),
  }));

test('the host keeps its limits with a local server that sends lines of a million brackets', (t) =>
  staysWithinBounds(t, {
    page,
    mcpServers: {
      flood: mcpChild('call', ...endlessly('brackets', '1000000', 'line', '')),
    },
    begin: (host) => startCall(host, 'mcpCall', ['flood', 'echo', {}]),
  }));

// 256 MiB are more than the limit: the host does not keep messages that it has handled.
test('the host keeps its limits with a local server that sends 256 MiB', (t) =>
  staysWithinBounds(t, {
    page,
    mcpServers: {
      flood: mcpChild('call', 'times', '4096', 'text', '{"method":"n","params":{"x":"', 'fill', '65536',
        'line', '"}}', 'call', 'answer'),
    },
    begin: (host) => startCall(host, 'mcpCall', ['flood', 'echo', {}]),
    during: async (host) => assert.deepEqual((await callTool(host, 'flood')).value, kEcho),
  }));

for (const [what, body] of Object.entries({
  'opening brackets': '['.repeat(8 << 20),
  'opening braces': '{'.repeat(8 << 20),
  'pairs of brackets': '['.repeat(4 << 20) + ']'.repeat(4 << 20),
  'small values': `{"id":ID,"result":[0${',0'.repeat((4 << 20) - 20)}]}`,
})) {
  test(`the host keeps its limits with a remote server that answers with 8 MiB of ${what}`, (t) =>
    withRemote(t, {
      call: ({ response, message }) =>
        send(response, 200, { 'Content-Type': 'application/json' },
          body.replace('ID', JSON.stringify(message.id))),
    }, () => {
      let call;
      return {
        begin: (host) => (call = startCall(host, 'mcpCall', ['flood', 'echo', {}])),
        during: async () => assert.deepEqual((await call.reply).value, kNoResponse),
      };
    }));
}

// The comments prevent every time-out except that of the request. The test waits for the real
// time-out of a tool list, so it also shows that requests time out by themselves.
test('a request whose answer is an endless stream of comments times out', { timeout: 2 * kListMs }, async (t) => {
  let gone = false;
  await withRemote(t, {
    list: ({ response }) => {
      const stream = beginEvents(response);
      const comment = setInterval(() => stream.write(':\n\n'), 100);
      stream.on('close', () => {
        clearInterval(comment);
        gone = true;
      });
    },
  }, () => ({
    begin: async (host) => {
      const { value } = await startCall(host, 'mcpServers', []).reply;
      const flooded = value.find(({ name }) => name === 'flood');
      assert.equal(flooded.error, 'MCP request timed out');
      await until('the end of the connection', () => gone);
    },
  }));
});

test('a local server that sends fifty requests before it reads is answered', async (t) => {
  const child = mcpChild('call', 'times', '50', 'line', request(1, 'ping'), 'call', 'answer');
  await staysWithinBounds(t, {
    page,
    mcpServers: { flood: child },
    begin: (host) => startCall(host, 'mcpCall', ['flood', 'echo', {}]),
    during: async (host) => assert.deepEqual((await callTool(host, 'flood')).value, kEcho),
  });
});
