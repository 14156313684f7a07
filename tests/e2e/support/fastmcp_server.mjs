// A remote MCP server on the framework fastmcp. The command line says how it answers: "sessions",
// "stateless" or "json".
import { FastMCP } from 'fastmcp';
import * as z from 'zod';

const [, , way] = process.argv;
const server = new FastMCP({ name: 'fastmcp', version: '1.0.0' });

server.addTool({
  name: 'echo',
  parameters: z.object({ message: z.string() }),
  execute: async ({ message }) => `Echo: ${message}`,
});

// Has the server say by itself that its tools have changed, and the message.
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

// Asks the client something before it answers, on the stream that the client listens to.
server.addTool({
  name: 'ask',
  execute: () => server.sessions[0].server.ping().then(() => 'answered', ({ message }) => message),
});

await server.start({
  transportType: 'httpStream',
  httpStream: { port: 0, stateless: way === 'stateless', enableJsonResponse: way === 'json' },
});
