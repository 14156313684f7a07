// Opens the system's folder dialog and lists the results.
import { Problem, element, field, lineInput, onSubmit } from '../elements.js';

export const title = 'Folder picker';
export const summary =
  'The system’s own dialog: pickDirectory(title). It gives a path, or null when it is cancelled.';

/** @param {string | null} path */
const entryOf = (path) =>
  path === null
    ? element('li', {}, element('i', { textContent: 'cancelled: null' }))
    : element('li', { className: 'ok' }, element('code', { textContent: path }));

/** @type {import('../playground.js').View['mount']} */
export function mount(section, host) {
  const problem = new Problem();
  const dialogTitle = lineInput('picker-title', { placeholder: 'the system’s own title' });
  const send = element('button', { id: 'picker-send', textContent: 'Choose a folder…' });
  const form = element('form', {}, field('Title of the dialog', dialogTitle), send);
  const list = element('ol', { id: 'picked' });
  section.append(form, problem.place, list);
  onSubmit(form, () =>
    problem.during(send, async () => {
      list.prepend(entryOf(await host.pickDirectory(dialogTitle.value)));
    }),
  );
}
