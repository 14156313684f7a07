// Tests how the check on Windows reads the results of tests, and the page that it makes of them.
import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath, pathToFileURL } from 'node:url';
import '../runner/limits.mjs';
import { kQuestions } from './questions.mjs';
import { count, makeReport } from './report.mjs';

const kHere = dirname(fileURLToPath(import.meta.url));
const kNotHere = pathToFileURL(join(kHere, '../e2e/support/not_here.mjs')).href;
const kHead = `import { test, before } from 'node:test';\nimport { NotHere } from '${kNotHere}';\n`;

// Runs a file with this text through the reporter; gives its rows without their times.
async function rowsOf(text) {
  const folder = mkdtempSync(join(tmpdir(), 'wendra-report-'));
  try {
    const file = join(folder, 'some.test.mjs');
    writeFileSync(file, kHead + text);
    const env = { ...process.env };
    delete env.NODE_TEST_CONTEXT; // else Node takes the file for a part of this run
    const output = await new Promise((resolve) => {
      execFile(process.execPath, ['--test', `--test-reporter=${join(kHere, 'reporter.mjs')}`, file], { env },
        (error, stdout) => resolve(stdout));
    });
    return output.split('\n').filter(Boolean).map((line) => {
      const { name, ms, ...rest } = JSON.parse(line);
      assert.equal(typeof ms, 'number');
      return [name.at(-1) === file ? '(file)' : name.join(' › '), ...Object.values(rest)];
    });
  } finally {
    rmSync(folder, { recursive: true });
  }
}

// The text of a file of tests -> its rows: name, state, reason.
const kCases = {
  'a test that passes': ["test('a', () => {});", [['a', 'passed']]],
  'a test that fails': ["test('a', () => { throw new Error('bad'); });", [['a', 'failed', 'bad']]],
  'a test that is skipped': ["test('a', { skip: 'no disk' }, () => {});", [['a', 'skipped', 'no disk']]],
  'a test that cannot run here': [
    "test('a', () => { throw new NotHere('needs a drive'); });", [['a', 'notRun', 'needs a drive']]],
  'parts, of which one cannot run here': [
    `test('whole', async (t) => {
       await t.test('one', () => {});
       await t.test('two', () => { throw new NotHere('needs a drive'); });
     });
     test('after', () => {});`,
    [['whole › one', 'passed'], ['whole › two', 'notRun', 'needs a drive'], ['after', 'passed']]],
  'a test that fails beside its parts': [
    "test('whole', async (t) => { await t.test('one', () => {}); throw new Error('bad'); });",
    [['whole › one', 'passed'], ['whole', 'failed', 'bad']]],
  'a preparation that cannot run here': [
    "before(() => { throw new NotHere('needs a drive'); }); test('a', () => {}); test('b', () => {});",
    [['a', 'notRun', 'needs a drive'], ['b', 'notRun', 'needs a drive']]],
};

test('the reporter tells what passed, failed and did not run', async (t) => {
  for (const [name, [text, rows]] of Object.entries(kCases)) {
    await t.test(name, async () => assert.deepEqual(await rowsOf(text), rows));
  }
});

test('a test that did not run counts as not run, never as passed', () => {
  const rows = ['passed', 'failed', 'skipped', 'notRun', 'notRun'].map((state) => ({ state }));
  assert.deepEqual(count(rows), { passed: 1, failed: 1, notRun: 3 });
});

test('the page shows each result, and takes no text for markup', () => {
  const html = makeReport({
    about: { Windows: '10 <pre>' },
    rows: [
      { suite: 'e2e', file: 'window', name: ['keys', 'ctrl & l'], state: 'failed', ms: 5, reason: 'a < b\nmore' },
      { suite: 'unit', file: 'json_test', name: ['Json', 'Parses'], state: 'passed', ms: 1 },
    ],
    facts: [
      { name: 'x', question: 'Why?', expected: 'so', source: 'a book', answer: '"yes"' },
      { name: 'y', question: 'When?', expected: 'now', source: 'a book', reason: 'no clock' },
    ],
    pictures: ['window-1.png', 'windows-1.png'],
  });
  for (const part of [
    '1 passed, <span class="failed">1 failed</span>, 0 not run', '10 &lt;pre&gt;', 'keys › ctrl &amp; l',
    '<pre>a &lt; b\nmore</pre>', '<details open>', '&quot;yes&quot;', 'not run: no clock', 'pictures/window-1.png',
  ]) assert.ok(html.includes(part), part);
  assert.ok(!html.includes('windows-1.png'), 'a picture of another file');
});

test('each question says what we expect and why', () => {
  for (const [name, { question, expected, source }] of Object.entries(kQuestions)) {
    assert.match(question, /\?$/, name);
    assert.ok(expected.length > 2 && source.length > 2, name);
  }
});
