#include "devruntime/webview2/frame_decoder_win.h"

#include <mutex>
#include <string>
#include <utility>

#include "base/thread.h"
#include "win/unique.h"

#include <wincodec.h>
#include <wincrypt.h>

namespace wendra {
namespace {

std::vector<BYTE> DecodeBase64(const std::string& text) {
  DWORD bytes = static_cast<DWORD>(text.size() / 4 * 3);
  std::vector<BYTE> data(bytes);
  if (!CryptStringToBinaryA(text.data(), static_cast<DWORD>(text.size()), CRYPT_STRING_BASE64,
                            data.data(), &bytes, nullptr, nullptr)) {
    return {};
  }
  data.resize(bytes);
  return data;
}

// The first picture of the file in memory, which must outlive the result, as 32-bit pixels. Null
// when the file cannot be decoded.
ComOwner<IWICFormatConverter> OpenPicture(IWICImagingFactory& factory, std::vector<BYTE>& file) {
  ComOwner<IWICStream> stream;
  ComOwner<IWICBitmapDecoder> decoder;
  ComOwner<IWICBitmapFrameDecode> picture;
  ComOwner<IWICFormatConverter> converter;
  const bool opened =
      SUCCEEDED(factory.CreateStream(stream.Receive())) &&
      SUCCEEDED(stream->InitializeFromMemory(file.data(), static_cast<DWORD>(file.size()))) &&
      SUCCEEDED(factory.CreateDecoderFromStream(
          stream.Get(), nullptr, WICDecodeMetadataCacheOnDemand, decoder.Receive())) &&
      SUCCEEDED(decoder->GetFrame(0, picture.Receive())) &&
      SUCCEEDED(factory.CreateFormatConverter(converter.Receive())) &&
      SUCCEEDED(converter->Initialize(picture.Get(), GUID_WICPixelFormat32bppBGR,
                                      WICBitmapDitherTypeNone, nullptr, 0,
                                      WICBitmapPaletteTypeCustom));
  if (!opened) converter.Reset();
  return converter;
}

std::shared_ptr<const Bitmap> Decode(IWICImagingFactory& factory, const PageFrame& frame) {
  std::vector<BYTE> file = DecodeBase64(frame.png);
  const ComOwner<IWICFormatConverter> picture = OpenPicture(factory, file);
  UINT widthPx = 0;
  UINT heightPx = 0;
  if (!picture || FAILED(picture->GetSize(&widthPx, &heightPx))) return nullptr;
  auto bitmap = std::make_shared<Bitmap>();
  bitmap->widthPx = static_cast<int>(widthPx);
  bitmap->heightPx = static_cast<int>(heightPx);
  bitmap->isAfterLoad = frame.isAfterLoad;
  bitmap->pixels.resize(size_t{widthPx} * heightPx);
  const UINT rowBytes = widthPx * 4;
  if (FAILED(picture->CopyPixels(nullptr, rowBytes, rowBytes * heightPx,
                                 reinterpret_cast<BYTE*>(bitmap->pixels.data())))) {
    return nullptr;
  }
  return bitmap;
}

}  // namespace

std::shared_ptr<FrameDecoder> FrameDecoder::Start(OnBitmap onBitmap) {
  auto decoder = std::make_shared<FrameDecoder>();
  (void)StartDetachedThread([decoder, onBitmap = std::move(onBitmap)] { decoder->Run(onBitmap); });
  return decoder;
}

void FrameDecoder::Push(PageFrame frame) {
  const std::lock_guard<Lock> lock(lock_);
  if (pending_ && pending_->isAfterLoad) frame.isAfterLoad = true;
  pending_ = std::move(frame);
  changed_.WakeOne();
}

void FrameDecoder::Stop() {
  const std::lock_guard<Lock> lock(lock_);
  isStopped_ = true;
  changed_.WakeOne();
}

std::optional<PageFrame> FrameDecoder::Next() {
  const std::lock_guard<Lock> lock(lock_);
  changed_.Wait(lock_, [this] { return isStopped_ || pending_; });
  if (isStopped_) return std::nullopt;
  return std::exchange(pending_, std::nullopt);
}

void FrameDecoder::Run(const OnBitmap& onBitmap) {
  if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return;
  {
    ComOwner<IWICImagingFactory> factory;
    if (SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                   IID_IWICImagingFactory,
                                   reinterpret_cast<void**>(factory.Receive())))) {
      while (const auto frame = Next()) {
        if (auto bitmap = Decode(*factory.Get(), *frame)) onBitmap(std::move(bitmap));
      }
    }
  }
  CoUninitialize();
}

}  // namespace wendra
