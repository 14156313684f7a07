// Memory between two pages that cannot be read or written.
#pragma once

#include <cstddef>

namespace wendra {

// Readable and writable memory between two guard pages. Access to a guard page ends the program.
struct GuardedPages {
  char* begin = nullptr;  // at the start of a page; the page before it is a guard page
  char* end = nullptr;    // at the end of a page; the page after it is a guard page
};

// Gives `bytes` bytes, rounded up to whole pages. Null pointers if the system refuses.
GuardedPages MapGuardedPages(std::size_t bytes);
void UnmapGuardedPages(const GuardedPages& pages);

}  // namespace wendra
