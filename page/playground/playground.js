// Shows one view at a time; the fragment of the address chooses it. A view is a module with a
// title, a summary, and mount(section, host). If mount returns a function, that function is called
// each time the view is shown. A new view only has to be added to the list here.
import { installStandIn } from '../wendra-host-standin.js';
import { element } from './elements.js';
import { host, onRequest } from './recorded_host.js';
import { kSampleFiles } from './sample_files.js';
import { kSampleServers } from './sample_servers.js';
import { mountTraffic } from './traffic.js';
import * as actions from './views/actions.js';
import * as commands from './views/commands.js';
import * as events from './views/events.js';
import * as files from './views/files.js';
import * as folderPicker from './views/folder_picker.js';
import * as mcpConfig from './views/mcp_config.js';
import * as mcpServers from './views/mcp_servers.js';
import * as platform from './views/platform.js';
import * as projects from './views/projects.js';
import * as updates from './views/updates.js';

/** @typedef {import('./recorded_host.js').Host} Host */
/** @typedef {(section: HTMLElement, host: Host) => void | (() => void)} Mount */
/** @typedef {{ title: string, summary: string, mount: Mount }} View */

/** @type {Record<string, View>} the fragment of the address to the view */
const kViews = {
  machine: platform,
  picker: folderPicker,
  files,
  projects,
  commands,
  servers: mcpServers,
  config: mcpConfig,
  updates,
  events,
  actions,
};

/** @param {string} id */
const byId = (id) => /** @type {HTMLElement} */ (document.getElementById(id));

function showHostState() {
  const [name, text] = host.isInsideHost()
    ? ['inside', `Inside Wendra (${window.__wendraHost?.platform})`]
    : host.isStandIn()
      ? ['stand-in', 'Not in Wendra: a stand-in answers from memory']
      : ['outside', 'Framed by another page: nobody answers'];
  Object.assign(byId('host-state'), { className: name, textContent: text });
}

/** @param {string} id @param {View} view */
function add(id, view) {
  const link = element('a', { href: `#${id}`, textContent: view.title });
  const heading = element('h2', { textContent: view.title, tabIndex: -1 });
  const summary = element('p', { className: 'note', textContent: view.summary });
  const section = element('section', { id: `view-${id}`, hidden: true }, heading, summary);
  byId('menu').append(link);
  byId('views').append(section);
  const onShow = view.mount(section, host);
  return { id, link, heading, section, onShow };
}

installStandIn({ files: kSampleFiles, mcpServers: kSampleServers });
showHostState();
mountTraffic(byId('traffic'), onRequest);
const views = Object.entries(kViews).map(([id, view]) => add(id, view));

/** @param {{ byUser: boolean }} how the heading takes the focus if `byUser` */
function showChosen({ byUser }) {
  const wanted = location.hash.slice(1);
  const chosen = views.find(({ id }) => id === wanted) ?? views[0];
  for (const view of views) {
    view.section.hidden = view !== chosen;
    if (view === chosen) view.link.setAttribute('aria-current', 'page');
    else view.link.removeAttribute('aria-current');
  }
  if (byUser) chosen?.heading.focus();
  chosen?.onShow?.();
}

addEventListener('hashchange', () => showChosen({ byUser: true }));
showChosen({ byUser: false });
