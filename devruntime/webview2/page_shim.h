// The script that gives every document its `window.chrome.webview`.
#pragma once

namespace wendra {

// The protocol's binding: a function of the global object that takes one text. The script keeps it
// and deletes it from the global object before the page can see it.
inline constexpr char kBindingName[] = "__wendraDevPost";

// Runs before every script of the page, in every frame. A second run in the same document does
// nothing. JSON.stringify is the page's own, as with the real control, but taken before the page
// runs.
inline constexpr char kPageShim[] = R"js((() => {
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
