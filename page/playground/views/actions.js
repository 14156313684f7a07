// Sends any action with any arguments and shows the reply.
import { element } from '../elements.js';

export const title = 'Send an action';
export const isWide = true;

// Offered as one types; any other name may be sent as well.
const kKnownActions = ['platform'];

function field(text, control) {
  return element('label', {}, text, control);
}

function makeForm(canSend) {
  const name = element('input', { id: 'action-name', value: 'platform', spellcheck: false });
  name.setAttribute('list', 'known-actions');
  const args = element('textarea', { id: 'action-args', value: '[]', spellcheck: false });
  const problem = element('p', { id: 'action-problem', className: 'problem', hidden: true });
  const send = element('button', { id: 'action-send', textContent: 'Send', disabled: !canSend });
  const options = kKnownActions.map((value) => element('option', { value }));
  const form = element(
    'form',
    {},
    field('Action', name),
    element('datalist', { id: 'known-actions' }, ...options),
    field('Arguments (JSON)', args),
    problem,
    send,
  );
  return { form, name, args, problem };
}

function parseArguments({ args, problem }) {
  problem.hidden = true;
  try {
    return { value: args.value.trim() ? JSON.parse(args.value) : [] };
  } catch (error) {
    problem.textContent = `The arguments are not JSON: ${error.message}`;
    problem.hidden = false;
    return null;
  }
}

function addEntry(list, name) {
  const verdict = element('span', { className: 'verdict', textContent: 'waiting…' });
  const title = element('div', { className: 'title' }, element('b', { textContent: name }), verdict);
  const entry = element('li', {}, title);
  list.prepend(entry);
  return { entry, verdict };
}

function showReply({ entry, verdict }, { ok, value }, milliseconds) {
  entry.className = ok ? 'ok' : 'failed';
  verdict.textContent = `${ok ? 'ok' : 'error'} after ${Math.max(1, Math.round(milliseconds))} ms`;
  entry.append(element('pre', { textContent: JSON.stringify(value, null, 2) }));
}

export function mount(section, host) {
  const parts = makeForm(host.isPresent);
  const list = element('ol', { id: 'replies' });
  section.append(element('div', { className: 'split' }, parts.form, list));
  parts.form.addEventListener('submit', async (event) => {
    event.preventDefault();
    const args = parseArguments(parts);
    if (!args || !host.isPresent) return;
    const entry = addEntry(list, parts.name.value);
    const start = performance.now();
    const reply = await host.request(parts.name.value, args.value);
    showReply(entry, reply, performance.now() - start);
  });
}
