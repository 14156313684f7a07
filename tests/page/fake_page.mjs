// A document as the module finds it: made before the module is imported, since it looks once.

let copies = 0;

// Node 18 has the other kinds of event only; every browser has this one.
globalThis.CustomEvent ??= class CustomEvent extends Event {};

// What may differ from Wendra's own window: `inside` (what the host adds is there), `framed`,
// `bridge` (window.__wendra as another script left it), `post` (what postMessage does besides).
export function makePage({ inside = true, framed = false, bridge, post = () => {} } = {}) {
  const posted = [];
  const window = {};
  window.top = framed ? {} : window;
  if (bridge) window.__wendra = bridge;
  if (inside) {
    window.__wendraHost = { platform: 'windows', topInset: 0 };
    window.chrome = {
      webview: {
        postMessage(request) {
          posted.push(request);
          post(request, window);
        },
      },
    };
  }
  globalThis.window = window;
  globalThis.document = new EventTarget();
  const reply = (request, ok, value) => window.__wendra.__resolve(request.__reqId, ok, value);
  return { window, document, posted, reply };
}

// A copy of its own, as a page gets one that is loaded twice.
export function importModule() {
  copies += 1;
  return import(`../../page/wendra-host.js?copy=${copies}`);
}
