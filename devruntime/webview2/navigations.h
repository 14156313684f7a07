// Translates the protocol's events about navigations into the events that a host gets: which
// navigation begins, who asked for it, and how it ends.
//
// The browser reports one navigation of the top-level document in this order:
//
// | event                    | when                                                              |
// |--------------------------|-------------------------------------------------------------------|
// | frameRequestedNavigation | only if the page asked for it (link, form, script)                |
// | frameStartedNavigating   | always, except for changes within the document made by the page   |
// | requestWillBeSent        | for network addresses and foreign schemes; has the gesture flag   |
// | requestPaused            | http and https only: the request waits; again after each redirect |
// | loadingFailed            | if the request has failed; an error page may follow               |
// | frameNavigated           | the new document is in place                                      |
// | loadEventFired           | the new document has loaded                                       |
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "devruntime/webview2/page_event.h"
#include "json/json.h"

namespace wendra {

struct NavigationRules {
  bool apiIsUserInitiated = true;
  bool redirectKeepsGesture = false;
  bool fragmentRaisesStarting = false;
  // A navigation that a newer one replaces is completed after the newer one has started.
  bool replacedEndsLate = false;
};

// Pure. One for each page; one thread at a time.
class Navigations {
 public:
  Navigations(std::string mainFrameId, NavigationRules rules);

  // The events that follow from one event of the protocol; mostly none. Events of frames inside the
  // page have no result, except a request for a new window.
  std::vector<PageEvent> Take(std::string_view method, const Json& params);

  // Whether this paused request belongs to the top-level document.
  bool IsMainFrameRequest(const Json& params) const;

  // The host has cancelled the navigation. The failure that the browser then reports counts as
  // WebError::kOperationCanceled.
  void Cancel(std::uint64_t id);

  // Address of the top-level document.
  const std::string& Source() const { return source_; }

 private:
  struct Navigation {
    std::uint64_t id = 0;
    std::string loaderId;
    std::string uri;
    bool isByApi = false;      // of Navigate or Reload, not of the page
    bool hasGesture = false;   // the page acted on a click or a key
    bool isAnnounced = false;  // NavigationWanted has been reported
    bool isCancelled = false;
    bool isCommitted = false;
    std::optional<WebError> failure;
  };
  // What the page asked for.
  struct Request {
    std::string uri;
    std::string reason;
  };
  using Events = std::vector<PageEvent>;

  void Requested(const Json& params, Events& events);
  void Started(const Json& params, Events& events);
  void RequestSent(const Json& params, Events& events);
  void Paused(const Json& params, Events& events);
  void Failed(const Json& params, Events& events);
  void Committed(const Json& params, Events& events);
  void MovedWithin(const Json& params, Events& events);
  void Loaded(Events& events);
  void AbandonCommitted(Events& events);

  Navigation& Begin(std::string loaderId, std::string uri);
  Navigation* Find(std::string_view loaderId);
  Navigation* FindCommitted();
  void Announce(Navigation& navigation, std::string fetchId, Events& events);
  void Finish(const Navigation& navigation, Events& events);
  bool IsUserInitiated(const Navigation& navigation, bool isRedirected) const;

  const std::string mainFrameId_;
  const NavigationRules rules_;
  std::string source_ = "about:blank";
  std::uint64_t lastId_ = 0;
  Request requested_;             // the page's last request; emptied when a navigation starts
  std::vector<Navigation> open_;  // have begun and not ended
  Events delayedEnds_;            // reported once the next navigation has started
};

}  // namespace wendra
