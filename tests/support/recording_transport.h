// A transport and timers that note in one list what the session does with them.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "mcp/request_timers.h"
#include "mcp/transport.h"

namespace wendra {

using Record = std::vector<std::string>;

class RecordingTransport : public Transport {
 public:
  RecordingTransport(std::string name, Record& record) : name_(std::move(name)), record_(record) {}

  void Send(OutgoingMessage message) override {
    record_.push_back(name_ + " <- " + message.text);
    requestIds.push_back(message.requestId);
    timeoutsMs.push_back(message.timeoutMs);
    if (!message.onSent) return;
    if (keepsOrder) {
      message.onSent(status);
    } else {
      held.push_back(std::move(message.onSent));
    }
  }
  void Refuse(std::string text) override {
    record_.push_back(name_ + " <- " + text);
    requestIds.push_back("");
  }
  void Stop() override { record_.push_back(name_ + " stopped"); }

  bool keepsOrder = true;    // like a pipe; else what is sent waits in `held`
  std::uint32_t status = 0;  // what a pipe tells of each message
  std::vector<std::function<void(std::uint32_t)>> held;  // for the test to call
  std::vector<std::string> requestIds;
  std::vector<std::uint32_t> timeoutsMs;

 private:
  const std::string name_;
  Record& record_;
};

class RecordingTimers : public RequestTimers {
 public:
  explicit RecordingTimers(Record& record) : record_(record) {}

  bool Start(std::uint64_t id, std::uint32_t periodMs) override {
    record_.push_back("start " + std::to_string(id) + " " + std::to_string(periodMs));
    return hasTimers;
  }
  void Kill(std::uint64_t id) override { record_.push_back("kill " + std::to_string(id)); }

  bool hasTimers = true;

 private:
  Record& record_;
};

}  // namespace wendra
