// Memory with a page behind it that nobody may touch.
#pragma once

#include <cstddef>

namespace wendra {

// `bytes` bytes, rounded up to whole pages, readable and writable, between two pages that end the
// program at the slightest touch. Null if the system has none to give.
struct GuardedPages {
  char* begin = nullptr;  // at the start of a page; the page before it is out of bounds
  char* end = nullptr;    // at the end of a page; the page behind it is out of bounds
};

GuardedPages MapGuardedPages(std::size_t bytes);
void UnmapGuardedPages(const GuardedPages& pages);

}  // namespace wendra
