// What the browser's side of a page tells the host's side, in the order in which it happened.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace wendra {

// The value that a host sees of a failed navigation.
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

struct PageReady {};  // every call works from now on
struct PageGone {};   // the page has crashed or the browser is gone; calls fail quietly

struct MessagePosted {
  std::string json;
  std::string source;  // address of the document that posted it
};

// A navigation of the top-level document wants to begin; unless `fetchId` is empty it waits for
// PageSession::Decide.
struct NavigationWanted {
  std::uint64_t id = 0;
  std::string uri;
  bool userInitiated = false;
  bool redirected = false;
  std::string fetchId;
};

struct WindowWanted {
  std::string uri;
  bool userInitiated = false;
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
  bool success = false;
  WebError error = WebError::kUnknown;
};

using PageEvent = std::variant<PageReady, PageGone, MessagePosted, NavigationWanted, WindowWanted,
                               DocumentCommitted, SourceMoved, NavigationDone>;

}  // namespace wendra
