// Fuzzes ReplyGate with scripts for the page and navigations in any order, as the browser control
// may report them. No reply runs in another origin, no script runs twice, the scripts that wait
// stay within their limits, and none waits without a deadline.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "webview/reply_gate.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

constexpr const char* kOrigins[] = {"", "http://a:80", "http://b:80", "http://foreign:80"};
constexpr std::size_t kForeign = 3;

class Window {
 public:
  void Step(std::uint8_t what, std::uint8_t which) {
    switch (what % 8) {
      case 0:
      case 1:
        return Offer(which);
      case 2:
        return Start(which % 8);
      case 3:
        return Commit(which % 8, which / 8 % 4);
      case 4:
        return End(which % 8);
      case 5:
        nowMs_ += std::uint64_t{which} * 20;
        return;
      case 6:
        gate_.DropLate(nowMs_);
        return CheckDeadline();
      default:
        if (which == 0) Clear();
    }
  }

  void Finish() {
    nowMs_ += wendra::ReplyGate::kMaxHeldMs;
    gate_.DropLate(nowMs_);
    Require(gate_.HeldBytes() == 0 && !gate_.DeadlineMs());
  }

  void CheckLimits() const {
    Require(gate_.HeldBytes() <= wendra::ReplyGate::kMaxHeldBytes);
    Require((gate_.HeldBytes() > 0) == gate_.DeadlineMs().has_value());
    if (const auto deadline = gate_.DeadlineMs()) {
      Require(*deadline <= nowMs_ + wendra::ReplyGate::kMaxHeldMs);
    }
  }

 private:
  struct Script {
    std::string origin;  // "*" for any trusted document
    std::uint64_t sinceMs;
  };

  wendra::ShownDocument Shown() const { return {kOrigins[shown_], shown_ == 1 || shown_ == 2}; }

  void Clear() {
    gate_.Clear();
    underWay_.clear();
    waiting_.clear();
  }

  void Offer(std::uint8_t which) {
    wendra::PageScript script;
    if (which % 8 < 4) script.origin = kOrigins[which % 4];
    script.text = std::to_string(++lastScript_);
    waiting_[lastScript_] = {script.origin.value_or("*"), nowMs_};
    // Some scripts are so large that they reach the limit. The number stays at the start.
    if (which == 255) script.text.resize(std::size_t{9} << 20, ' ');
    const bool mustWait = !underWay_.empty();
    const auto text = gate_.Offer(std::move(script), Shown(), nowMs_);
    Require(!(mustWait && text));
    if (text) return Ran(*text);
    if (!mustWait) waiting_.erase(lastScript_);  // dropped: the script must never run
  }

  void Start(std::uint64_t id) {
    gate_.NavigationStarted(id);
    if (std::find(underWay_.begin(), underWay_.end(), id) == underWay_.end()) {
      underWay_.push_back(id);
    }
  }

  void Commit(std::uint64_t id, std::size_t origin) {
    shown_ = origin;
    const auto known = std::find(underWay_.begin(), underWay_.end(), id);
    if (known != underWay_.end()) underWay_.erase(underWay_.begin(), known + 1);
    Released(gate_.DocumentCommitted(id, Shown(), nowMs_));
  }

  void End(std::uint64_t id) {
    std::erase(underWay_, id);
    Released(gate_.NavigationEnded(id, Shown(), nowMs_));
  }

  void Released(const std::vector<std::string>& texts) {
    Require(underWay_.empty() || texts.empty());
    for (const std::string& text : texts) Ran(text);
    if (!underWay_.empty()) return;
    waiting_.clear();  // a script that has not run now must never run
    Require(gate_.HeldBytes() == 0);
  }

  void Ran(const std::string& text) {
    const std::uint64_t number = std::stoull(text);
    Require(number > lastRan_);  // in order, so no script runs twice
    lastRan_ = number;
    const auto script = waiting_.find(number);
    Require(script != waiting_.end());
    Require(nowMs_ - script->second.sinceMs < wendra::ReplyGate::kMaxHeldMs);
    Require(Shown().isTrusted && shown_ != 0 && shown_ != kForeign);
    Require(script->second.origin == "*" || script->second.origin == Shown().origin);
    waiting_.erase(script);
  }

  void CheckDeadline() const {
    if (const auto deadline = gate_.DeadlineMs()) Require(*deadline > nowMs_);
  }

  wendra::ReplyGate gate_;
  std::size_t shown_ = 1;
  std::uint64_t nowMs_ = 0;
  std::uint64_t lastScript_ = 0;
  std::uint64_t lastRan_ = 0;
  std::vector<std::uint64_t> underWay_;
  std::map<std::uint64_t, Script> waiting_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Window window;
  for (std::size_t i = 0; i + 1 < size; i += 2) {
    window.Step(data[i], data[i + 1]);
    window.CheckLimits();
  }
  window.Finish();
  return 0;
}
