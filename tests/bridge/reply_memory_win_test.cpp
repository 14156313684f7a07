// Measures how much memory a reply to the page needs beside the content that it holds. The test
// replaces operator new to count every block, so it is a program of its own.
#include <algorithm>
#include <fstream>
#include <new>

#include <gtest/gtest.h>

#include "bridge/exec_win.h"
#include "bridge/file_actions.h"
#include "tests/support/scratch_folder_win.h"
#include "tests/support/widening_page_win.h"
#include "win/wide.h"

#include <windows.h>

namespace {

// Not atomic: only one thread allocates in this program.
std::size_t liveBytes = 0;
std::size_t peakBytes = 0;

}  // namespace

void* operator new(std::size_t bytes) {
  void* memory = HeapAlloc(GetProcessHeap(), 0, bytes);
  if (!memory) throw std::bad_alloc();
  liveBytes += bytes;
  peakBytes = std::max(peakBytes, liveBytes);
  return memory;
}
void* operator new[](std::size_t bytes) { return operator new(bytes); }

void operator delete(void* memory) noexcept {
  if (!memory) return;
  liveBytes -= HeapSize(GetProcessHeap(), 0, memory);
  HeapFree(GetProcessHeap(), 0, memory);
}
void operator delete[](void* memory) noexcept { operator delete(memory); }
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }
void operator delete[](void* memory, std::size_t) noexcept { operator delete(memory); }

namespace wendra {
namespace {

// The largest number of bytes in use at one time during `work`, without the bytes in use before it.
template <typename Work>
size_t PeakOf(Work work) {
  const size_t before = liveBytes;
  peakBytes = before;
  work();
  return peakBytes - before;
}

class ReplyMemory : public testing::Test {
 protected:
  static constexpr size_t kBytes = 8 << 20;
  static constexpr size_t kSlack = 64 << 10;  // for the request and the script around the content

  // The content itself; the script, with an eighth in reserve for escapes; and the script in
  // UTF-16, with two bytes for each character.
  static size_t Allowed(size_t contentBytes) {
    return 4 * contentBytes + contentBytes / 8 + kSlack;
  }

  WideningPage page_;
  Replies replies_{page_};
};

TEST_F(ReplyMemory, OfAFileIsTheContentAndTwoCopies) {
  const ScratchFolder folder;
  std::ofstream(std::filesystem::path(folder / L"x"), std::ios::binary) << std::string(kBytes, 'x');
  Json args = Json::Array();
  args.items.emplace_back(Narrow(folder / L"x"));
  const struct {
    Action action;
    size_t contentBytes;
  } cases[] = {
      {ReadFileAction(replies_), kBytes},
      {ReadFileBase64Action(replies_), (kBytes + 2) / 3 * 4},
  };
  for (const auto& c : cases) {
    const size_t peak = PeakOf([&] { c.action.run("r", args); });
    EXPECT_GE(page_.units, c.contentBytes) << c.action.name;
    EXPECT_LE(peak, Allowed(c.contentBytes)) << c.action.name;
  }
}

TEST_F(ReplyMemory, OfACommandIsItsOutputAndTwoCopies) {
  ExecResult result;
  result.reqId = "r";
  const size_t peak = PeakOf([&] {
    result.output.assign(kBytes, 'x');
    ReplyExec(std::move(result), replies_);
  });
  EXPECT_GE(page_.units, kBytes);
  EXPECT_LE(peak, Allowed(kBytes));
}

}  // namespace
}  // namespace wendra
