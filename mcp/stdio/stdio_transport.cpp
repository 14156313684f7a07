#include "mcp/stdio/stdio_transport.h"

#include <array>
#include <cstdint>
#include <utility>

#include "base/thread.h"
#include "mcp/stdio/error_text.h"
#include "mcp/stdio/line_splitter.h"

namespace wendra {
namespace {

constexpr std::size_t kOutputReadBytes = 4096;
// After a read that filled its room more bytes wait, and the next read takes up to this many. With
// short reads alone a long response arrives at half the speed.
constexpr std::size_t kLongOutputReadBytes = 65'536;
constexpr std::size_t kErrorReadBytes = 2048;
constexpr std::size_t kMaxUnfinishedLineBytes = 1'048'576;  // a longer message is dropped

void ReadOutput(Pipe& pipe, ServerId server, FlowControl& flow) {
  LineSplitter splitter(kMaxUnfinishedLineBytes);
  std::array<char, kLongOutputReadBytes> buffer;
  std::size_t room = kOutputReadBytes;
  while (const std::size_t bytes = pipe.Read(buffer.data(), room)) {
    for (std::string& line : splitter.Feed({buffer.data(), bytes})) {
      flow.Deliver(server, std::move(line));
    }
    room = bytes < room ? kOutputReadBytes : kLongOutputReadBytes;
  }
  if (std::string rest = splitter.Finish(); !rest.empty()) flow.Deliver(server, std::move(rest));
  (void)flow.Uncounted().DeliverClosed(server);
}

void ReadError(Pipe& pipe, const std::string& name, Log& log) {
  ErrorText collected;
  std::array<char, kErrorReadBytes> buffer;
  while (const std::size_t bytes = pipe.Read(buffer.data(), buffer.size())) {
    collected.Add({buffer.data(), bytes});
  }
  const std::string text = collected.Take();
  if (!text.empty()) log.LineFromAnyThread("[MCP " + name + "] stderr: " + text);
}

}  // namespace

StdioTransport::StdioTransport(ServerId server, std::string name, McpChild child,
                               std::shared_ptr<FlowControl> flow, Log& log)
    : server_(server),
      flow_(std::move(flow)),
      process_(std::move(child.process)),
      writer_(std::move(child.input)),
      output_(std::move(child.output)),
      error_(std::move(child.error)) {
  // Without this thread no response arrives, and each request ends by its time-out.
  (void)StartDetachedThread(
      [pipe = output_, server, flow = flow_] { ReadOutput(*pipe, server, *flow); });
  // Without this thread nothing empties the pipe, and a server that writes more than the pipe holds
  // would block for ever. So the host closes its end: a write to a broken pipe fails at once.
  const bool isRead = StartDetachedThread(
      [pipe = error_, name = std::move(name), &log] { ReadError(*pipe, name, log); });
  if (!isRead) error_.reset();
}

bool StdioTransport::Send(OutgoingMessage message) {
  message.text += '\n';
  // The response to an overdue request would be dropped. A notification is useful even if it is
  // late.
  const std::uint32_t limitMs = message.requestId.empty() ? 0 : message.timeoutMs;
  writer_.Write({.bytes = std::move(message.text), .limitMs = limitMs});
  return true;
}

void StdioTransport::Refuse(std::string text) {
  text += '\n';
  FlowControl::Refusal count = flow_->AddRefusal(server_, text.size());
  writer_.Write({.bytes = std::move(text), .count = std::move(count)});
}

std::shared_ptr<SessionEnd> StdioTransport::Stop() {
  if (!process_) return nullptr;
  writer_.Stop();
  process_->Terminate();
  StopReading(output_);
  StopReading(error_);
  process_->EndTree();
  process_.reset();
  return nullptr;
}

void StdioTransport::StopReading(std::shared_ptr<Pipe>& pipe) {
  if (!pipe) return;
  pipe->Cancel();
  pipe.reset();
}

}  // namespace wendra
