#include "base/output_buffer.h"

#include <utility>

namespace wendra {

void OutputBuffer::Append(std::string_view output) {
  while (!output.empty()) {
    if (used_ == kBlockBytes) {
      blocks_.emplace_back(new char[kBlockBytes]);  // not set to 0: the output overwrites it
      used_ = 0;
    }
    const size_t copied = output.copy(blocks_.back().get() + used_, kBlockBytes - used_);
    used_ += copied;
    output.remove_prefix(copied);
  }
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
