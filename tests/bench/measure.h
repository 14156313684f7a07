// Measures several functions with Google Benchmark in one run.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace wendra {

struct Measured {
  std::string name;
  std::function<void()> prepare;  // before each round, not timed
  std::function<void()> round;    // must take long enough for the clock: 20 microseconds or more
  double nanoseconds = 0;         // time of a round in the best repetition; set by Measure
};

// Each function is measured so many times, and each time for about so long, with its preparation.
inline constexpr int kRepetitions = 5;
inline constexpr double kSecondsPerRepetition = 0.05;

// How many rounds fill a repetition, at least three. Runs one round to measure that.
int RoundsPerRepetition(const Measured& work);

// Measures all of `work`. `argc` and `argv` are those of the program, with options of Google
// Benchmark.
void Measure(std::vector<Measured>& work, int argc, char** argv);

}  // namespace wendra
