// The page's side of the bridge: requests with replies, and the events that nobody asked for.
const waiting = new Map(); // request id to what settles its promise
let lastRequest = 0;

// An id must hold no quote and no backslash. The random part keeps replies to an earlier document
// of this page from being taken for ours.
const kRun = Math.random().toString(36).slice(2, 8);

window.__wendra = {
  ...window.__wendra,
  __resolve(id, ok, value) {
    const settle = waiting.get(id);
    if (!settle) return 0;
    waiting.delete(id);
    settle({ ok: ok === 1, value });
    return 0;
  },
};

// Events that the host raises on the document.
const kEvents = ['mcpConfigChanged'];

export const host = {
  isPresent: Boolean(window.chrome?.webview),

  // What the host says of itself before any script of the page runs.
  facts: window.__wendraHost,

  // Resolves with {ok, value}: the result, or the host's error text. Never settles when the host
  // does not answer.
  request(name, args = []) {
    lastRequest += 1;
    const id = `${kRun}-${lastRequest}`;
    return new Promise((resolve) => {
      waiting.set(id, resolve);
      window.chrome.webview.postMessage({ __reqId: id, name, args });
    });
  },

  // Calls `receive` with the name of each event.
  onEvent(receive) {
    for (const name of kEvents) document.addEventListener(name, () => receive(name));
  },
};
