// Tests ./run without a display.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { get } from 'node:http';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { ended } from '../../tools/wine/processes.mjs';
import { Lines } from './support/lines.mjs';
import { inTime, until } from './support/waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kBuildMs = 300_000; // ./run may have to build first

const answers = (url) =>
  new Promise((resolve) => get(url, () => resolve(true)).on('error', () => resolve(false)));

test('run shows the playground, and Ctrl+C ends it and all that it has started', async (t) => {
  const run = spawn(join(kRoot, 'run'), {
    detached: true, // a new process group, as in a terminal
    env: { ...process.env, DISPLAY: '' },
    stdio: ['ignore', 'pipe', 'pipe'],
  });
  t.after(() => run.kill('SIGKILL'));
  const end = ended(run);
  const log = new Lines(run.stdout);
  const messages = new Lines(run.stderr);

  const served = await messages.waitFor('the playground is served at', { timeoutMs: kBuildMs });
  const url = served.split(' ').at(-1);
  await messages.waitFor('build/run.png (the page is there)');
  await log.waitFor("[JS->Native] action 'platform'");
  assert.equal(readFileSync(join(kRoot, 'build/run.png')).toString('latin1', 1, 4), 'PNG');

  process.kill(-run.pid, 'SIGINT');
  assert.equal((await inTime('the end', end)).code, 0);
  await until('the end of the server', async () => !(await answers(url)));
});
