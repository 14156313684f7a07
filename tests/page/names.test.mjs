// Tests that the module, its typings, docs/page-api.md and the host have the same actions, and that
// the error texts of the native actions are documented.
import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import ts from 'typescript';
import * as host from '../../page/wendra-host.js';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kTypings = join(kRoot, 'page/wendra-host.d.ts');
const read = (path) => readFileSync(join(kRoot, path), 'utf8');

const kNoActions = [
  'HostError', 'NoHostError', 'call', 'isInsideHost', 'isStandIn', 'onMcpConfigChanged',
];

// The names of all values that the typings export, in the order of the typings.
function promised() {
  const program = ts.createProgram([kTypings], { strict: true, types: [] });
  const checker = program.getTypeChecker();
  const file = program.getSourceFile(kTypings);
  return checker
    .getExportsOfModule(checker.getSymbolAtLocation(file))
    .filter((symbol) => symbol.flags & ts.SymbolFlags.Value)
    .sort((a, b) => a.valueDeclaration.pos - b.valueDeclaration.pos)
    .map((symbol) => symbol.name);
}

const isAction = (name) => !kNoActions.includes(name);

// The exports in the order of the module's source. `Object.keys(host)` is in alphabetical order.
const written = () => {
  const found = read('page/wendra-host.js').matchAll(/^export (?:const|class|function) (\w+)/gm);
  return Array.from(found, ([, name]) => name);
};

const documented = () =>
  [...read('docs/page-api.md').matchAll(/^### (\w+)\(/gm)].map(([, name]) => name);

const sourcesOf = (...folders) =>
  folders
    .flatMap((folder) => readdirSync(join(kRoot, folder), { recursive: true })
      .map((name) => `${folder}/${name}`))
    .filter((path) => path.endsWith('.cpp'))
    .map(read)
    .join('\n');

// The name of the action that a factory makes: the first string in the factory's definition.
function nameMadeBy(factory, code) {
  const start = code.search(new RegExp(`^Action ${factory}\\(`, 'm'));
  assert.notEqual(start, -1, `${factory} is defined nowhere`);
  const definition = code.slice(start, code.indexOf('\n}\n', start));
  const name = /"(\w+)"/.exec(definition)?.[1];
  assert.ok(name, `${factory} names no action`);
  return name;
}

function dispatched() {
  const application = read('app/application_win.cpp');
  const start = application.indexOf('ActionTable Application::MakeActions()');
  assert.notEqual(start, -1, 'the table of actions is not where this test looks');
  const table = application.slice(start, application.indexOf('\n}\n', start));
  const code = sourcesOf('bridge', 'mcp', 'update');
  return [...table.matchAll(/\b(\w+Action)\(/g)].map(([, factory]) => nameMadeBy(factory, code));
}

test('the module exports the values of its typings in the same order', () => {
  assert.deepEqual(written(), promised());
  assert.deepEqual(Object.keys(host).sort(), promised().sort());
});

test('docs/page-api.md lists the same actions in the same order', () => {
  assert.deepEqual(documented(), promised().filter(isAction));
});

test('the host has the same actions in the same order', () => {
  assert.deepEqual(dispatched(), promised().filter(isAction));
});

test('docs/page-api.md and the typings have every error text of the native actions', () => {
  const found = sourcesOf('bridge').matchAll(/(?:Fail\([^";\n]*|Failure\{)"([^"]+)"/g);
  const texts = Array.from(found, ([, text]) => text);
  assert.ok(texts.includes('no such file') && texts.length >= 6, texts.join());
  const [text, typings] = [read('docs/page-api.md'), readFileSync(kTypings, 'utf8')];
  const plain = typings.replaceAll(/\n \*\s+/g, ' ');
  for (const one of texts) {
    assert.ok(text.includes(one), `docs/page-api.md misses: ${one}`);
    assert.ok(plain.includes(one), `the typings miss: ${one}`);
  }
});
