// Runs the unit tests, the end-to-end tests and the questions in the account in which it is started,
// and writes the report: index.html, results.json and the folder pictures. check.mjs starts it.
//
//   node run_all.mjs REPORT [--programs DIR] [--only NAME,NAME...]
//
// NAME is a file of end-to-end tests without ".test.mjs", a test program without ".exe", or "facts".
//
// results.json:
//   about     facts about the machine and the files, name -> text
//   rows      one per test: {suite, file, name: [...], state, ms, reason}
//   facts     one per question: {name, question, expected, source, answer or reason}
//   pictures  names of the files in the folder pictures; they begin with the name of their test file
import { spawn } from 'node:child_process';
import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { once } from 'node:events';
import { arch, release, tmpdir, version } from 'node:os';
import { basename, dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { setTimeout as sleep } from 'node:timers/promises';
import { parseArgs } from 'node:util';
import { fileVersionOf } from '../../tools/release/resources.mjs';
import { kNotHere } from '../e2e/support/not_here.mjs';
import { tracesOfUse } from './account.mjs';
import { kQuestions } from './questions.mjs';
import { count, makeReport } from './report.mjs';
import { runtimeVersion } from './runtime.mjs';
import { kFilesNotRun, kTestsNotRun } from './selection.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kFileLimitMs = 15 * 60_000; // for one file of tests or one program
const kRestMs = 2_000; // from the end of a program to the end of its streams

const { values: options, positionals: [reportFolder] } = parseArgs({
  allowPositionals: true,
  options: {
    programs: { type: 'string', default: join(kRoot, 'build/windows/bin') },
    only: { type: 'string' },
  },
});
const kHost = join(options.programs, 'wendra.exe');
const kPictures = join(reportFolder, 'pictures');
const kTests = join(options.programs, 'tests');

const wanted = options.only?.split(',');
const isWanted = (name) => !wanted || wanted.includes(name);
const isStandIn = Boolean(process.env.WENDRA_DEV_BROWSER);

const traces = tracesOfUse();
if (traces.length > 0) {
  console.error(`run_all: Wendra has been used in this account (${traces.join(', ')}); start check.cmd`);
  process.exit(2);
}

// Read by tests/e2e/support/windows/machine.mjs, and by the control and the stand-in.
Object.assign(process.env, {
  WENDRA_CHECK_ACCOUNT: '1',
  WENDRA_CHECK_PROGRAMS: options.programs,
  WENDRA_CHECK_PICTURES: kPictures,
});
if (isStandIn) process.env.WENDRA_DEV_SHARED = '1'; // each host gets a page of its own

const say = (text) => console.log(text);

// Runs a program with a limit; gives its standard output. Its errors go to the log beside the report.
async function run(name, command, args, environment = {}) {
  const child = spawn(command, args, {
    cwd: kRoot,
    env: { ...process.env, ...environment },
    stdio: ['ignore', 'pipe', 'pipe'],
    timeout: kFileLimitMs,
  });
  let output = '';
  let log = '';
  child.stdout.setEncoding('utf8').on('data', (text) => (output += text));
  child.stderr.setEncoding('utf8').on('data', (text) => (log += text));
  const closed = once(child, 'close');
  const [code, signal] = await once(child, 'exit');
  // A program that it has started may still run, and hold the streams.
  await Promise.race([closed, sleep(kRestMs, undefined, { ref: false })]);
  child.stdout.destroy();
  child.stderr.destroy();
  writeFileSync(join(reportFolder, 'logs', `${name}.txt`), `${log}\n${output}`);
  const trouble = signal ? `no end after ${kFileLimitMs / 60_000} minutes` : '';
  return { code, output, trouble };
}

// A row for a file that has told no failure but has not ended well.
function rowForBadEnd({ suite, file }, rows, { code, trouble }) {
  const isExplained = rows.some(({ state }) => state === 'failed' || state === 'notRun');
  if (!trouble && rows.length > 0 && (code === 0 || isExplained)) return [];
  return [{ suite, file, name: ['the whole file'], state: 'failed', reason: trouble || `exit code ${code}` }];
}

async function runFile(file) {
  const about = { suite: 'e2e', file };
  if (kFilesNotRun[file]) {
    return [{ ...about, name: ['all tests'], state: 'notRun', reason: kFilesNotRun[file] }];
  }
  const ended = await run(file, process.execPath, [
    '--import', './tests/runner/limits.mjs', '--test',
    '--test-reporter=./tests/windows/reporter.mjs', `tests/e2e/${file}.test.mjs`,
  ]);
  const rows = ended.output.split('\n').filter((line) => line.startsWith('{'))
    .map((line) => ({ ...about, ...JSON.parse(line) }))
    .map(withoutWhatCannotRun);
  return [...withoutHooks(rows), ...rowForBadEnd(about, rows, ended)];
}

// Where nothing could run, the file's last step has nothing to end, and may fail.
function withoutHooks(rows) {
  const isOfFile = ({ name }) => name.length === 1 && name[0].endsWith('.test.mjs');
  const tests = rows.filter((row) => !isOfFile(row));
  return tests.length > 0 && tests.every(({ state }) => state === 'notRun') ? tests : rows;
}

function withoutWhatCannotRun(row) {
  const known = kTestsNotRun.find(([file, name]) => row.file === file && row.name.join(' › ').includes(name));
  if (!known || row.state === 'passed') return row;
  return { ...row, state: 'notRun', reason: known[2] };
}

// The tests of a GoogleTest program, from the file that it writes.
async function runGoogleTest(program, environment) {
  const file = join(reportFolder, 'logs', `${program}.json`);
  const ended = await run(program, join(kTests, `${program}.exe`), [`--gtest_output=json:${file}`], environment);
  const suites = existsSync(file) ? JSON.parse(readFileSync(file, 'utf8')).testsuites : [];
  const tests = suites.flatMap(({ testsuite }) => testsuite);
  return { ended, tests };
}

async function runProgram(program) {
  const about = { suite: 'unit', file: program };
  const { ended, tests } = await runGoogleTest(program);
  const rows = tests.map((test) => ({
    ...about,
    name: [test.classname, test.name],
    ms: Math.round(parseFloat(test.time) * 1000),
    ...(test.failures
      ? { state: 'failed', reason: test.failures.map(({ failure }) => failure).join('\n') }
      : { state: test.result === 'SKIPPED' ? 'skipped' : 'passed' }),
  }));
  return [...rows, ...rowForBadEnd(about, rows, ended)];
}

// The answers of windows_facts.exe: name -> {answer} or {reason}.
async function askProgram() {
  const server = spawn(process.execPath, [join(kRoot, 'tests/devruntime/server.mjs')], {
    stdio: ['ignore', 'pipe', 'inherit'],
  });
  const folder = mkdtempSync(join(tmpdir(), 'wendra-facts-'));
  try {
    const [line] = await once(server.stdout, 'data');
    const { tests } = await runGoogleTest('windows_facts', {
      RUNTIME_TEST_PORT: String(line).trim(),
      WEBVIEW2_USER_DATA_FOLDER: folder,
    });
    return Object.fromEntries(tests.map((test) => [`${test.classname}.${test.name}`, {
      answer: test.answer,
      reason: test.failures?.[0].failure ?? (test.result === 'SKIPPED' ? 'the machine has no such thing' : 'no answer'),
    }]));
  } finally {
    server.kill();
    rmSync(folder, { recursive: true, force: true, maxRetries: 20 });
  }
}

async function askFacts() {
  const answers = await askProgram();
  const { kFacts } = await import('./facts.mjs'); // its driver reads the variables that are set above
  for (const [name, ask] of kFacts) {
    try {
      answers[name] = { answer: await ask() };
    } catch (error) {
      answers[name] = { reason: error.message.replace(kNotHere, '').split('\n')[0] };
    }
  }
  return Object.entries(kQuestions).map(([name, question]) => {
    const { answer, reason = 'nobody asked' } = answers[name] ?? {};
    return { name, ...question, ...(answer === undefined ? { reason } : { answer }) };
  });
}

// A program's or library's version and content.
function identityOf(file) {
  const bytes = readFileSync(file);
  const hash = createHash('sha256').update(bytes).digest('hex');
  return `version ${versionOf(bytes)}, SHA-256 ${hash}`;
}

function versionOf(bytes) {
  try {
    return fileVersionOf(bytes) ?? 'unknown';
  } catch {
    return 'unknown'; // a file without resources
  }
}

function describeMachine() {
  const beside = (name) => join(dirname(kHost), name);
  const files = ['WebView2Loader.dll', 'WinSparkle.dll'].filter((name) => existsSync(beside(name)));
  return {
    date: new Date().toISOString(),
    Windows: `${version()} ${release()} ${arch()}`,
    'WebView2 runtime': isStandIn ? "none: the development runtime's stand-in" : runtimeVersion() ?? 'none',
    Node: process.version,
    'wendra.exe': identityOf(kHost),
    ...Object.fromEntries(files.map((name) => [name, identityOf(beside(name))])),
  };
}

const endToEndFiles = () =>
  readdirSync(join(kRoot, 'tests/e2e')).filter((name) => name.endsWith('.test.mjs'))
    .map((name) => basename(name, '.test.mjs')).filter(isWanted);
// The other two test the stand-ins, which a user does not have.
const unitPrograms = () =>
  readdirSync(kTests).filter((name) => name.endsWith('_test.exe')).map((name) => basename(name, '.exe'))
    .filter((name) => !['runtime_test', 'winsparkle_test'].includes(name)).filter(isWanted);

function show(name, rows) {
  const { passed, failed, notRun } = count(rows);
  say(`${failed ? 'FAIL' : 'ok  '} ${name.padEnd(28)} ${passed} passed, ${failed} failed, ${notRun} not run`);
}

async function main() {
  for (const folder of [kPictures, join(reportFolder, 'logs')]) mkdirSync(folder, { recursive: true });
  const rows = [];
  for (const program of unitPrograms()) {
    const own = await runProgram(program);
    show(program, own);
    rows.push(...own);
  }
  for (const file of endToEndFiles()) {
    const own = await runFile(file);
    show(file, own);
    rows.push(...own);
  }
  const facts = isWanted('facts') ? await askFacts() : [];
  const results = { about: describeMachine(), rows, facts, pictures: readdirSync(kPictures) };
  writeFileSync(join(reportFolder, 'results.json'), `${JSON.stringify(results, null, 2)}\n`);
  writeFileSync(join(reportFolder, 'index.html'), makeReport(results));
  const { passed, failed, notRun } = count(rows);
  const answered = facts.filter(({ answer }) => answer !== undefined).length;
  if (facts.length) say(`${answered} of ${facts.length} questions answered`);
  say(`${passed} passed, ${failed} failed, ${notRun} not run`);
  process.exitCode = failed || rows.length + answered === 0 ? 1 : 0;
}

await main();
