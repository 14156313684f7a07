// Which calls are to fail, as a text says it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace wendra {

// The text has words, with blanks, commas or line ends between them:
//
//   NAME[/DETAIL][:FIRST[-[LAST]]][=ERROR]
//
// NAME is a function, DETAIL one of its arguments (a path may be given by its last part). FIRST and
// LAST count the calls that fit from 1 on: ":3" is the third only, ":3-" the third and all later
// ones, nothing is all. ERROR is the error code, decimal; without it the function has its own.
// A word that cannot be read fits no call.
class FailurePlan {
 public:
  struct Verdict {
    bool fails = false;
    unsigned long error = 0;  // 0: the function's own
  };

  FailurePlan() = default;
  explicit FailurePlan(std::string_view text);

  // To be asked once for each call, since it counts them.
  Verdict Judge(std::string_view name, std::string_view detail);

 private:
  struct Word {
    std::string name;
    std::string detail;  // "" fits every call
    unsigned long first = 1;
    unsigned long last = 0;
    unsigned long error = 0;
    unsigned long seen = 0;
  };
  static Word Read(std::string_view text);
  static bool Fits(const Word& word, std::string_view name, std::string_view detail);

  std::vector<Word> words_;
};

}  // namespace wendra
