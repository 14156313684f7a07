// Calls tools of MCP servers from the page, and sends the host the timer messages that it waits
// for.
import { kConfigWatchTimer } from './messages.mjs';
import { until } from './waiting.mjs';

export const kEcho = { text: 'hi' }; // the answer of a test server's tool `echo` to callTool

export const callTool = (host, name, args = { text: 'hi' }) =>
  host.page.call('mcpCall', [name, 'echo', args]);

// The timer of the host's first request to an MCP server; each further request, to any server, has
// the next number. See docs/threads.md.
const kFirstTimer = 101;
const WM_TIMER = 0x113;

// Posts the timer message of a request, as the system does when the request's time is over.
export const letTimeOut = (host, nthRequest) =>
  host.probe('post', 'window', WM_TIMER, kFirstTimer + nthRequest - 1, 0);

// Posts the timer message on which the host looks for changes of config.json.
export const lookAtConfig = (host) =>
  host.probe('post', 'window', WM_TIMER, kConfigWatchTimer, 0);

const kMostRequests = 100; // more than the tests of any one file make

// Lets all requests time out, again and again until `call` has its answer: the page's message may
// not have reached the host yet.
export async function letAllTimeOut(host, call) {
  let isAnswered = false;
  const answered = call.finally(() => (isAnswered = true)).catch(() => {});
  await until('an answer after the time-outs', async () => {
    for (let nth = 1; nth <= kMostRequests && !isAnswered; ++nth) await letTimeOut(host, nth);
    return isAnswered;
  }, { context: host.context });
  await answered;
}
