#include "devruntime/webview2/navigations.h"

#include <algorithm>
#include <utility>

#include "json/objects.h"

namespace wendra {
namespace {

bool HasScheme(std::string_view uri, std::string_view scheme) {
  return uri.starts_with(scheme) && uri.substr(scheme.size()).starts_with(":");
}

// Only these requests pause before they leave the browser.
bool IsPausable(std::string_view uri) { return HasScheme(uri, "http") || HasScheme(uri, "https"); }

// These have no network event, so only the page's reason shows whether there was a gesture.
bool IsWithoutRequest(std::string_view uri) {
  return HasScheme(uri, "about") || HasScheme(uri, "blob") || HasScheme(uri, "data");
}

bool IsNewWindow(std::string_view disposition) {
  return disposition == "newTab" || disposition == "newWindow";
}

WebError ErrorOf(std::string_view text) {
  const struct {
    const char* text;
    WebError error;
  } known[] = {
      {"net::ERR_ABORTED", WebError::kConnectionAborted},
      {"net::ERR_CONNECTION_REFUSED", WebError::kCannotConnect},
      {"net::ERR_CONNECTION_RESET", WebError::kConnectionReset},
      {"net::ERR_CONNECTION_ABORTED", WebError::kConnectionAborted},
      {"net::ERR_CONNECTION_TIMED_OUT", WebError::kTimeout},
      {"net::ERR_TIMED_OUT", WebError::kTimeout},
      {"net::ERR_NAME_NOT_RESOLVED", WebError::kHostNameNotResolved},
      {"net::ERR_INTERNET_DISCONNECTED", WebError::kDisconnected},
      {"net::ERR_ADDRESS_UNREACHABLE", WebError::kServerUnreachable},
      {"net::ERR_EMPTY_RESPONSE", WebError::kInvalidResponse},
      {"net::ERR_INVALID_HTTP_RESPONSE", WebError::kInvalidResponse},
  };
  for (const auto& each : known) {
    if (text == each.text) return each.error;
  }
  return WebError::kUnknown;
}

}  // namespace

Navigations::Navigations(std::string mainFrameId, NavigationRules rules)
    : mainFrameId_(std::move(mainFrameId)), rules_(rules) {}

std::vector<PageEvent> Navigations::Take(std::string_view method, const Json& params) {
  using Handler = void (Navigations::*)(const Json&, Events&);
  const struct {
    std::string_view method;
    Handler handler;
  } handlers[] = {
      {"Page.frameRequestedNavigation", &Navigations::Requested},
      {"Page.frameStartedNavigating", &Navigations::Started},
      {"Network.requestWillBeSent", &Navigations::RequestSent},
      {"Fetch.requestPaused", &Navigations::Paused},
      {"Network.loadingFailed", &Navigations::Failed},
      {"Page.frameNavigated", &Navigations::Committed},
      {"Page.navigatedWithinDocument", &Navigations::MovedWithin},
  };
  Events events;
  for (const auto& each : handlers) {
    if (method == each.method) (this->*each.handler)(params, events);
  }
  if (method == "Page.loadEventFired") Loaded(events);
  if (method == "Page.windowOpen") {
    events.push_back(WindowWanted{TextOf(params, "url"), TruthOf(params, "userGesture")});
  }
  return events;
}

bool Navigations::IsMainFrameRequest(const Json& params) const {
  return TextOf(params, "frameId") == mainFrameId_;
}

void Navigations::Cancel(std::uint64_t id) {
  for (Navigation& navigation : open_) {
    if (navigation.id == id) navigation.isCancelled = true;
  }
}

// A click with Ctrl, Shift or the middle button asks for a new window, in any frame.
void Navigations::Requested(const Json& params, Events& events) {
  if (IsNewWindow(TextOf(params, "disposition"))) {
    events.push_back(WindowWanted{TextOf(params, "url"), true});
  } else if (TextOf(params, "frameId") == mainFrameId_ &&
             TextOf(params, "disposition") == "currentTab") {
    requested_ = {TextOf(params, "url"), TextOf(params, "reason")};
  }
}

void Navigations::Started(const Json& params, Events& events) {
  if (TextOf(params, "frameId") != mainFrameId_) return;
  const std::string& type = TextOf(params, "navigationType");
  // The page's last request may never have started, so the addresses are compared.
  const Request request = std::exchange(requested_, {});
  const bool isByPage = request.uri == TextOf(params, "url") && !request.reason.empty();
  if (type == "sameDocument" || type == "historySameDocument") return;
  Navigation& navigation = Begin(TextOf(params, "loaderId"), TextOf(params, "url"));
  navigation.isByApi = !isByPage && type != "historyDifferentDocument";
  if (!IsWithoutRequest(navigation.uri)) return;
  navigation.hasGesture = isByPage && request.reason == "anchorClick";
  Announce(navigation, {}, events);
}

void Navigations::RequestSent(const Json& params, Events& events) {
  if (TextOf(params, "type") != "Document" || TextOf(params, "frameId") != mainFrameId_) return;
  Navigation* navigation = Find(TextOf(params, "requestId"));
  if (!navigation) return;
  if (const Json* request = params.Find("request")) navigation->uri = TextOf(*request, "url");
  navigation->hasGesture = TruthOf(params, "hasUserGesture");
  if (!IsPausable(navigation->uri) && !navigation->isAnnounced) Announce(*navigation, {}, events);
}

void Navigations::Paused(const Json& params, Events& events) {
  if (!IsMainFrameRequest(params)) return;
  const std::string& loaderId = TextOf(params, "networkId");
  Navigation* navigation = Find(loaderId);
  if (!navigation) navigation = &Begin(loaderId, {});
  if (const Json* request = params.Find("request")) {
    navigation->uri = TextOf(*request, "url") + TextOf(*request, "urlFragment");
  }
  Announce(*navigation, TextOf(params, "requestId"), events);
}

void Navigations::Failed(const Json& params, Events& events) {
  Navigation* navigation = Find(TextOf(params, "requestId"));
  if (!navigation || navigation->isCommitted) return;
  navigation->failure =
      navigation->isCancelled ? WebError::kOperationCanceled : ErrorOf(TextOf(params, "errorText"));
  // After any other failure an error page follows, and the navigation ends with that.
  if (TextOf(params, "errorText") != "net::ERR_ABORTED") return;
  const bool isReplaced = !requested_.uri.empty();  // by a newer request of the page
  Finish(*navigation, rules_.replacedEndsLate && isReplaced ? delayedEnds_ : events);
}

void Navigations::Committed(const Json& params, Events& events) {
  const Json* frame = params.Find("frame");
  if (!frame || TextOf(*frame, "id") != mainFrameId_) return;
  const std::string& errorAddress = TextOf(*frame, "unreachableUrl");
  source_ =
      errorAddress.empty() ? TextOf(*frame, "url") + TextOf(*frame, "urlFragment") : errorAddress;
  AbandonCommitted(events);
  Navigation* navigation = Find(TextOf(*frame, "loaderId"));
  if (!navigation) navigation = &Begin(TextOf(*frame, "loaderId"), source_);
  if (!navigation->isAnnounced) Announce(*navigation, {}, events);
  navigation->isCommitted = true;
  events.push_back(DocumentCommitted{navigation->id, source_, !errorAddress.empty()});
}

void Navigations::MovedWithin(const Json& params, Events& events) {
  if (TextOf(params, "frameId") != mainFrameId_) return;
  source_ = TextOf(params, "url");
  if (rules_.fragmentRaisesStarting && TextOf(params, "navigationType") == "fragment") {
    events.push_back(NavigationWanted{++lastId_, source_, false, false, {}});
    events.push_back(NavigationDone{lastId_, true, WebError::kUnknown});
  }
  events.push_back(SourceMoved{source_});
}

void Navigations::Loaded(Events& events) {
  if (const Navigation* navigation = FindCommitted()) Finish(*navigation, events);
}

// No load event comes for a document that is replaced before it has loaded.
void Navigations::AbandonCommitted(Events& events) {
  Navigation* navigation = FindCommitted();
  if (!navigation) return;
  if (!navigation->failure) navigation->failure = WebError::kConnectionAborted;
  Finish(*navigation, events);
}

Navigations::Navigation* Navigations::FindCommitted() {
  const auto found = std::find_if(open_.begin(), open_.end(),
                                  [](const Navigation& each) { return each.isCommitted; });
  return found == open_.end() ? nullptr : &*found;
}

Navigations::Navigation& Navigations::Begin(std::string loaderId, std::string uri) {
  Navigation& navigation = open_.emplace_back();
  navigation.id = ++lastId_;
  navigation.loaderId = std::move(loaderId);
  navigation.uri = std::move(uri);
  return navigation;
}

Navigations::Navigation* Navigations::Find(std::string_view loaderId) {
  const auto found = std::find_if(open_.begin(), open_.end(), [&](const Navigation& each) {
    return each.loaderId == loaderId;
  });
  return found == open_.end() ? nullptr : &*found;
}

void Navigations::Announce(Navigation& navigation, std::string fetchId, Events& events) {
  const bool isRedirected = std::exchange(navigation.isAnnounced, true);
  events.push_back(NavigationWanted{navigation.id, navigation.uri,
                                    IsUserInitiated(navigation, isRedirected), isRedirected,
                                    std::move(fetchId)});
  for (PageEvent& end : std::exchange(delayedEnds_, {})) events.push_back(std::move(end));
}

bool Navigations::IsUserInitiated(const Navigation& navigation, bool isRedirected) const {
  if (isRedirected && !rules_.redirectKeepsGesture) return false;
  return navigation.hasGesture || (navigation.isByApi && rules_.apiIsUserInitiated);
}

void Navigations::Finish(const Navigation& navigation, Events& events) {
  const std::uint64_t id = navigation.id;
  const bool isSuccess = !navigation.failure;
  events.push_back(NavigationDone{id, isSuccess, navigation.failure.value_or(WebError::kUnknown)});
  std::erase_if(open_, [id](const Navigation& each) { return each.id == id; });
}

}  // namespace wendra
