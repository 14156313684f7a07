// Remote MCP servers that others wrote, each behind a proxy that takes the chunks out of responses:
// Wine hands a chunked body over one chunk late, and what comes last in a quiet stream never.
import { fork } from 'node:child_process';
import { once } from 'node:events';
import { createServer, request as send } from 'node:http';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { begin } from './mcp_http_server.mjs';

const kFolder = dirname(fileURLToPath(import.meta.url));
const kModules = join(kFolder, '../node_modules');
const kPreload = new URL('any_port.mjs', import.meta.url).href;

// `script`: a path below node_modules.
export async function startForeignServer(script, args = []) {
  const child = fork(join(kModules, script), args, {
    execArgv: ['--import', kPreload],
    stdio: ['ignore', 'ignore', 'ignore', 'ipc'],
  });
  const ended = once(child, 'exit');
  const port = await Promise.race([
    once(child, 'message').then(([message]) => message.port),
    ended.then(([code]) => Promise.reject(new Error(`${script} ended with ${code}`))),
  ]);
  const proxy = await startUnchunkingProxy(port);
  return {
    url: proxy.url,
    requests: proxy.requests,
    async close() {
      await proxy.close();
      child.kill('SIGKILL');
      await ended;
    },
  };
}

async function startUnchunkingProxy(port) {
  const requests = []; // {method, headers}
  const proxy = createServer((incoming, response) => {
    const { method, url, headers } = incoming;
    requests.push({ method, headers });
    const outgoing = send({ port, host: '127.0.0.1', method, path: url, headers }, (answer) => {
      const { 'transfer-encoding': _, connection: __, ...kept } = answer.headers;
      answer.pipe(begin(response, answer.statusCode, kept));
    });
    outgoing.on('error', () => response.destroy());
    response.on('close', () => outgoing.destroy());
    incoming.pipe(outgoing);
  });
  proxy.listen(0, '127.0.0.1');
  await once(proxy, 'listening');
  return {
    requests,
    url: `http://localhost:${proxy.address().port}/mcp`,
    close: async () => {
      proxy.close();
      proxy.closeAllConnections();
    },
  };
}
