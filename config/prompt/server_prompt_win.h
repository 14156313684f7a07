// Asks the user for the server in a window of its own, on the first run.
#pragma once

#include <string>

#include "config/server_prompt.h"

#include <windows.h>

namespace wendra {

// Ask shows the window in front, gives it the keyboard, and runs a message loop until the user has
// accepted an address or closed the window. Closing it in any way counts as cancelling. If the
// window cannot be created, Ask returns "" as well. UI thread only.
class WindowServerPrompt : public ServerPrompt {
 public:
  explicit WindowServerPrompt(HINSTANCE instance) : instance_(instance) {}
  std::string Ask() override;

 private:
  const HINSTANCE instance_;
};

}  // namespace wendra
