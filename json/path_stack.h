// A stack of entries for the path from the root of a tree to the current place. With recursion the
// call stack would hold them. The first 32 levels need no allocation.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

namespace wendra {

template <typename Entry>
class PathStack {
  static_assert(std::is_trivially_copyable_v<Entry>);

 public:
  PathStack() = default;
  PathStack(const PathStack&) = delete;
  PathStack& operator=(const PathStack&) = delete;

  bool Empty() const { return depth_ == 0; }
  std::size_t Depth() const { return depth_; }
  Entry& Top() { return entries_[depth_ - 1]; }
  void Pop() { --depth_; }

  void Push(Entry entry) {
    if (depth_ == capacity_) Grow();
    entries_[depth_++] = entry;
  }

 private:
  static constexpr std::size_t kFirstLevels = 32;

  void Grow() {
    std::unique_ptr<Entry[]> larger(new Entry[capacity_ * 2]);
    std::copy_n(entries_, depth_, larger.get());
    heap_ = std::move(larger);
    entries_ = heap_.get();
    capacity_ *= 2;
  }

  Entry first_[kFirstLevels];
  std::unique_ptr<Entry[]> heap_;
  Entry* entries_ = first_;
  std::size_t depth_ = 0;
  std::size_t capacity_ = kFirstLevels;
};

}  // namespace wendra
