// Tests the stand-in for the update library through the exports of the DLL, as the program calls
// it.
#include <winsock2.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "json/json.h"
#include "tests/support/scratch_folder_win.h"

#include <windows.h>

namespace wendra {
namespace {

constexpr const char* kCallbacks[] = {
    "can_shutdown",     "shutdown_request", "did_find_update",  "did_not_find_update", "error",
    "update_postponed", "update_skipped",   "update_cancelled", "update_dismissed"};

// A socket to which the stand-in connects.
class Listener {
 public:
  Listener() {
    WSADATA facts{};
    EXPECT_EQ(WSAStartup(MAKEWORD(2, 2), &facts), 0);
    listening_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int bytes = sizeof(address);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(bind(listening_, generic, bytes), 0);
    EXPECT_EQ(listen(listening_, 1), 0);
    EXPECT_EQ(getsockname(listening_, generic, &bytes), 0);
    port_ = ntohs(address.sin_port);
  }

  std::wstring Port() const { return std::to_wstring(port_); }
  void Accept() { connected_ = accept(listening_, nullptr, nullptr); }

  // Sends the line and waits for the answer.
  std::string Ask(std::string line) {
    line += '\n';
    (void)send(connected_, line.data(), static_cast<int>(line.size()), 0);
    std::string answer;
    char c = 0;
    while (recv(connected_, &c, 1, 0) == 1 && c != '\n') answer += c;
    return answer;
  }

 private:
  SOCKET listening_ = INVALID_SOCKET;
  SOCKET connected_ = INVALID_SOCKET;
  unsigned short port_ = 0;
};

DWORD lastThread = 0;
int __cdecl Answer() {
  lastThread = GetCurrentThreadId();
  return 7;
}
void __cdecl Note() { lastThread = GetCurrentThreadId(); }

// There is only one test: the DLL reads its settings once and stays loaded until the process ends.
TEST(WinSparkleStandIn, RecordsCallsAndFiresCallbacks) {
  const ScratchFolder folder;
  const std::wstring calls = folder / L"calls";
  Listener listener;
  SetEnvironmentVariableW(L"WENDRA_DEV_WINSPARKLE_CALLS", calls.c_str());
  SetEnvironmentVariableW(L"WENDRA_DEV_WINSPARKLE_CONTROL", listener.Port().c_str());
  SetEnvironmentVariableW(L"WENDRA_DEV_WINSPARKLE_LAST_CHECK", L"5000000000");

  wchar_t self[MAX_PATH];
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  const auto dll = std::filesystem::path(self).parent_path().parent_path() / L"WinSparkle.dll";
  const HMODULE library = LoadLibraryW(dll.wstring().c_str());
  ASSERT_NE(library, nullptr) << GetLastError();
  const auto function = [&](const std::string& name) {
    const FARPROC found = GetProcAddress(library, ("win_sparkle_" + name).c_str());
    EXPECT_NE(found, nullptr) << name;
    return reinterpret_cast<void (*)()>(found);
  };
  const auto call = [&](const std::string& name, auto argument) {
    reinterpret_cast<void(__cdecl*)(decltype(argument))>(function(name))(argument);
  };
  const auto ask = [&](const std::string& name) {
    return reinterpret_cast<int(__cdecl*)()>(function(name))();
  };

  EXPECT_EQ(ask("get_automatic_check_for_updates"), 0);
  EXPECT_EQ(ask("get_update_check_interval"), 86400);
  call("set_appcast_url", "https://x.test/\"feed\"");
  call("set_automatic_check_for_updates", 1);
  call("set_update_check_interval", 60);  // too short: becomes the shortest interval, 3600
  for (const std::string name : kCallbacks) {
    if (name == "can_shutdown") {
      call("set_" + name + "_callback", &Answer);
    } else {
      call("set_" + name + "_callback", &Note);
    }
  }
  call("set_error_callback", static_cast<void(__cdecl*)()>(nullptr));
  EXPECT_EQ(ask("get_automatic_check_for_updates"), 1);
  EXPECT_EQ(ask("get_update_check_interval"), 3600);
  const auto lastCheck = function("get_last_check_time");
  EXPECT_EQ(reinterpret_cast<std::time_t(__cdecl*)()>(lastCheck)(), 5'000'000'000);
  function("init")();
  listener.Accept();
  for (const std::string name : kCallbacks) {
    lastThread = 0;
    const std::string answer = listener.Ask(name);
    if (name == "error") {
      EXPECT_EQ(answer, "{\"error\":\"no callback error\"}");
      EXPECT_EQ(lastThread, 0u);
      continue;
    }
    const std::string returned = name == "can_shutdown" ? "7" : "null";
    EXPECT_EQ(answer, "{\"fired\":\"" + name + "\",\"returned\":" + returned + "}");
    EXPECT_NE(lastThread, 0u);
    EXPECT_NE(lastThread, GetCurrentThreadId());
  }
  EXPECT_EQ(listener.Ask("unknown"), "{\"error\":\"no callback unknown\"}");
  function("check_update_with_ui")();
  function("cleanup")();

  std::ifstream file{std::filesystem::path(calls)};
  std::vector<std::string> names;
  const long long ourThread = GetCurrentThreadId();
  for (std::string line; std::getline(file, line);) {
    Json entry;
    ASSERT_TRUE(Parse(line, entry)) << line;
    const bool isCall = entry.Find("call") != nullptr;
    names.push_back(isCall ? entry.Find("call")->text : "fired " + entry.Find("fired")->text);
    EXPECT_EQ(entry.Find("thread")->number == static_cast<double>(ourThread), isCall) << line;
  }
  EXPECT_EQ(names.size(), 2u + 3u + 10u + 3u + 1u + 8u + 2u);
  EXPECT_EQ(names.front(), "win_sparkle_get_automatic_check_for_updates");
  EXPECT_EQ(names.back(), "win_sparkle_cleanup");
}

}  // namespace
}  // namespace wendra
