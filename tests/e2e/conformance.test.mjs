// Runs all client scenarios of the official MCP conformance suite. For each of them as many checks
// must pass as docs/conformance.md says, no more and no fewer.
import assert from 'node:assert/strict';
import { once } from 'node:events';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { spawnTied } from '../../tools/wine/processes.mjs';

const kVersion = '2025-11-25'; // the protocol version that the host offers to remote servers
const kCommand = fileURLToPath(new URL('conformance.mjs', import.meta.url));
const kText = readFileSync(new URL('../../docs/conformance.md', import.meta.url), 'utf8');

// Scenario -> "1 of 2" (checks that pass), from the table of that version.
function writtenResults() {
  const [, section] = kText.split(`\n## ${kVersion}\n`);
  const rows = section.split('\n## ')[0].matchAll(/^\| (`.+`) \| (\d+ of \d+) \|/gm);
  return Object.fromEntries([...rows].flatMap(([, names, checks]) =>
    [...names.matchAll(/`([^`]+)`/g)].map(([, name]) => [name, checks])));
}

async function runSuite() {
  const options = ['--suite', 'all', '--spec-version', kVersion];
  const suite = spawnTied(process.execPath, [kCommand, ...options], { stdio: ['ignore', 'pipe', 'pipe'] });
  const output = { stdout: '', stderr: '' };
  for (const name of Object.keys(output)) {
    suite[name].setEncoding('utf8').on('data', (text) => (output[name] += text));
  }
  await once(suite, 'close');
  return output;
}

test('the results of the conformance suite are those in docs/conformance.md', async () => {
  const { stdout, stderr } = await runSuite();
  assert.match(stdout, /^=== SUITE SUMMARY ===$/m, stderr);
  assert.doesNotMatch(stderr, /Client (exited|timed out)/); // the suite does not count these as failures
  const lines = stdout.matchAll(/^[✓✗] (\S+): (\d+) passed, (\d+) failed(?:, (\d+) warnings)?$/gm);
  const found = [...lines].map(([, name, passed, failed, warned = 0]) =>
    [name, `${passed} of ${Number(passed) + Number(failed) + Number(warned)}`]);
  assert.deepEqual(Object.fromEntries(found), writtenResults());
});
