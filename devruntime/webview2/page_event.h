// Events of a page, as the browser's side of the page reports them to the host's side, in the order
// in which they happened.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace wendra {

// The platform's numbers for why a navigation failed (COREWEBVIEW2_WEB_ERROR_STATUS).
enum class WebError : int {
  kUnknown = 0,
  kServerUnreachable = 6,
  kTimeout = 7,
  kInvalidResponse = 8,
  kConnectionAborted = 9,
  kConnectionReset = 10,
  kDisconnected = 11,
  kCannotConnect = 12,
  kHostNameNotResolved = 13,
  kOperationCanceled = 14,
};

struct PageReady {};  // from here on every call works

// The page has crashed or the browser is gone; calls do nothing.
struct PageGone {
  bool hasBrowser = false;
};

struct MessagePosted {
  std::string json;
  std::string source;  // address of the document that posted it
};

// A navigation of the top-level document is about to begin. Unless `fetchId` is "", it waits for
// PageSession::Decide.
struct NavigationWanted {
  std::uint64_t id = 0;
  std::string uri;
  bool isUserInitiated = false;
  bool isRedirected = false;
  std::string fetchId;
};

struct WindowWanted {
  std::string uri;
  bool isUserInitiated = false;
};

// A new top-level document is in place.
struct DocumentCommitted {
  std::uint64_t id = 0;
  std::string uri;
  bool isErrorPage = false;
};

// The address has changed within the document.
struct SourceMoved {
  std::string uri;
};

struct NavigationDone {
  std::uint64_t id = 0;
  bool isSuccess = false;
  WebError error = WebError::kUnknown;
};

using PageEvent = std::variant<PageReady, PageGone, MessagePosted, NavigationWanted, WindowWanted,
                               DocumentCommitted, SourceMoved, NavigationDone>;

}  // namespace wendra
