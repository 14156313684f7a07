#include "base/output_buffer.h"

#include <algorithm>
#include <utility>

namespace wendra {

OutputBuffer::Space OutputBuffer::Reserve(size_t wanted) {
  if (used_ == kBlockBytes) {
    blocks_.emplace_back(new char[kBlockBytes]);  // not zeroed: it is about to be written
    used_ = 0;
  }
  return {blocks_.back().get() + used_, std::min(wanted, kBlockBytes - used_)};
}

std::string OutputBuffer::Take() {
  auto blocks = std::exchange(blocks_, {});
  const size_t lastBytes = std::exchange(used_, kBlockBytes);
  std::string text;
  if (blocks.empty()) return text;
  text.reserve((blocks.size() - 1) * kBlockBytes + lastBytes);
  for (auto& block : blocks) {
    text.append(block.get(), &block == &blocks.back() ? lastBytes : kBlockBytes);
    block.reset();
  }
  return text;
}

}  // namespace wendra
