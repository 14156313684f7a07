// Addresses at which whatever arrives is never heard of again.
import { once } from 'node:events';
import { readFileSync } from 'node:fs';
import { connect, createServer } from 'node:net';
import { Worker } from 'node:worker_threads';
import { endsWithFile } from './leftovers.mjs';

const addressOf = (port) => `http://localhost:${port}/mcp`;

// Takes every connection and all that comes over it, and never says a word.
export async function startMuteServer() {
  const sockets = new Set();
  let bytes = 0;
  const server = createServer((socket) => {
    sockets.add(socket);
    socket.on('data', (data) => (bytes += data.length));
    socket.on('error', () => {}); // whoever waits here may go as it likes
    socket.on('close', () => sockets.delete(socket));
  });
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  return {
    url: addressOf(server.address().port),
    isAsked: () => bytes > 0,
    close: endsWithFile(async () => {
      const closed = once(server, 'close');
      server.close();
      for (const socket of sockets) socket.destroy();
      await closed;
    }),
  };
}

const kStandStill = `
  const { parentPort } = require('node:worker_threads');
  const server = require('node:net').createServer();
  server.listen({ port: 0, host: '127.0.0.1', backlog: 1 }, () => {
    parentPort.postMessage(server.address().port);
    Atomics.wait(new Int32Array(new SharedArrayBuffer(4)), 0, 0);
  });`;
const kQueueLength = 2; // Linux keeps one connection more than the backlog says

// Whether somebody on this machine is trying to connect to the port: Linux' table of connections, in
// hexadecimal digits; state 2 is SYN_SENT.
function isTried(port) {
  const remote = `:${port.toString(16).toUpperCase().padStart(4, '0')} 02`;
  return readFileSync('/proc/net/tcp', 'utf8').includes(remote);
}

// Answers no attempt to connect, like a firewall that drops packets: nobody takes connections out of
// the system's queue, and a full queue swallows them.
export async function startSilentAddress() {
  const worker = new Worker(kStandStill, { eval: true });
  const [port] = await once(worker, 'message');
  const waiting = Array.from({ length: kQueueLength }, () => connect(port, '127.0.0.1'));
  await Promise.all(waiting.map((socket) => once(socket, 'connect')));
  return {
    url: addressOf(port),
    isAsked: () => isTried(port),
    close: endsWithFile(async () => {
      for (const socket of waiting) socket.on('error', () => {}).destroy();
      await worker.terminate();
    }),
  };
}
