// A page that calls MCP servers while config.json is loaded again and again.

import { until } from './waiting.mjs';

// Runs in the page.
async function reloadInPage(names, config, times) {
  window.waiting ??= new Map();
  window.ended ??= [];
  window.posted ??= 0;
  window.saved ??= 0;
  window.__wendra = {
    __resolve: (id, ok, value) => {
      ended.push(id);
      waiting.get(id)?.({ ok, value });
    },
  };
  window.ask = (name, args) => new Promise((resolve) => {
    const id = `q${(posted += 1)}`;
    waiting.set(id, resolve);
    chrome.webview.postMessage({ __reqId: id, name, args });
  });
  for (let i = 0; i < times; ++i) {
    const calls = names.map((name) => ask('mcpCall', [name, 'echo', { message: `${i}` }]));
    const reloaded = new Promise((resolve) => {
      document.addEventListener('mcpConfigChanged', resolve, { once: true });
    });
    if (i % 2) await Promise.any([...calls, reloaded]);
    await ask('mcpWriteConfig', [config]);
    saved += 1;
  }
}

// The page writes `config` (a text) `times` times, and the host reloads it each time. During each
// reload a call of each server is under way; it may be answered before the reload or not. The host
// also looks at the file every two seconds, and reloads when it has changed.
export const reload = (host, names, config, times) =>
  host.page.evaluate(reloadInPage, names, config, times);

// The answer of each server after the host has reloaded the last written text.
export async function lastAnswers(host, names) {
  const saved = await host.page.evaluate('saved');
  const savings = () => host.log.flatMap((line, i) => line.startsWith('[MCP] config saved') ? [i] : []);
  await until('the last writing in the log', () => savings().length === saved);
  await host.waitForLine('[MCP] config.json changed on disk', { from: savings().at(-1) });
  const reloaded = host.log.findLastIndex((line) => line.includes('changed on disk'));
  await host.waitForLine(`[MCP] loaded ${names.length} server(s)`, { from: reloaded });
  return host.page.evaluate(async (all) => {
    const last = all.map((name) => ask('mcpCall', [name, 'echo', { message: 'x' }]));
    return (await Promise.all(last)).map(({ value }) => value.error ?? value.text);
  }, names);
}
