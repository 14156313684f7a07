// Installs, updates and removes the program with the real installer, under Wine, with the
// development runtime in the place of the vendors' libraries.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { copyFileSync, existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { windowsPath } from '../../tools/wine/prefix.mjs';
import { ended, isAlive, signalProcess } from '../../tools/wine/processes.mjs';
import { startServer } from '../e2e/support/server.mjs';
import { until } from '../e2e/support/waiting.mjs';
import { Machine, kPrograms } from './machine.mjs';
import { withVersion } from './versions.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kFolder = 'AppData/Local/Programs/Wendra';
const kShortcut = 'AppData/Roaming/Microsoft/Windows/Start Menu/Programs/Wendra.lnk';
const kProgram = 'C:\\users\\wendra\\AppData\\Local\\Programs\\Wendra\\wendra.exe';
const kUninstallKey = 'HKCU\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Wendra';
const kVersions = ['1.0.0.0', '1.1.0.0'];

let packages;
const installers = {};

before(() => {
  packages = mkdtempSync(join(tmpdir(), 'wendra-packages-'));
  for (const version of kVersions) {
    const exe = join(packages, `wendra-program-${version}.exe`);
    writeFileSync(exe, withVersion(readFileSync(join(kPrograms, 'wendra.exe')), version));
    execFileSync(join(kRoot, 'tools/package'),
      ['--exe', exe, '--vendor', kPrograms, '--output', packages, '--not-for-users'], { stdio: 'ignore' });
    installers[version] = join(packages, `wendra-${version}-not-for-users.exe`);
  }
});
after(() => rmSync(packages, { recursive: true, force: true }));

const silent = (...switches) => ['/S', '/NORUNTIME', ...switches];
const install = (machine, version, ...switches) => machine.run(installers[version], silent(...switches));
const installedVersion = (machine) => machine.registry(kUninstallKey, 'DisplayVersion');
const programOf = (machine) => readFileSync(machine.file(`${kFolder}/wendra.exe`));
const isProgram = (bytes, version) => bytes.equals(readFileSync(join(packages, `wendra-program-${version}.exe`)));

async function uninstall(machine, ...switches) {
  const file = machine.file(`${kFolder}/uninstall.exe`);
  assert.equal(await machine.run(kProgram.replace('wendra.exe', 'uninstall.exe'), ['/S', ...switches]), 0);
  // The uninstaller returns when its copy has begun to work.
  await until('the end of the uninstaller', () =>
    !existsSync(file) && machine.processesOf('Un.exe').length === 0);
}

async function withMachine(use) {
  const machine = await Machine.start();
  try {
    await use(machine);
  } finally {
    await machine.close();
  }
}

test('an installation leaves nothing behind when it is removed', async () => {
  await withMachine(async (machine) => {
    const before = await machine.listing();
    assert.equal(await install(machine, '1.0.0.0'), 0);
    assert.deepEqual(readdirSync(machine.file(kFolder)).sort(),
      ['LICENSE.txt', 'WebView2Loader.dll', 'WinSparkle.dll', 'uninstall.exe', 'wendra.exe']);
    assert.ok(isProgram(programOf(machine), '1.0.0.0'));
    assert.ok(existsSync(machine.file(kShortcut)));
    assert.equal(await installedVersion(machine), '1.0.0.0');
    const value = (name) => machine.registry(kUninstallKey, name);
    const folder = 'C:\\users\\wendra\\AppData\\Local\\Programs\\Wendra';
    assert.equal(await value('DisplayName'), 'Wendra (not for users)');
    assert.equal(await value('InstallLocation'), folder);
    assert.equal(await value('QuietUninstallString'), `"${folder}\\uninstall.exe" /S`);
    assert.ok(Number(await value('EstimatedSize')) > 1000);
    await uninstall(machine);
    assert.deepEqual(await machine.listing(), before);
  });
});

test('an installation for all users leaves nothing behind when it is removed', async () => {
  await withMachine(async (machine) => {
    const before = await machine.listing();
    assert.equal(await install(machine, '1.0.0.0', '/ALLUSERS', '/DESKTOP'), 0);
    const folder = 'C:\\Program Files\\Wendra';
    const added = (await machine.listing()).filter((line) => !before.includes(line));
    for (const part of ['Program Files/Wendra/wendra.exe', 'Start Menu/Programs/Wendra.lnk', 'Desktop/Wendra.lnk',
      `HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Wendra DisplayVersion    REG_SZ    1.0.0.0`,
    ]) assert.ok(added.some((line) => line.includes(part)), `${part}\n${added.join('\n')}`);
    assert.deepEqual(added.filter((line) => /^(AppData|HKEY_CURRENT_USER)/.test(line)), []);
    assert.equal(await install(machine, '1.1.0.0'), 0); // goes to where the program is
    assert.ok(isProgram(readFileSync(machine.file('.wine/drive_c/Program Files/Wendra/wendra.exe')), '1.1.0.0'));
    assert.equal(await install(machine, '1.0.0.0', '/CURRENTUSER', '/D=C:\\users\\wendra\\own'), 0);
    assert.equal(await machine.registry(kUninstallKey, 'InstallLocation'), 'C:\\users\\wendra\\own');
    assert.equal(await machine.run('C:\\users\\wendra\\own\\uninstall.exe', ['/S']), 0);
    await until('the end of the uninstaller', () =>
      !existsSync(machine.file('own')) && machine.processesOf('Un.exe').length === 0);
    assert.equal(await machine.run(`${folder}\\uninstall.exe`, ['/S']), 0);
    await until('the end of the uninstaller', () =>
      !existsSync(machine.file('.wine/drive_c/Program Files/Wendra')) && machine.processesOf('Un.exe').length === 0);
    assert.deepEqual(await machine.listing(), before);
  });
});

test('data and configuration stay, and go only if that is asked for', async () => {
  await withMachine(async (machine) => {
    const before = await machine.listing();
    const files = ['.config/wendra/config.json', 'AppData/Local/Wendra/notes.txt'];
    const put = () => {
      for (const path of files) {
        mkdirSync(dirname(machine.file(path)), { recursive: true });
        writeFileSync(machine.file(path), 'mine');
      }
    };
    assert.equal(await install(machine, '1.0.0.0'), 0);
    put();
    assert.equal(await install(machine, '1.1.0.0'), 0);
    await uninstall(machine);
    for (const path of files) assert.equal(readFileSync(machine.file(path), 'utf8'), 'mine');
    assert.equal(await install(machine, '1.0.0.0'), 0);
    await uninstall(machine, '/PURGE');
    const left = (await machine.listing()).filter((line) => !before.includes(line));
    assert.deepEqual(left.filter((line) => !line.startsWith('AppData/Local/Wendra/')), []);
    assert.ok(!existsSync(machine.file('AppData/Local/Wendra/notes.txt')));
  });
});

test('the program starts from its folder, an update closes it, and starts it again on the saved server', async () => {
  const server = await startServer({ '/': '<!doctype html><title>shown</title>' });
  await withMachine(async (machine) => {
    assert.equal(await install(machine, '1.0.0.0'), 0);
    mkdirSync(machine.file('.config/wendra'), { recursive: true });
    writeFileSync(machine.file('.config/wendra/config.json'), JSON.stringify({ server: server.url }));
    const shown = () => server.requests.filter(({ url }) => url === '/').length;
    const firstEnd = ended(machine.start(kProgram));
    await until('the page', () => shown() === 1);
    assert.equal(await install(machine, '1.1.0.0', '/UPDATE'), 0);
    assert.equal((await firstEnd).code, 0);
    assert.ok(isProgram(programOf(machine), '1.1.0.0'));
    await until('the page of the updated program', () => shown() === 2);
    await uninstall(machine); // closes it
    await until('the end of the program', () => machine.processesOf('wendra.exe').length === 0);
  });
  await server.close();
});

test('an older version replaces a newer one only if that is asked for', async () => {
  await withMachine(async (machine) => {
    assert.equal(await install(machine, '1.1.0.0'), 0);
    assert.equal(await install(machine, '1.0.0.0'), 14);
    assert.equal(await installedVersion(machine), '1.1.0.0');
    assert.ok(isProgram(programOf(machine), '1.1.0.0'));
    assert.equal(await install(machine, '1.0.0.0', '/DOWNGRADE'), 0);
    assert.equal(await installedVersion(machine), '1.0.0.0');
    assert.ok(isProgram(programOf(machine), '1.0.0.0'));
  });
});

// Name -> the installer's arguments, and its exit code. None of them installs anything.
const kRefusals = {
  'a switch that it does not know': [silent('/QUIET'), 10],
  'two switches that exclude each other': [silent('/CURRENTUSER', '/ALLUSERS'), 10],
  'a relative folder': [silent('/D=folder'), 10],
  'a folder in quotes, which Wine adds for the blank': [silent('/D=C:\\a b'), 10],
  'a folder before another switch': [['/NORUNTIME', '/D=C:\\first', '/S'], 10],
  'a path of more than 200 characters': [silent(`/D=C:\\${'a'.repeat(200)}`), 17],
  'a folder that cannot be made': [silent('/D=Z:\\proc\\wendra'), 11],
  'a folder with other files': [silent('/D=C:\\users\\wendra'), 20],
  'a switch in small letters': [['/s', '/NORUNTIME'], 10],
  'a machine without the WebView2 runtime': [['/S'], 19],
};

test('what cannot be installed is refused with a code of its own, and leaves nothing', async (t) => {
  await withMachine(async (machine) => {
    const before = await machine.listing();
    for (const [name, [args, code]] of Object.entries(kRefusals)) {
      await t.test(name, async () => {
        assert.equal(await machine.run(installers['1.0.0.0'], args), code);
        assert.deepEqual(await machine.listing(), before);
      });
    }
  });
});

test('a folder with blanks and umlauts is taken', async () => {
  await withMachine(async (machine) => {
    // Unquoted, as NSIS demands: Wine would put quotes around one argument with a blank.
    assert.equal(await install(machine, '1.0.0.0', '/D=C:\\users\\wendra\\Schöne', 'neue', 'Welt'), 0);
    assert.ok(existsSync(machine.file('Schöne neue Welt/wendra.exe')));
  });
});

test('a disk without room keeps the old version', async (t) => {
  const disk = mkdtempSync(join(tmpdir(), 'wendra-disk-'));
  t.after(() => {
    spawnSync('umount', ['-l', disk]);
    rmSync(disk, { recursive: true });
  });
  if (spawnSync('mount', ['-t', 'tmpfs', '-o', 'size=14m', 'tmpfs', disk]).status !== 0) {
    return t.skip('this machine does not let us mount a small disk');
  }
  const inFolder = `/D=${windowsPath(join(disk, 'Wendra'))}`;
  await withMachine(async (machine) => {
    assert.equal(await install(machine, '1.0.0.0', inFolder), 0);
    const program = () => readFileSync(join(disk, 'Wendra/wendra.exe'));
    const before = readdirSync(join(disk, 'Wendra'));
    assert.equal(await install(machine, '1.1.0.0', inFolder), 16);
    assert.ok(isProgram(program(), '1.0.0.0'));
    assert.deepEqual(readdirSync(join(disk, 'Wendra')), before);
  });
});

test('a file that another program uses keeps the old version', async () => {
  await withMachine(async (machine) => {
    assert.equal(await install(machine, '1.0.0.0'), 0);
    const files = () => readdirSync(machine.file(kFolder)).map((name) =>
      [name, readFileSync(machine.file(`${kFolder}/${name}`)).toString('base64').length]);
    const before = files();
    const holderEnd = ended(machine.start(join(kPrograms, 'test_child.exe'),
      ['keep', windowsPath(machine.file(`${kFolder}/WinSparkle.dll`)), 'none', 'let-go']));
    await until('the lock', async () => {
      const probe = machine.file(`${kFolder}/WinSparkle.dll`);
      return (await machine.run('C:\\windows\\system32\\cmd.exe', ['/c', 'type', windowsPath(probe), '>', 'nul'])) !== 0;
    });
    assert.equal(await install(machine, '1.1.0.0'), 15);
    assert.equal(await machine.run(join(kPrograms, 'test_child.exe'), ['set', 'let-go']), 0);
    await holderEnd;
    assert.deepEqual(files(), before);
    assert.ok(isProgram(programOf(machine), '1.0.0.0'));
    assert.equal(await installedVersion(machine), '1.0.0.0');
  });
});

test('an installer that is killed leaves a program that starts, and the next one finishes the work', async () => {
  await withMachine(async (machine) => {
    assert.equal(await install(machine, '1.0.0.0'), 0);
    for (const delayMs of [60, 150, 250, 400]) {
      assert.equal(await install(machine, '1.0.0.0', '/DOWNGRADE'), 0);
      const child = machine.start(installers['1.1.0.0'], silent());
      const end = ended(child);
      const timer = setTimeout(() => {
        for (const pid of machine.processesOf('not-for-users.exe')) signalProcess(pid, 'SIGKILL');
      }, delayMs);
      await end;
      clearTimeout(timer);
      const now = programOf(machine);
      assert.ok(kVersions.some((version) => isProgram(now, version)), `killed after ${delayMs} ms`);
      assert.ok(existsSync(machine.file(`${kFolder}/WinSparkle.dll`)));
      assert.ok(existsSync(machine.file(`${kFolder}/WebView2Loader.dll`)));
    }
    assert.equal(await install(machine, '1.1.0.0'), 0);
    assert.ok(isProgram(programOf(machine), '1.1.0.0'));
    assert.ok(!existsSync(machine.file(`${kFolder}/.wendra-new`)));
  });
});

test('a program that does not close is left alone', async () => {
  await withMachine(async (machine) => {
    assert.equal(await install(machine, '1.0.0.0'), 0);
    const hostEnd = ended(machine.start(kProgram, ['localhost']));
    // Wait for its window: a stopped program without one would not be found.
    await until('the window', () => existsSync(machine.file('.config/wendra/config.json')));
    const [pid] = machine.processesOf('wendra.exe');
    signalProcess(pid, 'SIGSTOP');
    try {
      assert.equal(await install(machine, '1.1.0.0'), 13);
      assert.ok(isAlive(pid));
    } finally {
      signalProcess(pid, 'SIGCONT');
    }
    await hostEnd; // it takes the request to close now
    assert.ok(isProgram(programOf(machine), '1.0.0.0'));
    assert.equal(await installedVersion(machine), '1.0.0.0');
  });
});
