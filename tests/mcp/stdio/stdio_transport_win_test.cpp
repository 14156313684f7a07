#include "mcp/stdio/stdio_transport.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "mcp/stdio/server_process_win.h"
#include "tests/support/patience.h"
#include "tests/support/queue_inbox.h"
#include "tests/support/run_child_win.h"
#include "tests/support/scratch_folder_win.h"
#include "tests/support/shared_log.h"
#include "win/child_process.h"
#include "win/wide.h"

namespace wendra {
namespace {

// The programs that tests start are one folder above the tests.
std::string ProgramOfTests(const wchar_t* name) {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  const auto folder = std::filesystem::path(self).parent_path().parent_path();
  return Narrow((folder / name).wstring());
}

std::string TestChild() { return ProgramOfTests(L"test_child.exe"); }

// The reader waits after so many lines of 79 bytes: 256 KiB, and each line counts 4 KiB more.
constexpr size_t kHeldUpAt = 63;

// One server and the inbox that its messages go to.
class StdioServer : public testing::Test {
 protected:
  StdioServer() {
    settings_.name = "test";
    settings_.command = TestChild();
  }
  ~StdioServer() override { Stop(); }

  void Start(std::vector<std::string> args) {
    settings_.args = std::move(args);
    flow_->Open(id_);
    auto child = StartStdioServer(settings_, log_);
    if (!child) return;
    transport_ =
        std::make_unique<StdioTransport>(id_, settings_.name, std::move(*child), flow_, log_);
  }
  void Stop() {
    flow_->Close(id_);
    if (transport_) (void)transport_->Stop();
  }
  void Handle(size_t bytes) { flow_->OnHandled(id_, bytes); }

  // Takes deliveries until `isDone()`.
  void WaitUntil(const std::function<bool()>& isDone) {
    const ULONGLONG end = GetTickCount64() + kPatienceMs;
    while (!isDone()) {
      ASSERT_LT(GetTickCount64(), end) << "it did not come to that";
      TakeOne(100);
    }
  }
  void TakeAll() {
    while (TakeOne(0)) continue;
  }

  // Waits until a process holds the event of that name (`isHeld`), or until no process does.
  // Windows does not signal that an event is gone, so this looks again and again. False: it did not
  // happen in time.
  static bool WaitForEvent(const std::string& name, bool isHeld) {
    const std::wstring wideName = Widen(name);
    const ULONGLONG end = GetTickCount64() + kPatienceMs;
    const auto exists = [&] {
      return static_cast<bool>(KernelHandle(OpenEventW(SYNCHRONIZE, FALSE, wideName.c_str())));
    };
    while (exists() != isHeld) {
      if (GetTickCount64() >= end) return false;
      Sleep(1);
    }
    return true;
  }
  void WaitForEnd() {
    WaitUntil([this] { return closed_ > 0; });
  }

  ServerSettings settings_;
  SharedLog log_;
  const std::shared_ptr<QueueInbox> inbox_ = std::make_shared<QueueInbox>();
  const std::shared_ptr<FlowControl> flow_ = std::make_shared<FlowControl>(inbox_);
  const ServerId id_{1};
  std::unique_ptr<Transport> transport_;
  std::vector<std::string> received_;
  bool handlesAtOnce_ = true;  // as the program does when it is not busy
  bool refuses_ = false;       // every line gets a refusal
  int closed_ = 0;

 private:
  bool TakeOne(std::uint32_t maxMs) {
    auto message = inbox_->Take(maxMs);
    if (!message) return false;
    EXPECT_EQ(message->server, id_);
    if (std::holds_alternative<OutputClosed>(message->content)) ++closed_;
    if (auto* text = std::get_if<std::string>(&message->content)) {
      received_.push_back(std::move(*text));
      if (refuses_) transport_->Refuse(std::string(79, 'r'));
      if (handlesAtOnce_) Handle(received_.back().size());
    }
    return true;
  }
};

using Lines = std::vector<std::string>;

TEST_F(StdioServer, SendsEachLineAndThenTheEnd) {
  const struct {
    const char* why;
    const char* hex;
    Lines want;
  } cases[] = {
      {"two in one write", "610a620a", {"a", "b"}},
      {"empty lines vanish", "0a0a780a", {"x"}},
      {"a carriage return is kept", "780d0a", {"x\r"}},
      {"last line without line feed", "780a79", {"x", "y"}},
      {"nothing", "", {}},
  };
  for (const auto& c : cases) {
    received_.clear();
    closed_ = 0;
    Start({"bytes", c.hex});
    WaitForEnd();
    EXPECT_EQ(received_, c.want) << c.why;
    EXPECT_EQ(closed_, 1) << c.why;
    Stop();
    transport_.reset();
  }
}

TEST_F(StdioServer, LogsThatItHasStarted) {
  Start({"exit", "0"});
  EXPECT_TRUE(transport_);
  EXPECT_EQ(log_.WaitForLines(1), Lines{"[MCP test] started " + TestChild()});
  WaitForEnd();
}

TEST_F(StdioServer, WritesOneLinePerMessageInOrder) {
  Start({"echo"});
  (void)transport_->Send({.text = "{\"a\":1}", .requestId = "1", .timeoutMs = 0});
  EXPECT_TRUE(transport_->Send({.text = std::string(900'000, 'x'), .reportsStatus = true}));
  (void)transport_->Send({.text = "last", .requestId = "", .timeoutMs = 0});
  WaitUntil([this] { return received_.size() == 3; });
  EXPECT_EQ(received_, (Lines{"{\"a\":1}", std::string(900'000, 'x'), "last"}));
}

// The child reads late: an overdue request is not sent, an overdue notification is.
TEST_F(StdioServer, DropsRequestsThatAreOverdue) {
  constexpr DWORD kShortMs = 50;
  Start({"await", "wendra-stdio-reads", "echo"});
  const std::string large(900'000, 'x');  // more than the pipe holds: later messages wait
  (void)transport_->Send({.text = large, .requestId = "1", .timeoutMs = 120'000});
  (void)transport_->Send({.text = "overdue", .requestId = "2", .timeoutMs = kShortMs});
  (void)transport_->Send({.text = "notification", .requestId = "", .timeoutMs = kShortMs});
  (void)transport_->Send({.text = "in time", .requestId = "3", .timeoutMs = 120'000});
  const ULONGLONG end = GetTickCount64() + 2 * kShortMs;
  while (GetTickCount64() < end) SwitchToThread();
  const KernelHandle reads(CreateEventW(nullptr, TRUE, FALSE, L"wendra-stdio-reads"));
  SetEvent(reads.Get());
  WaitUntil([this] { return received_.size() == 3; });
  EXPECT_EQ(received_, (Lines{large, "notification", "in time"}));
}

TEST_F(StdioServer, StopsReadingWhileTheServerTakesNoRefusals) {
  constexpr size_t kLines = 500;
  refuses_ = true;
  Start({"out", std::to_string(80 * kLines), "await", "wendra-stdio-refusals", "read"});
  WaitUntil([this] { return received_.size() >= kHeldUpAt; });
  // Reads another child to its end, which gives the first child time to send more.
  const ChildRun other = RunToEnd({.commandLine = L"\"" + Widen(TestChild()) + L"\" out 100000"});
  EXPECT_EQ(other.output.size(), 100'000u);
  TakeAll();
  const size_t before = received_.size();
  EXPECT_LE(before, kHeldUpAt + 4'096 / 80);  // the pipe takes 4,096 bytes of refusals
  const KernelHandle reads(CreateEventW(nullptr, TRUE, FALSE, L"wendra-stdio-refusals"));
  SetEvent(reads.Get());
  WaitUntil([this] { return received_.size() >= kLines; });
}

TEST_F(StdioServer, DropsALineOfMoreThanAMebibyte) {
  constexpr size_t kMebibyte = 1'048'576;
  Start({"echo"});
  (void)transport_->Send({.text = std::string(kMebibyte, 'a'), .requestId = "", .timeoutMs = 0});
  (void)transport_->Send(
      {.text = std::string(kMebibyte + 1, 'b'), .requestId = "", .timeoutMs = 0});
  (void)transport_->Send({.text = "after", .requestId = "", .timeoutMs = 0});
  WaitUntil([this] { return !received_.empty() && received_.back() == "after"; });
  ASSERT_EQ(received_.size(), 2u);
  EXPECT_TRUE(received_[0] == std::string(kMebibyte, 'a'));
}

TEST_F(StdioServer, StopsReadingFromAChildThatIsTooFast) {
  constexpr size_t kLines = 10'000;
  handlesAtOnce_ = false;
  Start({"out", std::to_string(80 * kLines)});
  size_t handled = 0;
  while (received_.size() < kLines) {
    WaitUntil([&] { return received_.size() > handled; });
    ASSERT_FALSE(HasFatalFailure());
    EXPECT_LE(received_.size() - handled, kHeldUpAt);
    for (; handled < received_.size(); ++handled) Handle(received_[handled].size());
  }
  WaitForEnd();
  EXPECT_EQ(received_, Lines(kLines, std::string(79, 'x')));
}

TEST_F(StdioServer, StopsWhileTheReaderWaitsForRoom) {
  handlesAtOnce_ = false;
  Start({"out", "1000000", "await", "wendra-stdio-never"});
  WaitUntil([this] { return received_.size() >= kHeldUpAt; });
  Stop();
  WaitForEnd();
}

TEST_F(StdioServer, DoesNotWaitForAChildThatDoesNotRead) {
  Start({"await", "wendra-stdio-never"});
  for (int i = 0; i < 8; ++i)
    (void)transport_->Send({.text = std::string(1 << 20, 'x'), .requestId = "", .timeoutMs = 0});
  Stop();
  WaitForEnd();
  EXPECT_EQ(received_, Lines());
}

TEST_F(StdioServer, EndsTheChildAndTheProcessesThatItHasStarted) {
  // The grandchild holds the streams and its event until it ends.
  Start({"hold", "wendra-stdio-grandchild", "out", "1", "await", "wendra-stdio-never"});
  ASSERT_TRUE(WaitForEvent("wendra-stdio-grandchild", true));
  Stop();
  WaitForEnd();
  EXPECT_TRUE(WaitForEvent("wendra-stdio-grandchild", false));
}

TEST_F(StdioServer, EndsAllProcessesWhenTheHostIsKilled) {
  // The server waits for an event that never comes, and so does its child.
  const std::wstring server = L"\"" + Widen(TestChild()) + L"\" hold wendra-stdio-killed ";
  Child host = StartChild({.commandLine = L"\"" + Widen(ProgramOfTests(L"mcp_host.exe")) + L"\" " +
                                          server + L"await wendra-stdio-never"});
  ASSERT_EQ(host.start, ChildStart::kStarted);
  ASSERT_TRUE(WaitForEvent("wendra-stdio-killed", true));
  ASSERT_TRUE(TerminateProcess(host.process.Get(), 1));
  EXPECT_TRUE(WaitForEvent("wendra-stdio-killed", false));
}

TEST_F(StdioServer, LogsItsStandardErrorAtTheEnd) {
  Start({"err", "3", "out", "2", "err", "3"});
  EXPECT_EQ(log_.WaitForLines(2).back(), "[MCP test] stderr: xxxxxx");
  WaitForEnd();
}

TEST_F(StdioServer, GivesTheChildItsEnvironmentAndTheProfileFolder) {
  settings_.env = {{"wendra_test", "grün"}};
  Start({"env", "WENDRA_TEST"});
  WaitForEnd();
  wchar_t profile[MAX_PATH];
  GetEnvironmentVariableW(L"USERPROFILE", profile, MAX_PATH);
  EXPECT_EQ(received_, (Lines{"grün", Narrow(profile)}));
}

TEST_F(StdioServer, RunsABatchFile) {
  ScratchFolder folder;
  const std::wstring batch = folder / L"mit Leer\\server.cmd";
  std::filesystem::create_directories(folder / L"mit Leer");
  FileHandle file(CreateFileW(batch.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
  ASSERT_TRUE(static_cast<bool>(file));
  const std::string text = "@\"" + TestChild() + "\" args %*\r\n";
  DWORD written = 0;
  WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  file.Reset();
  settings_.command = Narrow(batch);
  Start({"two words", "a&b"});
  WaitForEnd();
  EXPECT_EQ(received_, (Lines{"two words", "a&b"}));
}

// Windows looks for a program without a folder in the current folder before the system folder.
TEST_F(StdioServer, RunsABatchFileOnlyInTheShellOfTheSystem) {
  ScratchFolder folder;
  std::filesystem::copy_file(Widen(TestChild()), folder / L"cmd.exe");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder / L"");
  std::ofstream(std::filesystem::path(folder / L"server.cmd")) << "@echo from the batch file\r\n";
  settings_.command = Narrow(folder / L"server.cmd");
  Start({});
  std::filesystem::current_path(before);
  WaitForEnd();
  EXPECT_EQ(received_, Lines{"from the batch file\r"});
}

TEST_F(StdioServer, LogsTheCommandThatCouldNotBeStarted) {
  ScratchFolder folder;
  settings_.command = Narrow(folder / L"none.exe");
  Start({"a b"});
  EXPECT_FALSE(transport_);
  EXPECT_EQ(log_.WaitForLines(1),
            Lines{"[MCP test] launch failed: " + settings_.command + " \"a b\""});
}

}  // namespace
}  // namespace wendra
