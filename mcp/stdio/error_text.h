// What a local server wrote to its standard error, as the log shows it. Pure.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

class ErrorText {
 public:
  void Add(std::string_view bytes);

  // The whole text, "" when it is not to be logged: 65,536 bytes and more are deliberately not
  // logged at all, not even in part.
  std::string Take();

 private:
  std::string text_;  // no longer than what tells that it is too long
};

}  // namespace wendra
