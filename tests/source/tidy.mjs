// Runs clang-tidy, the linter of a second compiler, over each source of a folder that is built for
// Windows. .clang-tidy says which checks it makes. The exit code is 1 when it finds something.
//   node tests/source/tidy.mjs FOLDER
import { spawnSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');

// clang 14 does not find Debian's folder "12-posix" by itself.
const kLibrary = '/usr/lib/gcc/x86_64-w64-mingw32/12-posix/include/c++';
const kTarget = [
  '--target=x86_64-w64-mingw32', '-nostdinc++', '-isystem', kLibrary,
  '-isystem', `${kLibrary}/x86_64-w64-mingw32`, '-isystem', `${kLibrary}/backward`,
];

const folder = process.argv[2];
const commands = JSON.parse(readFileSync(join(kRoot, 'build/windows/compile_commands.json'), 'utf8'))
  .filter(({ file }) => file.endsWith('.cpp') && file.startsWith(join(kRoot, folder, '/')));
if (commands.length === 0) {
  console.error(`tidy: no source in ${folder}`);
  process.exit(2);
}
console.log(`${commands.length} sources in ${folder}`);

for (const { command, file } of commands) {
  const flags = command.split(' ').filter((word) => /^-(D|I|std|W)/.test(word));
  const args = ['--quiet', file, '--', ...kTarget, ...flags];
  const { error, status, stdout, stderr } = spawnSync('clang-tidy', args, { cwd: kRoot, encoding: 'utf8' });
  if (status === 0) continue;
  process.exitCode = 1;
  console.log(`${file}\n${stdout || stderr || error}`);
}
