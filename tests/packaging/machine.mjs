// A Windows machine with one user, on which programs are started one after the other: a Wine prefix
// that stays up until `close`, with a display and a browser for the control.
import { mkdtempSync, readFileSync, readdirSync, rmSync, statSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { prefixOf, profileFiles, windowsPath, wineCommand, wineEnvironment } from '../../tools/wine/prefix.mjs';
import { ended, processesOf, spawnTied } from '../../tools/wine/processes.mjs';
import { endsWithFile } from '../e2e/support/leftovers.mjs';
import { inTime, until } from '../e2e/support/waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
export const kPrograms = join(kRoot, 'build/windows/bin');
const kRests = join(kPrograms, 'test_child.exe');
const kEnd = 'wendra-test-machine-ends';

// Files that come and go without the installer: what the system keeps for itself, the browser, and
// the copies of uninstallers, which Windows deletes when it starts the next time.
const kForeign = /^(AppData\/Local\/Wendra\/WebView2|(AppData\/Local\/)?Temp(\/~nsu|\/?$)|\.wine\.lock)/;
// The folders of the machine in which an installation for all users puts files.
const kShared = ['Program Files/', 'ProgramData/', 'users/Public/'].map((name) => `.wine/drive_c/${name}`);
const isForeign = (path) =>
  path.startsWith('.wine/')
    ? !kShared.some((folder) => path.startsWith(folder) || folder.startsWith(path))
    : kForeign.test(path);
// Keys that Wine writes by itself.
const kForeignKeys = /DriverDateData|\\Explorer\\|\\Wine\\|Shell Folders|MountPoints|\\Tcpip\\|\\Control\\Video/i;

// Folders without files count only where the installer makes folders: Wine makes others when a program
// asks for their names.
const isOwnFolder = (path) => /^AppData\/Local\/Programs|^\.config|[Ww]endra/.test(path);

function filesBelow(folder, path = '') {
  return readdirSync(join(folder, path), { withFileTypes: true }).flatMap((entry) => {
    const own = join(path, entry.name);
    if (!entry.isDirectory()) return [own];
    if (isForeign(`${own}/`)) return [];
    return [...(isOwnFolder(own) ? [`${own}/`] : []), ...filesBelow(folder, own)];
  });
}

export class Machine {
  #launch;
  #ended;

  // `env`: further variables for all programs.
  static async start({ env = {} } = {}) {
    const machine = new Machine(env);
    await machine.#begin();
    return machine;
  }

  constructor(env) {
    this.profile = mkdtempSync(join(tmpdir(), 'wendra-machine-'));
    this.env = env;
    this.close = endsWithFile(() => this.#end());
  }

  async #begin() {
    this.#launch = spawnTied(join(kRoot, 'tools/launch'), ['--profile', this.profile, '--', 'await', kEnd], {
      env: { ...process.env, DISPLAY: '', WENDRA_DEV_HOST: kRests },
      stdio: 'ignore',
    });
    this.#ended = ended(this.#launch);
    await until('the machine', () => statSync(profileFiles(this.profile).launch).size > 0);
  }

  // Starts a Windows program with these arguments. Gives the child process.
  start(file, args = []) {
    const { display, lang } = JSON.parse(readFileSync(profileFiles(this.profile).launch, 'utf8'));
    const { browserData } = profileFiles(this.profile);
    return spawnTied(...wineCommand(file, args), {
      env: {
        ...wineEnvironment(this.profile, { display, lang }),
        WENDRA_DEV_BROWSER: windowsPath(join(browserData, 'DevToolsActivePort')),
        WENDRA_DEV_SHARED: '1',
        ...this.env,
      },
      stdio: ['ignore', 'pipe', 'ignore'],
    });
  }

  // Runs a program to its end. Gives its exit code, modulo 256.
  async run(file, args) {
    const child = this.start(file, args);
    child.stdout.resume();
    const { code } = await inTime(`the end of ${file} ${args.join(' ')}`, ended(child));
    return code;
  }

  // A file of the profile, by its path in it.
  file(path) {
    return join(this.profile, path);
  }

  // The value of a registry value, or undefined.
  async registry(key, name) {
    const text = await this.#output('reg.exe', ['query', key, '/v', name]);
    return /REG_\w+\s+(.*)/.exec(text)?.[1].trim();
  }

  // Everything that is installed: sorted paths of files, and registry keys with their values.
  async listing() {
    const keys = [];
    for (const root of ['HKCU\\Software', 'HKLM\\Software']) {
      const text = await this.#output('reg.exe', ['query', root, '/s']);
      let key = '';
      for (const line of text.split('\n')) {
        if (/^HKEY/.test(line)) key = line.trim();
        else if (line.trim() && !kForeignKeys.test(key)) keys.push(`${key} ${line.trim()}`);
      }
    }
    return [...filesBelow(this.profile).filter((path) => !isForeign(path)), ...keys].sort();
  }

  // The Linux ids of the processes that run a program of this name from a Windows path.
  processesOf(name) {
    const commandLine = (pid) => {
      try {
        return readFileSync(`/proc/${pid}/cmdline`, 'latin1').replaceAll('\0', ' ');
      } catch {
        return ''; // it has ended
      }
    };
    return processesOf(prefixOf(this.profile)).filter((pid) => commandLine(pid).includes(`\\${name}`));
  }

  async #output(file, args) {
    const child = this.start(`C:\\windows\\system32\\${file}`, args);
    let text = '';
    child.stdout.setEncoding('utf8').on('data', (part) => (text += part));
    await inTime(`the end of ${file}`, new Promise((resolve) => child.on('close', resolve)));
    return text.replaceAll('\r', '');
  }

  async #end() {
    this.close.isDone();
    await this.run(kRests, ['set', kEnd]);
    await inTime('the end of the machine', this.#ended);
    rmSync(this.profile, { recursive: true, force: true });
  }
}

