// The official SDK's client, measured in turn with the host's: calls echo as often as a line of its
// standard input says, and answers with a line of the microseconds that each call took.
//
//   node mcp_sdk_client.mjs URL                          a remote server
//   node mcp_sdk_client.mjs PROGRAM ARGUMENT...          a local one, which it starts
//
// Lines in: CALLS MESSAGE_BYTES RESULT_BYTES
import { Socket } from 'node:net';
import { createInterface } from 'node:readline';
import { Client } from '../e2e/node_modules/@modelcontextprotocol/sdk/dist/esm/client/index.js';
import { StdioClientTransport } from '../e2e/node_modules/@modelcontextprotocol/sdk/dist/esm/client/stdio.js';
import { StreamableHTTPClientTransport } from '../e2e/node_modules/@modelcontextprotocol/sdk/dist/esm/client/streamableHttp.js';

// Wine does not know the option of TCP that this sets, and Node then does not connect at all. It
// only concerns connections on which nothing is sent.
Socket.prototype.setKeepAlive = function () {
  return this;
};

const kLine = 'A line of text, with "quotes" in it, such as a tool may return.\n'; // 64 bytes

const textOf = (bytes) => kLine.repeat(Math.ceil(bytes / kLine.length)).slice(0, bytes);

async function measure(client, calls, messageBytes, resultBytes) {
  const message = textOf(messageBytes);
  const times = [];
  for (let i = 0; i < calls; ++i) {
    const start = performance.now();
    const { content } = await client.callTool({
      name: 'echo',
      arguments: { message, bytes: resultBytes },
    });
    times.push((performance.now() - start) * 1000);
    if (content[0].text.length !== resultBytes) throw new Error('not the text asked for');
  }
  return times;
}

const [first, ...args] = process.argv.slice(2);
const transport = /^https?:/.test(first)
  ? new StreamableHTTPClientTransport(new URL(first))
  : new StdioClientTransport({ command: first, args });
const client = new Client({ name: 'bench', version: '1' });
await client.connect(transport);
console.log('ready');
for await (const line of createInterface({ input: process.stdin })) {
  const times = await measure(client, ...line.split(' ').map(Number));
  console.log(times.map((time) => time.toFixed(1)).join(' '));
}
await client.close();
