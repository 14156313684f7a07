// What a fault of the table means: its planting, and how the tests that are to notice it are built
// and run. Knows of no tree but the one that it is given.
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

const kGoogleTests = ['native', 'asan', 'windows'];
const kFirstFailure = '--gtest_fail_fast'; // is enough
// What the end-to-end tests use besides the host.
const kEndToEndTargets = ['runnable', 'host_parent', 'mcp_child', 'test_child', 'window_probe'];

function parse(killer) {
  const [, kind, program, filter] = /^(\w+)\/([\w-]+)(?:#(.+))?$/.exec(killer) ?? [];
  return { kind, program, filter };
}

// [preset, targets] pairs.
export function targetsOf(killer) {
  const { kind, program } = parse(killer);
  if (kGoogleTests.includes(kind)) return [[kind, [program]]];
  return kind === 'e2e' ? [['windows', kEndToEndTargets]] : [];
}

// {command, args, env}, to be run in the folder `tree`.
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

// The content of the fault's file with the fault in it.
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

// A line for each thing in the table that does not fit the tree.
export function whatIsWrong(faults, tree) {
  const wrong = [];
  const names = faults.map(({ name }) => name);
  for (const { name, file, text, replacement, killers } of faults) {
    const path = join(tree, file);
    const count = existsSync(path) ? readFileSync(path, 'utf8').split(text).length - 1 : 0;
    if (count !== 1) wrong.push(`${name}: its text stands ${count} times in ${file}`);
    if (text === replacement) wrong.push(`${name}: changes nothing`);
    if (names.filter((one) => one === name).length > 1) wrong.push(`${name}: twice`);
    if (killers.length === 0) wrong.push(`${name}: nobody is to notice it`);
    for (const killer of killers) {
      if (!isThere(killer, tree)) wrong.push(`${name}: there is no ${killer}`);
    }
  }
  return wrong;
}
