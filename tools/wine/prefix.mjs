// A profile's Wine prefix: made from the template by hard links, kept with the profile.
import { spawnSync } from 'node:child_process';
import {
  chmodSync,
  existsSync,
  mkdirSync,
  readFileSync,
  renameSync,
  rmSync,
  statSync,
  symlinkSync,
  writeFileSync,
} from 'node:fs';
import { basename, join } from 'node:path';

const kWine = '/usr/lib/wine/wine64';
export const kWineServer = '/usr/lib/wine/wineserver64';
const kUser = 'wendra'; // as in make-template
const kRegistryFiles = ['system.reg', 'user.reg', 'userdef.reg'];

// Without the kernel's random places in memory, where it lets us: Wine's loader has a fixed one,
// and newer kernels put its heap anywhere in the gigabyte behind. There it lies on the page that
// Windows programs share, 7FFE0000, once in some thousand starts, and the program ends at once.
const kSteady = spawnSync('setarch', ['-R', 'true']).status === 0 ? ['setarch', '-R'] : [];
export const hasSteadyPlaces = kSteady.length > 0;

// What starts a Windows program, for spawn(command, ...): it and all that it starts.
export function wineCommand(program, args = []) {
  const [command, ...rest] = [...kSteady, kWine, program, ...args];
  return [command, rest];
}

export const prefixOf = (profile) => join(profile, '.wine');

// The path under which Windows programs see a file.
export const windowsPath = (path) => `Z:${path.replaceAll('/', '\\')}`;

function copy(...args) {
  return spawnSync('cp', args, { stdio: 'ignore' }).status === 0;
}

// Wine replaces its registry files and never writes into the rest of drive_c/windows, so that
// linked files stay as the template has them.
function copyTemplate(template, prefix) {
  rmSync(prefix, { recursive: true, force: true });
  if (!copy('-al', template, prefix)) {
    rmSync(prefix, { recursive: true, force: true }); // another file system: links cannot be made
    if (!copy('-a', '--reflink=auto', template, prefix)) {
      throw new Error(`cannot copy ${template} to ${prefix}`);
    }
  }
  const users = join(prefix, 'drive_c/users');
  rmSync(users, { recursive: true });
  copy('-a', join(template, 'drive_c/users'), users);
  for (const file of kRegistryFiles) {
    copy('--remove-destination', join(template, file), join(prefix, file));
  }
}

// Makes the profile folder itself the Windows user's profile.
function adoptProfile(profile, prefix) {
  const user = join(prefix, 'drive_c/users', kUser);
  copy('-an', `${user}/.`, profile);
  rmSync(user, { recursive: true });
  symlinkSync('../../..', user);
}

function createPrefix(template, profile) {
  const prefix = prefixOf(profile);
  const fresh = `${prefix}.new`;
  copyTemplate(template, fresh);
  adoptProfile(profile, fresh);
  const oldUserRegistry = join(prefix, 'user.reg'); // from a template of another version
  if (existsSync(oldUserRegistry)) renameSync(oldUserRegistry, join(fresh, 'user.reg'));
  writeFileSync(join(fresh, 'template'), basename(template));
  rmSync(prefix, { recursive: true, force: true });
  renameSync(fresh, prefix);
}

// `managed`: a window manager draws the windows' frames. No server may be running on the prefix.
function setManaged(prefix, managed) {
  const file = join(prefix, 'user.reg');
  const text = readFileSync(file, 'utf8');
  writeFileSync(file, text.replace(/^"Managed"=.*$/m, `"Managed"="${managed ? 'Y' : 'N'}"`));
}

// What Windows programs ask the default browser to open, one line each.
export const openedInBrowserFile = (profile) => join(profile, 'opened-in-browser.txt');

const kBrowserName = 'open-in-browser'; // in the registry; a path could hold no blank or comma
const kBrowserFolder = 'bin';
const kBrowserScript = `#!/bin/sh
printf '%s\\n' "$*" >> "$(dirname "$0")/../../opened-in-browser.txt"
`;

function writeBrowser(prefix) {
  const folder = join(prefix, kBrowserFolder);
  mkdirSync(folder, { recursive: true });
  writeFileSync(join(folder, kBrowserName), kBrowserScript);
  chmodSync(join(folder, kBrowserName), 0o755);
}

// Makes the prefix ready for a start.
export function preparePrefix(template, profile, { managed }) {
  const prefix = prefixOf(profile);
  const madeFrom = join(prefix, 'template');
  if (!existsSync(madeFrom) || readFileSync(madeFrom, 'utf8') !== basename(template)) {
    createPrefix(template, profile);
  }
  writeBrowser(prefix);
  setManaged(prefix, managed);
  mkdirSync(join(prefix, 'home'), { recursive: true });
  return prefix;
}

// What Wine must not see of the caller's environment: settings of another Wine, the language, and
// proxies, for WinHTTP obeys http_proxy but not no_proxy.
const kForeign = /^(WINE.*|LANG|LANGUAGE|LC_.*|(https?|ftp|all|no)_proxy)$/i;

// The environment of everything that belongs to the prefix.
export function wineEnvironment(profile, { display, lang }) {
  const inherited = Object.entries(process.env).filter(([name]) => !kForeign.test(name));
  return {
    ...Object.fromEntries(inherited),
    DISPLAY: display,
    HOME: join(prefixOf(profile), 'home'),
    LC_ALL: lang === 'de' ? 'de_DE.UTF-8' : 'C.UTF-8',
    LOGNAME: kUser,
    PATH: `${join(prefixOf(profile), kBrowserFolder)}:${process.env.PATH}`,
    USER: kUser,
    WINEDEBUG: '-all',
    WINEPREFIX: prefixOf(profile),
  };
}

// Debian's Wine keeps its server's folder under TMPDIR and the folder's name in the prefix; other
// builds derive it from the user's id.
function serverFolder(prefix) {
  const temporary = process.env.TMPDIR || '/tmp';
  const named = join(prefix, 'wineserver');
  if (existsSync(named)) return join(temporary, readFileSync(named, 'utf8').trim());
  return join(temporary, `.wine-${process.getuid()}`);
}

// Whether the prefix's server takes connections.
export function serverListens(prefix) {
  const { dev, ino } = statSync(prefix, { bigint: true });
  const folder = `server-${dev.toString(16)}-${ino.toString(16)}`;
  return existsSync(join(serverFolder(prefix), folder, 'socket'));
}

// After the server's end.
export function removeServerFolder(prefix) {
  const named = join(prefix, 'wineserver');
  if (!existsSync(named)) return;
  rmSync(serverFolder(prefix), { recursive: true, force: true });
  rmSync(named, { force: true });
}

// Folders of a profile that launch and its users have to know.
export const profileFiles = (profile) => ({
  browserData: join(profile, 'AppData/Local/Wendra/WebView2'),
  events: join(prefixOf(profile), 'events.jsonl'),
  launch: join(prefixOf(profile), 'launch.json'),
});
