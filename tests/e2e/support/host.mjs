// Starts the host and drives it from outside.
import { mkdirSync } from 'node:fs';
import { readFile, rename, writeFile } from 'node:fs/promises';
import { basename, dirname, join } from 'node:path';
import { endsWithFile } from './leftovers.mjs';
import { Lines } from './lines.mjs';
import { Launch, makeProfile, removeProfile } from './machine.mjs';
import { Page } from './page.mjs';
import { ProbeProgram } from './probe_program.mjs';
import { inTime, kPatienceMs, until } from './waiting.mjs';

export { makeProfile, removeProfile };

const kShownLines = 40; // the last lines of the log that an error shows
// A folder for pictures of the screen, one before each normal end of a host.
const kPictures = process.env.WENDRA_CHECK_PICTURES;
let pictures = 0;

export const configFile = (profile) => join(profile, '.config/wendra/config.json');

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
  exit; // resolves with {code, signal} of the launch
  kill; // ends the host at once
  #wanted;
  #launch;
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
    const given = address === undefined ? args : [address, ...args];
    this.#launch = new Launch(this.profile, { args: given, lang, env, options });
    this.exit = this.#launch.exit;
    this.kill = endsWithFile(() => this.#kill());
    this.#out = new Lines(this.#launch.log);
    this.#messages = new Lines(this.#launch.messages);
  }

  get pid() {
    return this.#launch.pid;
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
    await this.#running();
    const { portFile, controlIsClient } = this.#launch;
    this.page = await Page.connect(portFile, { controlIsClient, context: this.context });
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
    await this.#running();
    this.#screen ??= this.#launch.makeScreen();
    return this.#screen;
  }

  // The addresses that the host has opened in the default browser.
  async openedInBrowser() {
    return this.#launch.openedInBrowser();
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

  // The ids of all running processes of this host's user.
  processes() {
    return this.#launch.processes();
  }

  signal(name) {
    this.#launch.signal(name);
  }

  // Closes the window the normal way, unless the host has ended already. Gives the exit code.
  async close() {
    if (this.#launch.isRunning) {
      if (kPictures) await this.#keepPicture();
      this.#launch.requestClose();
    }
    return this.ended();
  }

  // Waits until the host ends for another reason. Gives the exit code.
  async ended() {
    const { code } = await inTime('the end of the host', this.exit, { context: this.context });
    await this.#cleanUp();
    return code;
  }

  async #kill() {
    this.#launch.kill();
    await this.exit;
    await this.#cleanUp();
  }

  async #cleanUp() {
    this.kill.isDone();
    this.page?.close();
    await this.#probe?.close();
    await this.#screen?.close();
    const remaining = () => this.#launch.remaining();
    await until('the end of all processes', () => remaining().length === 0, {
      timeoutMs: kPatienceMs / 4,
      context: () => `still there: ${remaining().join(' ')}`,
    });
    const whole = Promise.all([this.#out.whole, this.#messages.whole]);
    await inTime('the end of the log', whole, { context: this.context });
    this.#launch.tidy();
    if (!this.#wanted.profile) await removeProfile(this.profile);
  }

  async #keepPicture() {
    pictures += 1;
    const test = basename(process.argv[1], '.test.mjs');
    await this.screenshot(join(kPictures, `${test}-${pictures}.png`));
  }

  async #running() {
    await until('the launch', () => this.#launch.isUp(), { context: this.context });
  }

  async #windowProbe() {
    await this.#running();
    this.#probe ??= new ProbeProgram(this.#launch.startProgram('window_probe.exe'));
    return this.#probe;
  }
}
