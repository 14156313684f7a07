// Entries of config.json for MCP servers of other authors. They run as Windows programs.
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { kWindowsNode, windowsPath } from './machine.mjs';

const kModules = join(dirname(fileURLToPath(import.meta.url)), '../node_modules');

export const kNode = kWindowsNode;

// The main script of @modelcontextprotocol/server-`name`.
export const serverScript = (name) =>
  windowsPath(join(kModules, `@modelcontextprotocol/server-${name}/dist/index.js`));

// `args` go after the script; `rest` are further keys of the entry.
export const nodeServer = (name, { args = [], ...rest } = {}) => ({
  command: kNode,
  args: [serverScript(name), ...args],
  ...rest,
});
