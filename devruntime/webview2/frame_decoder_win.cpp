#include "devruntime/webview2/frame_decoder_win.h"

#include <thread>
#include <utility>

#include <windows.h>
#include <objbase.h>
#include <wincodec.h>
#include <wincrypt.h>

#include "win/unique.h"

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

// The first picture of a file in memory, as 32-bit pixels.
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
  UINT width = 0;
  UINT height = 0;
  if (!picture || FAILED(picture->GetSize(&width, &height))) return nullptr;
  auto bitmap = std::make_shared<Bitmap>();
  bitmap->width = static_cast<int>(width);
  bitmap->height = static_cast<int>(height);
  bitmap->afterLoad = frame.afterLoad;
  bitmap->pixels.resize(size_t{width} * height);
  const UINT stride = width * 4;
  if (FAILED(picture->CopyPixels(nullptr, stride, stride * height,
                                 reinterpret_cast<BYTE*>(bitmap->pixels.data())))) {
    return nullptr;
  }
  return bitmap;
}

}  // namespace

std::shared_ptr<FrameDecoder> FrameDecoder::Start(
    std::function<void(std::shared_ptr<const Bitmap>)> onBitmap) {
  auto decoder = std::make_shared<FrameDecoder>();
  std::thread([decoder, onBitmap = std::move(onBitmap)] { decoder->Run(onBitmap); }).detach();
  return decoder;
}

void FrameDecoder::Push(PageFrame frame) {
  const std::lock_guard lock(mutex_);
  if (pending_) frame.afterLoad |= pending_->afterLoad;
  pending_ = std::move(frame);
  changed_.notify_one();
}

void FrameDecoder::Stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  changed_.notify_one();
}

std::optional<PageFrame> FrameDecoder::Next() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return stopped_ || pending_; });
  if (stopped_) return std::nullopt;
  return std::exchange(pending_, std::nullopt);
}

void FrameDecoder::Run(const std::function<void(std::shared_ptr<const Bitmap>)>& onBitmap) {
  if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return;
  {
    ComOwner<IWICImagingFactory> factory;
    if (SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                   IID_IWICImagingFactory,
                                   reinterpret_cast<void**>(factory.Receive())))) {
      while (const auto frame = Next())
        if (auto bitmap = Decode(*factory.Get(), *frame)) onBitmap(std::move(bitmap));
    }
  }
  CoUninitialize();
}

}  // namespace wendra
