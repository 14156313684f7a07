// The server of the MCP benchmarks; it uses the official SDK. Its only tool, echo, returns the text
// `message`, repeated and cut to `bytes` bytes, so a small request can have a large response.
//
//   node mcp_echo_server.mjs [LIST_MS]    serves standard input and output; answers the request
//                                         for the list of tools after LIST_MS milliseconds
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

// A server that answers the request for its tools after `listMs`.
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

// Serves streamable HTTP with sessions on a free port of localhost. Responses are JSON with `json`,
// else event streams.
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
  server.keepAliveTimeout = 60_000; // keeps connections while another client is measured
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
