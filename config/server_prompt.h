// Asking the user for the server, when no other source names one.
#pragma once

#include <string>

namespace wendra {

class ServerPrompt {
 public:
  virtual ~ServerPrompt() = default;

  // An address that has passed NormalizeServerInput, ParseHttpUrl and IsAllowedServerUrl, or ""
  // when the user cancelled. UI thread; returns when the user has decided.
  virtual std::string Ask() = 0;
};

}  // namespace wendra
