// The stderr collector: gathers what a local server writes to its standard error. Pure.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

class ErrorText {
 public:
  void Add(std::string_view bytes);

  // The whole text, for the log. Deliberate: "" if it has 65,536 bytes or more, so that not even a
  // part of it is logged.
  std::string Take();

 private:
  std::string text_;  // at most 65,536 bytes: then it is known to be too long
};

}  // namespace wendra
