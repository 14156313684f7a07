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
#include "tests/support/queue_inbox.h"
#include "tests/support/run_child_win.h"
#include "tests/support/scratch_folder_win.h"
#include "tests/support/shared_log.h"
#include "win/child_process.h"
#include "win/wide.h"

namespace wendra {
namespace {

constexpr DWORD kPatienceMs = 20'000;  // before a wait counts as failed

// The programs that tests start lie one folder above the tests.
std::string ProgramOfTests(const wchar_t* name) {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  const auto folder = std::filesystem::path(self).parent_path().parent_path();
  return Narrow((folder / name).wstring());
}

std::string TestChild() { return ProgramOfTests(L"test_child.exe"); }

constexpr size_t kHeldUpAt = 63;  // lines of 79 bytes: 256 KiB, each with 4 KiB for itself

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

  // Takes what comes until `isDone`.
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

  // Until a process holds the event of that name, or none does any more. Nothing tells that an
  // event has gone: look again and again. False when it does not come to that.
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
  bool handlesAtOnce_ = true;  // as the program does when it has nothing else to do
  bool refuses_ = false;       // each line
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
      {"blank lines vanish", "0a0a780a", {"x"}},
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

// What nobody waits for any more when the child reads at last is not sent; notifications are.
TEST_F(StdioServer, DropsRequestsThatAreOverdue) {
  constexpr DWORD kShortMs = 50;
  Start({"await", "wendra-stdio-reads", "echo"});
  const std::string large(900'000, 'x');  // more than a pipe holds: what follows it waits
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
  // A child of its own that is read to its end meanwhile: nothing has come from the first one.
  const ChildRun other = RunToEnd({.commandLine = L"\"" + Widen(TestChild()) + L"\" out 100000"});
  EXPECT_EQ(other.output.size(), 100'000u);
  TakeAll();
  const size_t before = received_.size();
  EXPECT_LE(before, kHeldUpAt + 4'096 / 80);  // what fits into the pipe of its input is taken
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
  // The grandchild keeps the streams and its event until it is ended.
  Start({"hold", "wendra-stdio-grandchild", "out", "1", "await", "wendra-stdio-never"});
  ASSERT_TRUE(WaitForEvent("wendra-stdio-grandchild", true));
  Stop();
  WaitForEnd();
  EXPECT_TRUE(WaitForEvent("wendra-stdio-grandchild", false));
}

TEST_F(StdioServer, EndsAllProcessesWhenTheHostIsKilled) {
  // The server waits for what never comes, and so does what it has started.
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

// The system looks for a cmd.exe without a folder in the current one before its own.
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
