#include "tests/bench/measure.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <map>

namespace wendra {

namespace {

// Prints like the console reporter, and keeps the best repetition of each benchmark.
class KeepBest : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      double& best = best_.try_emplace(run.run_name.function_name, 1e300).first->second;
      best = std::min(best, run.real_accumulated_time / static_cast<double>(run.iterations) * 1e9);
    }
    ConsoleReporter::ReportRuns(runs);
  }

  double BestOf(const std::string& name) const {
    const auto found = best_.find(name);
    return found == best_.end() ? 0 : found->second;
  }

 private:
  std::map<std::string, double> best_;
};

void RunRounds(benchmark::State& state, const Measured& work) {
  for (auto _ : state) {
    work.prepare();
    const auto start = std::chrono::steady_clock::now();
    work.round();
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(time.count());
  }
}

}  // namespace

int RoundsPerRepetition(const Measured& work) {
  const auto start = std::chrono::steady_clock::now();
  work.prepare();
  work.round();
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  constexpr double kFewest = 3;
  constexpr double kMost = 10'000;
  return static_cast<int>(
      std::clamp(kSecondsPerRepetition / std::max(time.count(), 1e-9), kFewest, kMost));
}

void Measure(std::vector<Measured>& work, int argc, char** argv) {
  // With interleaved repetitions, other work of the machine disturbs all benchmarks.
  char interleaved[] = "--benchmark_enable_random_interleaving=true";
  std::vector<char*> arguments(argv, argv + argc);
  arguments.insert(arguments.begin() + 1, interleaved);
  argc = static_cast<int>(arguments.size());
  benchmark::Initialize(&argc, arguments.data());
  for (const Measured& one : work) {
    benchmark::RegisterBenchmark(one.name.c_str(),
                                 [&one](benchmark::State& state) { RunRounds(state, one); })
        ->UseManualTime()
        ->Iterations(RoundsPerRepetition(one))
        ->Repetitions(kRepetitions);
  }
  KeepBest reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  for (Measured& one : work) one.nanoseconds = reporter.BestOf(one.name);
}

}  // namespace wendra
