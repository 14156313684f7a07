// What the page's documentation and the stand-in host promise, asked of the real host.
import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { documentedActions } from '../page/action_names.mjs';
import { conversations } from '../page/conversations.mjs';
import { startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';

const kRoot = fileURLToPath(new URL('../..', import.meta.url));
const kShown = 200; // characters of a value, in an error

// Members in one order, since only their set is compared.
const sorted = (value) =>
  value !== null && typeof value === 'object' && !Array.isArray(value)
    ? Object.fromEntries(Object.entries(value).sort())
    : value;

// Every text in the host's sources that could be the name of an action.
function possibleNames() {
  const folders = ['app', 'base', 'bridge', 'config', 'mcp', 'update', 'webview', 'win'];
  const sources = folders.flatMap((folder) =>
    readdirSync(join(kRoot, folder), { recursive: true })
      .filter((name) => /\.(cpp|h)$/.test(name))
      .map((name) => readFileSync(join(kRoot, folder, name), 'utf8')));
  const texts = sources.flatMap((source) => [...source.matchAll(/"(\w+)"/g)]);
  return new Set(texts.map(([, text]) => text));
}

test('the host has the documented actions and no others', async () => {
  const server = await startServer({ '/': '<!doctype html><title>page</title>' });
  const host = await startHost({ address: server.url });
  const names = possibleNames();
  const documented = documentedActions();
  assert.ok(documented.length >= 12 && documented.every((name) => names.has(name)), [...names].join());
  names.delete('pickDirectory'); // opens a dialog; folder_dialogs.test.mjs asks for it
  const known = [];
  for (const name of names) {
    const { ok, value } = await host.page.call(name, []);
    if (ok || value !== `unknown native action '${name}'`) known.push(name);
  }
  assert.deepEqual(known.sort(), documented.filter((name) => name !== 'pickDirectory').sort());
  assert.equal(await host.close(), 0);
  await server.close();
});

test('the real host answers as the stand-in does', async () => {
  const server = await startServer({ '/': '<!doctype html><title>page</title>' });
  const host = await startHost({ address: server.url });
  for (const { why, steps } of conversations('C:\\users\\wendra')) {
    for (const [name, args, { ok, value }] of steps) {
      const reply = await host.page.call(name, args);
      const [seen, wanted] = [reply, { ok, value }].map((one) => [one.ok, JSON.stringify(sorted(one.value))]);
      const shown = `${why}: ${name} ${JSON.stringify(args)?.slice(0, kShown)}: ${String(seen).slice(0, kShown)}`;
      assert.ok(seen[0] === wanted[0] && seen[1] === wanted[1], shown);
    }
  }
  assert.equal(await host.close(), 0);
  await server.close();
});
