// Addresses that never answer: one accepts connections, one does not.
import { once } from 'node:events';
import { readFileSync } from 'node:fs';
import { connect, createServer } from 'node:net';
import { Worker } from 'node:worker_threads';
import { endsWithFile } from './leftovers.mjs';

const addressOf = (port) => `http://localhost:${port}/mcp`;

// Accepts each connection, reads what comes, and never sends anything.
export async function startMuteServer() {
  const sockets = new Set();
  let bytes = 0;
  const server = createServer((socket) => {
    sockets.add(socket);
    socket.on('data', (data) => (bytes += data.length));
    socket.on('error', () => {}); // a client may drop its connection at any time
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
const kQueueLength = 2; // Linux keeps one connection more than the `backlog` of listen() says

// True while a program on this machine tries to connect to the port. Looks into Linux' table of
// connections, which has ports as hexadecimal digits; state 02 is SYN_SENT.
function isTried(port) {
  const remote = `:${port.toString(16).toUpperCase().padStart(4, '0')} 02`;
  return readFileSync('/proc/net/tcp', 'utf8').includes(remote);
}

// Answers no attempt to connect, like a firewall that drops packets. The program that listens never
// accepts a connection; once the system's queue is full, it drops further attempts.
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
