// Tests the npm package: its files, that its modules can be imported, and that its typings fit.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { cpSync, mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';

const kHere = dirname(fileURLToPath(import.meta.url));
const kPage = join(kHere, '../../page');
const kCompiler = join(kHere, 'node_modules/typescript/bin/tsc');
const project = mkdtempSync(join(tmpdir(), 'wendra-package-'));
const installed = join(project, 'node_modules/wendra-host');

const npm = (...args) =>
  execFileSync('npm', [...args, '--loglevel=error'], { cwd: kPage, encoding: 'utf8' });

function compile(...args) {
  const { status, stdout } = spawnSync(process.execPath, [kCompiler, ...args], {
    cwd: project,
    encoding: 'utf8',
  });
  return { status, stdout };
}

before(() => {
  const [{ filename }] = JSON.parse(npm('pack', '--json', '--pack-destination', project));
  mkdirSync(installed, { recursive: true });
  execFileSync('tar', ['-xzf', join(project, filename), '-C', installed, '--strip-components=1']);
  cpSync(join(kHere, 'consumer/use.ts'), join(project, 'use.ts'));
  writeFileSync(join(project, 'package.json'), '{ "type": "module" }');
});

after(() => rmSync(project, { recursive: true, force: true }));

test('the package holds the module, the stand-in, their typings, licence and README only', () => {
  const [{ files, name }] = JSON.parse(npm('pack', '--dry-run', '--json'));
  assert.equal(name, 'wendra-host');
  assert.deepEqual(files.map(({ path }) => path).sort(), [
    'LICENSE',
    'README.md',
    'package.json',
    'wendra-host-standin.d.ts',
    'wendra-host-standin.js',
    'wendra-host.d.ts',
    'wendra-host.js',
  ]);
});

test("the package has no dependencies and has the repository's licence", () => {
  const manifest = JSON.parse(readFileSync(join(installed, 'package.json'), 'utf8'));
  for (const name of Object.keys(manifest)) assert.doesNotMatch(name, /dependencies|scripts/i);
  const licence = readFileSync(join(kPage, '../LICENSE'), 'utf8');
  assert.equal(readFileSync(join(installed, 'LICENSE'), 'utf8'), licence);
});

test('both modules of the package can be imported by name', () => {
  const script = `
    const host = await import('wendra-host');
    const { installStandIn } = await import('wendra-host/standin');
    console.log(typeof host.readFile, typeof installStandIn);`;
  const output = execFileSync(process.execPath, ['--input-type=module', '-e', script], {
    cwd: project,
    encoding: 'utf8',
  });
  assert.equal(output, 'function function\n');
});

const kStrict = ['--noEmit', '--strict', '--exactOptionalPropertyTypes', '--target', 'es2022'];
const kResolutions = [['nodenext', 'nodenext'], ['es2022', 'bundler']];

for (const [module, resolution] of kResolutions) {
  test(`a page in TypeScript compiles with the package, module resolution ${resolution}`, () => {
    const how = ['--module', module, '--moduleResolution', resolution];
    const { status, stdout } = compile('use.ts', ...kStrict, ...how);
    assert.equal(stdout, '');
    assert.equal(status, 0);
  });
}

test('the compiler accepts module, stand-in and playground with the typings', () => {
  const { status, stdout } = compile('-p', kHere, '--listFilesOnly');
  assert.equal(status, 0);
  for (const file of ['wendra-host.js', 'wendra-host-standin.js', 'playground/views/files.js']) {
    assert.ok(stdout.includes(`page/${file}`), `${file} is not checked`);
  }
  const check = compile('-p', kHere);
  assert.equal(check.stdout, '');
  assert.equal(check.status, 0);
});
