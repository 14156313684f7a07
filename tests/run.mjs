// Builds and runs all suites, or the suites named on the command line, three programs at a time.
// The last line counts the tests. build/test-logs/ gets the whole output of each program; of a
// program that fails, the lines around each failure are printed too.
import { execFileSync } from 'node:child_process';
import { existsSync, mkdirSync, readdirSync, rmSync } from 'node:fs';
import { basename, dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { windowsPath } from '../tools/wine/prefix.mjs';
import { kAlone, kBusy, kWaiting, kWide, runInLanes } from './runner/lanes.mjs';
import { runProgram, stopAtSignals } from './runner/program.mjs';
import { googleTestResults, nodeTestResults } from './runner/results.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '..');
const kLogs = join(kRoot, 'build/test-logs');
const kFuzzSeconds = 5; // for each fuzzer; docs/testing.md says how to fuzz for longer

// The time limit of one program. A program that runs longer is ended and counts as failed.
const kRunLimitMs = 3 * 60_000;
const kLongerLimitsMs = [
  [/^(configure|build)-/, 40 * 60_000], // a full build of one preset beside another one, on a busy machine
  [/^tidy-/, 10 * 60_000], // reads each source of a folder with all of its headers
  [/^e2e-exec$/, 6 * 60_000], // a thousand actions; many start a shell and a program under Wine
  // Many cases, and each starts a host.
  [/^e2e-(failing_start|mcp_bounds|mcp_ending|prompt|startup|unkind_control|update)$/, 6 * 60_000],
  [/^check-check$/, 6 * 60_000], // many tests of the program, and of its units
  [/^packaging-installer$/, 10 * 60_000], // dozens of installations
  [/^vendor-/, 6 * 60_000], // fetches a package, and compiles a dozen programs
  [/^e2e-conformance$/, 6 * 60_000], // the whole official suite in one test, a host for each part
];
const kEndMs = 30_000; // a test's limit is this much shorter than its program's, which has to end in time
const limitOf = (name) => kLongerLimitsMs.find(([names]) => names.test(name))?.[1] ?? kRunLimitMs;

// Programs beside which no other one waits or is built, and why.
const kMeasuring = {
  'e2e-mcp_ending': 'the host has two seconds to end',
  'e2e-mcp_faults': 'a server has a second to answer',
  'e2e-mcp_http_ending': 'the host has two seconds to end',
  'e2e-mcp_http_listener': 'measures the pauses between attempts',
  'e2e-mcp_http_unreachable': 'compares times of fifty servers with those of one',
};

// The folders with sources of the program.
const kModules = readdirSync(kRoot).filter((folder) =>
  !['tests', 'devruntime'].includes(folder) && existsSync(join(kRoot, folder, 'CMakeLists.txt')));

const total = { passed: 0, failed: 0, skipped: 0 };

const exists = (path) => existsSync(join(kRoot, path));
const entries = (folder, wanted) =>
  exists(folder) ? readdirSync(join(kRoot, folder)).filter((name) => wanted.test(name)).sort() : [];

// Runs a program to its end. Its output goes to the log `name`. `politely`: at low priority.
function run(name, command, args, { env = {}, politely = false } = {}) {
  const [first, ...rest] = politely ? ['nice', '-n', '10', command, ...args] : [command, ...args];
  return runProgram(first, rest, {
    cwd: kRoot,
    env: { WENDRA_DEV_TEST_LIMIT_MS: String(limitOf(name) - kEndMs), ...env },
    logFile: join(kLogs, `${name}.log`),
    limitMs: limitOf(name),
  });
}

function report(name, { passed = 0, failed = 0, skipped = 0, running = [] }, startedMs, output) {
  if (passed + failed + skipped === 0) failed = 1; // a program that ran no test counts as failed
  total.passed += passed;
  total.failed += failed;
  total.skipped += skipped;
  const seconds = ((Date.now() - startedMs) / 1000).toFixed(1);
  const mark = failed ? 'FAIL' : 'ok  ';
  console.log(`${mark} ${name.padEnd(36)} ${passed} passed, ${failed} failed, ${skipped} skipped  ${seconds} s`);
  if (!failed) return;
  for (const test of running) console.log(indent(`was running: ${test}`));
  console.log(indent(shorten(output)));
}

const indent = (text) => text.replace(/^/gm, '     | ');

// The lines around each failure, and the last 15 lines; 200 lines at most.
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

// A unit of work for runInLanes.
const unit = (kind, name, run) => ({ kind: name in kMeasuring ? kAlone : kind, run });

// A program that counts as one test: it passes with exit code 0.
const whole = (kind, name, makeCommand) =>
  unit(kind, name, async () => {
    const startedMs = Date.now();
    const { command, args, env } = makeCommand();
    const { code, output, trouble } = await run(name, command, args, { env, politely: kind !== kWaiting });
    const failed = code === 0 && !trouble ? 0 : 1;
    report(name, { passed: 1 - failed, failed }, startedMs, output);
  });

// A GoogleTest program that writes its counts to a file.
const googleTest = (kind, name, makeCommand) =>
  unit(kind, name, async () => {
    const startedMs = Date.now();
    const results = join(kLogs, `${name}.json`);
    rmSync(results, { force: true });
    const { command, args, env } = makeCommand(results);
    const ended = await run(name, command, args, { env, politely: kind !== kWaiting });
    report(name, googleTestResults(ended, results), startedMs, ended.output);
  });

// A file of tests for Node's test runner.
const nodeTest = (kind, name, file) =>
  unit(kind, name, async () => {
    const startedMs = Date.now();
    const args = ['--import', './tests/runner/limits.mjs', '--test', '--test-reporter=tap', file];
    const ended = await run(name, process.execPath, args, { politely: kind !== kWaiting });
    report(name, nodeTestResults(ended), startedMs, ended.output);
  });

const nodeTests = (folder) =>
  entries(`tests/${folder}`, /\.test\.mjs$/).map((file) =>
    nodeTest(kWaiting, `${folder}-${basename(file, '.test.mjs')}`, `tests/${folder}/${file}`));

const nativeTest = (preset, program) =>
  googleTest(kBusy, `${preset}-${program}`, (results) => ({
    command: join(kRoot, 'build', preset, 'bin/tests', program),
    args: [`--gtest_output=json:${results}`],
  }));

const nativeTests = (preset) =>
  entries(`build/${preset}/bin/tests`, /_test$/).map((program) => nativeTest(preset, program));

// Each Windows program runs in a fresh user profile. tools/launch starts it, as it starts the host.
const underWine = (folder, program, makeArgs) => (results) => {
  const profile = join(kRoot, 'build/test-profiles', program);
  rmSync(profile, { recursive: true, force: true });
  return {
    command: join(kRoot, 'tools/launch'),
    args: ['--profile', profile, '--', ...makeArgs(windowsPath(results))],
    env: {
      DISPLAY: '',
      WENDRA_DEV_NO_RUNTIME: '1',
      WENDRA_DEV_HOST: join(kRoot, 'build/windows/bin', folder, program),
    },
  };
};

const kDictionaries = {
  address_fuzz: 'address', appcast_fuzz: 'appcast', bridge_fuzz: 'json', client_fuzz: 'mcp',
  connection_fuzz: 'mcp', event_stream_fuzz: 'mcp', json_fuzz: 'json', response_body_fuzz: 'mcp',
  tool_result_fuzz: 'mcp',
};

// Programs that replace operator new, as the sanitizers do.
const kMemoryTests = ['json_memory_test', 'mcp_memory_test'];

// What is built, in this order: a preset, and its targets if not all.
const kBuilds = {
  programs: { preset: 'windows', targets: ['test_programs'] }, // what the tests outside start
  windows: { preset: 'windows', targets: [] },
  asan: { preset: 'asan', targets: ['tests/all'] },
  tsan: { preset: 'tsan', targets: ['tests/all'] },
  fuzz: { preset: 'fuzz', targets: [] },
  native: { preset: 'native', targets: [...kMemoryTests, 'tests/bench/all'] },
};

// Suite -> what must be built first (`needs`), and what makes its units after that (`units`).
const suites = {
  source: {
    needs: ['windows'],
    units: () => ['source', 'headers'].map((name) =>
      nodeTest(kBusy, `source-${name}`, `tests/source/${name}.test.mjs`)),
  },
  tidy: {
    needs: ['windows'],
    units: () => kModules.map((folder) =>
      whole(kBusy, `tidy-${folder}`, () => ({
        command: process.execPath, args: ['tests/source/tidy.mjs', folder],
      }))),
  },
  native: {
    needs: ['native'],
    units: () => kMemoryTests.map((program) => nativeTest('native', program)),
  },
  asan: { needs: ['asan'], units: () => nativeTests('asan') },
  tsan: { needs: ['tsan'], units: () => nativeTests('tsan') },
  fuzz: {
    needs: ['fuzz'],
    units: () => entries('build/fuzz/bin/fuzz', /_fuzz$/).map((program) =>
      whole(kBusy, program, () => {
        const found = join(kRoot, 'build/fuzz/corpus', program);
        mkdirSync(found, { recursive: true });
        const seeds = join(kRoot, 'tests/fuzz', `${program.replace(/_fuzz$/, '')}_corpus`);
        const dictionary = kDictionaries[program];
        return {
          command: join(kRoot, 'build/fuzz/bin/fuzz', program),
          args: [
            ...(dictionary ? [`-dict=tests/fuzz/${dictionary}.dict`] : []),
            `-max_total_time=${kFuzzSeconds}`, '-print_final_stats=1', `-artifact_prefix=${kLogs}/`,
            found, seeds,
          ],
        };
      })),
  },
  windows: {
    needs: ['windows'],
    units: () => entries('build/windows/bin/tests', /_test\.exe$/)
      .filter((program) => program !== 'runtime_test.exe') // needs a browser: the suite `runtime`
      .map((program) =>
        googleTest(kWaiting, `windows-${basename(program, '.exe')}`,
          underWine('tests', program, (results) => [`--gtest_output=json:${results}`]))),
  },
  runtime: {
    needs: ['windows'],
    units: () => [googleTest(kWaiting, 'runtime', (results) => ({
      command: process.execPath,
      args: ['tests/devruntime/run.mjs', 'build/windows', `--gtest_output=json:${windowsPath(results)}`],
      env: { WINEPREFIX: execFileSync(join(kRoot, 'tools/wine/make-template'), { encoding: 'utf8' }).trim() },
    }))],
  },
  tools: { needs: ['programs'], units: () => nodeTests('tools') },
  page: { needs: [], units: () => nodeTests('page') },
  e2e: { needs: ['programs'], units: () => nodeTests('e2e') },
  check: {
    needs: ['windows'],
    units: () => ['report', 'check'].map((name) =>
      nodeTest(kWaiting, `check-${name}`, `tests/windows/${name}.test.mjs`)),
  },
  packaging: { needs: ['programs'], units: () => nodeTests('packaging') },
  // Skips its tests where the vendor's packages cannot be had.
  vendor: { needs: ['programs'], units: () => nodeTests('vendor') },
  // Each benchmark runs once, to check its results. docs/testing.md says how to measure.
  bench: {
    needs: ['native', 'windows'],
    units: () => [
      ...entries('build/native/bin/bench', /_bench$/).map((program) =>
        whole(kBusy, `native-${program}`, () => ({
          command: join(kRoot, 'build/native/bin/bench', program),
          args: ['--once'],
        }))),
      ...entries('build/windows/bin/bench', /_bench\.exe$/).map((program) =>
        whole(kWaiting, `windows-${basename(program, '.exe')}`, () =>
          underWine('bench', program, () => ['--once'])(''))),
      ...entries('tests/bench', /_bench\.mjs$/).map((file) =>
        whole(kWaiting, basename(file, '.mjs'), () => ({
          command: process.execPath,
          args: [`tests/bench/${file}`, '--once'],
        }))),
    ],
  },
};

// A build is counted only when it fails: then its tests cannot run.
async function build(name) {
  const startedMs = Date.now();
  const { preset, targets } = kBuilds[name];
  let result = await run(`configure-${name}`, 'cmake', ['--preset', preset]);
  const isGood = ({ code, trouble }) => code === 0 && !trouble;
  if (isGood(result)) {
    const options = targets.length ? ['--target', ...targets] : [];
    const args = ['--build', '--preset', preset, ...options];
    result = await run(`build-${name}`, 'cmake', args, { politely: true });
  }
  if (isGood(result)) {
    console.log(`     built ${name}, ${((Date.now() - startedMs) / 1000).toFixed(1)} s`);
  } else {
    report(`build-${name}`, { failed: 1 }, startedMs, result.output);
  }
  return isGood(result);
}

// The units of the suites. A suite that needs builds comes when the last of them has ended.
function unitsOf(wanted) {
  const built = new Set();
  const waiting = new Set(wanted);
  const ready = () => {
    const units = [];
    for (const name of wanted) {
      if (!waiting.has(name) || !suites[name].needs.every((one) => built.has(one))) continue;
      waiting.delete(name);
      const own = suites[name].units();
      if (own.length === 0) report(name, {}, Date.now(), 'nothing was run');
      units.push(...own);
    }
    return units;
  };
  const isNeeded = (build) => wanted.some((name) => suites[name].needs.includes(build));
  const builds = Object.keys(kBuilds).filter(isNeeded).map((name) =>
    unit(kWide, `build-${name}`, async () => {
      if (!(await build(name))) return [];
      built.add(name);
      return ready();
    }));
  return [...builds, ...ready()];
}

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

stopAtSignals();
mkdirSync(kLogs, { recursive: true });
const isWanted = (name) => named.length === 0 || named.includes(name);
await runInLanes(unitsOf(Object.keys(suites).filter(isWanted)));
console.log(`${total.passed} passed, ${total.failed} failed, ${total.skipped} skipped`);
process.exit(total.failed ? 1 : 0);
