// Builds and runs the suites, or those named on the command line, two programs at a time; ends with
// a line of counts. The whole output of each run lies in build/test-logs/; what failed is shown.
import { execFileSync } from 'node:child_process';
import { existsSync, mkdirSync, readdirSync, rmSync } from 'node:fs';
import { basename, dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { windowsPath } from '../tools/wine/prefix.mjs';
import { runInLanes } from './runner/lanes.mjs';
import { runProgram, stopAtSignals } from './runner/program.mjs';
import { googleTestResults, nodeTestResults } from './runner/results.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '..');
const kLogs = join(kRoot, 'build/test-logs');
const kFuzzSeconds = 8; // of each fuzzer; at length by hand, see docs/testing.md

// Of one program: beyond it hangs, and that is a failure.
const kRunLimitMs = 3 * 60_000;
const kLongerLimitsMs = [
  [/^(configure|build)-/, 40 * 60_000], // a whole preset from nothing, beside another, on a busy machine
  [/^tidy-/, 10 * 60_000], // reads each source of a folder with all of its headers
  [/^e2e-exec$/, 6 * 60_000], // a thousand actions, many of them a shell and a program under Wine
  // A host of its own for each of many cases.
  [/^e2e-(failing_start|mcp_bounds|mcp_ending|prompt|startup|update)$/, 6 * 60_000],
  [/^e2e-conformance$/, 6 * 60_000], // the whole official suite in one test, a host for each part
];
const kEndMs = 30_000; // what a program may need after a test that hangs
const limitOf = (name) => kLongerLimitsMs.find(([names]) => names.test(name))?.[1] ?? kRunLimitMs;

// What runs beside nothing else, and why.
const kAlone = {
  'e2e-mcp_ending': 'the host has two seconds to end',
  'e2e-mcp_faults': 'a server has a second to answer',
  'e2e-mcp_http_ending': 'the host has two seconds to end',
  'e2e-mcp_http_listener': 'measures the pauses between attempts',
  'e2e-mcp_http_unreachable': 'compares times of fifty servers with those of one',
};

const kProcessorLane = 0; // builds, sanitizers, fuzzers: at low priority
const kWaitingLane = 1; // Wine and browsers, which wait for each other most of the time

// The folders of the program's and the development runtime's sources.
const kModules = readdirSync(kRoot)
  .filter((folder) => folder !== 'tests' && existsSync(join(kRoot, folder, 'CMakeLists.txt')));

const total = { passed: 0, failed: 0, skipped: 0 };

const exists = (path) => existsSync(join(kRoot, path));
const entries = (folder, wanted) =>
  exists(folder) ? readdirSync(join(kRoot, folder)).filter((name) => wanted.test(name)).sort() : [];

// Runs a program to its end; its output goes to the log `name`. `politely`: at low priority.
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
  if (passed + failed + skipped === 0) failed = 1; // whatever ran no test has not passed
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

// A unit of work for the lanes.
const unit = (lane, name, run) => ({ lane, run, alone: kAlone[name] });

// One program that passes or fails as a whole.
const whole = (lane, name, makeCommand) =>
  unit(lane, name, async () => {
    const startedMs = Date.now();
    const { command, args, env } = makeCommand();
    const { code, output, trouble } = await run(name, command, args, { env, politely: lane === kProcessorLane });
    const failed = code === 0 && !trouble ? 0 : 1;
    report(name, { passed: 1 - failed, failed }, startedMs, output);
  });

// A GoogleTest program that writes its counts to a file.
const googleTest = (lane, name, makeCommand) =>
  unit(lane, name, async () => {
    const startedMs = Date.now();
    const results = join(kLogs, `${name}.json`);
    rmSync(results, { force: true });
    const { command, args, env } = makeCommand(results);
    const ended = await run(name, command, args, { env, politely: lane === kProcessorLane });
    report(name, googleTestResults(ended, results), startedMs, ended.output);
  });

// A file of tests for Node's own runner.
const nodeTest = (lane, name, file) =>
  unit(lane, name, async () => {
    const startedMs = Date.now();
    const args = ['--import', './tests/runner/limits.mjs', '--test', '--test-reporter=tap', file];
    const ended = await run(name, process.execPath, args, { politely: lane === kProcessorLane });
    report(name, nodeTestResults(ended), startedMs, ended.output);
  });

const nodeTests = (folder) =>
  entries(`tests/${folder}`, /\.test\.mjs$/).map((file) =>
    nodeTest(kWaitingLane, `${folder}-${basename(file, '.test.mjs')}`, `tests/${folder}/${file}`));

const native = (preset, program, ...args) => (results) => ({
  command: join(kRoot, 'build', preset, 'bin/tests', program),
  args: [`--gtest_output=json:${results}`, ...args],
});

const nativeTests = (preset) =>
  entries(`build/${preset}/bin/tests`, /_test$/).map((program) =>
    googleTest(kProcessorLane, `${preset}-${program}`, native(preset, program)));

// Windows programs run in a fresh user profile each, by the means that start the host itself.
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

// Program -> its tests in which threads meet.
const kTsanTests = {
  json_test: '*Thread*',
  mcp_test: 'Client.*:FlowControl*:HttpServer.*:StdioTransport*',
  update_test: '*Thread*',
};

const kDictionaries = {
  address_fuzz: 'address', appcast_fuzz: 'appcast', bridge_fuzz: 'json', client_fuzz: 'mcp',
  connection_fuzz: 'mcp', event_stream_fuzz: 'mcp', json_fuzz: 'json', response_body_fuzz: 'mcp',
  tool_result_fuzz: 'mcp',
};

// Suite -> the presets that it needs built, and its units once they are.
const suites = {
  house: {
    needs: ['windows'],
    units: () => [nodeTest(kProcessorLane, 'house', 'tests/house/house.test.mjs')],
  },
  tidy: {
    needs: ['windows'],
    units: () => kModules.map((folder) =>
      whole(kProcessorLane, `tidy-${folder}`, () => ({
        command: process.execPath, args: ['tests/house/tidy.mjs', folder],
      }))),
  },
  native: { needs: ['native'], units: () => nativeTests('native') },
  asan: { needs: ['asan'], units: () => nativeTests('asan') },
  tsan: {
    needs: ['tsan'],
    units: () => Object.entries(kTsanTests).map(([program, tests]) =>
      googleTest(kProcessorLane, `tsan-${program}`, native('tsan', program, `--gtest_filter=${tests}`))),
  },
  fuzz: {
    needs: ['fuzz'],
    units: () => entries('build/fuzz/bin/fuzz', /_fuzz$/).map((program) =>
      whole(kProcessorLane, program, () => {
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
      .filter((program) => program !== 'runtime_test.exe') // needs a browser: a suite of its own
      .map((program) =>
        googleTest(kWaitingLane, `windows-${basename(program, '.exe')}`,
          underWine('tests', program, (results) => [`--gtest_output=json:${results}`]))),
  },
  runtime: {
    needs: ['windows'],
    units: () => [googleTest(kWaitingLane, 'runtime', (results) => ({
      command: process.execPath,
      args: ['tests/devruntime/run.mjs', 'build/windows', `--gtest_output=json:${windowsPath(results)}`],
      env: { WINEPREFIX: execFileSync(join(kRoot, 'tools/wine/make-template'), { encoding: 'utf8' }).trim() },
    }))],
  },
  tools: { needs: ['windows'], targets: ['runnable', 'never_ends'], units: () => nodeTests('tools') },
  page: { needs: [], units: () => nodeTests('page') },
  e2e: { needs: ['windows'], units: () => nodeTests('e2e') },
  // Every benchmark once, for its results alone; docs/testing.md tells how to measure.
  bench: {
    needs: ['native', 'windows'],
    units: () => [
      ...entries('build/native/bin/bench', /_bench$/).map((program) =>
        whole(kProcessorLane, `native-${program}`, () => ({
          command: join(kRoot, 'build/native/bin/bench', program),
          args: ['--once'],
        }))),
      ...entries('build/windows/bin/bench', /_bench\.exe$/).map((program) =>
        whole(kWaitingLane, `windows-${basename(program, '.exe')}`, () =>
          underWine('bench', program, () => ['--once'])(''))),
      ...entries('tests/bench', /_bench\.mjs$/).map((file) =>
        whole(kWaitingLane, basename(file, '.mjs'), () => ({
          command: process.execPath,
          args: [`tests/bench/${file}`, '--once'],
        }))),
    ],
  },
};

const kPresets = ['windows', 'native', 'asan', 'tsan', 'fuzz']; // in the order of building

// Nothing: the whole preset.
function targetsOf(preset, wanted) {
  if (preset === 'tsan') return Object.keys(kTsanTests);
  const users = wanted.map((name) => suites[name]).filter(({ needs }) => needs.includes(preset));
  return users.every(({ targets }) => targets) ? users.flatMap(({ targets }) => targets) : [];
}

// A build counts only when it fails; without it its tests cannot be.
async function build(preset, targets) {
  const startedMs = Date.now();
  const name = `build-${preset}`;
  let result = await run(`configure-${preset}`, 'cmake', ['--preset', preset]);
  const isGood = ({ code, trouble }) => code === 0 && !trouble;
  if (isGood(result)) {
    const options = targets.length ? ['--target', ...targets] : [];
    const args = ['--build', '--preset', preset, ...options];
    result = await run(name, 'cmake', args, { politely: true });
  }
  if (isGood(result)) {
    console.log(`     built ${preset}, ${((Date.now() - startedMs) / 1000).toFixed(1)} s`);
  } else {
    report(name, { failed: 1 }, startedMs, result.output);
  }
  return isGood(result);
}

// The units of the suites; those that need a build come with its end.
function unitsOf(wanted) {
  const built = new Set();
  const waiting = new Set(wanted);
  const ready = () => {
    const units = [];
    for (const name of wanted) {
      if (!waiting.has(name) || !suites[name].needs.every((preset) => built.has(preset))) continue;
      waiting.delete(name);
      const own = suites[name].units();
      if (own.length === 0) report(name, {}, Date.now(), 'nothing was run');
      units.push(...own);
    }
    return units;
  };
  const isNeeded = (preset) => wanted.some((name) => suites[name].needs.includes(preset));
  const builds = kPresets.filter(isNeeded).map((preset) =>
    unit(kProcessorLane, `build-${preset}`, async () => {
      if (!(await build(preset, targetsOf(preset, wanted)))) return [];
      built.add(preset);
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
