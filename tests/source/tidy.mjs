// Runs clang-tidy, the linter of a second compiler, over each source of a folder that is built for
// Windows. .clang-tidy says which checks it makes. The exit code is 1 when it finds something.
//   node tests/source/tidy.mjs FOLDER
import { execFile } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { cpus } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';

const run = promisify(execFile);
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

async function check() {
  for (let next = commands.pop(); next; next = commands.pop()) {
    const flags = next.command.split(' ').filter((word) => /^-(D|I|std|W)/.test(word));
    await run('clang-tidy', ['--quiet', next.file, '--', ...kTarget, ...flags], { cwd: kRoot })
      .catch(({ stdout, stderr }) => {
        process.exitCode = 1;
        console.log(`${next.file}\n${stdout}${stdout ? '' : stderr}`);
      });
  }
}
await Promise.all(Array.from({ length: cpus().length }, check));
