// Times pieces of work with Google Benchmark, all in one run.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace wendra {

struct Measured {
  std::string name;
  std::function<void()> prepare;  // before each round, not timed
  std::function<void()> round;    // long enough for a clock: some 20 microseconds at least
  double nanoseconds = 0;         // of a round, in the best repetition; filled by Measure
};

// Every piece of work is measured this often, and each time for about so long, with what it takes
// to prepare it.
inline constexpr int kRepetitions = 5;
inline constexpr double kSecondsPerRepetition = 0.05;

// How many rounds fill a repetition: at least three. Runs one of them to find out.
int RoundsPerRepetition(const Measured& work);

// Measures all of `work`. `argc` and `argv` are the program's,
// for the options of the stopwatch.
void Measure(std::vector<Measured>& work, int argc, char** argv);

}  // namespace wendra
