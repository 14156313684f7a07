// Local servers that do as they are told (tests/support/mcp_child_win.cpp lists the words), and what
// they may be told.
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { windowsPath } from '../../../tools/wine/prefix.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../../..');

export const kChild = windowsPath(join(kRoot, 'build/windows/bin/mcp_child.exe'));
export const kEcho = { text: 'hi' }; // what its tool of that name answers to callEcho
export const kClosed = 'subprocess exited / closed stdout';

export const mcpChild = (...words) => ({ command: kChild, args: words });
export const callEcho = (host, name) => host.page.call('mcpCall', [name, 'echo', { text: 'hi' }]);

export const request = (id, method) => `{"jsonrpc":"2.0","id":${id},"method":"${method}"}`;
export const notification = (rest) =>
  `{"jsonrpc":"2.0","method":"notifications/message"${rest}}`;
// Words by which a server says something that the host logs as "[MCP name] text", so many times in
// one write.
export const says = (text, times = 1) =>
  ['line', Array(times).fill(notification(`,"params":{"message":${JSON.stringify(text)}}`)).join('\n')];
export const endlessly = (...words) => ['times', '1000000000', ...words];
