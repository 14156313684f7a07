#include "tests/json/guarded_pages.h"

#include <windows.h>

namespace wendra {

namespace {

std::size_t PageBytes() {
  SYSTEM_INFO info{};
  GetSystemInfo(&info);
  return info.dwPageSize;
}

}  // namespace

GuardedPages MapGuardedPages(std::size_t bytes) {
  static const std::size_t page = PageBytes();
  const std::size_t inner = (bytes + page - 1) / page * page;
  auto* const all =
      static_cast<char*>(VirtualAlloc(nullptr, inner + 2 * page, MEM_RESERVE, PAGE_NOACCESS));
  if (!all) return {};
  char* const begin = all + page;
  if (inner > 0 && !VirtualAlloc(begin, inner, MEM_COMMIT, PAGE_READWRITE)) return {};
  return {begin, begin + inner};
}

void UnmapGuardedPages(const GuardedPages& pages) {
  static const std::size_t page = PageBytes();
  VirtualFree(pages.begin - page, 0, MEM_RELEASE);
}

}  // namespace wendra
