// Starts a host with remote servers of mcp_http_server.mjs, and has functions for what they do.
import assert from 'node:assert/strict';
import { startHost } from './host.mjs';
import { beginEvents, event, result, send, sendJson, startMcpServers, text } from './mcp_http_server.mjs';

export const kNoResponse = { error: 'MCP server returned no response' };
export const kOffline = { error: 'request failed (offline?)' };
const kProtocolVersion = '2025-11-25';

// Starts the servers (as startMcpServers takes them) and a host on `page`, and ends both after
// `use(host, remotes)`. `entries`: name -> further keys of its entry in config.json. `secure`: a
// certificate for https. `wanted`: further members for startHost.
export async function withRemotes(page, servers, use, { entries = {}, secure, ...wanted } = {}) {
  const remotes = await startMcpServers(servers, { secure });
  const names = Object.keys(servers);
  const mcpServers = Object.fromEntries(names.map((name) => [name, remotes.entry(name, entries[name])]));
  const host = await startHost({ address: page.url, config: { mcpServers }, ...wanted });
  try {
    await host.waitForLine(`[MCP] loaded ${names.length} server(s)`);
    await use(host, remotes);
  } finally {
    const code = await host.close().finally(() => remotes.close());
    assert.equal(code, 0);
  }
}

// What a server may do with a request, and messages that it may send.
export const answer = (id) => result(id, text('hi'));
export const status = (code, headers, body) => ({ response }) => send(response, code, headers, body);
export const asEvents = (make) => ({ response, message }) => beginEvents(response).end(make(message.id));
export const asBody = (make, headers = {}) => ({ response, message }) =>
  send(response, 200, headers, make(message.id));
export const begins = (sessionId, protocolVersion = kProtocolVersion) => ({ response, message }) =>
  sendJson(response, result(message.id, { protocolVersion }), { 'Mcp-Session-Id': sessionId });
export const never = () => {};
export const drops = ({ response }) => response.socket.destroy();
export const asks = (id) => ({ jsonrpc: '2.0', id, method: 'ping' });
export const says = (words) => ({ jsonrpc: '2.0', method: 'notifications/message', params: { message: words } });

// Sends the same event again and again, a hundred per write, as fast as the host reads.
// `seen.pieces` counts the writes.
export function flood(stream, seen) {
  const piece = event(says('more')).repeat(100);
  const write = () => {
    if (stream.destroyed) return;
    seen.pieces += 1;
    stream.write(piece, () => setImmediate(write));
  };
  write();
}
