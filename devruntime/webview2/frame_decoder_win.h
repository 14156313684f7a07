// Decodes the browser's pictures of the page into pixels, on a thread of its own.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/lock.h"
#include "devruntime/webview2/page_session_win.h"

namespace wendra {

struct Bitmap {
  int widthPx = 0;
  int heightPx = 0;
  std::vector<std::uint32_t> pixels;  // blue, green, red, unused; the top row first
  bool isAfterLoad = false;           // see PageFrame
};

class FrameDecoder {
 public:
  using OnBitmap = std::function<void(std::shared_ptr<const Bitmap>)>;

  // `onBitmap` runs on the decoder's thread, which ends after Stop.
  static std::shared_ptr<FrameDecoder> Start(OnBitmap onBitmap);

  // Replaces a frame whose decoding has not begun yet. Any thread; never blocks.
  void Push(PageFrame frame);

  // Any thread; does not wait for the decoder's thread.
  void Stop();

 private:
  std::optional<PageFrame> Next();  // blocks; nothing: stopped
  void Run(const OnBitmap& onBitmap);

  Lock lock_;
  Condition changed_;
  std::optional<PageFrame> pending_;
  bool isStopped_ = false;
};

}  // namespace wendra
