#include "tests/json/guarded_pages.h"

#include <sys/mman.h>
#include <unistd.h>

namespace wendra {

namespace {

std::size_t PageBytes() {
  static const auto bytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return bytes;
}

}  // namespace

GuardedPages MapGuardedPages(std::size_t bytes) {
  const std::size_t page = PageBytes();
  const std::size_t inner = (bytes + page - 1) / page * page;
  void* const all = mmap(nullptr, inner + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (all == MAP_FAILED) return {};
  char* const begin = static_cast<char*>(all) + page;
  if (inner > 0 && mprotect(begin, inner, PROT_READ | PROT_WRITE) != 0) return {};
  return {begin, begin + inner};
}

void UnmapGuardedPages(const GuardedPages& pages) {
  const std::size_t page = PageBytes();
  munmap(pages.begin - page, static_cast<std::size_t>(pages.end - pages.begin) + 2 * page);
}

}  // namespace wendra
