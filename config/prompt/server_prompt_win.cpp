#include "config/prompt/server_prompt_win.h"

#include "config/prompt/window_win.h"

namespace wendra {

std::string WindowServerPrompt::Ask() {
  PromptWindow prompt(instance_);
  if (!prompt.Handle()) return {};
  prompt.Show();
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    // Turns keys into actions: Tab moves the focus, Enter sends IDOK, Escape sends IDCANCEL.
    if (IsDialogMessageW(prompt.Handle(), &message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return prompt.Result();
}

}  // namespace wendra
