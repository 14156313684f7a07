#include "mcp/stdio/stdio_transport_win.h"

#include <string>
#include <utility>

#include "mcp/stdio/error_text.h"
#include "mcp/stdio/line_splitter.h"
#include "win/messages.h"
#include "win/owned_message.h"
#include "win/thread.h"

namespace wendra {
namespace {

constexpr size_t kOutputReadBytes = 4096;
// After a read that was filled, since more is waiting then: what a read costs hardly grows with its
// size, and a long answer in short reads arrived at half the speed.
constexpr size_t kLongOutputReadBytes = 65'536;
constexpr size_t kErrorReadBytes = 2048;
constexpr size_t kMaxUnfinishedLineBytes = 1'048'576;  // a longer message is lost, not buffered

}  // namespace

struct StdioTransport::OutputJob {
  std::shared_ptr<PipeEnd> end;
  std::shared_ptr<Backlog> backlog;
  std::shared_ptr<Backlog::Share> share;
  WPARAM server;  // only named in messages, never looked into
  HWND window;
};

struct StdioTransport::ErrorJob {
  std::shared_ptr<PipeEnd> end;
  std::string server;
  Log& log;
};

StdioTransport::StdioTransport(const McpServer& server, ServerProcess process, HWND window,
                               std::shared_ptr<Backlog> backlog, Log& log)
    : job_(std::move(process.job)),
      process_(std::move(process.process)),
      writer_(std::move(process.input)),
      output_(std::make_shared<PipeEnd>()),
      error_(std::make_shared<PipeEnd>()),
      backlog_(std::move(backlog)) {
  output_->pipe = std::move(process.output);
  error_->pipe = std::move(process.error);
  auto outputJob = std::unique_ptr<OutputJob>(
      new OutputJob{output_, backlog_, share_, reinterpret_cast<WPARAM>(&server), window});
  auto errorJob = std::unique_ptr<ErrorJob>(new ErrorJob{error_, server.name, log});
  // Without a thread the server does not answer, and each request says so after its time.
  (void)StartThread<ReadOutput>(outputJob);
  // Nobody would empty the pipe, and a server that writes more than it holds would stand still: a
  // broken pipe does not stop it.
  if (!StartThread<ReadError>(errorJob)) error_.reset();
}

void StdioTransport::Send(OutgoingMessage message) {
  message.text += '\n';
  // Nobody waits for the answer any more when a request is overdue; a notification stays useful.
  const std::uint32_t limitMs = message.requestId.empty() ? 0 : message.timeoutMs;
  writer_.Write({.bytes = std::move(message.text), .limitMs = limitMs});
  if (message.onSent) message.onSent(0);  // the queue keeps the order
}

void StdioTransport::Refuse(std::string text) {
  text += '\n';
  Backlog::Refusal count = backlog_->AddRefusal(text.size(), share_);
  writer_.Write({.bytes = std::move(text), .count = std::move(count)});
}

void StdioTransport::OnMessageHandled(size_t bytes) { backlog_->Remove(bytes, *share_); }

void StdioTransport::Stop() {
  writer_.Stop();
  if (process_) {
    (void)TerminateProcess(process_.Get(), 0);
    process_.Reset();
  }
  StopReading(output_);
  StopReading(error_);
  backlog_->Stop(*share_);
  job_.Reset();
}

// A thread that is just about to read finds the pipe broken: whoever held its other end is gone.
void StdioTransport::StopReading(std::shared_ptr<PipeEnd>& end) {
  if (!end) return;
  end->isStopped = true;
  (void)CancelIoEx(end->pipe.Get(), nullptr);
  end.reset();
}

// 0 at the end of the stream and after a stop.
size_t StdioTransport::ReadSome(PipeEnd& end, char* buffer, size_t bytes) {
  DWORD got = 0;
  if (end.isStopped) return 0;
  if (!ReadFile(end.pipe.Get(), buffer, static_cast<DWORD>(bytes), &got, nullptr)) return 0;
  return got;
}

void StdioTransport::ReadOutput(std::unique_ptr<OutputJob> job) {
  const auto post = [&](std::string line) {
    job->backlog->Deliver(job->window, job->server, std::move(line), *job->share);
  };
  LineSplitter splitter(kMaxUnfinishedLineBytes);
  char buffer[kLongOutputReadBytes];
  size_t room = kOutputReadBytes;
  while (const size_t bytes = ReadSome(*job->end, buffer, room)) {
    for (std::string& line : splitter.Feed({buffer, bytes})) post(std::move(line));
    room = bytes < room ? kOutputReadBytes : kLongOutputReadBytes;
  }
  if (std::string rest = splitter.Finish(); !rest.empty()) post(std::move(rest));
  (void)Deliver(job->window, kMcpClosedMessage, job->server);
}

void StdioTransport::ReadError(std::unique_ptr<ErrorJob> job) {
  ErrorText collected;
  char buffer[kErrorReadBytes];
  while (const size_t bytes = ReadSome(*job->end, buffer, sizeof(buffer))) {
    collected.Add({buffer, bytes});
  }
  const std::string text = collected.Take();
  if (text.empty()) return;
  job->log.LineFromAnyThread("[MCP " + job->server + "] stderr: " + text);
}

void StartStdioServer(McpServer& server, HWND window, std::shared_ptr<Backlog> backlog, Log& log) {
  auto process = StartServerProcess(server, log);
  if (!process) return;
  const bool isInJob = process->isInJob;
  server.transport = std::make_unique<StdioTransport>(server, std::move(*process), window,
                                                      std::move(backlog), log);
  server.running = true;
  const std::string tag = "[MCP " + server.name + "] ";
  log.Line(tag + "started " + server.command);
  if (!isInJob) {
    log.Line(tag + "could not be tied to Wendra: its processes may outlive it");
  }
}

}  // namespace wendra
