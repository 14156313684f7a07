// Makes and describes the Wine prefix of a profile: a copy of the template by hard links, kept in
// the profile.
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

// Switches off random addresses, where the kernel allows it. Wine's loader has a fixed address, and
// newer kernels put its heap anywhere in the gigabyte behind it. Once in some thousand starts the
// heap lies on 7FFE0000, the page that all Windows programs share, and the program ends at once.
const kSteady = spawnSync('setarch', ['-R', 'true']).status === 0 ? ['setarch', '-R'] : [];
export const hasSteadyPlaces = kSteady.length > 0;

// [command, args] for spawn, to start a Windows program. The programs that it starts run without
// random addresses too.
export function wineCommand(program, args = []) {
  const [command, ...rest] = [...kSteady, kWine, program, ...args];
  return [command, rest];
}

export const prefixOf = (profile) => join(profile, '.wine');

// The path of a file for Windows programs.
export const windowsPath = (path) => `Z:${path.replaceAll('/', '\\')}`;

function copy(...args) {
  return spawnSync('cp', args, { stdio: 'ignore' }).status === 0;
}

// Copies by hard links. Wine replaces its registry files, and never writes into other files of
// drive_c/windows, so the template's files do not change.
function copyTemplate(template, prefix) {
  rmSync(prefix, { recursive: true, force: true });
  if (!copy('-al', template, prefix)) {
    rmSync(prefix, { recursive: true, force: true }); // another file system, where links cannot be made
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

// Makes the profile folder the profile of the Windows user.
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
  const oldUserRegistry = join(prefix, 'user.reg'); // of a prefix from an older template
  if (existsSync(oldUserRegistry)) renameSync(oldUserRegistry, join(fresh, 'user.reg'));
  writeFileSync(join(fresh, 'template'), basename(template));
  rmSync(prefix, { recursive: true, force: true });
  renameSync(fresh, prefix);
}

// `managed`: a window manager draws the frames of windows. Wine's server must not run on the
// prefix.
function setManaged(prefix, managed) {
  const file = join(prefix, 'user.reg');
  const text = readFileSync(file, 'utf8');
  writeFileSync(file, text.replace(/^"Managed"=.*$/m, `"Managed"="${managed ? 'Y' : 'N'}"`));
}

// The file with the addresses that Windows programs open in the default browser, one per line.
export const openedInBrowserFile = (profile) => join(profile, 'opened-in-browser.txt');

const kBrowserName = 'open-in-browser'; // no path: Wine's setting allows no space and no comma
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

// Makes the prefix, if needed, and prepares it for a start.
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

// Variables of the caller that Wine must not get: settings of another Wine, the language, and
// proxies, as WinHTTP obeys http_proxy but not no_proxy.
const kForeign = /^(WINE.*|LANG|LANGUAGE|LC_.*|(https?|ftp|all|no)_proxy)$/i;

// The environment for all processes of the prefix.
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

// Debian's Wine keeps its server's folder in TMPDIR, and the folder's name in the prefix. Other
// builds of Wine make the name from the user's id.
function serverFolder(prefix) {
  const temporary = process.env.TMPDIR || '/tmp';
  const named = join(prefix, 'wineserver');
  if (existsSync(named)) return join(temporary, readFileSync(named, 'utf8').trim());
  return join(temporary, `.wine-${process.getuid()}`);
}

// True when the server of the prefix takes connections.
export function serverListens(prefix) {
  const { dev, ino } = statSync(prefix, { bigint: true });
  const folder = `server-${dev.toString(16)}-${ino.toString(16)}`;
  return existsSync(join(serverFolder(prefix), folder, 'socket'));
}

// Call it after the end of the server.
export function removeServerFolder(prefix) {
  const named = join(prefix, 'wineserver');
  if (!existsSync(named)) return;
  rmSync(serverFolder(prefix), { recursive: true, force: true });
  rmSync(named, { force: true });
}

// The files and folders of a profile that tools/launch and the tests use.
export const profileFiles = (profile) => ({
  browserData: join(profile, 'AppData/Local/Wendra/WebView2'),
  events: join(prefixOf(profile), 'events.jsonl'),
  launch: join(prefixOf(profile), 'launch.json'),
});
