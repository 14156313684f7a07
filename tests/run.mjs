// Builds and runs the suites, or those named on the command line, one after the other; ends with a
// line of counts. The whole output of each run lies in build/test-logs/; what failed is shown.
import { execFileSync, spawn } from 'node:child_process';
import { createWriteStream, existsSync, mkdirSync, readFileSync, readdirSync, rmSync } from 'node:fs';
import { basename, dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '..');
const kLogs = join(kRoot, 'build/test-logs');
const kFuzzSeconds = 8; // of each fuzzer; at length by hand, see docs/testing.md
const kRunLimitMs = 15 * 60_000; // of one program: beyond it hangs, and that is a failure

const total = { passed: 0, failed: 0, skipped: 0 };

const exists = (path) => existsSync(join(kRoot, path));
const entries = (folder, wanted) =>
  exists(folder) ? readdirSync(join(kRoot, folder)).filter((name) => wanted.test(name)).sort() : [];

// Runs a program to its end; its output goes to the log `name`. Resolves with code and output.
function run(name, command, args, { env = {} } = {}) {
  return new Promise((resolve) => {
    const log = createWriteStream(join(kLogs, `${name}.log`));
    const child = spawn(command, args, {
      cwd: kRoot,
      env: { ...process.env, ...env },
      stdio: ['ignore', 'pipe', 'pipe'],
    });
    let output = '';
    for (const stream of [child.stdout, child.stderr]) {
      stream.setEncoding('utf8');
      stream.on('data', (text) => {
        output += text;
        log.write(text);
      });
    }
    const limit = setTimeout(() => {
      output += `\n${name}: no end after ${kRunLimitMs / 60_000} minutes\n`;
      child.kill('SIGTERM');
    }, kRunLimitMs);
    child.on('error', (error) => (output += `\n${error.message}\n`));
    child.on('close', (code) => {
      clearTimeout(limit);
      log.end();
      resolve({ code, output });
    });
  });
}

function report(name, { passed = 0, failed = 0, skipped = 0 }, startedMs, output) {
  if (passed + failed + skipped === 0) failed = 1; // whatever ran no test has not passed
  total.passed += passed;
  total.failed += failed;
  total.skipped += skipped;
  const seconds = ((Date.now() - startedMs) / 1000).toFixed(1);
  const mark = failed ? 'FAIL' : 'ok  ';
  console.log(`${mark} ${name.padEnd(36)} ${passed} passed, ${failed} failed, ${skipped} skipped  ${seconds} s`);
  if (failed) console.log(indent(shorten(output)));
}

const indent = (text) => text.replace(/^/gm, '     | ');

// The lines around each failure, or the end.
function shorten(output) {
  const lines = output.replaceAll('\r', '').trimEnd().split('\n');
  const isTrouble = (line) => /^not ok|\[  FAILED|Failure$|rror:|ERROR|AssertionError|✖/.test(line);
  const wanted = new Set();
  lines.forEach((line, at) => {
    if (isTrouble(line)) for (let i = at - 2; i <= at + 25; ++i) wanted.add(i);
  });
  for (let i = lines.length - 15; i < lines.length; ++i) wanted.add(i);
  return lines.filter((_, at) => wanted.has(at)).slice(0, 200).join('\n');
}

// One program that passes or fails as a whole.
async function runWhole(name, command, args, options) {
  const startedMs = Date.now();
  const { code, output } = await run(name, command, args, options);
  report(name, { passed: code === 0 ? 1 : 0, failed: code === 0 ? 0 : 1 }, startedMs, output);
  return code === 0;
}

// A build counts only when it fails; without it its tests cannot be.
async function build(preset, targets = []) {
  const startedMs = Date.now();
  const name = `build-${preset}`;
  let result = await run(`configure-${preset}`, 'cmake', ['--preset', preset]);
  if (result.code === 0) {
    const wanted = targets.length ? ['--target', ...targets] : [];
    result = await run(name, 'cmake', ['--build', '--preset', preset, ...wanted]);
  }
  if (result.code === 0) {
    console.log(`     built ${preset}, ${((Date.now() - startedMs) / 1000).toFixed(1)} s`);
  } else {
    report(name, { passed: 0, failed: 1 }, startedMs, result.output);
  }
  return result.code === 0;
}

// A GoogleTest program that writes its counts to a file. One that leaves no file has crashed.
async function runGoogleTest(name, makeCommand) {
  const startedMs = Date.now();
  const results = join(kLogs, `${name}.json`);
  rmSync(results, { force: true });
  const { command, args, env } = makeCommand(results);
  const { code, output } = await run(name, command, args, { env });
  let counts = { passed: 0, failed: 1 };
  if (existsSync(results)) {
    const { tests, failures, errors, disabled, testsuites } = JSON.parse(readFileSync(results, 'utf8'));
    const skipped = disabled + testsuites.flatMap((suite) => suite.testsuite)
      .filter((one) => one.result === 'SKIPPED').length;
    const failed = failures + errors;
    counts = { passed: tests - failed - skipped, failed: failed || (code === 0 ? 0 : 1), skipped };
  }
  report(name, counts, startedMs, output);
}

// A file of tests for Node's own runner.
async function runNodeTest(name, file, env = {}) {
  const startedMs = Date.now();
  const { code, output } = await run(name, 'node', ['--test', '--test-reporter=tap', file], { env });
  const count = (what) => Number(new RegExp(`^# ${what} (\\d+)`, 'm').exec(output)?.[1] ?? 0);
  const failed = count('fail') + count('cancelled');
  const counts = { passed: count('pass'), failed: failed || (code === 0 ? 0 : 1), skipped: count('skipped') };
  report(name, counts, startedMs, output);
}

const native = (preset, program, ...args) => (results) => ({
  command: join(kRoot, 'build', preset, 'bin/tests', program),
  args: [`--gtest_output=json:${results}`, ...args],
});

// Windows programs run in a fresh user profile each, by the means that start the host itself.
const underWine = (folder, program, makeArgs) => (results) => {
  const profile = join(kRoot, 'build/test-profiles', program);
  rmSync(profile, { recursive: true, force: true });
  return {
    command: join(kRoot, 'tools/launch'),
    args: ['--profile', profile, '--', ...makeArgs(`Z:${results.replaceAll('/', '\\')}`)],
    env: {
      DISPLAY: '',
      WENDRA_DEV_NO_RUNTIME: '1',
      WENDRA_DEV_HOST: join(kRoot, 'build/windows/bin', folder, program),
    },
  };
};

const suites = {
  async house() {
    if (!(await build('windows'))) return;
    await runNodeTest('house', 'tests/house/house.test.mjs');
  },
  async native() {
    if (!(await build('native'))) return;
    for (const program of entries('build/native/bin/tests', /_test$/)) {
      await runGoogleTest(`native-${program}`, native('native', program));
    }
  },
  async asan() {
    if (!(await build('asan'))) return;
    for (const program of entries('build/asan/bin/tests', /_test$/)) {
      await runGoogleTest(`asan-${program}`, native('asan', program));
    }
  },
  async tsan() {
    const programs = ['json_test', 'update_test'];
    if (!(await build('tsan', programs))) return;
    for (const program of programs) {
      await runGoogleTest(`tsan-${program}`, native('tsan', program, '--gtest_filter=*Thread*'));
    }
  },
  async fuzz() {
    if (!(await build('fuzz'))) return;
    for (const program of entries('build/fuzz/bin/fuzz', /_fuzz$/)) {
      const found = join(kRoot, 'build/fuzz/corpus', program);
      mkdirSync(found, { recursive: true });
      await runWhole(program, join(kRoot, 'build/fuzz/bin/fuzz', program), [
        `-max_total_time=${kFuzzSeconds}`, '-print_final_stats=1', `-artifact_prefix=${kLogs}/`,
        found, join(kRoot, 'tests/fuzz', `${program.replace(/_fuzz$/, '')}_corpus`),
      ]);
    }
  },
  async windows() {
    if (!(await build('windows'))) return;
    for (const program of entries('build/windows/bin/tests', /_test\.exe$/)) {
      if (program === 'runtime_test.exe') continue; // needs a browser: a suite of its own
      await runGoogleTest(`windows-${basename(program, '.exe')}`,
        underWine('tests', program, (results) => [`--gtest_output=json:${results}`]));
    }
  },
  async runtime() {
    if (!(await build('windows'))) return;
    const template = execFileSync(join(kRoot, 'tools/wine/make-template'), { encoding: 'utf8' }).trim();
    await runGoogleTest('runtime', (results) => ({
      command: 'node',
      args: ['tests/runtime/run.mjs', 'build/windows', `--gtest_output=json:Z:${results.replaceAll('/', '\\')}`],
      env: { WINEPREFIX: template },
    }));
  },
  async tools() {
    if (!(await build('windows', ['runnable']))) return; // they look into the built program
    for (const file of entries('tests/tools', /\.test\.mjs$/)) {
      await runNodeTest(`tools-${basename(file, '.test.mjs')}`, `tests/tools/${file}`);
    }
  },
  async page() {
    for (const file of entries('tests/page', /\.test\.mjs$/)) {
      await runNodeTest(`page-${basename(file, '.test.mjs')}`, `tests/page/${file}`);
    }
  },
  async e2e() {
    if (!(await build('windows'))) return;
    for (const file of entries('tests/e2e', /\.test\.mjs$/)) {
      await runNodeTest(`e2e-${basename(file, '.test.mjs')}`, `tests/e2e/${file}`);
    }
  },
  // Every benchmark once, for its results alone; docs/testing.md tells how to measure.
  async bench() {
    if (!(await build('native')) || !(await build('windows'))) return;
    for (const program of entries('build/native/bin/bench', /_bench$/)) {
      await runWhole(`native-${program}`, join(kRoot, 'build/native/bin/bench', program), ['--once']);
    }
    for (const program of entries('build/windows/bin/bench', /_bench\.exe$/)) {
      const { command, args, env } = underWine('bench', program, () => ['--once'])('');
      await runWhole(`windows-${basename(program, '.exe')}`, command, args, { env });
    }
    for (const file of entries('tests/bench', /_bench\.mjs$/)) {
      await runWhole(basename(file, '.mjs'), 'node', [`tests/bench/${file}`, '--once']);
    }
  },
};

const named = process.argv.slice(2);
if (named.includes('--list')) {
  console.log(Object.keys(suites).join('\n'));
  process.exit(0);
}
const unknown = named.filter((name) => !(name in suites));
if (unknown.length) {
  console.error(`test: unknown: ${unknown.join(' ')}; known: ${Object.keys(suites).join(' ')}`);
  process.exit(2);
}

mkdirSync(kLogs, { recursive: true });
for (const [name, suite] of Object.entries(suites)) {
  if (named.length > 0 && !named.includes(name)) continue;
  const before = total.passed + total.failed;
  await suite();
  if (total.passed + total.failed === before) report(name, {}, Date.now(), 'nothing was run');
}
console.log(`${total.passed} passed, ${total.failed} failed, ${total.skipped} skipped`);
process.exit(total.failed ? 1 : 0);
