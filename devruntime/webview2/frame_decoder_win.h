// Turns the browser's pictures of the page into pixels, on a thread of its own.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "devruntime/webview2/page_session_win.h"

namespace wendra {

struct Bitmap {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;  // blue, green, red, unused; top row first
  bool afterLoad = false;             // see PageFrame
};

class FrameDecoder {
 public:
  // `onBitmap` runs on the decoder's thread, which lives until the decoder is gone.
  static std::shared_ptr<FrameDecoder> Start(
      std::function<void(std::shared_ptr<const Bitmap>)> onBitmap);

  // Any thread; never blocks. A frame that is not yet begun gives way to a newer one.
  void Push(PageFrame frame);

  void Stop();

 private:
  std::optional<PageFrame> Next();  // blocks; nothing means the end
  void Run(const std::function<void(std::shared_ptr<const Bitmap>)>& onBitmap);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<PageFrame> pending_;
  bool stopped_ = false;
};

}  // namespace wendra
