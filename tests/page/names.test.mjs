// An action's name stands in the module, in its typings and in docs/page-api.md. Whether the host
// knows the same names is asked of the running host: tests/e2e/page_api.test.mjs.
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

// Each value that the typings export, in their order.
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

// A module's own exports are sorted; its source keeps the order.
const written = () => {
  const found = read('page/wendra-host.js').matchAll(/^export (?:const|class|function) (\w+)/gm);
  return Array.from(found, ([, name]) => name);
};

const bridgeCode = readdirSync(join(kRoot, 'bridge'))
  .filter((name) => name.endsWith('.cpp'))
  .map((name) => read(`bridge/${name}`))
  .join('\n');

test('the module exports what its typings promise, in their order', () => {
  assert.deepEqual(written(), promised());
  assert.deepEqual(Object.keys(host).sort(), promised().sort());
});

test('the text on the API lists the same actions in the same order', () => {
  assert.deepEqual(documentedActions(), promised().filter(isAction));
});

test('every error text of the native actions is written down', () => {
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
