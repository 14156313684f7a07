// Asks for the platform's facts as soon as the page has loaded.
import { Problem, element } from '../elements.js';

export const title = 'This machine';
export const summary = 'What the host knows of the system and its user: platform().';

/** @param {object} facts @param {string} id */
function list(facts, id) {
  const rows = Object.entries(facts).flatMap(([name, value]) => [
    element('dt', { textContent: name }),
    element('dd', { textContent: String(value) }),
  ]);
  return element('dl', { id }, ...rows);
}

/** @type {import('../playground.js').View['mount']} */
export function mount(section, host) {
  const problem = new Problem();
  section.append(problem.place);
  host
    .platform()
    .then((facts) => section.append(list(facts, 'platform-facts')))
    .catch((error) => problem.show(error))
    .then(() => {
      if (!window.__wendraHost) return;
      section.append(element('h3', { textContent: 'window.__wendraHost' }));
      section.append(list(window.__wendraHost, 'host-facts'));
    });
}
