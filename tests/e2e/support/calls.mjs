// Calls of MCP servers' tools by the page.
import { kConfigWatchTimer } from './messages.mjs';
import { until } from './waiting.mjs';

export const kEcho = { text: 'hi' }; // what the tool `echo` of any test server answers to callTool

export const callTool = (host, name, args = { text: 'hi' }) =>
  host.page.call('mcpCall', [name, 'echo', args]);

// Of the first request to any server; each further one has the next. See docs/threads.md.
const kFirstTimer = 101;
const WM_TIMER = 0x113;

// As the system sends it when the time of a request is over, without waiting for that.
export const letTimeOut = (host, nthRequest) =>
  host.probe('post', 'window', WM_TIMER, kFirstTimer + nthRequest - 1, 0);

// As the system lets the host look for changes of config.json, but at once.
export const lookAtConfig = (host) =>
  host.probe('post', 'window', WM_TIMER, kConfigWatchTimer, 0);

const kMostRequests = 100; // of one file's tests

// The same for every request that the host waits for, until `call` has its answer: the page's message
// may still be on its way to the host.
export async function letAllTimeOut(host, call) {
  let isAnswered = false;
  const answered = call.finally(() => (isAnswered = true)).catch(() => {});
  await until('an answer after the time-outs', async () => {
    for (let nth = 1; nth <= kMostRequests && !isAnswered; ++nth) await letTimeOut(host, nth);
    return isAnswered;
  }, { context: host.context });
  await answered;
}
