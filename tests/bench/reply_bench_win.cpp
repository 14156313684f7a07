// Measures the host's share of sending a file to the page: reading it, writing it as JSON into the
// script of the reply, and widening the script for the control. In MB/s of the file; the target is
// 400 for each kind of reply.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

#include "bridge/file_actions.h"
#include "bridge/resolve_script.h"
#include "tests/bench/documents.h"
#include "tests/support/scratch_folder_win.h"
#include "tests/support/widening_page_win.h"
#include "win/file.h"
#include "win/wide.h"

namespace wendra {
namespace {

// The file content in the request that SourceFileRequest makes.
std::string SourceText(size_t bytes) {
  Json request;
  (void)Parse(SourceFileRequest(bytes), request);
  return request.Find("args")->Find("content")->text;
}

double BestSeconds(int rounds, const std::function<void()>& work) {
  double best = 1e300;
  for (int i = 0; i < rounds; ++i) {
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    best = std::min(best, time.count());
  }
  return best;
}

}  // namespace

int Main(bool isOnce) {
  constexpr size_t kBytes = 16'000'000;
  constexpr size_t kMaxFileBytes = 16'777'216;  // the largest file that the actions read
  constexpr double kBytesPerMb = 1e6;
  const ScratchFolder folder;
  const std::wstring path = folder / L"source.txt";
  const std::string content = SourceText(kBytes);
  if (content.size() > kMaxFileBytes) return 1;
  if (!WriteBytes(CreateForWriting(path), content)) return 1;

  WideningPage page;
  Replies replies(page);
  Json args = Json::Array();
  args.items.emplace_back(Narrow(path));
  const Action actions[] = {ReadFileAction(replies), ReadFileBase64Action(replies)};
  for (const Action& action : actions) {
    page.units = 0;
    const double seconds = BestSeconds(isOnce ? 1 : 7, [&] { action.run("r", args); });
    if (page.units < content.size()) return 1;
    std::printf("%-16s 16 MB of source text: %6.0f MB/s (reach: 400)\n", action.name.c_str(),
                static_cast<double>(content.size()) / kBytesPerMb / seconds);
  }

  // The single steps.
  const double mb = static_cast<double>(content.size()) / kBytesPerMb;
  const int rounds = isOnce ? 1 : 7;
  const auto show = [&](const char* step, const std::function<void()>& work) {
    std::printf("  %-24s %6.0f MB/s\n", step, mb / BestSeconds(rounds, work));
  };
  const std::string script = ResolveScript("r", ReplyStatus::kSucceeded, Json(content));
  size_t kept = 0;
  show("reading the file", [&] { kept += ReadFileForPage(Narrow(path)).Value().size(); });
  show("writing the script", [&, value = Json(content)] {
    kept += ResolveScript("r", ReplyStatus::kSucceeded, value).size();
  });
  show("widening it", [&] { kept += Widen(script).size(); });
  return kept > 0 ? 0 : 1;
}

}  // namespace wendra

int main(int argc, char** argv) {
  return wendra::Main(argc > 1 && std::strcmp(argv[1], "--once") == 0);
}
