// A remote MCP server that uses the framework fastmcp. The argument says how it answers:
// "sessions", "stateless" or "json".
import { FastMCP } from 'fastmcp';
import * as z from 'zod';

const [, , way] = process.argv;
const server = new FastMCP({ name: 'fastmcp', version: '1.0.0' });

server.addTool({
  name: 'echo',
  parameters: z.object({ message: z.string() }),
  execute: async ({ message }) => `Echo: ${message}`,
});

// Adds a tool, so that the server notifies the client of changed tools, and sends a notification
// with the message.
server.addTool({
  name: 'announce',
  parameters: z.object({ message: z.string() }),
  execute: async ({ message }) => {
    server.addTool({ name: message, execute: async () => 'new' });
    const params = { progressToken: 0, progress: 1, message };
    for (const session of server.sessions) {
      await session.server.notification({ method: 'notifications/progress', params });
    }
    return 'announced';
  },
});

// Sends the client a ping before it answers, on the event stream of the client's GET request.
server.addTool({
  name: 'ask',
  execute: () => server.sessions[0].server.ping().then(() => 'answered', ({ message }) => message),
});

await server.start({
  transportType: 'httpStream',
  httpStream: { port: 0, stateless: way === 'stateless', enableJsonResponse: way === 'json' },
});
