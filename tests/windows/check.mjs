// Checks Wendra on this Windows machine: unit tests, end-to-end tests, and questions that only the
// machine can answer. check.cmd starts it; docs/windows.md describes it.
//
//   check.cmd [--report DIR] [--programs DIR] [--vendor DIR] [--only NAME,NAME...] [--this-account]
//
//   --report        gets the report; default build/windows-check
//   --programs      the built programs and tests; default build/windows/bin, as it comes from
//                   Debian, else build/msvc-tests/bin, which is built if it is missing
//   --vendor        WebView2Loader.dll and WinSparkle.dll; default this folder
//   --only          some tests, see run_all.mjs
//
// The tests use the profile of the Windows account in which they run, and delete the host's files in
// it. Therefore they run in an account of their own, which is made for the check and deleted
// afterwards; that needs the rights of an administrator. With --this-account they run in this one,
// if Wendra has never been used in it.
//
// Exit codes: 0 nothing failed, 1 something failed, 2 the check could not begin.
import { execFileSync, spawnSync } from 'node:child_process';
import { cpSync, existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync } from 'node:fs';
import { release, tmpdir } from 'node:os';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { tracesOfUse } from './account.mjs';
import { runtimeVersion } from './runtime.mjs';

const kHere = dirname(fileURLToPath(import.meta.url));
const kRoot = join(kHere, '../..');
const kModules = join(kRoot, 'tests/e2e/node_modules');
const kOldestNode = 20;
const kLibraries = ['WebView2Loader.dll', 'WinSparkle.dll'];
const kPrograms = [
  'host_launch.exe', 'mcp_child.exe', 'own_account.exe', 'screen.exe', 'test_child.exe', 'wendra.exe',
  'window_probe.exe', 'tests/windows_facts.exe',
];
const kStandInMark = Buffer.from('WENDRA_DEV_', 'utf16le'); // in the stand-ins for the libraries
const isStandInWanted = Boolean(process.env.WENDRA_DEV_BROWSER); // the development runtime sets it

class CannotBegin extends Error {}

function readOptions() {
  try {
    return parseArgs({
      options: {
        report: { type: 'string', default: join(kRoot, 'build/windows-check') },
        programs: { type: 'string' },
        vendor: { type: 'string', default: kHere },
        only: { type: 'string' },
        'this-account': { type: 'boolean', default: false },
      },
    }).values;
  } catch (error) {
    throw new CannotBegin(error.message);
  }
}

function needSystem() {
  if (process.platform !== 'win32') throw new CannotBegin('this check is for Windows; on Debian use ./test');
  if (Number(release().split('.')[0]) < 10) throw new CannotBegin('Windows 10 or newer is needed');
  if (Number(process.versions.node.split('.')[0]) < kOldestNode) {
    throw new CannotBegin(`Node ${kOldestNode} or newer is needed, this is ${process.version}`);
  }
  if (!isStandInWanted && !runtimeVersion()) {
    throw new CannotBegin(
      'the WebView2 runtime is missing; Microsoft offers it at https://developer.microsoft.com/microsoft-edge/webview2');
  }
}

// The folder with the programs. Without any they are built with Visual Studio.
function needPrograms(wanted) {
  const built = join(kRoot, 'build/msvc-tests/bin');
  const choices = wanted ? [resolve(wanted)] : [join(kRoot, 'build/windows/bin'), built];
  let programs = choices.find((folder) => existsSync(folder));
  if (!programs && !wanted) {
    programs = built;
    for (const args of [['--preset', 'msvc-tests'], ['--build', '--preset', 'msvc-tests']]) {
      const { status } = spawnSync('cmake', args, { cwd: kRoot, stdio: 'inherit' });
      if (status === 0) continue;
      throw new CannotBegin('there are no built programs, and they cannot be built here. Copy build/windows/bin ' +
        'from a Debian machine after ./test, or install Visual Studio 2022 with CMake.');
    }
  }
  const missing = kPrograms.filter((name) => !existsSync(join(programs ?? choices[0], name)));
  if (missing.length) throw new CannotBegin(`missing in ${choices[0]}: ${missing.join(', ')}`);
  return programs;
}

function needLibraries(vendor) {
  for (const name of kLibraries) {
    const file = join(vendor, name);
    if (!existsSync(file)) throw new CannotBegin(`${file} is missing: put the vendor's file there`);
    if (!isStandInWanted && readFileSync(file).includes(kStandInMark)) {
      throw new CannotBegin(`${file} is the development stand-in: put the vendor's file in its place`);
    }
  }
}

function needModules() {
  if (existsSync(kModules)) return;
  const npm = spawnSync('npm.cmd', ['ci', '--force', '--no-audit', '--no-fund'], {
    cwd: dirname(kModules), stdio: 'inherit', shell: true,
  });
  if (npm.status !== 0) throw new CannotBegin('npm could not install the modules of tests/e2e');
}

// The folder of the report is emptied, so it must not hold anything else.
function needReportFolder(report) {
  const isOther = existsSync(report) && readdirSync(report).length > 0 && !existsSync(join(report, 'results.json'));
  if (isOther) throw new CannotBegin(`${report} holds other files; choose another folder for the report`);
}

function needUnusedAccount() {
  const traces = tracesOfUse();
  if (traces.length === 0) return;
  throw new CannotBegin(`Wendra has been used in this account (${traces.join(', ')}); leave out --this-account`);
}

function needAdministrator() {
  if (spawnSync('net', ['session'], { stdio: 'ignore' }).status === 0) return;
  throw new CannotBegin('making an account for the check needs the rights of an administrator. ' +
    "Start this from an administrator's prompt, or use --this-account in an account without Wendra.");
}

// Copies everything that the tests need to `folder`, with the programs where the tests look for them
// and the vendor's libraries beside them. Gives the folder of the programs.
function stage({ programs, vendor }, folder) {
  const isWanted = (path) => !/[\\/](\.git|build)$/.test(path);
  cpSync(kRoot, folder, { recursive: true, filter: isWanted });
  const copy = join(folder, 'build/windows/bin');
  cpSync(programs, copy, { recursive: true });
  for (const name of kLibraries) cpSync(join(vendor, name), join(copy, name));
  return copy;
}

const runnerArguments = (root, report, programs, { only }) => [
  join(root, 'tests/windows/run_all.mjs'), report, '--programs', programs, ...(only ? ['--only', only] : []),
];

function exitCodeOf({ status, error }) {
  if (status === null) throw new CannotBegin(`the tests did not run: ${error?.message ?? 'they were ended'}`);
  return status;
}

function runHere(options) {
  const run = (root, programs) => exitCodeOf(spawnSync(process.execPath,
    runnerArguments(root, options.report, programs, options), { stdio: 'inherit' }));
  if (isStandInWanted) return run(kRoot, options.programs);
  return inFolder(tmpdir(), (folder) => run(folder, stage(options, folder)));
}

// The account cannot read the person's folders, so everything is copied to where it can.
function runInOwnAccount(options) {
  return inFolder(process.env.ProgramData, (folder) => {
    const programs = stage(options, folder);
    const node = join(folder, 'node.exe');
    cpSync(process.execPath, node);
    const result = join(folder, 'report');
    mkdirSync(result);
    execFileSync('icacls', [result, '/grant', '*S-1-5-32-545:(OI)(CI)M'], { stdio: 'ignore' }); // Users
    const ended = spawnSync(join(programs, 'own_account.exe'),
      [node, ...runnerArguments(folder, result, programs, options)], { stdio: 'inherit' });
    cpSync(result, options.report, { recursive: true });
    return exitCodeOf(ended);
  });
}

// Calls `use` with a new folder below `parent`, and deletes the folder afterwards.
function inFolder(parent, use) {
  const folder = mkdtempSync(join(parent, 'wendra-check-'));
  try {
    return use(folder);
  } finally {
    rmSync(folder, { recursive: true, force: true, maxRetries: 20 });
  }
}

function main() {
  const options = readOptions();
  needSystem();
  const report = resolve(options.report);
  const vendor = resolve(options.vendor);
  needLibraries(vendor);
  const programs = needPrograms(options.programs);
  needModules();
  needReportFolder(report);
  if (options['this-account']) needUnusedAccount();
  else needAdministrator();
  rmSync(report, { recursive: true, force: true });
  mkdirSync(report, { recursive: true });
  const run = options['this-account'] ? runHere : runInOwnAccount;
  process.exitCode = run({ ...options, report, programs, vendor });
  console.log(`report: ${join(report, 'index.html')}`);
}

// Ctrl+C reaches the programs too; this one waits for their end, and deletes what it has made.
for (const signal of ['SIGINT', 'SIGBREAK']) process.on(signal, () => {});
try {
  main();
} catch (error) {
  if (!(error instanceof CannotBegin)) throw error;
  console.error(`check: ${error.message}`);
  process.exitCode = 2;
}
