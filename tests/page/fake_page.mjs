// Makes the `window` and `document` that page/wendra-host.js finds. Call makePage() before the
// module is imported: the module looks at them once, when it is loaded.

let copies = 0;

// Every browser has CustomEvent; Node 18 does not.
globalThis.CustomEvent ??= class CustomEvent extends Event {};

// `inside`: the page has the objects that the host adds. `framed`: the page is in a frame.
// `bridge`: a window.__wendra that another script has made. `post`: postMessage calls it too.
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

// Imports a new copy of the module, as when a page loads the module twice.
export function importModule() {
  copies += 1;
  return import(`../../page/wendra-host.js?copy=${copies}`);
}
