// The interface that asks the user for the server if no other source names a usable one.
#pragma once

#include <string>

namespace wendra {

class ServerPrompt {
 public:
  virtual ~ServerPrompt() = default;

  // An address that has passed NormalizeServerInput, ParseHttpUrl and IsAllowedServerUrl; "" if the
  // user cancelled. Returns when the user has decided. UI thread only.
  virtual std::string Ask() = 0;
};

}  // namespace wendra
