// docs/mcp.md says what the host says: its log lines, its error texts, its keys, its folders.
import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { remarksOn } from '../../page/playground/views/config_remarks.js';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const read = (path) => readFileSync(join(kRoot, path), 'utf8');
const text = read('docs/mcp.md');

const sourcesOf = (folder) =>
  readdirSync(join(kRoot, folder), { withFileTypes: true }).flatMap((entry) => {
    if (entry.isDirectory()) return sourcesOf(`${folder}/${entry.name}`);
    return entry.name.endsWith('.cpp') ? [read(`${folder}/${entry.name}`)] : [];
  });
const mcpCode = [...sourcesOf('mcp'), read('config/settings.cpp')].join('\n');
const code = [mcpCode, ...sourcesOf('config'), ...sourcesOf('win')].join('\n');

// The first cells of the table below a heading, without their backticks.
function firstCells(heading) {
  const [, rest] = text.split(`## ${heading}\n`);
  const [section] = rest.split('\n## ');
  const rows = [...section.matchAll(/^\| (`.+?`) \|/gm)].map(([, cell]) => cell);
  return rows.flatMap((cell) => [...cell.matchAll(/`([^`]+)`/g)].map(([, one]) => one));
}

// What stands still in a text: the pieces between words that stand for something.
const kPlaceholder = /\b(?:NAME|PATH|URL|TEXT|PROGRAM|COMMAND LINE|COMMAND|N)\b/;
const fixedPieces = (line) =>
  line
    .split(kPlaceholder)
    .map((piece) => piece.replace(/^'|'$/g, ''))
    .filter((piece) => /[a-z]{2}/.test(piece));

test('every line of the log that is written down is one of the host', () => {
  const lines = firstCells('What the log says');
  assert.ok(lines.length >= 18, `${lines.length} lines`);
  for (const line of lines) {
    assert.match(line, /^\[MCP/);
    for (const piece of fixedPieces(line.replace(/^\[MCP NAME\] /, ''))) {
      assert.ok(code.includes(piece), `no source has: ${piece}`);
    }
  }
});

test('every line of the log that the host writes is written down', () => {
  const statements = mcpCode.split(';').filter((one) => /"\[MCP|\btag \+|Skipped\(name,/.test(one));
  const literals = statements.flatMap((one) => [...one.matchAll(/"((?:[^"\\]|\\.)*)"/g)])
    .map(([, literal]) => literal.trim())
    .filter((literal) => /[a-z]{4}/.test(literal) && /[ [\]]/.test(literal)); // no mere keys
  assert.ok(literals.length >= 15, literals.join('\n'));
  for (const literal of literals) assert.ok(text.includes(literal), `docs/mcp.md misses: ${literal}`);
});

test('every error text that is written down is one of the host', () => {
  const texts = firstCells('What a failed call says').filter((one) => !one.startsWith('HTTP '));
  assert.ok(texts.length >= 12, texts.join());
  for (const one of texts) {
    for (const piece of fixedPieces(one)) {
      assert.ok(code.includes(piece), `no source has: ${piece}`);
    }
  }
});

test('the keys are those that the host reads and that editors know', () => {
  const keys = firstCells('A server').sort();
  const { properties } = JSON.parse(read('docs/config.schema.json')).definitions.server;
  assert.deepEqual(keys, Object.keys(properties).filter((key) => key !== 'disabled').sort());
  const entries = read('config/settings.cpp');
  for (const key of keys) assert.ok(entries.includes(`"${key}"`), `the host does not read ${key}`);
});

test('the folders of commands are those of the host', () => {
  const [, list] = /kToolDirectories\[\] = \{([\s\S]*?)\n\};/.exec(read('mcp/stdio/search_path.cpp'));
  const folders = [...list.matchAll(/L"([^"]*[\\][^"]*)"/g)].map(([, one]) =>
    one.replaceAll('\\\\', '\\').replace(/^\\/, ''));
  assert.equal(folders.length, 12);
  for (const folder of folders) assert.ok(text.includes(`${folder}\``), `misses ${folder}`);
});

test('the example is one that Wendra takes as it stands', () => {
  const [, example] = /```json\n([\s\S]*?)```/.exec(text);
  assert.deepEqual(remarksOn(example), []);
});
