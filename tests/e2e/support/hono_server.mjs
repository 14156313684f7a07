// A remote MCP server that uses the framework Hono with @hono/mcp. The argument says how it
// answers: "sessions", "stateless" or "json".
import { randomUUID } from 'node:crypto';
import { StreamableHTTPTransport } from '@hono/mcp';
import { serve } from '@hono/node-server';
import { McpServer } from '@modelcontextprotocol/sdk/server/mcp.js';
import { EmptyResultSchema } from '@modelcontextprotocol/sdk/types.js';
import { Hono } from 'hono';
import * as z from 'zod';

const [, , way] = process.argv;
const kTransport = { enableJsonResponse: way === 'json' };
const text = (words) => ({ content: [{ type: 'text', text: words }] });

function makeServer() {
  const server = new McpServer({ name: 'hono', version: '1.0.0' });
  const inputSchema = { message: z.string() };
  server.registerTool('echo', { inputSchema }, async ({ message }) => text(`Echo: ${message}`));
  // Adds a tool, so that the server notifies the client of changed tools, and sends a notification
  // with the message.
  server.registerTool('announce', { inputSchema }, async ({ message }) => {
    server.registerTool(message, {}, async () => text('new'));
    const params = { progressToken: 0, progress: 1, message };
    await server.server.notification({ method: 'notifications/progress', params });
    return text('announced');
  });
  // Sends the client a ping before it answers, on the event stream of the call.
  server.registerTool('ask', {}, ({ sendRequest }) =>
    sendRequest({ method: 'ping' }, EmptyResultSchema)
      .then(() => text('answered'), ({ message }) => text(message)));
  return server;
}

async function connected(options) {
  const transport = new StreamableHTTPTransport({ ...kTransport, ...options });
  await makeServer().connect(transport);
  return transport;
}

const sessions = new Map();

async function transportOf(id) {
  if (id) return sessions.get(id);
  const transport = await connected({
    sessionIdGenerator: randomUUID,
    onsessioninitialized: (made) => sessions.set(made, transport),
    onsessionclosed: (ended) => sessions.delete(ended),
  });
  return transport;
}

const everybodys = way === 'stateless' && (await connected({}));
const app = new Hono();
app.all('/mcp', async (context) => {
  const transport = everybodys || (await transportOf(context.req.header('mcp-session-id')));
  return transport ? transport.handleRequest(context) : context.notFound();
});
serve({ fetch: app.fetch, port: 0 });
