#!/usr/bin/env node
// Draws the program's modules from what their sources include, into docs/architecture.md.
//
//   node tools/module-diagram.mjs     writes the diagram anew
import { readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '..');
const kDocument = join(kRoot, 'docs/architecture.md');
const kModules = ['app', 'mcp', 'update', 'bridge', 'config', 'webview', 'win', 'json', 'base'];
const kDiagram = /```mermaid\n[\s\S]*?```/;

// The modules whose headers the sources of `module` include.
function includedBy(module) {
  const folder = join(kRoot, module);
  const texts = readdirSync(folder, { recursive: true })
    .filter((name) => /\.(cpp|h)$/.test(name))
    .map((name) => readFileSync(join(folder, name), 'utf8'));
  const found = texts.flatMap((text) => [...text.matchAll(/^#include "(\w+)\//gm)]);
  return new Set(found.map(([, name]) => name).filter((name) => name !== module && kModules.includes(name)));
}

// The text of the diagram. An arrow that follows from two others is left out.
export function moduleDiagram() {
  const uses = Object.fromEntries(kModules.map((module) => [module, includedBy(module)]));
  const reaches = (from, to) =>
    [...uses[from]].some((next) => next === to || reaches(next, to));
  const lines = kModules.flatMap((module) =>
    kModules
      .filter((other) => uses[module].has(other))
      .filter((other) => ![...uses[module]].some((next) => next !== other && reaches(next, other)))
      .map((other) => `  ${module} --> ${other}`));
  return `\`\`\`mermaid\nflowchart TD\n${lines.join('\n')}\n\`\`\``;
}

export const drawnDiagram = () => kDiagram.exec(readFileSync(kDocument, 'utf8'))?.[0];

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  writeFileSync(kDocument, readFileSync(kDocument, 'utf8').replace(kDiagram, moduleDiagram()));
}
