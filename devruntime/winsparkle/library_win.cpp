#include "devruntime/winsparkle/library_win.h"

#include <algorithm>
#include <optional>
#include <thread>
#include <utility>

namespace wendra {
namespace {

// As documented for the real library.
constexpr int kDefaultIntervalSeconds = 86'400;
constexpr int kShortestIntervalSeconds = 3'600;
constexpr long long kNeverChecked = -1;

}  // namespace

SparkleLibrary::SparkleLibrary()
    : settings_(ReadSparkleSettings()),
      record_(settings_.callsFile),
      intervalSeconds_(kDefaultIntervalSeconds) {}

SparkleLibrary& SparkleLibrary::Instance() {
  static auto* const library = new SparkleLibrary;
  return *library;
}

int SparkleLibrary::Automatic() const {
  return static_cast<int>(settings_.automatic.value_or(automatic_));
}

void SparkleLibrary::SetInterval(int seconds) {
  intervalSeconds_ = std::max(seconds, kShortestIntervalSeconds);
}

int SparkleLibrary::Interval() const {
  return static_cast<int>(settings_.intervalSeconds.value_or(intervalSeconds_));
}

std::time_t SparkleLibrary::LastCheck() const {
  return static_cast<std::time_t>(settings_.lastCheckSeconds.value_or(kNeverChecked));
}

void SparkleLibrary::Init() {
  if (settings_.controlPort == 0 || control_) return;
  control_ = std::make_unique<ControlLine>(settings_.controlPort, [this](std::string callback) {
    // A thread of its own each time: none of them is the program's, or the one of a call before.
    std::thread([this, callback = std::move(callback)] {
      std::string line;
      Serialize(Fire(callback), line);
      control_->Send(std::move(line));
    }).detach();
  });
}

// What became of it: {"fired":…,"returned":…}, or {"error":…}.
Json SparkleLibrary::Fire(const std::string& callback) {
  Json answer = Json::Object();
  const std::optional<Json> returned = callbacks_.Fire(callback);
  if (!returned) {
    answer.members.emplace_back("error", "no callback " + callback);
    return answer;
  }
  record_.Fired(callback, *returned);
  answer.members.emplace_back("fired", callback);
  answer.members.emplace_back("returned", *returned);
  return answer;
}

void SparkleLibrary::FireAll() {
  for (const std::string_view name : Callbacks::Names()) (void)Fire(std::string(name));
}

void SparkleLibrary::CleanUp() {
  if (settings_.callsBackLate) std::thread([this] { FireAll(); }).join();
}

void SparkleLibrary::AtProcessEnd() {
  if (settings_.callsBackLate) FireAll();
}

}  // namespace wendra
