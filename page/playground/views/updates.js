// Starts the manual check for updates, as Ctrl+U does.
import { Problem, element, onSubmit } from '../elements.js';

export const title = 'Updates';
export const summary =
  'The same as Ctrl+U: checkForUpdates(). The outcome is seen in a dialog, not by the page.';

/** @type {import('../playground.js').View['mount']} */
export function mount(section, host) {
  const problem = new Problem();
  const check = element('button', { id: 'updates-check', textContent: 'Check for updates' });
  const status = element('span', { id: 'updates-status', className: 'note', role: 'status' });
  const form = element('form', {}, element('div', { className: 'row' }, check, status));
  section.append(form, problem.place);
  onSubmit(form, () =>
    problem.during(check, async () => {
      status.textContent = '';
      const answer = await host.checkForUpdates();
      status.textContent = `${answer}, at ${new Date().toLocaleTimeString()}`;
    }),
  );
}
