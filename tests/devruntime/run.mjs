#!/usr/bin/env node
// Runs runtime_test.exe with all that it needs: a copy of a Wine prefix, a virtual display, two
// real Chromium browsers (one test ends its browser) and a web server. Prints the output of the
// tests and exits with their code. All processes that it starts end with it.
//
//   node tests/devruntime/run.mjs BUILD_DIR [arguments of the test program]
//
// WINEPREFIX names the prefix that is copied; it is not changed.
import { execFileSync, spawn } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

const kBrowser = '/usr/lib/chromium/chromium-headless-shell';
const kBrowserFlags = [
  '--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage', '--block-new-web-contents',
  '--remote-debugging-port=0', '--no-first-run', '--disable-background-networking',
  '--disable-component-update', '--disable-sync', '--mute-audio',
  '--host-resolver-rules=MAP *.test 127.0.0.1',
  '--allow-pre-commit-input',  // without it a click before the first picture is lost
];

const [buildDirectory, ...testArguments] = process.argv.slice(2);
const template = process.env.WINEPREFIX;
if (!buildDirectory || !template) {
  console.error('usage: WINEPREFIX=... node run.mjs BUILD_DIR [--gtest_filter=...]');
  process.exit(2);
}

const here = path.dirname(fileURLToPath(import.meta.url));
const scratch = fs.mkdtempSync(path.join(os.tmpdir(), 'runtime-test-'));
const prefix = path.join(scratch, 'prefix');
const environment = { ...process.env, WINEPREFIX: prefix, WINEDEBUG: '-all' };
for (const name of Object.keys(environment)) if (/_proxy$/i.test(name)) delete environment[name];

const children = [];
function start(command, args, options = {}) {
  const child = spawn('setpriv', ['--pdeathsig', 'KILL', command, ...args],
                      { stdio: 'ignore', env: environment, ...options });
  children.push(child);
  return child;
}

function firstLine(stream) {
  return new Promise((resolve, reject) => {
    let text = '';
    stream.on('data', (data) => {
      text += data;
      if (text.includes('\n')) resolve(text.split('\n')[0].trim());
    });
    stream.on('end', () => reject(new Error('ended without a word')));
  });
}

function ended(child) {
  return new Promise((resolve) => {
    if (child.exitCode !== null || child.signalCode !== null) resolve(child.exitCode ?? 1);
    child.on('exit', (code) => resolve(code ?? 1));
  });
}

// Copies the template. All files except the user's and the registry are hard links.
function copyPrefix() {
  execFileSync('cp', ['-al', template, prefix]);
  for (const part of ['drive_c/users', 'system.reg', 'user.reg', 'userdef.reg']) {
    const target = path.join(prefix, part);
    fs.rmSync(target, { recursive: true, force: true });
    execFileSync('cp', ['-a', path.join(template, part), target]);
  }
}

async function startDisplay() {
  const display = start('Xvfb',
                        ['-displayfd', '3', '-screen', '0', '1400x1000x24', '-nolisten', 'tcp'],
                        { stdio: ['ignore', 'ignore', 'ignore', 'pipe'] });
  environment.DISPLAY = `:${await firstLine(display.stdio[3])}`;
}

async function startServer() {
  const server = start(process.execPath, [path.join(here, 'server.mjs')],
                       { stdio: ['ignore', 'pipe', 'inherit'] });
  environment.RUNTIME_TEST_PORT = await firstLine(server.stdout);
}

function startBrowser(name) {
  const directory = path.join(scratch, name);
  start(kBrowser, [...kBrowserFlags, `--user-data-dir=${directory}`, 'about:blank']);
  return path.join(directory, 'DevToolsActivePort');
}

// The first Wine process of a prefix starts services that keep its output open. So start one here,
// where the end of its output does not matter.
async function startWine() {
  await ended(start('wineserver', ['-p']));
  await ended(start('wine', ['wineboot']));
}

async function main() {
  copyPrefix();
  await startDisplay();
  await startServer();
  environment.WENDRA_DEV_BROWSER = startBrowser('browser');
  environment.WENDRA_DEV_SHARED = '1';
  environment.WENDRA_DEV_DIALOGS = 'accept';
  environment.RUNTIME_TEST_SECOND_BROWSER = startBrowser('second');
  environment.RUNTIME_TEST_SCRATCH = scratch;
  await startWine();
  const program = path.join(buildDirectory, 'bin', 'tests', 'runtime_test.exe');
  const tests = start('wine', [program, ...testArguments],
                      { stdio: ['ignore', 'inherit', 'inherit'] });
  return ended(tests);
}

let code = 1;
try {
  code = await main();
} finally {
  try {
    execFileSync('wineserver', ['-k'], { env: environment, stdio: 'ignore' });
  } catch {
    // Wine's server had ended already.
  }
  for (const child of children) child.kill('SIGKILL');
  await Promise.all(children.map(ended));
  fs.rmSync(scratch, { recursive: true, force: true, maxRetries: 5 });
}
process.exit(code);
