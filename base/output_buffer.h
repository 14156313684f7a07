// Collects output of unknown length without ever holding much more than that output.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace wendra {

// Grows by blocks of one mebibyte instead of moving what is there into ever larger places. One
// thread at a time.
class OutputBuffer {
 public:
  void Append(std::string_view output);

  // All output as one text; each block is freed as soon as it has been copied. Empty afterwards.
  std::string Take();

 private:
  static constexpr size_t kBlockBytes = size_t{1} << 20;

  std::vector<std::unique_ptr<char[]>> blocks_;
  size_t used_ = kBlockBytes;  // bytes of the last block; with no block there is no room either
};

}  // namespace wendra
