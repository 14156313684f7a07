// Says how a fault of the table is planted, and how its killers, the tests that have to notice it,
// are built and run. All functions work on the tree that the caller names.
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

const kGoogleTests = ['native', 'asan', 'windows'];
const kFirstFailure = '--gtest_fail_fast'; // the first failure is enough
// The CMake targets that the end-to-end tests need.
const kEndToEndTargets = ['test_programs'];

function parse(killer) {
  const [, kind, program, filter] = /^(\w+)\/([\w-]+)(?:#(.+))?$/.exec(killer) ?? [];
  return { kind, program, filter };
}

// What to build for the killer: pairs of [preset, targets].
export function targetsOf(killer) {
  const { kind, program } = parse(killer);
  if (kGoogleTests.includes(kind)) return [[kind, [program]]];
  return kind === 'e2e' ? [['windows', kEndToEndTargets]] : [];
}

// How to run the killer: {command, args, env}, for the working folder `tree`.
export function commandOf(killer, tree) {
  const { kind, program, filter } = parse(killer);
  if (kind === 'windows') {
    return {
      command: join(tree, 'tools/launch'),
      args: ['--profile', join(tree, 'build/test-profiles', program), '--', kFirstFailure],
      env: {
        DISPLAY: '',
        WENDRA_DEV_NO_RUNTIME: '1',
        WENDRA_DEV_HOST: join(tree, 'build/windows/bin/tests', `${program}.exe`),
      },
    };
  }
  if (kGoogleTests.includes(kind)) {
    return { command: join(tree, 'build', kind, 'bin/tests', program), args: [kFirstFailure], env: {} };
  }
  const pattern = filter ? [`--test-name-pattern=${filter}`] : [];
  const limits = ['--import', './tests/runner/limits.mjs'];
  return {
    command: process.execPath,
    args: [...limits, '--test', '--test-reporter=tap', ...pattern, `tests/${kind}/${program}.test.mjs`],
    env: {},
  };
}

// `content`, the text of the fault's file, with the fault planted.
export function applied({ text, replacement }, content) {
  return content.replace(text, () => replacement);
}

function isThere(killer, tree) {
  const { kind, program, filter } = parse(killer);
  if (kGoogleTests.includes(kind)) {
    const module = program?.replace(/_.*/, '');
    const list = join(tree, 'tests', module, 'CMakeLists.txt');
    return existsSync(list) && readFileSync(list, 'utf8').includes(`wendra_test(${program}`);
  }
  const file = join(tree, 'tests', kind ?? '', `${program}.test.mjs`);
  return existsSync(file) && (!filter || readFileSync(file, 'utf8').includes(filter));
}

// One line for each mistake in the table, also where it does not fit the tree.
export function whatIsWrong(faults, tree) {
  const wrong = [];
  const names = faults.map(({ name }) => name);
  for (const { name, file, text, replacement, killers } of faults) {
    const path = join(tree, file);
    const count = existsSync(path) ? readFileSync(path, 'utf8').split(text).length - 1 : 0;
    if (count !== 1) wrong.push(`${name}: its text stands ${count} times in ${file}`);
    if (text === replacement) wrong.push(`${name}: changes nothing`);
    if (names.filter((one) => one === name).length > 1) wrong.push(`${name}: twice`);
    if (killers.length === 0) wrong.push(`${name}: no test has to notice it`);
    for (const killer of killers) {
      if (!isThere(killer, tree)) wrong.push(`${name}: there is no ${killer}`);
    }
  }
  return wrong;
}
