// Decides which document a script may run in: a reply only in one of the origin that asked for it.
// Pure: no Win32, no threads; the time is given.
//
// Between the start of a navigation and its outcome nobody knows which document a script would
// meet, so scripts wait for the outcome:
//
//   NavigationStarted ... DocumentCommitted   the navigation has brought its document
//                     ... NavigationEnded     it has brought none: an error, a download, a cancel
//
// Several navigations may be under way, and their events come interleaved; the number tells them
// apart. Scripts wait until the last of them is decided.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace wendra {

// The document in the window, as the control tells.
struct ShownDocument {
  std::string origin;      // as OriginOf gives it; "" for one that belongs to nobody
  bool isTrusted = false;  // whether it may use the host
};

struct PageScript {
  // Nothing: any trusted document. "" is the origin of no document: such a script never runs.
  std::optional<std::string> origin;
  std::string text;
};

// Every script ends exactly once: it is given back by one of the calls, to be run at once and in
// the order given, or it is dropped. Times are milliseconds of a clock that never goes back.
class ReplyGate {
 public:
  // Whatever waits longer is dropped, and so is whatever would make more wait than this. The bytes
  // are those of the scripts and of what keeps them.
  static constexpr std::uint64_t kMaxHeldMs = 10'000;
  static constexpr std::size_t kMaxHeldBytes = std::size_t{64} << 20;

  // Hands in a script. Gives its text back if it may run now.
  std::optional<std::string> Offer(PageScript script, const ShownDocument& shown,
                                   std::uint64_t nowMs);

  // A navigation that may replace the document. A redirect starts with the same number again.
  void NavigationStarted(std::uint64_t id);

  // The document of this navigation is there and is `shown`. Navigations that started earlier will
  // not get theirs any more. Gives the texts that may run now.
  std::vector<std::string> DocumentCommitted(std::uint64_t id, const ShownDocument& shown,
                                             std::uint64_t nowMs);

  // This navigation is over, with its document or without; `shown` is there now.
  std::vector<std::string> NavigationEnded(std::uint64_t id, const ShownDocument& shown,
                                           std::uint64_t nowMs);

  // Drops what has waited long enough.
  void DropLate(std::uint64_t nowMs);

  // When DropLate has to be called next; nothing while no script waits.
  std::optional<std::uint64_t> DeadlineMs() const;

  // Drops everything; no navigation is under way any more.
  void Clear();

  std::size_t HeldBytes() const { return heldBytes_; }

 private:
  struct Held {
    PageScript script;
    std::uint64_t deadlineMs;
    std::size_t bytes;
  };

  void Hold(PageScript script, std::uint64_t nowMs);
  std::vector<std::string> Release(const ShownDocument& shown, std::uint64_t nowMs);

  std::vector<std::uint64_t> underWay_;  // navigations without an outcome, in order of their start
  std::deque<Held> held_;                // in order of arrival, so that the first is due first
  std::size_t heldBytes_ = 0;
};

}  // namespace wendra
