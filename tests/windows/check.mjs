// Checks Wendra on this Windows machine: unit tests, end-to-end tests, and questions that only the
// machine can answer. check.cmd starts it; docs/windows.md describes it.
//
//   check.cmd [--report DIR] [--programs DIR] [--host FILE] [--only NAME,NAME...] [--this-account]
//
// The tests use the profile of the Windows account in which they run, and delete the host's files in
// it. Therefore they run in an account of their own, which is made for the check and deleted
// afterwards; that needs the rights of an administrator. With --this-account they run in this one,
// if Wendra has never been used in it.
//
// Exit codes: 0 nothing failed, 1 something failed, 2 the check could not begin.
import { execFileSync, spawnSync } from 'node:child_process';
import { cpSync, existsSync, mkdirSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { homedir, release } from 'node:os';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { runtimeVersion } from './runtime.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kModules = join(kRoot, 'tests/e2e/node_modules');
const kOldestNode = 20;
const kLibraries = ['WebView2Loader.dll', 'WinSparkle.dll'];
const kHelpers = ['host_launch.exe', 'mcp_child.exe', 'own_account.exe', 'screen.exe', 'test_child.exe', 'window_probe.exe'];
const kStandInMark = Buffer.from('WENDRA_DEV_', 'utf16le'); // in the stand-ins for the libraries
const isStandInWanted = Boolean(process.env.WENDRA_DEV_BROWSER); // the development runtime sets it

class CannotBegin extends Error {}

function readOptions() {
  try {
    return parseArgs({
      options: {
        report: { type: 'string', default: 'build/windows-check' },
        programs: { type: 'string', default: 'build/windows/bin' },
        host: { type: 'string' },
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

// Builds with Visual Studio what is not there.
function needPrograms(programs, host) {
  if (!existsSync(join(programs, 'tests'))) {
    for (const args of [['--preset', 'msvc-tests'], ['--build', '--preset', 'msvc-tests']]) {
      const { status } = spawnSync('cmake', args, { cwd: kRoot, stdio: 'inherit' });
      if (status !== 0) {
        throw new CannotBegin(`there are no built programs in ${programs}, and they cannot be built here. ` +
          'Copy build/windows/bin from a Debian machine after ./test, or install Visual Studio 2022.');
      }
    }
  }
  const missing = kHelpers.map((name) => join(programs, name)).concat(host).filter((file) => !existsSync(file));
  if (missing.length) throw new CannotBegin(`missing: ${missing.join(', ')}`);
}

function needLibraries(host) {
  for (const name of kLibraries) {
    const file = join(dirname(host), name);
    if (!existsSync(file)) throw new CannotBegin(`${name} is missing: put the vendor's file beside wendra.exe`);
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

// Wendra's traces in the account; none may be there, as the tests delete them.
function needUnusedAccount() {
  const traces = ['.config/wendra', 'AppData/Local/Wendra']
    .map((folder) => join(homedir(), folder))
    .filter((folder) => existsSync(folder) && !(isStandInWanted && folder.includes('AppData')));
  const key = 'HKCU\\Software\\Wendra.Desktop';
  if (spawnSync('reg', ['query', key]).status === 0) traces.push(key);
  if (traces.length) {
    throw new CannotBegin(`Wendra has been used in this account (${traces.join(', ')}); leave out --this-account`);
  }
}

const runnerOptions = ({ only }) => (only ? ['--only', only] : []);

function runHere({ report, programs, host, ...rest }) {
  needUnusedAccount();
  const script = join(kRoot, 'tests/windows/run_all.mjs');
  const args = [script, report, '--programs', programs, '--host', host, ...runnerOptions(rest)];
  return spawnSync(process.execPath, args, { stdio: 'inherit' }).status;
}

// Copies all that the tests need to a folder that another account can read, and runs them there.
function runInOwnAccount({ report, programs, host, ...rest }) {
  if (spawnSync('net', ['session'], { stdio: 'ignore' }).status !== 0) {
    throw new CannotBegin('making an account for the check needs the rights of an administrator. ' +
      'Start this from an administrator\'s prompt, or use --this-account in an account without Wendra.');
  }
  const folder = mkdtempSync(join(process.env.ProgramData, 'wendra-check-'));
  try {
    for (const part of ['tests', 'tools', 'page']) {
      cpSync(join(kRoot, part), join(folder, part), { recursive: true });
    }
    const copies = { programs: join(folder, 'programs'), host: join(folder, 'host') };
    cpSync(programs, copies.programs, { recursive: true });
    mkdirSync(copies.host);
    for (const name of kLibraries) cpSync(join(dirname(host), name), join(copies.host, name));
    cpSync(host, join(copies.host, 'wendra.exe'));
    cpSync(process.execPath, join(folder, 'node.exe'));
    const result = join(folder, 'report');
    mkdirSync(result);
    execFileSync('icacls', [result, '/grant', '*S-1-5-32-545:(OI)(CI)M'], { stdio: 'ignore' }); // Users
    const { status } = spawnSync(join(copies.programs, 'own_account.exe'), [
      join(folder, 'node.exe'), join(folder, 'tests/windows/run_all.mjs'), result,
      '--programs', copies.programs, '--host', join(copies.host, 'wendra.exe'), ...runnerOptions(rest),
    ], { stdio: 'inherit' });
    cpSync(result, report, { recursive: true });
    return status;
  } finally {
    rmSync(folder, { recursive: true, force: true, maxRetries: 20 });
  }
}

try {
  const options = readOptions();
  const absolute = (path) => resolve(kRoot, path);
  const programs = absolute(options.programs);
  const host = options.host ? absolute(options.host) : join(programs, 'wendra.exe');
  const report = absolute(options.report);
  needSystem();
  needPrograms(programs, host);
  needLibraries(host);
  needModules();
  rmSync(report, { recursive: true, force: true });
  mkdirSync(report, { recursive: true });
  const run = options['this-account'] ? runHere : runInOwnAccount;
  process.exitCode = run({ report, programs, host, only: options.only });
  console.log(`report: ${join(report, 'index.html')}`);
} catch (error) {
  if (!(error instanceof CannotBegin)) throw error;
  console.error(`check: ${error.message}`);
  process.exitCode = 2;
}
