#include "webview/reply_gate.h"

#include <algorithm>
#include <utility>

namespace wendra {
namespace {

bool MayRun(const PageScript& script, const ShownDocument& shown) {
  if (!shown.isTrusted) return false;
  return !script.origin || (!script.origin->empty() && *script.origin == shown.origin);
}

}  // namespace

std::optional<std::string> ReplyGate::Offer(PageScript script, const ShownDocument& shown,
                                            std::uint64_t nowMs) {
  if (!underWay_.empty()) {
    Hold(std::move(script), nowMs);
  } else if (MayRun(script, shown)) {
    return std::move(script.text);
  }
  return std::nullopt;
}

void ReplyGate::Hold(PageScript script, std::uint64_t nowMs) {
  DropLate(nowMs);
  const std::size_t originBytes = script.origin ? script.origin->size() : 0;
  const std::size_t bytes = sizeof(Held) + script.text.size() + originBytes;
  if (heldBytes_ + bytes > kMaxHeldBytes) return;
  script.text.shrink_to_fit();  // its spare capacity, reserved for escapes, is not in `bytes`
  heldBytes_ += bytes;
  held_.push_back({std::move(script), nowMs + kMaxHeldMs, bytes});
}

void ReplyGate::NavigationStarted(std::uint64_t id) {
  if (std::ranges::find(underWay_, id) == underWay_.end()) underWay_.push_back(id);
}

std::vector<std::string> ReplyGate::DocumentCommitted(std::uint64_t id, const ShownDocument& shown,
                                                      std::uint64_t nowMs) {
  const auto committed = std::ranges::find(underWay_, id);
  if (committed != underWay_.end()) underWay_.erase(underWay_.begin(), committed + 1);
  return Release(shown, nowMs);
}

std::vector<std::string> ReplyGate::NavigationEnded(std::uint64_t id, const ShownDocument& shown,
                                                    std::uint64_t nowMs) {
  std::erase(underWay_, id);
  return Release(shown, nowMs);
}

std::vector<std::string> ReplyGate::Release(const ShownDocument& shown, std::uint64_t nowMs) {
  DropLate(nowMs);
  std::vector<std::string> texts;
  if (!underWay_.empty()) return texts;
  for (Held& held : held_) {
    if (MayRun(held.script, shown)) texts.push_back(std::move(held.script.text));
  }
  held_.clear();
  heldBytes_ = 0;
  return texts;
}

void ReplyGate::DropLate(std::uint64_t nowMs) {
  while (!held_.empty() && held_.front().deadlineMs <= nowMs) {
    heldBytes_ -= held_.front().bytes;
    held_.pop_front();
  }
}

std::optional<std::uint64_t> ReplyGate::DeadlineMs() const {
  if (held_.empty()) return std::nullopt;
  return held_.front().deadlineMs;
}

void ReplyGate::Clear() {
  underWay_.clear();
  held_.clear();
  heldBytes_ = 0;
}

}  // namespace wendra
