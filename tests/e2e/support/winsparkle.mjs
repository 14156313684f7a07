// The stand-in for the update library, as a test sees it: what the host has called, and calling the
// host's callbacks. docs/runtime-winsparkle.md says how it is told what to do.
import { existsSync } from 'node:fs';
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import { createServer } from 'node:net';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { endsWithFile } from './leftovers.mjs';
import { Lines } from './lines.mjs';
import { inTime, until } from './waiting.mjs';

// For one host. `env` goes into the host's environment, beside what `settings` says: for example
// {INTERVAL: 7200} for WENDRA_DEV_WINSPARKLE_INTERVAL.
export async function startWinSparkle(settings = {}) {
  const folder = await mkdtemp(join(tmpdir(), 'wendra-winsparkle-'));
  const file = join(folder, 'calls');
  const server = createServer();
  const connected = new Promise((resolve) => {
    server.once('connection', (socket) => {
      socket.on('error', () => {}); // the host may end at any time
      resolve({ socket, answers: new Lines(socket) });
    });
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  const all = { CALLS: file, CONTROL: server.address().port, ...settings };

  const record = async () => {
    const text = existsSync(file) ? await readFile(file, 'utf8') : '';
    return text.split('\n').slice(0, -1).map((line) => JSON.parse(line));
  };
  const calls = async () => (await record()).filter(({ call }) => call);

  return {
    env: Object.fromEntries(
      Object.entries(all).map(([name, value]) => [`WENDRA_DEV_WINSPARKLE_${name}`, `${value}`]),
    ),
    // {call, args, thread} or {fired, returned, thread}, in order.
    record,
    calls,
    // The call of that name, come or to come; `index`: not the first, but a later one.
    waitForCall: (name, index = 0) =>
      until(`a call of ${name}`, async () =>
        (await calls()).filter(({ call }) => call === name)[index]),
    // Calls the host's callback from a thread of the library's own: {fired, returned} or {error},
    // after it has returned. 'did_find_update' and so on.
    async fire(name) {
      const { socket, answers } = await inTime('the library to connect', connected);
      const from = answers.all.length;
      socket.write(`${name}\n`);
      return JSON.parse(await answers.waitFor(`${name}`, { from }));
    },
    close: endsWithFile(async () => {
      server.close();
      await rm(folder, { recursive: true, force: true });
    }),
  };
}
