// Checks that each header of the program can be included alone, first, by both compilers: a header
// that needs another one to come before it works by chance.
import assert from 'node:assert/strict';
import { execFile, execFileSync } from 'node:child_process';
import { existsSync, readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';

const run = promisify(execFile);
const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kModules = ['app', 'base', 'bridge', 'config', 'json', 'mcp', 'update', 'webview', 'win'];
const kGenerated = 'build/windows/generated';

const headers = execFileSync('git', ['ls-files', ...kModules.map((module) => `${module}/*.h`)], {
  cwd: kRoot,
  encoding: 'utf8',
}).split('\n').filter(Boolean);

// A source that includes its own header first is the check: the build has compiled it.
function isFirstInItsSource(header) {
  const stem = header.replace(/\.h$/, '');
  return [`${stem}.cpp`, `${stem}_win.cpp`, `${stem}_posix.cpp`]
    .filter((source) => existsSync(join(kRoot, source)))
    .some((source) => /#include "(.+)"/.exec(readFileSync(join(kRoot, source), 'utf8'))?.[1] === header);
}

const needsWindows = (header) => /_win\.h$/.test(header) || header.startsWith('win/');

const kCompilers = [
  { command: ['g++'], takes: (header) => !needsWindows(header) },
  {
    command: ['x86_64-w64-mingw32-g++-posix', '-DUNICODE', '-D_UNICODE', '-DNOMINMAX',
      '-DWIN32_LEAN_AND_MEAN', '-D_WIN32_WINNT=0x0A00', '-DNTDDI_VERSION=0x0A000007'],
    takes: () => true,
  },
];

test('each source includes its own header first', () => {
  const wrong = headers.filter((header) => {
    const stem = header.replace(/\.h$/, '');
    const hasSource = ['.cpp', '_win.cpp'].some((end) => existsSync(join(kRoot, stem + end)));
    return hasSource && !isFirstInItsSource(header);
  });
  assert.deepEqual(wrong, []);
});

test('each header without a source compiles alone, with both compilers', async () => {
  const alone = headers.filter((header) => !isFirstInItsSource(header));
  assert.ok(alone.length > 10 && alone.includes('win/unique.h'), alone.join(' '));
  const wrong = [];
  for (const header of alone) {
    for (const { command: [compiler, ...flags], takes } of kCompilers) {
      if (!takes(header)) continue;
      const parameters = ['-std=c++20', '-fsyntax-only', '-x', 'c++', '-I.', `-I${kGenerated}`];
      await run(compiler, [...parameters, ...flags, header], { cwd: kRoot })
        .catch(({ stderr }) => wrong.push(`${compiler}: ${stderr.split('\n').find((line) => /error/.test(line))}`));
    }
  }
  assert.deepEqual(wrong, []);
});
