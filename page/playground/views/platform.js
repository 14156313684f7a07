// Asks for the platform's facts as soon as the page is there.
import { element } from '../elements.js';

export const title = 'Platform';

function list(facts) {
  const rows = Object.entries(facts).flatMap(([name, value]) => [
    element('dt', { textContent: name }),
    element('dd', { textContent: String(value) }),
  ]);
  return element('dl', { id: 'platform-facts' }, ...rows);
}

export async function mount(section, host) {
  if (!host.isPresent) {
    section.append(element('p', { className: 'note', textContent: 'Known only inside Wendra.' }));
    return;
  }
  const { ok, value } = await host.request('platform');
  section.append(
    ok ? list(value) : element('p', { className: 'problem', textContent: String(value) }),
  );
}
