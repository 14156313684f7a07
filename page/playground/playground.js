// Puts the views on the page. A view is a module with a title, whether it takes the whole width,
// and mount(section, host); a new one only has to be listed here.
import { host } from './host.js';
import * as actions from './views/actions.js';
import * as events from './views/events.js';
import * as platform from './views/platform.js';
import { element } from './elements.js';

const kViews = [platform, events, actions];

function showHostState() {
  const state = document.getElementById('host-state');
  state.className = host.isPresent ? 'inside' : 'outside';
  state.textContent = host.isPresent
    ? `Running inside Wendra (${host.facts?.platform ?? 'no facts'})`
    : 'Not running inside Wendra: nothing here can be sent';
}

function show(view) {
  const section = element('section', { className: view.isWide ? 'wide' : '' });
  section.append(element('h2', { textContent: view.title }));
  document.getElementById('views').append(section);
  view.mount(section, host);
}

showHostState();
kViews.forEach(show);
