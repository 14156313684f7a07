// Runs one program with a time limit. When the program ends, or its time is over, all programs that
// it has started end too: Windows programs, browsers, servers. Its temporary files are deleted.
import { randomUUID } from 'node:crypto';
import { createWriteStream, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { processesWith, signalProcess, spawnTied, waitUntil } from '../../tools/wine/processes.mjs';

// A launch of the host takes up to 13 seconds to close the window, Wine and the browser.
const kEndLimitMs = 20_000;
const kRestLimitMs = 10_000; // how long programs that it started may run after it has ended
const kStepMs = 50;
const kMark = 'WENDRA_DEV_TEST_RUN'; // in the environment of each program that the program starts

const running = new Set();
let isStopping = false;

const commandLineOf = (pid) => {
  try {
    return readFileSync(`/proc/${pid}/cmdline`, 'utf8').replaceAll('\0', ' ').trim().slice(0, 200);
  } catch {
    return ''; // the process has ended
  }
};

class Run {
  output = '';
  trouble = ''; // why the run has failed even with exit code 0; empty: nothing was wrong
  #mark;
  #folder = mkdtempSync(join(tmpdir(), 'wendra-test-'));
  #log;
  #limits;

  constructor({ logFile, ...limits }) {
    const outer = process.env[kMark]; // set when a test of the runner runs a program
    this.#mark = `${outer ? `${outer}/` : ''}${randomUUID()}`;
    this.#log = logFile && createWriteStream(logFile);
    this.#limits = { endLimitMs: kEndLimitMs, restLimitMs: kRestLimitMs, ...limits };
  }

  // Resolves with the exit code, or null after a signal.
  async ended(command, args, { cwd, env }) {
    const environment = { ...process.env, TMPDIR: this.#folder, ...env, [kMark]: this.#mark };
    delete environment.NODE_TEST_CONTEXT; // else Node takes a file of tests for a part of this run
    const child = spawnTied(command, args, {
      cwd,
      env: environment,
      deathSignal: 'TERM',
      stdio: ['ignore', 'pipe', 'pipe'],
    });
    running.add(this);
    for (const stream of [child.stdout, child.stderr]) {
      stream.setEncoding('utf8');
      stream.on('data', (text) => this.#take(text));
    }
    child.on('error', (error) => this.#take(`\n${error.message}\n`));
    const closed = new Promise((resolve) => child.on('close', resolve));
    const exited = new Promise((resolve) => child.on('exit', resolve).on('error', resolve));
    this.stop = (why) => {
      this.trouble ||= why;
      signalGroup(child.pid, 'SIGTERM');
      setTimeout(() => signalGroup(child.pid, 'SIGKILL'), this.#limits.endLimitMs).unref();
    };
    const { limitMs } = this.#limits;
    const limit = setTimeout(() => this.stop(`no end after ${limitMs / 1000} s`), limitMs);
    await exited;
    clearTimeout(limit);
    await this.#endRest();
    const code = await closed;
    running.delete(this);
    rmSync(this.#folder, { recursive: true, force: true, maxRetries: 5 });
    if (this.trouble) this.#take(`\n${this.trouble}\n`);
    this.#log?.end();
    return code;
  }

  #take(text) {
    this.output += text;
    this.#log?.write(text);
  }

  async #endRest() {
    const rest = () => processesWith(kMark, this.#mark);
    const limitMs = this.trouble ? this.#limits.endLimitMs : this.#limits.restLimitMs;
    if (await waitUntil(() => rest().length === 0, limitMs, kStepMs)) return;
    const left = rest().map(commandLineOf).join('\n  ');
    this.trouble += `${this.trouble && '\n'}left behind:\n  ${left}`;
    const kill = () => {
      const pids = rest();
      for (const pid of pids) signalProcess(pid, 'SIGKILL');
      return pids.length === 0;
    };
    if (!(await waitUntil(kill, kRestLimitMs, kStepMs))) this.trouble += '\nwhich cannot be killed';
  }
}

// Sends the signal to the program's process group: to the program, and to the programs that it has
// started in the same group.
function signalGroup(pid, signal) {
  if (pid) signalProcess(-pid, signal);
}

// Resolves with {code, output, trouble}. `code` is null after a signal. `trouble` says that the
// time was over, or which programs were left behind; with such a text the run has failed, whatever
// the code. Options: limitMs (required); cwd, env, logFile; endLimitMs (from the first signal to
// SIGKILL); restLimitMs (how long programs that it started may run after it has ended).
export async function runProgram(command, args, options) {
  if (isStopping) return new Promise(() => {}); // the runner is about to end
  const run = new Run(options);
  const code = await run.ended(command, args, options);
  return { code, output: run.output, trouble: run.trouble };
}

// At a signal the runner ends the running programs, starts no more, and ends.
export function stopAtSignals() {
  const stop = async () => {
    isStopping = true;
    for (const run of running) run.stop('stopped');
    await waitUntil(() => running.size === 0, 2 * kEndLimitMs, kStepMs);
    process.exit(1);
  };
  for (const signal of ['SIGINT', 'SIGTERM', 'SIGHUP']) process.once(signal, stop);
}
