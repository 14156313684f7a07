// Decides which document a script may run in: a reply runs only in a document of the origin that
// asked for it. Pure; not thread-safe; the caller gives the time.
//
// Between the start of a navigation and its outcome it is not known which document a script would
// run in, so scripts wait for the outcome:
//
//   NavigationStarted ... DocumentCommitted   the navigation has replaced the document
//                     ... NavigationEnded     without DocumentCommitted before: the old document
//                                             stays (a download, a cancel)
//
// Several navigations may be under way at the same time, and their events may interleave; their ids
// tell them apart. Scripts wait until every navigation has its outcome.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace wendra {

// The document in the window, as the control reports it.
struct ShownDocument {
  std::string origin;      // as OriginOf gives it; "" for a document without an origin
  bool isTrusted = false;  // may use the host
};

struct PageScript {
  // The script runs only in a document of this origin. Nothing: in any trusted document. "": never.
  std::optional<std::string> origin;
  std::string text;
};

// The gate gives each script back exactly once, or drops it. The caller runs scripts at once, in
// the order in which the gate gives them back. Times are milliseconds of a clock that never goes
// back.
class ReplyGate {
 public:
  // The gate drops a script that waits longer than kMaxHeldMs, and a new script with which more
  // than kMaxHeldBytes would wait. The bytes include the gate's own memory for each script.
  static constexpr std::uint64_t kMaxHeldMs = 10'000;
  static constexpr std::size_t kMaxHeldBytes = std::size_t{64} << 20;

  // Takes a script. Gives its text back if it may run now; otherwise keeps or drops it.
  std::optional<std::string> Offer(PageScript script, const ShownDocument& shown,
                                   std::uint64_t nowMs);

  // A navigation that may replace the document has started. A redirect calls this again with the
  // same id.
  void NavigationStarted(std::uint64_t id);

  // The navigation has replaced the document; `shown` is the new one. Scripts no longer wait for
  // the navigations that started earlier. Gives the texts that may run now.
  std::vector<std::string> DocumentCommitted(std::uint64_t id, const ShownDocument& shown,
                                             std::uint64_t nowMs);

  // The navigation is over, with a new document or without; `shown` is the document in the window.
  // Gives the texts that may run now.
  std::vector<std::string> NavigationEnded(std::uint64_t id, const ShownDocument& shown,
                                           std::uint64_t nowMs);

  // Drops the scripts that have waited for kMaxHeldMs.
  void DropLate(std::uint64_t nowMs);

  // When the caller has to call DropLate next; nothing while no script waits.
  std::optional<std::uint64_t> DeadlineMs() const;

  // Drops all scripts and forgets all navigations.
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

  std::vector<std::uint64_t> underWay_;  // ids without an outcome, in the order of their start
  std::deque<Held> held_;                // in order of arrival, which is also that of the deadlines
  std::size_t heldBytes_ = 0;
};

}  // namespace wendra
