// Runs the host under Wine with one profile: starts the display, Wine's server, Chromium and the
// host, and ends them all. Called by tools/launch with the template, the profile, the file for
// screenshots or '', the language, and the host's arguments.
import { existsSync, mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { basename, dirname, join } from 'node:path';
import { pipeline } from 'node:stream/promises';
import { setTimeout as sleep } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';
import { LogOutput } from './log_output.mjs';
import {
  kWineServer,
  prefixOf,
  preparePrefix,
  profileFiles,
  removeServerFolder,
  serverListens,
  windowsPath,
  wineCommand,
  wineEnvironment,
} from './prefix.mjs';
import {
  ended,
  isAlive,
  processesOf,
  signalProcess,
  spawnTied,
  waitUntil,
} from './processes.mjs';
import { Screenshots } from './screenshots.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kChromium = '/usr/lib/chromium/chromium-headless-shell'; // the file in /usr/bin is a wrapper
const kKeyboard = join(kRoot, 'tools/wine/keyboard.xkb');
const kTaskkill = 'C:\\windows\\system32\\taskkill.exe'; // with its full path it starts at once
const kStartLimitMs = 20_000; // for the start of Wine's server, and for the end of an earlier launch
const kCloseLimitMs = 10_000; // from the request to close to the end of the host
const kEndLimitMs = 3_000; // for the end of each other process, before it is killed

const [template, profile, screenshotFile, lang, ...hostArguments] = process.argv.slice(2);
const host = process.env.WENDRA_DEV_HOST || join(kRoot, 'build/windows/bin/wendra.exe');
const files = profileFiles(profile);

const say = (text) => console.error(`launch: ${text}`);

class StartFailed extends Error {}

// Starts a virtual display with a free number.
async function startDisplay(environment) {
  const screen = ['-screen', '0', '1400x1000x24', '-nolisten', 'tcp', '-noreset'];
  const child = spawnTied('Xvfb', ['-displayfd', '3', ...screen], {
    env: environment,
    stdio: ['ignore', 'ignore', 'ignore', 'pipe'],
  });
  const number = await new Promise((resolve) => {
    child.stdio[3].once('data', (text) => resolve(String(text).trim()));
    ended(child).then(() => resolve(''));
  });
  if (!number) throw new StartFailed('the virtual display did not start');
  await ended(spawnTied('xkbcomp', ['-w0', kKeyboard, `:${number}`], {}));
  return { child, name: `:${number}` };
}

async function startServer(environment) {
  // At SIGINT the server ends all Windows processes first. After a SIGKILL they would go on.
  const child = spawnTied(kWineServer, ['-f', '-p'], { env: environment, deathSignal: 'INT' });
  let gone = false;
  ended(child).then(() => (gone = true));
  const prefix = prefixOf(profile);
  const up = await waitUntil(() => gone || serverListens(prefix), kStartLimitMs);
  if (gone || !up) throw new StartFailed("Wine's server did not start");
  return child;
}

function startBrowser(environment) {
  mkdirSync(files.browserData, { recursive: true });
  const portFile = join(files.browserData, 'DevToolsActivePort');
  rmSync(portFile, { force: true }); // the host waits for the new one
  const flags = [
    '--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage', '--block-new-web-contents',
    '--remote-debugging-port=0', `--user-data-dir=${files.browserData}`, '--no-first-run',
    '--disable-background-networking', '--disable-component-update', '--disable-sync',
    '--mute-audio', '--host-resolver-rules=MAP *.test 127.0.0.1, MAP *.wendra.example 127.0.0.1',
    ...(process.env.WENDRA_DEV_BROWSER_FLAGS || '').split(' ').filter((flag) => flag), 'about:blank',
  ]; // prettier-ignore
  return { child: spawnTied(kChromium, flags, { env: environment }), portFile };
}

// `output` resolves when the last line of the host has been written.
function startHost(environment) {
  const child = spawnTied(...wineCommand(host, hostArguments), {
    env: environment,
    stdio: ['ignore', 'pipe', 'inherit'],
  });
  const output = pipeline(child.stdout, new LogOutput(), process.stdout, { end: false });
  // An error means that standard output is closed; the host's output is then read and dropped.
  return { child, output: output.catch(() => child.stdout.resume()) };
}

// Posts WM_CLOSE to the host's windows, again and again, as the window may not be there yet. False:
// the host has not ended within the limit.
async function closeWindow(environment, hostEnded) {
  const late = sleep(kCloseLimitMs, 'late', { ref: false });
  for (let pauseMs = 200; ; pauseMs *= 2) {
    const command = wineCommand(kTaskkill, ['/im', basename(host)]);
    const taskkill = spawnTied(...command, { env: environment });
    const pause = ended(taskkill).then(() => sleep(pauseMs, 'pause', { ref: false }));
    const first = await Promise.race([hostEnded, late, pause]);
    if (first !== 'pause') return first !== 'late';
  }
}

async function endChild(child, signal) {
  if (!child || child.exitCode !== null || child.signalCode !== null) return;
  const end = ended(child);
  child.kill(signal);
  const timer = setTimeout(() => child.kill('SIGKILL'), kEndLimitMs);
  await end;
  clearTimeout(timer);
}

// Wine's server kills the Windows processes, then waits up to half a second until their parents
// have reaped them. This launch does not wait for that.
async function endServer(server, others) {
  if (!server) return;
  const own = new Set([server, ...others].map((child) => child?.pid));
  const windows = processesOf(prefixOf(profile)).filter((pid) => !own.has(pid));
  server.kill('SIGINT');
  const done = () => server.exitCode !== null || !windows.some(isAlive);
  await waitUntil(done, kEndLimitMs);
  await endChild(server, 'SIGTERM');
  removeServerFolder(prefixOf(profile));
}

function killStragglers() {
  for (const pid of processesOf(prefixOf(profile))) {
    say(`killing process ${pid}, which has outlived the host`);
    signalProcess(pid, 'SIGKILL');
  }
}

// A launch that was killed with SIGKILL may have left a server that still writes the registry.
async function awaitEarlierEnd() {
  const prefix = prefixOf(profile);
  const gone = await waitUntil(() => processesOf(prefix).length === 0, kStartLimitMs);
  if (!gone) throw new StartFailed('processes of an earlier launch of this profile do not end');
  removeServerFolder(prefix);
}

// Resolves with the name of the first signal that asks to close.
function closeSignal() {
  return new Promise((resolve) => {
    for (const name of ['SIGTERM', 'SIGINT', 'SIGHUP']) process.on(name, () => resolve(name));
  });
}

// Wine's server kills a process that is still there half a second after it has ended for Windows,
// as happens on a busy machine. The host's exit code is then in the file of events.
function codeBeforeKill() {
  const said = existsSync(files.events) ? readFileSync(files.events, 'utf8') : '';
  const event = said.split('\n').find((line) => line.includes('"event":"ended"'));
  return event && JSON.parse(event).code % 256;
}

function exitCode({ code, signal }) {
  if (signal === null) return code;
  const before = signal === 'SIGKILL' ? codeBeforeKill() : undefined;
  if (before !== undefined) return before;
  say(`the host was killed by ${signal}`);
  return 1;
}

function takeScreenshots(display, withBrowser) {
  const screenshots = new Screenshots(screenshotFile, {
    display,
    program: basename(host),
    wholeScreen: !process.env.DISPLAY,
  });
  const stop = new AbortController();
  const first = screenshots
    .takeFirst(withBrowser ? files.events : '', stop.signal)
    .catch(() => {}); // `stop` was called
  process.on('SIGUSR1', () => screenshots.take('SIGUSR1'));
  return {
    last: () => screenshots.take('before closing'),
    stop: async () => {
      stop.abort();
      await first;
    },
  };
}

// Writes the facts that a test needs to run another Windows program beside the host.
function announce(display) {
  writeFileSync(files.launch, JSON.stringify({ pid: process.pid, display, lang }));
}

async function run(children) {
  const closing = closeSignal();
  const withBrowser = process.env.WENDRA_DEV_NO_RUNTIME !== '1';
  const settings = { WENDRA_DEV_LOG: '1', WENDRA_DEV_EVENTS: windowsPath(files.events) };
  let display = process.env.DISPLAY;
  const environment = { ...wineEnvironment(profile, { display: display ?? '', lang }), ...settings };

  await awaitEarlierEnd();
  const ownDisplay = display ? null : startDisplay(environment);
  ownDisplay?.catch(() => {}); // reported where it is awaited
  preparePrefix(template, profile, { managed: Boolean(display) });
  rmSync(files.events, { force: true });
  if (withBrowser) {
    const browser = startBrowser(environment);
    children.browser = browser.child;
    environment.WENDRA_DEV_BROWSER = windowsPath(browser.portFile);
  }
  const server = startServer(environment);
  server.catch(() => {});
  if (ownDisplay) {
    const { child, name } = await ownDisplay;
    children.display = child;
    display = environment.DISPLAY = name;
  }
  children.server = await server;
  announce(display);

  const started = startHost(environment);
  const hostEnded = ended(started.child);
  const screenshots = screenshotFile ? takeScreenshots(display, withBrowser) : null;

  const first = await Promise.race([hostEnded, closing]);
  await screenshots?.stop();
  if (typeof first === 'string') {
    await screenshots?.last();
    if (!(await closeWindow(environment, hostEnded))) {
      say(`the host did not close within ${kCloseLimitMs / 1000} seconds and is killed`);
      return { code: 1, output: started.output }; // the host is killed together with Wine's server
    }
  }
  return { code: exitCode(await hostEnded), output: started.output };
}

async function main() {
  const children = {};
  let result = { code: 1, output: null };
  try {
    result = await run(children);
  } catch (error) {
    say(error instanceof StartFailed ? error.message : error.stack);
  }
  const { server, browser, display } = children;
  await Promise.all([endServer(server, [browser, display]), endChild(browser, 'SIGTERM')]);
  await endChild(display, 'SIGTERM');
  killStragglers();
  rmSync(files.launch, { force: true });
  await result.output; // all processes that could hold the pipe have ended
  process.exitCode = result.code;
}

await main();
