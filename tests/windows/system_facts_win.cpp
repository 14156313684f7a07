// What Windows itself does.
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "tests/devruntime/test_control_win.h"
#include "tests/support/http_test_server_win.h"
#include "tests/windows/facts_win.h"
#include "win/unique.h"
#include "win/wide.h"
#include "win/winhttp_handle.h"

#include <windows.h>

namespace wendra {
namespace {

constexpr DWORD kPatienceMs = 10'000;

std::string Milliseconds(std::int64_t microseconds) {
  const std::string digits = std::to_string(microseconds / 100);
  const std::string tenth = digits.substr(digits.size() - 1);
  const std::string whole = digits.size() > 1 ? digits.substr(0, digits.size() - 1) : "0";
  return whole + "." + tenth + " ms";
}

struct Connection {
  HttpHandle session{WinHttpOpen(L"facts", WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, 0)};
  HttpHandle server;

  explicit Connection(const std::string& url) {
    const size_t colon = url.rfind(':');
    const int port = std::atoi(url.c_str() + colon + 1);
    server.Reset(WinHttpConnect(session.Get(), L"127.0.0.1", static_cast<INTERNET_PORT>(port), 0));
  }

  // A POST with a small body; false if it failed.
  bool Post() {
    const HttpHandle request(
        WinHttpOpenRequest(server.Get(), L"POST", L"/mcp", nullptr, nullptr, nullptr, 0));
    char body[] = "{}";
    char answer[64];
    DWORD read = 0;
    return WinHttpSendRequest(request.Get(), nullptr, 0, body, 2, 2, 0) &&
           WinHttpReceiveResponse(request.Get(), nullptr) &&
           WinHttpReadData(request.Get(), answer, sizeof(answer), &read);
  }
};

HttpTestServer::Handler SmallAnswer() {
  return [](const HttpTestRequest&, HttpTestConnection& connection) {
    (void)connection.Answer("200 OK", "", "{}");
  };
}

TEST(SystemFacts, TimeOfASmallPost) {
  HttpTestServer server(SmallAnswer());
  Connection connection(server.Url());
  ASSERT_TRUE(connection.Post());
  std::vector<std::int64_t> times(21);
  for (std::int64_t& time : times) {
    const std::int64_t startedUs = Microseconds();
    ASSERT_TRUE(connection.Post());
    time = Microseconds() - startedUs;
  }
  std::nth_element(times.begin(), times.begin() + 10, times.end());
  RecordAnswer("median " + Milliseconds(times[10]));
}

// How many handles of this process a child would inherit.
int InheritableHandles() {
  int count = 0;
  // Handles are multiples of four; a process of the tests has far fewer than this.
  for (std::uintptr_t value = 4; value < 0x4000; value += 4) {
    DWORD flags = 0;
    const auto handle = reinterpret_cast<HANDLE>(value);
    if (GetHandleInformation(handle, &flags) && (flags & HANDLE_FLAG_INHERIT)) ++count;
  }
  return count;
}

TEST(SystemFacts, SocketsOfWinHttpAreInheritable) {
  int during = 0;
  const int before = InheritableHandles();
  HttpTestServer server([&](const HttpTestRequest&, HttpTestConnection& connection) {
    during = InheritableHandles();
    (void)connection.Answer("200 OK", "", "{}");
  });
  const int withServer = InheritableHandles();
  Connection connection(server.Url());
  ASSERT_TRUE(connection.Post());
  RecordAnswer("inheritable handles: " + std::to_string(before) + " before, " +
               std::to_string(withServer) + " with a listening server, " + std::to_string(during) +
               " during a request (server's and client's sockets)");
}

// Blocks a thread in ReadFile on a pipe, then calls `cancel` with the pipe and the thread. Gives
// the time until the read has ended; -1 if it did not end.
template <typename Cancel>
std::int64_t TimeToCancelRead(Cancel cancel) {
  KernelHandle reading;
  KernelHandle writing;
  EXPECT_TRUE(CreatePipe(reading.Receive(), writing.Receive(), nullptr, 0));
  const KernelHandle begun(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const KernelHandle ended(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  std::atomic<DWORD> id = 0;
  std::thread reader([&] {
    id = GetCurrentThreadId();
    SetEvent(begun.Get());
    char received = 0;
    DWORD read = 0;
    (void)ReadFile(reading.Get(), &received, 1, &read, nullptr);
    SetEvent(ended.Get());
  });
  WaitForSingleObject(begun.Get(), INFINITE);
  const KernelHandle thread(OpenThread(THREAD_TERMINATE, FALSE, id));
  // The thread may not be in ReadFile yet: cancel again until the read has ended.
  const std::int64_t startedUs = Microseconds();
  bool hasEnded = false;
  for (DWORD waitedMs = 0; !hasEnded && waitedMs < kPatienceMs / 4; waitedMs += 10) {
    cancel(reading.Get(), thread.Get());
    hasEnded = WaitForSingleObject(ended.Get(), 10) == WAIT_OBJECT_0;
  }
  const std::int64_t tookUs = Microseconds() - startedUs;
  writing.Reset();  // ends a read that was not cancelled
  reader.join();
  return hasEnded ? tookUs : -1;
}

std::string CancelText(std::int64_t tookUs) {
  return tookUs < 0 ? "does not end the read" : "ends it after " + Milliseconds(tookUs);
}

TEST(SystemFacts, CancelIoExOfABlockedRead) {
  const auto cancel = [](HANDLE pipe, HANDLE) { (void)CancelIoEx(pipe, nullptr); };
  RecordAnswer(CancelText(TimeToCancelRead(cancel)));
}

TEST(SystemFacts, CancelSynchronousIoOfABlockedRead) {
  const auto cancel = [](HANDLE, HANDLE thread) { (void)CancelSynchronousIo(thread); };
  RecordAnswer(CancelText(TimeToCancelRead(cancel)));
}

// A quit message that is posted while the user moves the window.
TEST(SystemFacts, QuitMessageWhileMoving) {
  const HWND window = MakeTestWindow();
  SetTimer(window, 1, 200, [](HWND owner, UINT, UINT_PTR timer, DWORD) {
    KillTimer(owner, timer);
    PostQuitMessage(7);
  });
  // Escape ends the loop if the quit message does not.
  SetTimer(window, 2, 1'500, [](HWND owner, UINT, UINT_PTR timer, DWORD) {
    KillTimer(owner, timer);
    PostMessageW(owner, WM_KEYDOWN, VK_ESCAPE, 0);
    ReleaseCapture();
  });
  const std::int64_t startedUs = Microseconds();
  SendMessageW(window, WM_SYSCOMMAND, SC_MOVE | HTCAPTION, MAKELPARAM(50, 10));
  const std::int64_t tookUs = Microseconds() - startedUs;
  MSG message{};
  bool hasQuit = false;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) hasQuit |= message.message == WM_QUIT;
  DestroyWindow(window);
  PumpPending();
  RecordAnswer("the loop ended after " + Milliseconds(tookUs) + "; the quit message was " +
               (hasQuit ? "still there" : "gone"));
}

TEST(SystemFacts, JobInsideAJob) {
  const KernelHandle outer(CreateJobObjectW(nullptr, nullptr));
  const KernelHandle inner(CreateJobObjectW(nullptr, nullptr));
  wchar_t command[] = L"cmd.exe /c exit 0";
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION made{};
  ASSERT_TRUE(CreateProcessW(nullptr, command, nullptr, nullptr, FALSE,
                             CREATE_SUSPENDED | CREATE_NO_WINDOW, nullptr, nullptr, &startup,
                             &made));
  const KernelHandle process(made.hProcess);
  const KernelHandle thread(made.hThread);
  const bool isInOuter = AssignProcessToJobObject(outer.Get(), process.Get());
  const bool isInInner = AssignProcessToJobObject(inner.Get(), process.Get());
  const DWORD reason = isInInner ? 0 : GetLastError();
  TerminateProcess(process.Get(), 0);
  RecordAnswer(
      std::string(isInOuter ? "first job: taken" : "first job: refused") +
      (isInInner ? ", second job: taken" : ", second job: refused with " + std::to_string(reason)));
}

// The first drive that has no medium; 0 if there is none.
wchar_t EmptyDrive() {
  SetThreadErrorMode(SEM_FAILCRITICALERRORS, nullptr);
  wchar_t found = 0;
  for (wchar_t letter = L'A'; letter <= L'Z' && !found; ++letter) {
    const std::wstring root = std::wstring(1, letter) + L":\\";
    const UINT type = GetDriveTypeW(root.c_str());
    const bool isRemovable = type == DRIVE_REMOVABLE || type == DRIVE_CDROM;
    if (isRemovable &&
        !GetVolumeInformationW(root.c_str(), nullptr, 0, nullptr, nullptr, nullptr, nullptr, 0)) {
      found = letter;
    }
  }
  SetThreadErrorMode(0, nullptr);
  return found;
}

// A box would be modal: without an answer from a person the search does not come back.
TEST(SystemFacts, SearchOnADriveWithoutAMedium) {
  const wchar_t drive = EmptyDrive();
  if (!drive) GTEST_SKIP() << "this machine has no drive without a medium";
  const std::wstring folder = std::wstring(1, drive) + L":\\folder";
  const KernelHandle ended(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  std::thread([folder, done = ended.Get()] {
    wchar_t path[MAX_PATH];
    (void)SearchPathW(folder.c_str(), L"none.exe", nullptr, MAX_PATH, path, nullptr);
    SetEvent(done);
  }).detach();
  const bool isBack = WaitForSingleObject(ended.Get(), kPatienceMs / 2) == WAIT_OBJECT_0;
  RecordAnswer(isBack ? "no box" : "a box, or a search of more than 5 s");
}

BOOL CALLBACK AddMonitor(HMONITOR, HDC, LPRECT place, LPARAM list) {
  reinterpret_cast<std::vector<RECT>*>(list)->push_back(*place);
  return TRUE;
}

TEST(SystemFacts, DpiOnEachMonitor) {
  SetThreadDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
  std::vector<RECT> monitors;
  EnumDisplayMonitors(nullptr, nullptr, &AddMonitor, reinterpret_cast<LPARAM>(&monitors));
  const HWND window = MakeTestWindow();
  std::string answer;
  for (const RECT& monitor : monitors) {
    SetWindowPos(window, nullptr, monitor.left + 10, monitor.top + 10, 300, 200, SWP_NOZORDER);
    PumpPending();
    answer += (answer.empty() ? "" : ", ") + std::to_string(GetDpiForWindow(window));
  }
  DestroyWindow(window);
  PumpPending();
  RecordAnswer(std::to_string(monitors.size()) + " monitor(s): " + answer);
}

}  // namespace
}  // namespace wendra
