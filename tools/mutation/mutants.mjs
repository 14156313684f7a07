// Plants one fault after the other in a copy of the tree and runs the tests that have to notice it,
// until one fails. Called by tools/mutants. Prints for each fault which test has killed it, and
// last which faults have survived.
import { spawnSync } from 'node:child_process';
import {
  copyFileSync,
  existsSync,
  mkdirSync,
  readFileSync,
  readdirSync,
  rmSync,
  symlinkSync,
  writeFileSync,
} from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { runProgram, stopAtSignals } from '../../tests/runner/program.mjs';
import { kFaults } from './faults.mjs';
import { applied, commandOf, targetsOf, whatIsWrong } from './killers.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kCopy = join(kRoot, 'build/mutants/tree');
const kLogs = join(kRoot, 'build/mutants/logs');
const kModules = ['tests/e2e/node_modules', 'tests/page/node_modules'];
const kBuildLimitMs = 30 * 60_000;
const kRunLimitMs = 5 * 60_000;

function fail(text) {
  console.error(`mutants: ${text}`);
  process.exit(2);
}

// Copies the tree. Files that have not changed since the last copy keep their time, so that only
// the changed ones are built again.
function copyTree() {
  const { status, stdout } = spawnSync(
    'git', ['ls-files', '-z', '--cached', '--others', '--exclude-standard'],
    { cwd: kRoot, encoding: 'utf8', maxBuffer: 1 << 26 });
  if (status !== 0) fail('git does not list the files');
  const files = new Set(stdout.split('\0').filter((file) => file && existsSync(join(kRoot, file))));
  for (const file of filesBelow(kCopy)) if (!files.has(file)) rmSync(join(kCopy, file));
  for (const file of files) {
    const [from, to] = [join(kRoot, file), join(kCopy, file)];
    if (existsSync(to) && readFileSync(to).equals(readFileSync(from))) continue;
    mkdirSync(dirname(to), { recursive: true });
    copyFileSync(from, to); // with its permissions
  }
  for (const folder of kModules) {
    rmSync(join(kCopy, folder), { force: true });
    symlinkSync(join(kRoot, folder), join(kCopy, folder));
  }
}

// The paths of all files below the folder, without build folders and links.
function filesBelow(folder, path = '') {
  if (!existsSync(join(folder, path))) return [];
  return readdirSync(join(folder, path), { withFileTypes: true }).flatMap((entry) => {
    const inner = join(path, entry.name);
    if (entry.isDirectory()) return inner === 'build' ? [] : filesBelow(folder, inner);
    return entry.isFile() ? [inner] : [];
  });
}

// True when the command ended with success.
async function succeeds(name, { command, args, env }, limitMs) {
  const { code, trouble } = await runProgram(command, args, {
    cwd: kCopy,
    env,
    limitMs,
    logFile: join(kLogs, `${name.replaceAll('/', '-')}.log`),
  });
  return code === 0 && !trouble;
}

const configured = new Set();

async function builds(name, killer) {
  for (const [preset, targets] of targetsOf(killer)) {
    const run = (step, ...args) =>
      succeeds(`${name}.${step}-${preset}`, { command: 'cmake', args }, kBuildLimitMs);
    if (!configured.has(preset) && !(await run('configure', '--preset', preset))) return false;
    configured.add(preset);
    if (!(await run('build', '--build', '--preset', preset, '--target', ...targets))) return false;
  }
  return true;
}

const passing = new Map(); // killer -> whether it passes without a fault

async function passesWithoutFault(killer) {
  if (!passing.has(killer)) {
    const name = `none.${killer}`;
    const isBuilt = await builds(name, killer);
    passing.set(killer, isBuilt && (await succeeds(name, commandOf(killer, kCopy), kRunLimitMs)));
  }
  return passing.get(killer);
}

// Plants the fault and runs its killers. Gives {killer}, {survived: true}, or {broken: why} when a
// killer does not pass without the fault, or the fault does not build.
async function meet(fault) {
  const file = join(kCopy, fault.file);
  const right = readFileSync(file, 'utf8');
  try {
    for (const killer of fault.killers) {
      if (!(await passesWithoutFault(killer))) {
        return { broken: `without it ${killer} does not pass` };
      }
      writeFileSync(file, applied(fault, right));
      const name = `${fault.name}.${killer}`;
      if (!(await builds(name, killer))) return { broken: `it does not build for ${killer}` };
      if (!(await succeeds(name, commandOf(killer, kCopy), kRunLimitMs))) return { killer };
      writeFileSync(file, right); // the next killer first runs without the fault
    }
    return { survived: true };
  } finally {
    writeFileSync(file, right);
  }
}

const names = process.argv.slice(2);
if (names.includes('--list')) {
  for (const { name, file, killers } of kFaults) console.log(`${name.padEnd(32)} ${file}  ${killers.join(' ')}`);
  process.exit(0);
}
const unknown = names.filter((name) => !kFaults.some((fault) => fault.name === name));
if (unknown.length > 0) fail(`unknown: ${unknown.join(' ')}; tools/mutants --list shows the names`);
const wrong = whatIsWrong(kFaults, kRoot);
if (wrong.length > 0) fail(`the table is out of date:\n${wrong.join('\n')}`);

stopAtSignals();
mkdirSync(kLogs, { recursive: true });
copyTree();
const wanted = kFaults.filter(({ name }) => names.length === 0 || names.includes(name));
const survived = [];
const broken = [];
for (const fault of wanted) {
  const startedMs = Date.now();
  const met = await meet(fault);
  const seconds = ((Date.now() - startedMs) / 1000).toFixed(0);
  if (met.survived) survived.push(fault.name);
  if (met.broken) broken.push(fault.name);
  const said = met.killer ? `killed    by ${met.killer}` : met.survived ? 'SURVIVED' : `BROKEN    ${met.broken}`;
  console.log(`${fault.name.padEnd(32)} ${said}  ${seconds} s`);
}
if (survived.length > 0) console.log(`survived: ${survived.join(' ')}`);
if (broken.length > 0) console.log(`not tried: ${broken.join(' ')}`);
console.log(`${wanted.length - survived.length - broken.length} of ${wanted.length} faults killed`);
process.exit(survived.length + broken.length > 0 ? 1 : 0);
