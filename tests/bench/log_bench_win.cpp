// Measures how long a line of the log takes after 100 lines and after 100,000, with the panel
// hidden and shown. The window's messages are handled after each line, as in the message loop.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>

#include "app/log_panel_win.h"
#include "app/window_log_win.h"
#include "tests/support/test_window_win.h"
#include "win/wide.h"

namespace wendra {
namespace {

constexpr int kCounts[] = {100, 10'000, 100'000};
constexpr int kMeasuredLines = 1'000;  // at each count

std::string SomeLine(int number) {
  return "[JS->Native] action 'platform' (req r" + std::to_string(number) + ")";
}

std::string PanelText(HWND parent) {
  const HWND edit = GetDlgItem(parent, 2);
  std::wstring text(static_cast<size_t>(GetWindowTextLengthW(edit)) + 1, L'\0');
  text.resize(
      static_cast<size_t>(GetWindowTextW(edit, text.data(), static_cast<int>(text.size()))));
  return Narrow(text);
}

// Writes lines up to the last count and prints the microseconds per line after each count. False:
// at the end the panel does not hold the whole log.
bool RunCurve(bool isVisible, int lastCount) {
  const TestWindow window;
  ShowWindow(window.Handle(), SW_SHOW);
  WindowLog log;
  LogPanel panel(window.Handle(), GetModuleHandleW(nullptr), log.Text());
  log.SetPanel(&panel);
  panel.Move({0, 400, 800, 600});
  panel.SetVisible(isVisible);

  int written = 0;
  const auto write = [&](int lines) {
    for (int i = 0; i < lines; ++i) {
      log.Line(SomeLine(written++));
      TestWindow::Pump();
    }
  };
  for (const int count : kCounts) {
    if (count > lastCount) break;
    write(count - written);
    const auto start = std::chrono::steady_clock::now();
    write(kMeasuredLines);
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start;
    std::printf("%s panel, %7d lines: %10.1f us a line\n", isVisible ? "shown " : "hidden", count,
                time.count() / kMeasuredLines);
  }
  const bool isWhole = PanelText(window.Handle()) == log.Text();
  if (!isWhole) std::printf("the panel does not hold the log\n");
  return isWhole;
}

}  // namespace
}  // namespace wendra

int main(int argc, char** argv) {
  const bool isOnce = argc > 1 && std::strcmp(argv[1], "--once") == 0;
  const int lastCount = isOnce ? 100 : 100'000;
  const bool hidden = wendra::RunCurve(false, lastCount);
  const bool shown = wendra::RunCurve(true, lastCount);
  return hidden && shown ? 0 : 1;
}
