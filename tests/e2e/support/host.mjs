// Starts the host with tools/launch, as a developer does by hand, and drives it.
import { existsSync, mkdirSync, readFileSync, realpathSync } from 'node:fs';
import { mkdtemp, readFile, rename, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import {
  openedInBrowserFile,
  prefixOf,
  profileFiles,
  removeServerFolder,
  wineEnvironment,
} from '../../../tools/wine/prefix.mjs';
import { ended, isAlive, processesOf, spawnTied } from '../../../tools/wine/processes.mjs';
import { endsWithFile } from './leftovers.mjs';
import { Lines } from './lines.mjs';
import { Page } from './page.mjs';
import { Screen } from './screen.mjs';
import { WindowProbe } from './window_probe.mjs';
import { inTime, kPatienceMs, until } from './waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../../..');
const kShownLines = 40; // the last lines of the log that an error shows

export const configFile = (profile) => join(profile, '.config/wendra/config.json');

export async function makeProfile() {
  return realpathSync(await mkdtemp(join(tmpdir(), 'wendra-e2e-')));
}

// Writes config.json. `config` is a text, or a value that is written as JSON.
export async function writeConfig(profile, config) {
  mkdirSync(dirname(configFile(profile)), { recursive: true });
  await writeFile(
    configFile(profile),
    typeof config === 'string' ? config : JSON.stringify(config),
  );
}

// Replaces config.json in one step, as a careful editor does: the host never sees half of the text.
export async function replaceConfig(profile, config) {
  await writeFile(`${configFile(profile)}.new`, JSON.stringify(config));
  await rename(`${configFile(profile)}.new`, configFile(profile));
}

// Starts a host. All members of `wanted` are optional:
//   address   the server, as the host's first argument
//   args      further arguments of the host; without an address all its arguments
//   config    content of config.json, text or object
//   profile   a profile folder to use and keep; without it a new one, which is deleted at the end
//   lang      'de' or 'en'
//   env       environment variables, also WENDRA_DEV_*
//   options   further options of tools/launch
//   page      false: do not wait for a page
export async function startHost(wanted = {}) {
  const host = new Host(wanted.profile ?? (await makeProfile()), wanted);
  if (wanted.config !== undefined) await writeConfig(host.profile, wanted.config);
  host.start();
  const runtime = wanted.env?.WENDRA_DEV_NO_RUNTIME !== '1';
  try {
    if (runtime && (wanted.page ?? wanted.address !== undefined)) {
      await host.connectPage();
      // The built-in feed cannot be fetched. A thread of the host logs that; wait for its last
      // line.
      await host.feedChecked();
    }
  } catch (error) {
    await host.kill();
    throw error;
  }
  return host;
}

class Host {
  page; // set by connectPage
  exit; // resolves with {code, signal} of tools/launch
  kill; // ends tools/launch with SIGKILL
  #wanted;
  #child;
  #out;
  #messages;
  #screen;
  #probe;
  #asked = 0;

  constructor(profile, wanted) {
    this.profile = profile;
    this.#wanted = wanted;
  }

  start() {
    const { address, args = [], lang, env, options = [] } = this.#wanted;
    const language = lang ? ['--lang', lang] : [];
    const given = address === undefined ? args : [address, ...args];
    const parameters = ['--profile', this.profile, ...language, ...options, '--', ...given];
    this.#child = spawnTied(join(kRoot, 'tools/launch'), parameters, {
      // When the test process ends, the window is closed the normal way.
      deathSignal: 'TERM',
      env: { ...process.env, DISPLAY: '', ...env },
      stdio: ['ignore', 'pipe', 'pipe'],
    });
    this.exit = ended(this.#child);
    this.kill = endsWithFile(() => this.#kill());
    this.#out = new Lines(this.#child.stdout);
    this.#messages = new Lines(this.#child.stderr);
  }

  get pid() {
    return this.#child.pid;
  }

  // The lines of the host's log so far.
  get log() {
    return this.#out.all;
  }

  // All that the host has logged since line `from`, up to now. The log comes through a pipe and may
  // be later than what the page shows, so the page asks for the platform: the line of that request,
  // which is left out, comes after all others. Only for a page that the host trusts.
  async loggedSince(from) {
    const last = `[JS->Native] action 'platform' (req logged${(this.#asked += 1)})`;
    await this.page.post({ __reqId: `logged${this.#asked}`, name: 'platform', args: [] });
    await this.waitForLine(last, { from });
    return this.log.slice(from, this.log.indexOf(last, from));
  }

  // The lines that tools/launch and the host have written to standard error so far.
  get messages() {
    return this.#messages.all;
  }

  // Waits for the first log line that contains the text or matches the expression. `from`: the
  // index in `log` at which to begin.
  waitForLine(pattern, options) {
    return this.#out.waitFor(pattern, { context: this.context, ...options });
  }

  // Waits for the last line of the feed check that the host makes at each start.
  async feedChecked() {
    return this.waitForLine(
      /^\[Update\] (could not fetch feed|decision: feed|cannot compare versions) /,
    );
  }

  waitForMessage(pattern, options) {
    return this.#messages.waitFor(pattern, { context: this.context, ...options });
  }

  // For errors: the end of the log and all messages.
  context = () => {
    const log = this.log.slice(-kShownLines).join('\n  ');
    return `log:\n  ${log}\nmessages:\n  ${this.messages.join('\n  ')}`;
  };

  // Connects host.page and waits until its document has loaded.
  async connectPage() {
    const portFile = join(profileFiles(this.profile).browserData, 'DevToolsActivePort');
    await this.#running(); // before, the file may be that of an earlier launch with this profile
    this.page = await Page.connect(portFile, this.context);
    await this.page.loaded();
    return this.page;
  }

  // Waits until the host's window is visible and gives facts about it. Without a class name it is
  // the main window; the prompt has a class of its own.
  async window(className = '') {
    const probe = await this.#windowProbe();
    const ask = () => probe.ask('window', className);
    return until('the window', ask, { context: this.context });
  }

  async panel() {
    return (await this.#windowProbe()).ask('panel');
  }

  // Sends any command to the window probe.
  async probe(...words) {
    return (await this.#windowProbe()).ask(...words);
  }

  async keys(...combinations) {
    const screen = await this.screen();
    // A new window does not have the keyboard at once; keys until then are lost.
    await until('a window with the keyboard', () => screen.focusedWindow(), { context: this.context });
    await screen.keys(...combinations);
  }

  async type(text) {
    await (await this.screen()).type(text);
  }

  // Clicks at a place in pixels of the window's client area, which are the page's pixels too.
  async click(x, y, options) {
    const { client } = await this.window();
    await (await this.screen()).click(client[0] + x, client[1] + y, options);
  }

  async clickElement(selector, options) {
    const { x, y } = await this.page.boxOf(selector);
    await this.click(x, y, options);
  }

  async screenshot(file) {
    await (await this.screen()).screenshot(file);
  }

  async screen() {
    this.#screen ??= new Screen((await this.#running()).display);
    return this.#screen;
  }

  // The addresses that the host has opened in the default browser.
  async openedInBrowser() {
    const file = openedInBrowserFile(this.profile);
    return existsSync(file) ? (await readFile(file, 'utf8')).trimEnd().split('\n') : [];
  }

  async waitForOpenedInBrowser(address) {
    return until(
      `${address} in the browser`,
      async () => (await this.openedInBrowser()).includes(address),
      { context: this.context },
    );
  }

  async config() {
    return readFile(configFile(this.profile), 'utf8');
  }

  // The ids of all running processes in this host's Wine prefix.
  processes() {
    return processesOf(prefixOf(this.profile));
  }

  signal(name) {
    this.#child.kill(name);
  }

  // Closes the window the normal way, unless the host has ended already. Gives the exit code.
  async close() {
    if (isAlive(this.pid)) this.signal('SIGTERM');
    return this.ended();
  }

  // Waits until the host ends for another reason. Gives the exit code.
  async ended() {
    const { code } = await inTime('the end of the host', this.exit, { context: this.context });
    await this.#cleanUp();
    return code;
  }

  async #kill() {
    this.signal('SIGKILL');
    await this.exit;
    await this.#cleanUp();
  }

  async #cleanUp() {
    this.kill.isDone();
    this.page?.close();
    await this.#probe?.close();
    const gone = () => this.processes().length === 0;
    await until('the end of all processes', gone, {
      timeoutMs: kPatienceMs / 4,
      context: () => `still there: ${this.processes().join(' ')}`,
    });
    const whole = Promise.all([this.#out.whole, this.#messages.whole]);
    await inTime('the end of the log', whole, { context: this.context });
    removeServerFolder(prefixOf(this.profile)); // after SIGKILL it is still there
    if (!this.#wanted.profile) await rm(this.profile, { recursive: true, force: true });
  }

  // Waits until tools/launch has started everything; gives its facts: process id, display,
  // language.
  async #running() {
    const file = profileFiles(this.profile).launch;
    const read = () => {
      const running = JSON.parse(readFileSync(file, 'utf8'));
      return running.pid === this.pid && running;
    };
    return until('the launch', read, { context: this.context });
  }

  async #windowProbe() {
    const { display, lang } = await this.#running();
    this.#probe ??= new WindowProbe(wineEnvironment(this.profile, { display, lang }));
    return this.#probe;
  }
}
