// The plan that says which calls fail.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace wendra {

// The text of a plan is words, separated by spaces, commas, tabs or line ends:
//
//   NAME[/DETAIL][:FIRST[-[LAST]]][=ERROR]
//
// NAME is a function. DETAIL is one of its arguments; the last part of a path is enough. FIRST and
// LAST count the calls that match, from 1: ":3" is the third call, ":3-" the third and all later
// ones; without them all calls fail. ERROR is the error code in decimal; without it the function
// has a code of its own. A word that cannot be parsed matches no call.
class FailurePlan {
 public:
  struct Verdict {
    bool fails = false;
    unsigned long error = 0;  // 0: the function's own code
  };

  FailurePlan() = default;
  explicit FailurePlan(std::string_view text);

  // Counts the calls: ask once for each.
  Verdict Judge(std::string_view name, std::string_view detail);

 private:
  struct Word {
    std::string name;
    std::string detail;  // "" matches every call
    unsigned long first = 1;
    unsigned long last = 0;  // smaller than `first`: the word matches no call
    unsigned long error = 0;
    unsigned long matchingCalls = 0;  // so far
  };
  static Word ParseWord(std::string_view text);
  static bool Matches(const Word& word, std::string_view name, std::string_view detail);

  std::vector<Word> words_;
};

}  // namespace wendra
