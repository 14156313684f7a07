// Serves the playground the way ./run does.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');

export async function startPlayground() {
  const server = spawn(process.execPath, ['tools/serve.mjs', 'page', '/playground/'], {
    cwd: kRoot,
    stdio: ['pipe', 'pipe', 'inherit'],
  });
  const [line] = await once(server.stdout, 'data');
  return {
    address: String(line).trim(), // as the server prints it
    async close() {
      server.stdin.end();
      await once(server, 'exit');
    },
  };
}
