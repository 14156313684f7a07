// Calls of MCP servers' tools by the page.

export const kEcho = { text: 'hi' }; // what the tool `echo` of any test server answers to callTool

export const callTool = (host, name, args = { text: 'hi' }) =>
  host.page.call('mcpCall', [name, 'echo', args]);

// Of the first request to any server; each further one has the next. See docs/threads.md.
const kFirstTimer = 101;
const WM_TIMER = 0x113;

// As the system sends it when the time of a request is over, without waiting for that.
export const letTimeOut = (host, nthRequest) =>
  host.probe('post', 'window', WM_TIMER, kFirstTimer + nthRequest - 1, 0);
