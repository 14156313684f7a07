#include "app/window_log_win.h"

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/test_window_win.h"
#include "win/messages.h"
#include "win/owned_message.h"

namespace wendra {
namespace {

// Catches debugger output: it arrives as an exception that holds a pointer to the text.
class DebuggerOutput {
 public:
  DebuggerOutput() : handler_(AddVectoredExceptionHandler(1, &DebuggerOutput::OnException)) {
    text.clear();
  }
  ~DebuggerOutput() { RemoveVectoredExceptionHandler(handler_); }
  DebuggerOutput(const DebuggerOutput&) = delete;
  DebuggerOutput& operator=(const DebuggerOutput&) = delete;

  static std::string text;

 private:
  static LONG CALLBACK OnException(EXCEPTION_POINTERS* pointers) {
    constexpr DWORD kDebuggerText = 0x40010006;  // DBG_PRINTEXCEPTION_C: length, ANSI text
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode != kDebuggerText) return EXCEPTION_CONTINUE_SEARCH;
    text += reinterpret_cast<const char*>(record.ExceptionInformation[1]);
    return EXCEPTION_CONTINUE_SEARCH;  // the function that raised it handles it
  }

  void* handler_;
};
std::string DebuggerOutput::text;

TEST(WindowLog, KeepsEveryLineWithCarriageReturnAndLineFeed) {
  WindowLog log;
  log.Line("[Server] one");
  log.Line("with\nline feeds");
  log.Line("");
  EXPECT_EQ(log.Text(), "[Server] one\r\nwith\nline feeds\r\n\r\n");
}

TEST(WindowLog, SendsEveryLineToTheDebuggerWithItsName) {
  const DebuggerOutput debugger;
  WindowLog log;
  log.Line("[Server] one");
  log.Line("two\nlines");
  EXPECT_EQ(DebuggerOutput::text, "[Wendra] [Server] one\n[Wendra] two\nlines\n");
}

TEST(WindowLog, SendsAThreadsLineOnlyToTheDebuggerBeforeThereIsAWindow) {
  const DebuggerOutput debugger;
  WindowLog log;
  std::thread([&] { log.LineFromAnyThread("early"); }).join();
  EXPECT_EQ(log.Text(), "");
  EXPECT_EQ(DebuggerOutput::text, "[Wendra] early\n");
}

TEST(WindowLog, PostsTheLinesOfEachThreadInTheirOrder) {
  WindowLog log;
  const TestWindow window([&](UINT message, WPARAM wparam, LPARAM lparam) {
    if (message != kLogLineMessage) return;
    EXPECT_EQ(wparam, 0u);
    log.Line(*TakeOwned<std::string>(lparam));
  });
  log.SetWindow(window.Handle());

  constexpr int kThreads = 4;
  constexpr int kLines = 200;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&log, t] {
      for (int i = 0; i < kLines; ++i) {
        log.LineFromAnyThread(std::to_string(t) + ":" + std::to_string(i));
      }
    });
  }
  for (auto& thread : threads) thread.join();
  log.LineFromAnyThread("last");  // posted on the UI thread too
  EXPECT_EQ(log.Text(), "");
  TestWindow::Pump();

  std::vector<int> next(kThreads, 0);
  size_t at = 0;
  for (int i = 0; i < kThreads * kLines; ++i) {
    const size_t end = log.Text().find("\r\n", at);
    const std::string line = log.Text().substr(at, end - at);
    const auto thread = static_cast<size_t>(line[0] - '0');
    EXPECT_EQ(line, std::to_string(thread) + ":" + std::to_string(next[thread]++));
    at = end + 2;
  }
  EXPECT_EQ(log.Text().substr(at), "last\r\n");
}

TEST(WindowLog, LosesAThreadsLineWhenTheWindowIsGone) {
  WindowLog log;
  {
    const TestWindow window;
    log.SetWindow(window.Handle());
  }
  log.LineFromAnyThread("lost");
  TestWindow::Pump();
  EXPECT_EQ(log.Text(), "");
}

}  // namespace
}  // namespace wendra
