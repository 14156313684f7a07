// The result of an operation that can fail: a value, or a short English text that says why there is
// no value.
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace wendra {

struct Failure {
  std::string text;  // for users: the page or the log shows it unchanged
};

template <typename T>
class Outcome {
 public:
  Outcome(T value) : content_(std::move(value)) {}
  Outcome(Failure failure) : content_(std::move(failure)) {}

  // True: there is a value.
  explicit operator bool() const { return std::holds_alternative<T>(content_); }

  // Only for an outcome that is true.
  T& Value() { return std::get<T>(content_); }
  const T& Value() const { return std::get<T>(content_); }

  // Only for an outcome that is false.
  const std::string& Error() const { return std::get<Failure>(content_).text; }

 private:
  std::variant<T, Failure> content_;
};

}  // namespace wendra
