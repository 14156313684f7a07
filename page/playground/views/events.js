// Lists the events that the host sends without a request.
import { element } from '../elements.js';

export const title = 'Events';
export const summary =
  'What the host says unasked: mcpConfigChanged, when config.json has been loaded anew.';

/** @type {import('../playground.js').View['mount']} */
export function mount(section, host) {
  const none = element('p', { className: 'note', textContent: 'None so far.' });
  const list = element('ol', { id: 'events' });
  section.append(none, list);
  host.onMcpConfigChanged(() => {
    none.remove();
    const time = element('span', { textContent: new Date().toLocaleTimeString() });
    const name = element('b', { textContent: 'mcpConfigChanged' });
    list.prepend(element('li', {}, element('div', { className: 'title' }, name, time)));
  });
}
