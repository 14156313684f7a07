// A transport and timers that record each call of a connection in one list.
#pragma once

#include <cstdint>
#include <memory>
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

  bool Send(OutgoingMessage message) override {
    record_.push_back(name_ + " <- " + message.text);
    requestIds.push_back(message.requestId);
    timeoutsMs.push_back(message.timeoutMs);
    return keepsOrder || !message.reportsStatus;
  }
  void Refuse(std::string text) override {
    record_.push_back(name_ + " <- " + text);
    requestIds.push_back("");
  }
  void SetProtocolVersion(const std::string& version) override { protocolVersion = version; }
  void ForgetSession() override { record_.push_back(name_ + " forgot its session"); }
  std::shared_ptr<SessionEnd> Stop() override {
    record_.push_back(name_ + " stopped");
    return nullptr;
  }

  bool keepsOrder = true;  // true: like a pipe; false: like HTTP, and the test reports the status
  std::string protocolVersion;
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
