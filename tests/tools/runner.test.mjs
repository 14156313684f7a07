// Tests tests/runner: what ./test does when a program fails, hangs, or leaves processes behind.
import assert from 'node:assert/strict';
import { mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { after, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { kAlone, kBusy, kWaiting, kWide, runInLanes } from '../runner/lanes.mjs';
import { runProgram } from '../runner/program.mjs';
import { googleTestResults, nodeTestResults } from '../runner/results.mjs';
import { processesWith } from '../../tools/wine/processes.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kLong = 60_000;

const folder = mkdtempSync(join(tmpdir(), 'wendra-runner-'));
after(() => rmSync(folder, { recursive: true }));

// Each run has a mark of its own in its environment. Processes that the run leaves behind have the
// mark too.
let marks = 0;
const newMark = () => `${process.pid}.${(marks += 1)}`;
const leftOf = (mark) => processesWith('WENDRA_RUNNER_TEST', `${mark}\0`);

async function runShell(script, { limitMs = kLong, ...options } = {}) {
  const mark = newMark();
  const env = { WENDRA_RUNNER_TEST: mark };
  const ended = await runProgram('bash', ['-c', script], { env, limitMs, ...options });
  assert.deepEqual(leftOf(mark), []);
  return ended;
}

async function runNodeFile(name, text, env = {}, limitMs = kLong) {
  const file = join(folder, `${name}.test.mjs`);
  writeFileSync(file, text.replaceAll('E2E', join(kRoot, 'tests/e2e/support')));
  const mark = newMark();
  const limits = join(kRoot, 'tests/runner/limits.mjs');
  const ended = await runProgram(
    process.execPath, ['--import', limits, '--test', '--test-reporter=tap', file],
    { limitMs, env: { WENDRA_RUNNER_TEST: mark, ...env } });
  assert.deepEqual(leftOf(mark), []);
  return { ...ended, ...nodeTestResults(ended) };
}

const counts = ({ passed, failed, skipped }) => ({ passed, failed, skipped });

test('a run gives exit code and output, and deletes the temporary files', async () => {
  const { code, output, trouble } = await runShell(
    'mkdir $TMPDIR/made; echo out $TMPDIR; echo err >&2; exit 7');
  assert.deepEqual([code, trouble], [7, '']);
  assert.match(output, /^err$/m);
  const [, temporary] = /^out (\S+)$/m.exec(output);
  assert.throws(() => readdirSync(temporary), { code: 'ENOENT' });
});

test('a program that cannot be started counts as failed', async () => {
  const { code } = await runProgram('/no/such/program', [], { limitMs: kLong });
  assert.notEqual(code, 0);
});

test('a program over its limit is ended with all programs that it has started', async () => {
  const cases = [
    ['its own children', 'sleep 300 & echo up; wait'],
    ['deaf to TERM', "trap '' TERM; echo up; for (( ; ; )); do sleep 300; done"],
    ['in another session', 'setsid sleep 300 & echo up; wait'],
    ['a grandchild that holds the output', '(sleep 300 & echo up); sleep 300'],
  ];
  for (const [why, script] of cases) {
    const { output, trouble } = await runShell(script, { limitMs: 500, endLimitMs: 500 });
    assert.match(trouble, /^no end after 0\.5 s/, why);
    assert.match(output, /^up$/m, why);
    assert.match(output, /no end after 0\.5 s/, why);
  }
});

test('a runner that gets a signal ends its programs and starts no more', async () => {
  const script = join(folder, 'runner.mjs');
  const begun = join(folder, 'begun');
  const program = join(kRoot, 'tests/runner/program.mjs');
  writeFileSync(script, `
    import { runProgram, stopAtSignals } from '${program}';
    stopAtSignals();
    for (;;) {
      await runProgram('bash', ['-c', 'echo begun >> "${begun}"; setsid sleep 300 & sleep 300'], { limitMs: 60000, endLimitMs: 500 });
    }`);
  const mark = newMark();
  const env = { WENDRA_RUNNER_TEST: mark };
  const { code } = await runProgram(process.execPath, [script], { limitMs: 2_000, env });
  assert.equal(code, 1);
  assert.equal(readFileSync(begun, 'utf8'), 'begun\n');
  assert.deepEqual(leftOf(mark), []);
});

test('a process that outlives the program is ended and named', async () => {
  const { code, trouble } = await runShell('setsid sleep 300 & exit 0', { restLimitMs: 500 });
  assert.equal(code, 0);
  assert.match(trouble, /^left behind:\n {2}sleep 300$/);
});

test('a process that ends soon after the program is no failure', async () => {
  const { code, trouble } = await runShell('setsid sleep 0.3 & exit 0');
  assert.deepEqual([code, trouble], [0, '']);
});

test('passed, failed and skipped tests of a file are counted', async () => {
  const ended = await runNodeFile('counts', `
    import { test } from 'node:test';
    test('good', () => {});
    test('with parts', async (t) => { await t.test('part', () => {}); });
    test('bad', () => { throw new Error('planted'); });
    test('left out', { skip: true }, () => {});`);
  assert.deepEqual(counts(ended), { passed: 3, failed: 1, skipped: 1 });
  assert.deepEqual(ended.running, []);
  assert.match(ended.output, /planted/);
});

test('a test that hangs fails after its limit, and the other tests run', async () => {
  const ended = await runNodeFile('hangs', `
    import { after, test } from 'node:test';
    import { createServer } from 'node:net';
    const server = createServer();
    after(() => server.close());
    test('waits', async () => {
      await new Promise((resolve) => server.listen(0, resolve));
      await new Promise(() => {});
    });
    test('goes on', () => {});`, { WENDRA_DEV_TEST_LIMIT_MS: '500' });
  assert.deepEqual(counts(ended), { passed: 1, failed: 1, skipped: 0 });
  assert.match(ended.output, /not ok 1 - waits[^]*test timed out after 500ms/);
  assert.equal(ended.trouble, '');
});

test('a file that leaves a socket open is ended and fails', async () => {
  const ended = await runNodeFile('open', `
    import { test } from 'node:test';
    import { createServer } from 'node:net';
    test('opens', () => new Promise((resolve) => createServer().listen(0, resolve)));`,
    { WENDRA_DEV_TEST_END_LIMIT_MS: '500' });
  assert.deepEqual([ended.passed > 0, ended.failed], [true, 1]);
  assert.match(ended.output, /has not ended 0\.5 s after its last test; still open: .*TCPServerWrap/);
});

test('the running test is named when its file is ended from outside', async () => {
  const ended = await runNodeFile('busy', `
    import { test } from 'node:test';
    test('before', () => {});
    test('for ever', async (t) => {
      await t.test('part', () => { for (;;); });
    });`, {}, 2_000);
  assert.equal(ended.failed, 1);
  assert.match(ended.trouble, /no end after 2 s/);
  assert.deepEqual(ended.running, ['for ever', 'part']);
});

test('a test that fails while its host is open ends its file and the host', async () => {
  const ended = await runNodeFile('host', `
    import { test } from 'node:test';
    import { startHost } from 'E2E/host.mjs';
    import { startServer } from 'E2E/server.mjs';
    import { startWinSparkle } from 'E2E/winsparkle.mjs';
    test('fails', async () => {
      const server = await startServer({ '/feed': 'none' });
      const sparkle = await startWinSparkle();
      const config = { updateFeed: server.url + '/feed' };
      const env = { WENDRA_DEV_NO_RUNTIME: '1', ...sparkle.env };
      const host = await startHost({ args: ['localhost:1'], config, env });
      await host.feedChecked();
      throw new Error('planted');
    });
    test('goes on', () => {});`);
  assert.deepEqual(counts(ended), { passed: 1, failed: 1, skipped: 0 });
  assert.match(ended.output, /planted/);
  assert.doesNotMatch(ended.output, /still open/);
  assert.equal(ended.trouble, '');
});

// Uses the Windows program: there a waiting thread cannot be seen from outside.
test('a GoogleTest test that hangs is named and ends its program', async () => {
  const mark = newMark();
  const args = ['--profile', join(folder, 'profile'), '--', '--gtest_output=json:never_ends.json'];
  const ended = await runProgram(join(kRoot, 'tools/launch'), args, {
    limitMs: kLong,
    env: {
      DISPLAY: '',
      WENDRA_DEV_HOST: join(kRoot, 'build/windows/bin/never_ends.exe'),
      WENDRA_DEV_NO_RUNTIME: '1',
      WENDRA_DEV_TEST_LIMIT_MS: '1000',
      WENDRA_RUNNER_TEST: mark,
    },
  });
  assert.deepEqual(leftOf(mark), []);
  assert.equal(ended.trouble, '');
  const name = 'NeverEnds.WaitsForAThreadThatWaits';
  assert.match(ended.output, new RegExp(`${name} has not ended after 1000 ms`));
  const results = googleTestResults(ended, join(folder, 'none.json'));
  assert.deepEqual(results, { passed: 1, failed: 1, skipped: 0, running: [name] });
});

test('the running test is named when a GoogleTest program leaves no results', () => {
  const output = [
    '[ RUN      ] A.Good', '[       OK ] A.Good (3 ms)',
    '[ RUN      ] A.Bad', '[  FAILED  ] A.Bad (3 ms)',
    '[ RUN      ] A.Later', '[  SKIPPED ] A.Later (0 ms)',
    '[ RUN      ] A.Hangs', 'something else',
  ].join('\r\n');
  const results = googleTestResults({ code: null, output, trouble: 'late' }, '/no/such/file');
  assert.deepEqual(results, { passed: 1, failed: 2, skipped: 1, running: ['A.Hangs'] });
});

test('a program that fails counts as a failure even if all its tests passed', () => {
  const file = join(folder, 'results.json');
  const all = { tests: 3, failures: 0, errors: 0, disabled: 0, testsuites: [] };
  writeFileSync(file, JSON.stringify(all));
  const failed = (ended) => googleTestResults({ output: '', ...ended }, file).failed;
  assert.equal(failed({ code: 0, trouble: '' }), 0);
  assert.equal(failed({ code: 3, trouble: '' }), 1);
  assert.equal(failed({ code: 0, trouble: 'left behind: x' }), 1);
});

test('units run three at a time, wide ones one at a time, and those that measure beside one busy one', async () => {
  const kinds = [kWide, kWaiting, kAlone, kBusy];
  const events = [];
  const now = Object.fromEntries([...kinds, 'all'].map((kind) => [kind, 0]));
  const most = { ...now };
  const change = (kind, by) => {
    for (const count of ['all', kind]) most[count] = Math.max(most[count], (now[count] += by));
    if (now[kAlone] > 0) assert.ok(now.all <= 2 && now[kWide] + now[kWaiting] === 0, JSON.stringify(now));
  };
  const unit = (kind, name, more = []) => ({
    kind,
    async run() {
      change(kind, 1);
      await new Promise((resolve) => setImmediate(resolve));
      events.push(name);
      change(kind, -1);
      return more;
    },
  });
  const named = (kind, names) => names.map((name) => unit(kind, name));
  await runInLanes([
    unit(kWide, 'build', [unit(kBusy, 'checks'), ...named(kWaiting, ['a', 'b', 'c', 'd'])]),
    ...named(kAlone, ['measures', 'measures too']),
    unit(kWide, 'another build'),
    ...named(kBusy, ['fuzzes', 'fuzzes more', 'fuzzes on']),
  ]);
  assert.deepEqual({ ...most, [kBusy]: 1 }, { all: 3, [kWide]: 1, [kWaiting]: 2, [kAlone]: 1, [kBusy]: 1 });
  assert.deepEqual([...events].sort(), [
    'a', 'another build', 'b', 'build', 'c', 'checks', 'd', 'fuzzes', 'fuzzes more', 'fuzzes on',
    'measures', 'measures too',
  ]);
  assert.ok(events.indexOf('measures') > Math.max(...['a', 'd', 'another build'].map((name) => events.indexOf(name))));
});

test('an error in a unit ends the run with that error', async () => {
  const unit = { kind: kBusy, run: () => Promise.reject(new Error('planted')) };
  await assert.rejects(runInLanes([unit]), /planted/);
});
