// Windows: the host runs with the control and the update library that lie beside it, in the profile
// of the account that runs the tests. The account must be made for the tests: they delete the
// host's files in its profile.
import { spawn, spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { rmSync } from 'node:fs';
import { rm } from 'node:fs/promises';
import { homedir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { LogOutput } from '../../../../tools/wine/log_output.mjs';
import { NotHere } from '../not_here.mjs';
import { Screen } from './screen.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../../../..');
const kPrograms = process.env.WENDRA_CHECK_PROGRAMS ?? join(kRoot, 'build/windows/bin');
const kHost = join(kPrograms, 'wendra.exe');
const kBrowserData = join(homedir(), 'AppData/Local/Wendra/WebView2');
// The program's own key, and the update library's.
const kRegistryKeys = ['HKCU\\Software\\Wendra.Desktop', 'HKCU\\Software\\Wendra'];
const kNoRuntime = 'WENDRA_DEV_NO_RUNTIME';
// The stand-in has such a file from its launch; the real control writes one.
const kStandInPort = process.env.WENDRA_DEV_BROWSER;

export const kWindowsNode = process.execPath;
export const windowsPath = (path) => path;

const running = new Set();

export async function makeProfile() {
  if (running.size > 0) throw new NotHere('needs a user of its own while another host runs');
  await removeProfile();
  return homedir();
}

export async function removeProfile() {
  if (process.env.WENDRA_CHECK_ACCOUNT !== '1') {
    throw new Error('the tests delete files of the user: start them with tests\\windows\\check.cmd');
  }
  const folders = ['.config/wendra'];
  // The browser of the stand-in runs during the whole check, and has its files there.
  if (!kStandInPort) folders.push('AppData/Local/Wendra');
  for (const folder of folders) {
    await rm(join(homedir(), folder), { recursive: true, force: true, maxRetries: 20 });
  }
  for (const key of kRegistryKeys) spawnSync('reg', ['delete', key, '/f']); // fails if there is none
}

// The variables of the host. `wanted` may hold settings of the development runtime.
function environmentFor(wanted = {}) {
  const { [kNoRuntime]: noRuntime, ...others } = wanted;
  if (others.WENDRA_DEV_HOST) throw new NotHere("needs tools/launch to start another program in the host's place");
  const standIn = Object.keys(others).find((name) => name.startsWith('WENDRA_DEV_'));
  if (standIn) throw new NotHere(`needs the stand-in for the control (${standIn})`);
  const environment = { ...process.env, ...others };
  delete environment.WENDRA_DEV_LOG; // the log is read where a debugger reads it
  if (noRuntime === '1') {
    // The real loader looks for the runtime in this folder only; the stand-in needs its browser.
    environment.WEBVIEW2_BROWSER_EXECUTABLE_FOLDER = join(kPrograms, 'no-runtime-here');
    delete environment.WENDRA_DEV_BROWSER;
  } else {
    environment.WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS =
      '--remote-debugging-port=0 --host-resolver-rules="MAP *.test 127.0.0.1, MAP *.wendra.example 127.0.0.1"';
  }
  return environment;
}

// One start of the host. The members are described in debian/machine.mjs.
export class Launch {
  controlIsClient = Boolean(kStandInPort);
  portFile = kStandInPort ?? join(kBrowserData, 'EBWebView/DevToolsActivePort');
  exit;
  log = new LogOutput();
  #child;

  constructor(profile, { args, lang, env, options }) {
    if (running.size > 0) throw new NotHere('needs a second host while another one runs');
    if (options.length > 0) throw new NotHere(`needs tools/launch ${options[0]}`);
    const system = Intl.DateTimeFormat().resolvedOptions().locale.slice(0, 2);
    if (lang && lang !== system) throw new NotHere(`needs Windows in the language '${lang}'`);
    const environment = environmentFor(env);
    if (!kStandInPort) rmSync(this.portFile, { force: true });
    this.#child = spawn(join(kPrograms, 'host_launch.exe'), [kHost, ...args], { env: environment });
    running.add(this);
    this.exit = once(this.#child, 'exit').then(([code, signal]) => {
      running.delete(this);
      return { code: code % 256, signal };
    });
    this.#child.stdout.pipe(this.log);
    this.#child.stdin.on('error', () => {}); // the program may have ended
  }

  get pid() {
    return this.#child.pid;
  }

  get messages() {
    return this.#child.stderr;
  }

  get isRunning() {
    return this.#child.exitCode === null;
  }

  isUp() {
    return this.isRunning;
  }

  requestClose() {
    this.#child.stdin.write('close\n');
  }

  kill() {
    this.#child.stdin.write('kill\n');
  }

  signal(name) {
    throw new NotHere(`needs the signal ${name}`);
  }

  startProgram(name) {
    return spawn(join(kPrograms, name), [], { stdio: ['pipe', 'pipe', 'ignore'] });
  }

  makeScreen() {
    return new Screen(this.startProgram('screen.exe'));
  }

  async openedInBrowser() {
    throw new NotHere('needs a default browser that records the addresses');
  }

  processes() {
    throw new NotHere("needs Linux's list of processes");
  }

  remaining() {
    return []; // host_launch.exe has ended all of them
  }

  tidy() {}
}
