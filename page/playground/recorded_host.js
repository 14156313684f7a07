// Wraps the host's functions and reports each request to the listeners.
import * as bridge from '../wendra-host.js';

/** @typedef {typeof import('../wendra-host.js')} Host */
/** @typedef {{ ok: boolean, value: unknown, milliseconds: number }} Outcome */
/** @typedef {{ name: string, args: unknown, outcome: Promise<Outcome> }} Request */

/** @type {((request: Request) => void)[]} */
const listeners = [];

/** @param {(request: Request) => void} listener */
export const onRequest = (listener) => void listeners.push(listener);

/** @template T @param {string} name @param {unknown} args @param {Promise<T>} reply */
function record(name, args, reply) {
  const start = performance.now();
  const outcome = reply.then(
    (value) => ({ ok: true, value, milliseconds: performance.now() - start }),
    (error) => ({ ok: false, value: error.message, milliseconds: performance.now() - start }),
  );
  for (const listener of listeners) listener({ name, args, outcome });
  return reply;
}

const kNoRequests = ['isInsideHost', 'isStandIn', 'onMcpConfigChanged', 'HostError', 'NoHostError'];

/** @param {[string, any]} member */
function recorded([name, member]) {
  if (kNoRequests.includes(name)) return [name, member];
  return [name, (/** @type {unknown[]} */ ...args) => record(name, args, member(...args))];
}

/** @type {Host} */
export const host = {
  ...Object.fromEntries(Object.entries(bridge).map(recorded)),
  call: (name, args) => record(name, args, bridge.call(name, args)),
};
