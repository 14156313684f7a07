// Collects output of unknown length, and never uses much more memory than that output needs.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace wendra {

// Grows in blocks of 1 MiB, so collected output is not moved when more arrives. One thread at a
// time.
class OutputBuffer {
 public:
  void Append(std::string_view output);

  // Returns all output as one text, and frees each block as soon as it is copied. The buffer is
  // empty afterwards.
  std::string Take();

 private:
  static constexpr size_t kBlockBytes = size_t{1} << 20;

  std::vector<std::unique_ptr<char[]>> blocks_;
  // Bytes used in the last block. Without a block it counts as full, so Append makes a new one.
  size_t used_ = kBlockBytes;
};

}  // namespace wendra
