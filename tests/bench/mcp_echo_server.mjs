// The server of the MCP benchmarks, on the official SDK. Its one tool, echo, returns its text
// `message`, repeated and cut to `bytes` bytes, so that a small request can have a large answer.
//
//   node mcp_echo_server.mjs [LIST_MS]    serves standard input and output; LIST_MS milliseconds
//                                         pass before the list of tools is answered
import { createServer } from 'node:http';
import { randomUUID } from 'node:crypto';
import { fileURLToPath } from 'node:url';
import { Server } from '../e2e/node_modules/@modelcontextprotocol/sdk/dist/esm/server/index.js';
import { StdioServerTransport } from '../e2e/node_modules/@modelcontextprotocol/sdk/dist/esm/server/stdio.js';
import { StreamableHTTPServerTransport } from '../e2e/node_modules/@modelcontextprotocol/sdk/dist/esm/server/streamableHttp.js';
import {
  CallToolRequestSchema,
  ListToolsRequestSchema,
} from '../e2e/node_modules/@modelcontextprotocol/sdk/dist/esm/types.js';

const kEcho = {
  name: 'echo',
  description: 'Returns a text, repeated and cut to a number of bytes',
  inputSchema: {
    type: 'object',
    properties: { message: { type: 'string' }, bytes: { type: 'number' } },
    required: ['message', 'bytes'],
  },
};

const textOf = ({ message, bytes }) =>
  message.length === bytes
    ? message
    : message.repeat(Math.ceil(bytes / message.length)).slice(0, bytes);

// A server that answers the list after `listMs`.
function makeServer({ listMs = 0 } = {}) {
  const server = new Server({ name: 'echo', version: '1' }, { capabilities: { tools: {} } });
  server.setRequestHandler(ListToolsRequestSchema, async () => {
    if (listMs > 0) await new Promise((resolve) => setTimeout(resolve, listMs));
    return { tools: [kEcho] };
  });
  server.setRequestHandler(CallToolRequestSchema, async ({ params }) => ({
    content: [{ type: 'text', text: textOf(params.arguments) }],
  }));
  return server;
}

// Streamable HTTP with sessions on a free port of localhost; answers are event streams unless
// `json`.
export async function startHttpServer({ json = false } = {}) {
  const transports = new Map();
  const open = async () => {
    const transport = new StreamableHTTPServerTransport({
      sessionIdGenerator: randomUUID,
      enableJsonResponse: json,
      onsessioninitialized: (id) => transports.set(id, transport),
    });
    await makeServer().connect(transport);
    return transport;
  };
  const server = createServer(async (request, response) => {
    const transport = transports.get(request.headers['mcp-session-id']) ?? (await open());
    await transport.handleRequest(request, response);
  });
  server.keepAliveTimeout = 60_000; // while another client is measured, connections stay
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  return {
    url: `http://localhost:${server.address().port}/mcp`,
    close: () => {
      server.close();
      server.closeAllConnections();
    },
  };
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  await makeServer({ listMs: Number(process.argv[2] ?? 0) }).connect(new StdioServerTransport());
}
