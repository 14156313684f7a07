// A value, or a short English text that says why there is none.
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace wendra {

struct Failure {
  std::string text;  // as the page or the log shows it
};

template <typename T>
class Outcome {
 public:
  Outcome(T value) : content_(std::move(value)) {}
  Outcome(Failure failure) : content_(std::move(failure)) {}

  explicit operator bool() const { return std::holds_alternative<T>(content_); }

  // Only where the outcome is true.
  T& Value() { return std::get<T>(content_); }
  const T& Value() const { return std::get<T>(content_); }

  // Only where it is false.
  const std::string& Error() const { return std::get<Failure>(content_).text; }

 private:
  std::variant<T, Failure> content_;
};

}  // namespace wendra
