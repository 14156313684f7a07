// Sends any action with any arguments and shows the reply.
import { Problem, duration, element, field, lineInput, onSubmit } from '../elements.js';

export const title = 'Any action';
export const summary = 'Any name with any arguments, as they are: call(name, args).';

/** @type {Record<string, unknown[]>} the suggested actions; any other may be sent too */
const kExamples = {
  pickDirectory: ['Choose a folder'],
  platform: [],
  getProjectDirs: [],
  setProjectDir: ['my-project', 'C:\\folder'],
  readFile: ['C:\\folder\\file.txt'],
  readFileBase64: ['C:\\folder\\picture.png'],
  writeFile: ['C:\\folder\\file.txt', 'Hello'],
  exec: ['', 'echo hello'],
  mcpServers: [],
  mcpReadConfig: [],
  mcpWriteConfig: ['{ "mcpServers": {} }'],
  mcpCall: ['server', 'tool', {}],
  checkForUpdates: [],
};

function makeForm() {
  const name = lineInput('action-name', { value: 'platform' });
  name.setAttribute('list', 'known-actions');
  const args = element('textarea', { id: 'action-args', value: '[]', spellcheck: false, rows: 4 });
  const send = element('button', { id: 'action-send', textContent: 'Send' });
  const options = Object.keys(kExamples).map((value) => element('option', { value }));
  const form = element(
    'form',
    {},
    field('Action', name),
    element('datalist', { id: 'known-actions' }, ...options),
    field('Arguments (JSON)', args),
    send,
  );
  name.addEventListener('input', () => {
    const example = kExamples[name.value];
    if (example) args.value = JSON.stringify(example);
  });
  args.addEventListener('keydown', (event) => {
    if (event.ctrlKey && event.key === 'Enter') form.requestSubmit();
  });
  return { form, name, args };
}

/** @param {HTMLElement} list @param {string} name */
function addEntry(list, name) {
  const verdict = element('span', { className: 'verdict', textContent: 'waiting…' });
  const line = element('div', { className: 'title' }, element('b', { textContent: name }), verdict);
  const entry = element('li', {}, line);
  list.prepend(entry);
  const start = performance.now();
  return (/** @type {boolean} */ ok, /** @type {unknown} */ value) => {
    entry.className = ok ? 'ok' : 'failed';
    verdict.textContent = `${ok ? 'ok' : 'error'}, ${duration(performance.now() - start)}`;
    entry.append(element('pre', { textContent: JSON.stringify(value, null, 2) }));
  };
}

/** @param {string} text */
function parsed(text) {
  try {
    return text.trim() ? JSON.parse(text) : [];
  } catch (error) {
    throw new Error(`The arguments are not JSON: ${/** @type {Error} */ (error).message}`);
  }
}

/** @type {import('../playground.js').View['mount']} */
export function mount(section, host) {
  const { form, name, args } = makeForm();
  const problem = new Problem();
  const list = element('ol', { id: 'replies' });
  section.append(form, problem.place, list);
  onSubmit(form, () => {
    problem.clear();
    try {
      const value = parsed(args.value);
      const show = addEntry(list, name.value);
      host.call(name.value, value).then(
        (reply) => show(true, reply),
        (error) => show(false, error.message),
      );
    } catch (error) {
      problem.show(error);
    }
  });
}
