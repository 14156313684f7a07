// Preloaded into servers of other authors. Replaces the port that the server asks for with a free
// port of localhost, and sends that port to the process that started the server.
import { Server } from 'node:net';

process.on('disconnect', () => process.exit()); // the process that started this one has ended

const { listen } = Server.prototype;
Server.prototype.listen = function listenAnywhere(...args) {
  this.once('listening', () => process.send({ port: this.address().port }));
  return listen.call(this, 0, '127.0.0.1', args.find((one) => typeof one === 'function'));
};
