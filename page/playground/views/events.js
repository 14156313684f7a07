// Lists what the host tells the page unasked.
import { element } from '../elements.js';

export const title = 'Events from the host';

export function mount(section, host) {
  const none = element('p', { className: 'note', textContent: 'None so far.' });
  const list = element('ol', { id: 'events' });
  section.append(none, list);
  host.onEvent((name) => {
    none.remove();
    const time = element('span', { textContent: new Date().toLocaleTimeString() });
    const title = element('div', { className: 'title' }, element('b', { textContent: name }), time);
    list.prepend(element('li', {}, title));
  });
}
