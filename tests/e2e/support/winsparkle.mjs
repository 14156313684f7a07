// The test's side of the stand-in for the update library: shows what the host has called, and calls
// the host's callbacks. docs/runtime-winsparkle.md describes the settings of the stand-in.
import { existsSync } from 'node:fs';
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import { createServer } from 'node:net';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { endsWithFile } from './leftovers.mjs';
import { Lines } from './lines.mjs';
import { inTime, until } from './waiting.mjs';

// For one host, which gets `env` of the result in its environment. `settings` become variables, for
// example {INTERVAL: 7200} becomes WENDRA_DEV_WINSPARKLE_INTERVAL.
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
    // Waits for the call of that name. `index`: which of the calls with that name, from 0.
    waitForCall: (name, index = 0) =>
      until(`a call of ${name}`, async () =>
        (await calls()).filter(({ call }) => call === name)[index]),
    // Calls the host's callback, such as 'did_find_update', from a thread of the library. Resolves
    // after it has returned, with {fired, returned} or {error}.
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
