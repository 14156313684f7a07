// Tests that the module, its typings and docs/page-api.md have the same actions, and that the error
// texts of the native actions are documented. tests/e2e/page_api.test.mjs asks the running host
// whether it has these actions.
import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import ts from 'typescript';
import * as host from '../../page/wendra-host.js';
import { documentedActions } from './action_names.mjs';

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

const bridgeCode = readdirSync(join(kRoot, 'bridge'))
  .filter((name) => name.endsWith('.cpp'))
  .map((name) => read(`bridge/${name}`))
  .join('\n');

test('the module exports the values of its typings in the same order', () => {
  assert.deepEqual(written(), promised());
  assert.deepEqual(Object.keys(host).sort(), promised().sort());
});

test('docs/page-api.md lists the same actions in the same order', () => {
  assert.deepEqual(documentedActions(), promised().filter(isAction));
});

test('docs/page-api.md and the typings have every error text of the native actions', () => {
  const found = bridgeCode.matchAll(/(?:Fail\([^";\n]*|Failure\{)"([^"]+)"/g);
  const texts = Array.from(found, ([, text]) => text);
  assert.ok(texts.includes('no such file') && texts.length >= 6, texts.join());
  const [text, typings] = [read('docs/page-api.md'), readFileSync(kTypings, 'utf8')];
  const plain = typings.replaceAll(/\n \*\s+/g, ' ');
  for (const one of texts) {
    assert.ok(text.includes(one), `docs/page-api.md misses: ${one}`);
    assert.ok(plain.includes(one), `the typings miss: ${one}`);
  }
});
