// Uses a local and a remote MCP server of other authors at the same time, in the playground.
import assert from 'node:assert/strict';
import { once } from 'node:events';
import { createServer } from 'node:net';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { ended, spawnTied } from '../../tools/wine/processes.mjs';
import { Lines } from './support/lines.mjs';
import { nodeServer } from './support/mcp_servers.mjs';
import { startPlayground } from './support/playground.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kEverything = 'tests/e2e/node_modules/@modelcontextprotocol/server-everything/dist/index.js';
const kStartMs = 60_000;

async function freePort() {
  const server = createServer().listen(0, '127.0.0.1');
  await once(server, 'listening');
  const { port } = server.address();
  server.close();
  return port;
}

const kPreload = new URL('support/global_crypto.mjs', import.meta.url).href;

// Starts the everything server with this machine's Node; gives its address and a function that ends
// it.
async function startRemoteServer() {
  const port = await freePort();
  const child = spawnTied(process.execPath, ['--import', kPreload, kEverything, 'streamableHttp'], {
    cwd: kRoot,
    env: { ...process.env, PORT: String(port) },
    stdio: ['ignore', 'ignore', 'pipe'],
  });
  await new Lines(child.stderr).waitFor('listening on port');
  const close = async () => {
    const end = ended(child);
    child.kill('SIGKILL');
    await end;
  };
  return { url: `http://localhost:${port}/mcp`, close };
}

test('tools of a local and of a remote server are listed and called side by side', async (t) => {
  const remote = await startRemoteServer();
  t.after(() => remote.close());
  const playground = await startPlayground({
    config: {
      mcpServers: {
        'far away': { url: remote.url },
        here: nodeServer('everything'),
        gone: { url: 'http://localhost:1/mcp' },
      },
    },
  });
  let code; // the host's exit code; a test that fails leaves the closing to the line below
  t.after(() => code ?? playground.close());
  await playground.click('a[href="#servers"]');
  await playground.says('#servers-status', '2 of 3 servers ready', kStartMs);
  assert.deepEqual(await playground.texts('.server > summary b'), ['far away', 'here', 'gone']);
  const [far, here, gone] = await playground.texts('.server > summary .state');
  assert.match(far, /^ready · \d+ tools$/);
  assert.equal(here, far);
  assert.equal(gone, 'failed');
  await playground.says('.server.failed .problem', 'request failed (offline?)');
  await playground.says('.server .where', remote.url);
  for (const name of ['far away', 'here']) {
    const inTool = (tool, selector) => `[data-server="${name}"] [data-tool="${tool}"] ${selector}`;
    await playground.click(inTool('echo', '> summary'));
    await playground.fill(inTool('echo', '[name="message"]'), `to ${name}`);
    await playground.click(inTool('echo', '.call button'));
    await playground.says(inTool('echo', '.calls pre'), `Echo: to ${name}`);
    await playground.click(inTool('get-tiny-image', '> summary'));
    await playground.click(inTool('get-tiny-image', '.call button'));
    await playground.says(inTool('get-tiny-image', 'figcaption'), 'image/png · 20 × 20 pixels');
  }
  await playground.page.evaluate("document.body.style.zoom = '0.28'; scrollTo(0, 0)"); // shows all
  await playground.takePicture('mcp-side-by-side');
  code = await playground.close();
  assert.equal(code, 0);
});
