// Tests tools/mutants: its table fits the tree, and rows that do not fit are found.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { kFaults } from '../../tools/mutation/faults.mjs';
import { applied, whatIsWrong } from '../../tools/mutation/killers.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');

test('every fault can be planted, and the tests that have to notice it exist', () => {
  assert.deepEqual(whatIsWrong(kFaults, kRoot), []);
});

test('there are faults in every module', () => {
  const modules = ['app', 'base', 'bridge', 'config', 'json', 'mcp', 'page', 'update', 'webview', 'win'];
  assert.deepEqual([...new Set(kFaults.map(({ file }) => file.split('/')[0]))].sort(), modules);
});

test('a row that does not fit is an error', () => {
  const good = kFaults[0];
  const cases = [
    [{ ...good, text: 'no such text' }, /stands 0 times/],
    [{ ...good, text: 'return' }, /stands \d+ times/],
    [{ ...good, file: 'json/none.cpp' }, /stands 0 times/],
    [{ ...good, replacement: good.text }, /changes nothing/],
    [{ ...good, killers: [] }, /no test/],
    [{ ...good, killers: ['native/none_test'] }, /there is no native\/none_test/],
    [{ ...good, killers: ['e2e/none'] }, /there is no e2e\/none/],
    [{ ...good, killers: ['e2e/update#no such test'] }, /there is no e2e\/update#no such test/],
    [{ ...good, killers: ['what is this'] }, /there is no what is this/],
  ];
  for (const [row, message] of cases) {
    const [wrong, ...more] = whatIsWrong([row], kRoot);
    assert.match(wrong ?? 'nothing', message);
    assert.deepEqual(more, []);
  }
  assert.match(whatIsWrong([good, good], kRoot)[0], /twice/);
});

test('a replacement is planted literally, with its dollar signs', () => {
  const fault = { text: 'b', replacement: '$&$1' };
  assert.equal(applied(fault, 'abc'), 'a$&$1c');
});

test('tools/mutants lists all faults and refuses an unknown name', () => {
  const mutants = (...args) => spawnSync(join(kRoot, 'tools/mutants'), args, { encoding: 'utf8' });
  const { status, stdout } = mutants('--list');
  assert.equal(status, 0);
  assert.equal(stdout.trimEnd().split('\n').length, kFaults.length);
  const unknown = mutants('no-such-fault');
  assert.equal(unknown.status, 2);
  assert.match(unknown.stderr, /unknown: no-such-fault/);
});
