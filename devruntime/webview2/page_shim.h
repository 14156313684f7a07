// The script that gives every document its `window.chrome.webview`.
#pragma once

namespace wendra {

// The protocol's binding: a function of the global object that takes one string. The shim keeps it
// to itself and takes it off the global object before the page can see it.
inline constexpr char kBindingName[] = "__wendraDevPost";

extern const char kPageShim[];

}  // namespace wendra
