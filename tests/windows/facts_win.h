// Facts about a machine that only the machine can tell. Each is a test that records what it has
// seen, and fails only when it cannot ask. tests/windows/questions.mjs says for each what we expect
// and why.
#pragma once

#include <string>

#include <gtest/gtest.h>

namespace wendra {

// Writes the answer of the running test into the test's results.
inline void RecordAnswer(const std::string& answer) {
  testing::Test::RecordProperty("answer", answer);
}

}  // namespace wendra
