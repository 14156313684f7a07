// Decides which navigations stay in the window, and which addresses may be opened outside it. Pure;
// addresses are UTF-8.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace wendra {

// The text between "://" and the next '/', '?', '#' or ':', in lower case (A to Z only); "" if the
// address has no "://". Deliberate: keeps the user part, and gives "[" for an IPv6 host.
std::string HostOfAddress(std::string_view address);

// Whether a navigation that the user has started, to `target`, stays in the window that shows
// `server`: it does if the hosts are equal or `target` has no host. Deliberate: scheme and port are
// not compared.
bool StaysInside(std::string_view target, std::string_view server);

// Whether the address begins with "http:", "https:" or "mailto:", in any letter case. A page that
// is not trusted can have no other address opened.
bool IsWebOrMailAddress(std::string_view address);

// What the control tells about a navigation that starts.
struct NavigationStart {
  std::string target;
  bool isUserInitiated = false;  // the control also says so of navigations that the host starts
  bool isRedirected = false;     // the server has redirected a navigation that started before
};

// The verdict on each navigation of the window. Deliberate: only navigations that the user has
// started are checked, so that redirects, the page's own scripts and the host's own navigations may
// leave the server.
class NavigationRule {
 public:
  // `server` is the address that the window shows, `namedServer` the same as the control writes it.
  NavigationRule(std::string server, std::string namedServer)
      : server_(std::move(server)), namedServer_(std::move(namedServer)) {}

  // The host loads `target` itself: the next navigation to it is not checked.
  void ExpectOwnNavigation(std::string target) { ownTarget_ = std::move(target); }

  // True: the navigation must be cancelled, and its target opened in the default browser.
  bool MustStayOutside(const NavigationStart& navigation);

  // A new document is there: whatever the host has started is over.
  void DocumentCommitted() { ownTarget_.reset(); }

 private:
  const std::string server_;
  const std::string namedServer_;
  std::optional<std::string> ownTarget_;  // of a navigation that has not started yet
};

}  // namespace wendra
