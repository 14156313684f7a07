// Compares docs/failures.md with the tests that it names, and with the list of functions that tests
// can make fail.
import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const read = (path) => readFileSync(join(kRoot, path), 'utf8');
const doc = read('docs/failures.md');

// The rows of the document's tables: {calls, test}; `test` is 'program: name'.
const rows = doc.split('\n')
  .map((line) => line.split(/(?<!\\) ?\| ?/).slice(1, -1))
  .filter((cells) => cells.length === 4 && !/^(Call|---)/.test(cells[0]))
  .map(([calls, , , test]) => ({ calls, test: test.replaceAll('`', '') }));

const namesOfNode = (file) =>
  [...read(file).matchAll(/^\s*(?:test\(|)(['"`])(.+?)\1(?:, |:$)/gm)].map(([, , name]) => name);
const namesOfGoogle = (file) =>
  [...read(file).matchAll(/^TEST(?:_F)?\((\w+),\s*(\w+)\)/gm)].map(([, suite, name]) => `${suite}.${name}`);

// The names of a program's tests. A GoogleTest program has the files of one folder: 'faults_test'
// those of tests/faults, 'config_win_test' those of tests/config. Other names are those of files
// in tests/e2e.
function namesOf(program) {
  const folder = /^(\w+?)(?:_win)?_test$/.exec(program)?.[1];
  if (!folder) return namesOfNode(`tests/e2e/${program}.test.mjs`);
  return readdirSync(join(kRoot, 'tests', folder))
    .filter((file) => file.endsWith('.cpp'))
    .flatMap((file) => namesOfGoogle(`tests/${folder}/${file}`));
}

test('every test that docs/failures.md names exists', () => {
  assert.ok(rows.length > 50, `${rows.length} rows`);
  for (const { test: named } of rows) {
    const [program, name] = named.split(/: (.*)/s);
    assert.ok(namesOf(program).includes(name), named);
  }
});

test('docs/failures.md names every end-to-end test of failing calls', () => {
  const named = new Set(rows.map((row) => row.test));
  const files = readdirSync(join(kRoot, 'tests/e2e')).filter((file) => /^failing_.*\.test\.mjs$/.test(file));
  assert.ok(files.length >= 4, files.join());
  for (const file of files) {
    const program = file.replace('.test.mjs', '');
    const tests = [...read(`tests/e2e/${file}`).matchAll(/^test\((['"])(.+)\1, async/gm)];
    for (const [, , name] of tests) {
      // This test has a table of its own. docs/failures.md has a row for each line of that table.
      if (name === 'a failure while a server is started is logged and leaks nothing') continue;
      assert.ok(named.has(`${program}: ${name}`), `${program}: ${name}`);
    }
  }
});

test('every function that tests can make fail has a row', () => {
  const source = read('devruntime/failing_calls/failing_calls_win.cpp');
  const functions = [...source.matchAll(/WENDRA_CALL\((\w+), k/g)].map(([, name]) => name);
  assert.ok(functions.length > 60, `${functions.length} functions`);
  const missing = functions.filter((name) => !new RegExp(`\`${name}\``).test(doc));
  assert.deepEqual(missing, []);
});
