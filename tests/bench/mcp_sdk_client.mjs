// The client of the official SDK, which is measured in turn with the host's client. For each line
// of standard input, CALLS MESSAGE_BYTES RESULT_BYTES, it calls echo CALLS times and writes a line
// with the microseconds of each call.
//
//   node mcp_sdk_client.mjs URL                          calls a remote server
//   node mcp_sdk_client.mjs PROGRAM ARGUMENT...          starts and calls a local server
import { Socket } from 'node:net';
import { createInterface } from 'node:readline';
import { Client } from '../e2e/node_modules/@modelcontextprotocol/sdk/dist/esm/client/index.js';
import { StdioClientTransport } from '../e2e/node_modules/@modelcontextprotocol/sdk/dist/esm/client/stdio.js';
import { StreamableHTTPClientTransport } from '../e2e/node_modules/@modelcontextprotocol/sdk/dist/esm/client/streamableHttp.js';

// Wine does not know the TCP option that this function sets, and then Node does not connect at all.
// The option matters only for idle connections.
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
