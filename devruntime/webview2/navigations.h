// Turns the protocol's events about navigations into what a host is told: which navigation begins,
// who began it, where it ended.
//
// What the browser reports for one navigation of the top-level document, in this order:
//   frameRequestedNavigation  only if the page itself asked (link, form, script)
//   frameStartedNavigating    always; not for changes within the document made by the page
//   requestWillBeSent         for what goes to the network, and for foreign schemes; has the
//   gesture requestPaused             http and https only; the request waits. Again for every
//   redirect loadingFailed             if nothing came; an error page may follow frameNavigated the
//   new document is in place loadEventFired            it has finished loading
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "json/json.h"
#include "devruntime/webview2/page_event.h"

namespace wendra {

struct NavigationRules {
  bool apiIsUserInitiated = true;
  bool redirectKeepsGesture = false;
  bool fragmentRaisesStarting = false;
  bool replacedEndsLate = false;  // a navigation that a newer one replaces ends once that has begun
};

// Pure: values in, values out. One per page; one thread.
class Navigations {
 public:
  Navigations(std::string mainFrameId, NavigationRules rules);

  // The events that follow from one event of the protocol, mostly none. An event about another
  // frame than the top-level one has no result, but for the wish for a new window.
  std::vector<PageEvent> Take(std::string_view method, const Json& params);

  // True if this paused request belongs to the top-level document. All others just go on.
  bool IsMainFrameRequest(const Json& params) const;

  // The host has cancelled the navigation: how it ends is then known before the browser says so.
  void Cancel(std::uint64_t id);

  // Address of the top-level document.
  const std::string& Source() const { return source_; }

 private:
  struct Navigation {
    std::uint64_t id = 0;
    std::string loaderId;
    std::string uri;
    bool byApi = false;      // Navigate or Reload, not the page
    bool gesture = false;    // the page acted on a click or a key
    bool announced = false;  // the host has been told that it begins
    bool cancelled = false;
    bool committed = false;
    std::optional<WebError> failure;
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
  bool UserInitiated(const Navigation& navigation, bool redirected) const;

  std::string mainFrameId_;
  NavigationRules rules_;
  std::string source_ = "about:blank";
  std::uint64_t lastId_ = 0;
  struct Request {
    std::string uri;
    std::string reason;
  };
  Request requested_;             // what the page asked for last; emptied when it starts
  std::vector<Navigation> open_;  // begun and not finished
  Events ends_;                   // of replaced navigations, to be told after the next beginning
};

}  // namespace wendra
