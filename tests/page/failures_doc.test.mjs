// docs/failures.md beside the tests that it names and the list of functions that can be made to fail.
import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const read = (path) => readFileSync(join(kRoot, path), 'utf8');
const doc = read('docs/failures.md');

// The rows that have a test: {calls, test}, the latter as 'program: name'.
const rows = doc.split('\n')
  .map((line) => line.split(/(?<!\\) ?\| ?/).slice(1, -1))
  .filter((cells) => cells.length === 4 && !/^(Call|---)/.test(cells[0]))
  .map(([calls, , , test]) => ({ calls, test: test.replaceAll('`', '') }));

const namesOfNode = (file) =>
  [...read(file).matchAll(/^\s*(?:test\(|)(['"`])(.+?)\1(?:, |:$)/gm)].map(([, , name]) => name);
const namesOfGoogle = (file) =>
  [...read(file).matchAll(/^TEST(?:_F)?\((\w+),\s*(\w+)\)/gm)].map(([, suite, name]) => `${suite}.${name}`);

// Every GoogleTest file, by folder: 'faults_test' is tests/faults, 'config_win_test' tests/config.
function namesOf(program) {
  const folder = /^(\w+?)(?:_win)?_test$/.exec(program)?.[1];
  if (!folder) return namesOfNode(`tests/e2e/${program}.test.mjs`);
  return readdirSync(join(kRoot, 'tests', folder))
    .filter((file) => file.endsWith('.cpp'))
    .flatMap((file) => namesOfGoogle(`tests/${folder}/${file}`));
}

test('every test that is named exists', () => {
  assert.ok(rows.length > 50, `${rows.length} rows`);
  for (const { test: named } of rows) {
    const [program, name] = named.split(/: (.*)/s);
    assert.ok(namesOf(program).includes(name), named);
  }
});

test('every test of calls that fail is named', () => {
  const named = new Set(rows.map((row) => row.test));
  const files = readdirSync(join(kRoot, 'tests/e2e')).filter((file) => /^failing_.*\.test\.mjs$/.test(file));
  assert.ok(files.length >= 4, files.join());
  for (const file of files) {
    const program = file.replace('.test.mjs', '');
    const tests = [...read(`tests/e2e/${file}`).matchAll(/^test\((['"])(.+)\1, async/gm)];
    for (const [, , name] of tests) {
      // What stands for a table of its own has a row for each of its lines instead.
      if (name === 'what fails while a server is started is said, and leaves nothing behind') continue;
      assert.ok(named.has(`${program}: ${name}`), `${program}: ${name}`);
    }
  }
});

test('every function that can be made to fail has a row', () => {
  const source = read('devruntime/failing_calls/failing_calls_win.cpp');
  const functions = [...source.matchAll(/WENDRA_CALL\((\w+), k/g)].map(([, name]) => name);
  assert.ok(functions.length > 60, `${functions.length} functions`);
  const missing = functions.filter((name) => !new RegExp(`\`${name}\``).test(doc));
  assert.deepEqual(missing, []);
});
