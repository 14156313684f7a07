// A console: runs command lines in a folder and shows the exit code and both output streams.
// Several may run at the same time, because the host never stops a command.
import { button, duration, element, field, lineInput, onSubmit } from '../elements.js';

export const title = 'Commands';
export const summary =
  'One command line in the system’s shell: exec(dir, command). It cannot be stopped from here.';

/** @typedef {import('../../wendra-host.js').ExecResult} ExecResult */

/** @param {string} text @param {string} className */
const stream = (text, className) =>
  text === '' ? [] : [element('pre', { className, textContent: text })];

/** @param {HTMLElement} list @param {string} dir @param {string} command */
function addEntry(list, dir, command) {
  const verdict = element('span', { className: 'verdict', textContent: 'running…' });
  const line = element('code', { textContent: command || '(nothing)' });
  const where = element('span', { className: 'note', textContent: dir });
  const entry = element('li', {}, element('div', { className: 'title' }, line, verdict), where);
  list.prepend(entry);
  return { entry, verdict };
}

/** @param {{ entry: HTMLElement, verdict: HTMLElement }} parts @param {ExecResult} result */
function showResult({ entry, verdict }, { exit, stdout, stderr }, /** @type {number} */ ms) {
  entry.className = exit === 0 ? 'ok' : 'failed';
  verdict.textContent = `exit ${exit}, ${duration(ms)}`;
  entry.append(...stream(stdout, 'stdout'), ...stream(stderr, 'stderr'));
}

/** @param {{ entry: HTMLElement, verdict: HTMLElement }} parts @param {Error} error */
function showError({ entry, verdict }, error) {
  entry.className = 'failed';
  verdict.textContent = 'error';
  entry.append(element('p', { className: 'problem', textContent: error.message }));
}

// Up and Down go through the sent commands, as in a shell.
/** @param {HTMLInputElement} input @param {string[]} sent */
function recallByArrows(input, sent) {
  let at = sent.length;
  input.addEventListener('keydown', ({ key }) => {
    if (key === 'Enter') at = sent.length + 1;
    if (key !== 'ArrowUp' && key !== 'ArrowDown') return;
    at = Math.min(sent.length, Math.max(0, at + (key === 'ArrowUp' ? -1 : 1)));
    input.value = sent[at] ?? '';
  });
}

/** @type {import('../playground.js').View['mount']} */
export function mount(section, host) {
  const dir = lineInput('exec-dir', { placeholder: 'the host’s own current folder' });
  const command = lineInput('exec-command', { placeholder: 'echo hello' });
  const send = element('button', { id: 'exec-send', textContent: 'Run' });
  const choose = button(
    'Choose…',
    async () => (dir.value = (await host.pickDirectory('Run in').catch(() => null)) ?? dir.value),
    { className: 'quiet' },
  );
  const form = element(
    'form',
    {},
    element('div', { className: 'row' }, field('Folder', dir), choose),
    element('div', { className: 'row' }, field('Command', command), send),
  );
  const list = element('ol', { id: 'executions' });
  /** @type {string[]} */
  const sent = [];
  section.append(form, list);
  recallByArrows(command, sent);
  onSubmit(form, () => {
    const entry = addEntry(list, dir.value, command.value);
    const start = performance.now();
    host.exec(dir.value, command.value).then(
      (result) => showResult(entry, result, performance.now() - start),
      (error) => showError(entry, error),
    );
    if (command.value) sent.push(command.value);
    command.value = '';
    command.focus();
  });
}
