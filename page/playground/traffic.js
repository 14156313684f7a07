// A panel that lists every request with its reply, newest first.
import { duration, element } from './elements.js';

/** @typedef {import('./recorded_host.js').Request} Request */

const kMaxEntries = 100;
const kMaxShownCharacters = 4000;

/** @param {unknown} value */
function shown(value) {
  const text = JSON.stringify(value, null, 2) ?? 'nothing';
  if (text.length <= kMaxShownCharacters) return text;
  const more = (text.length - kMaxShownCharacters).toLocaleString('en');
  return `${text.slice(0, kMaxShownCharacters)}\n… ${more} more characters`;
}

// The first text among the arguments: usually a path or a name.
/** @param {unknown} args */
const brief = (args) =>
  (Array.isArray(args) ? args : []).find((one) => typeof one === 'string' && one !== '') ?? '';

/** @param {HTMLElement} list @param {Request} request */
async function addRequest(list, { name, args, outcome }) {
  const state = element('span', { className: 'verdict', textContent: 'waiting…' });
  const about = element('span', { className: 'brief', textContent: brief(args) });
  const line = element('summary', {}, element('b', { textContent: name }), about, state);
  const parts = element('details', {}, line, element('pre', { textContent: shown(args) }));
  const entry = element('li', {}, parts);
  list.prepend(entry);
  while (list.children.length > kMaxEntries) list.lastElementChild?.remove();

  const { ok, value, milliseconds } = await outcome;
  entry.className = ok ? 'ok' : 'failed';
  state.textContent = `${ok ? 'ok' : 'error'}, ${duration(milliseconds)}`;
  parts.append(element('pre', { className: 'reply', textContent: shown(value) }));
}

/**
 * @param {HTMLElement} place
 * @param {(listener: (request: Request) => void) => void} onRequest
 */
export function mountTraffic(place, onRequest) {
  const none = element('p', { className: 'note', textContent: 'None so far.' });
  const list = element('ol', { id: 'requests' });
  place.append(element('h2', { textContent: 'Requests' }), none, list);
  onRequest((request) => {
    none.remove();
    void addRequest(list, request);
  });
}
