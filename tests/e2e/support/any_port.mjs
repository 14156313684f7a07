// Preloaded into servers that others wrote: whatever port they ask for, they get a free one of
// localhost, and the process that started them is told which.
import { Server } from 'node:net';

process.on('disconnect', () => process.exit()); // nobody is left to end it

const { listen } = Server.prototype;
Server.prototype.listen = function listenAnywhere(...args) {
  this.once('listening', () => process.send({ port: this.address().port }));
  return listen.call(this, 0, '127.0.0.1', args.find((one) => typeof one === 'function'));
};
