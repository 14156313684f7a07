#include "devruntime/webview2/page_shim.h"

namespace wendra {

// Runs before any script of the page, in every frame; a second run in one document does nothing.
// JSON.stringify is the page's own, as with the real control, but captured before the page runs.
const char kPageShim[] = R"js((() => {
  const post = globalThis.__wendraDevPost;
  if (typeof post !== 'function') return;
  delete globalThis.__wendraDevPost;
  const stringify = JSON.stringify;
  const webview = new EventTarget();
  const methods = {
    postMessage(value) {
      const text = stringify(value);
      post(text === undefined ? 'null' : text);
    },
  };
  Object.defineProperty(webview, 'postMessage',
      { value: methods.postMessage, writable: true, enumerable: true, configurable: true });
  const chrome = globalThis.chrome ?? {};
  Object.defineProperty(chrome, 'webview',
      { value: webview, writable: false, enumerable: true, configurable: false });
  Object.defineProperty(globalThis, 'chrome',
      { value: chrome, writable: true, enumerable: true, configurable: true });
})();)js";

}  // namespace wendra
