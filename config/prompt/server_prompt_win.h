// The window that asks for the server on first run.
#pragma once

#include "config/server_prompt.h"

#include <windows.h>

namespace wendra {

// UI thread only. Shows a window of its own, in front and with the keyboard, and runs a message
// loop until the user has accepted an address or cancelled, by whatever means.
class WindowServerPrompt : public ServerPrompt {
 public:
  explicit WindowServerPrompt(HINSTANCE instance) : instance_(instance) {}
  std::string Ask() override;

 private:
  const HINSTANCE instance_;
};

}  // namespace wendra
