// Plays the person in front of the screen: presses keys, moves the mouse, takes pictures. Reads one
// command per line from standard input, and answers each with one line of JSON on standard output.
//
//   keys COMBINATION...   presses and releases each: "ctrl+l", "shift+Tab", "alt+F4", "Return"
//   hold KEY              presses a key; "free KEY" releases it
//   type JSON             types a text, written as a JSON string
//   move X Y              moves the mouse to a pixel of the screen
//   press BUTTON          1 left, 2 middle, 3 right; 4 and 5 turn the wheel up and down
//   release BUTTON
//   focused               the title of the window that has the keyboard
//   sizing                whether the window with the keyboard is being moved or sized
//   color X Y             the colour of a pixel of the screen, as "#RRGGBB"
//   picture JSON          writes the whole screen as a PNG file of that name, a JSON string
//
// An answer with the member "error" has no other member.
#include <cstdio>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "json/objects.h"
#include "win/unique.h"
#include "win/wide.h"

#include <windows.h>

#include <wincodec.h>

namespace wendra {
namespace {

Json Error(std::string_view text) { return MakeObject({{"error", std::string(text)}}); }
Json Done() { return MakeObject({{"done", true}}); }
Json DoneIf(bool isGood, std::string_view trouble) { return isGood ? Done() : Error(trouble); }

// A key with a name has more than one character.
std::optional<WORD> KeyCode(const std::string& name) {
  static const std::map<std::string, WORD> named = {
      {"ctrl", VK_CONTROL},  {"shift", VK_SHIFT}, {"alt", VK_MENU},    {"Return", VK_RETURN},
      {"Escape", VK_ESCAPE}, {"Tab", VK_TAB},     {"space", VK_SPACE}, {"BackSpace", VK_BACK},
      {"Delete", VK_DELETE}, {"Home", VK_HOME},   {"End", VK_END},     {"Left", VK_LEFT},
      {"Right", VK_RIGHT},   {"Up", VK_UP},       {"Down", VK_DOWN},   {"F4", VK_F4},
      {"F5", VK_F5},         {"F10", VK_F10},     {"F12", VK_F12},
  };
  if (const auto found = named.find(name); found != named.end()) return found->second;
  if (name.size() != 1) return std::nullopt;
  const SHORT key = VkKeyScanW(static_cast<wchar_t>(name[0]));
  if (key == -1) return std::nullopt;
  return static_cast<WORD>(key & 0xFF);
}

INPUT KeyInput(WORD key, bool isUp) {
  INPUT input{};
  input.type = INPUT_KEYBOARD;
  input.ki.wVk = key;
  input.ki.wScan = static_cast<WORD>(MapVirtualKeyW(key, MAPVK_VK_TO_VSC));
  input.ki.dwFlags = isUp ? KEYEVENTF_KEYUP : 0;
  return input;
}

bool SendAll(std::vector<INPUT> inputs) {
  const UINT count = static_cast<UINT>(inputs.size());
  return SendInput(count, inputs.data(), sizeof(INPUT)) == count;
}

// The keys of "ctrl+shift+i" in order; nothing if one is unknown.
std::optional<std::vector<WORD>> KeysOf(const std::string& combination) {
  std::vector<WORD> keys;
  std::istringstream parts(combination);
  for (std::string part; std::getline(parts, part, '+');) {
    const auto key = KeyCode(part);
    if (!key) return std::nullopt;
    keys.push_back(*key);
  }
  return keys;
}

Json PressKeys(std::istream& arguments) {
  for (std::string combination; arguments >> combination;) {
    const auto keys = KeysOf(combination);
    if (!keys) return Error("unknown key in " + combination);
    std::vector<INPUT> inputs;
    for (const WORD key : *keys) inputs.push_back(KeyInput(key, false));
    for (auto key = keys->rbegin(); key != keys->rend(); ++key) {
      inputs.push_back(KeyInput(*key, true));
    }
    if (!SendAll(std::move(inputs))) return Error("the keys were not taken");
  }
  return Done();
}

Json MoveKey(std::istream& arguments, bool isUp) {
  std::string name;
  arguments >> name;
  const auto key = KeyCode(name);
  if (!key) return Error("unknown key " + name);
  return DoneIf(SendAll({KeyInput(*key, isUp)}), "the key was not taken");
}

Json HoldKey(std::istream& arguments) { return MoveKey(arguments, false); }
Json FreeKey(std::istream& arguments) { return MoveKey(arguments, true); }

// The JSON string that is the rest of the line.
std::optional<std::wstring> TextOf(std::istream& arguments) {
  std::string rest;
  std::getline(arguments >> std::ws, rest);
  Json text;
  if (!Parse(rest, text) || text.kind != kJsonString) return std::nullopt;
  return Widen(text.text);
}

// Presses the keys of the keyboard that give this character; a character that no key gives is sent
// as itself.
std::vector<INPUT> InputsFor(wchar_t character) {
  const SHORT key = VkKeyScanW(character);
  if (key == -1) {
    INPUT down{};
    down.type = INPUT_KEYBOARD;
    down.ki.wScan = character;
    down.ki.dwFlags = KEYEVENTF_UNICODE;
    INPUT up = down;
    up.ki.dwFlags |= KEYEVENTF_KEYUP;
    return {down, up};
  }
  constexpr std::pair<int, WORD> kModifiers[] = {
      {0x100, VK_SHIFT}, {0x200, VK_CONTROL}, {0x400, VK_MENU}};
  std::vector<INPUT> inputs;
  for (const auto& [bit, modifier] : kModifiers) {
    if (key & bit) inputs.push_back(KeyInput(modifier, false));
  }
  const auto code = static_cast<WORD>(key & 0xFF);
  inputs.push_back(KeyInput(code, false));
  inputs.push_back(KeyInput(code, true));
  for (const auto& [bit, modifier] : kModifiers) {
    if (key & bit) inputs.push_back(KeyInput(modifier, true));
  }
  return inputs;
}

Json TypeText(std::istream& arguments) {
  const auto text = TextOf(arguments);
  if (!text) return Error("no JSON string");
  for (const wchar_t character : *text) {
    if (!SendAll(InputsFor(character == L'\n' ? L'\r' : character))) {
      return Error("a character was not taken");
    }
  }
  return Done();
}

// The system's measure of a place: 65,536 units for the whole screen.
LONG ScreenUnits(int pixel, int metric) {
  const int pixels = GetSystemMetrics(metric);
  return (pixel * 65'536 + pixels - 1) / pixels;
}

Json MoveMouse(std::istream& arguments) {
  int x = 0;
  int y = 0;
  arguments >> x >> y;
  INPUT input{};
  input.type = INPUT_MOUSE;
  input.mi.dx = ScreenUnits(x, SM_CXSCREEN);
  input.mi.dy = ScreenUnits(y, SM_CYSCREEN);
  input.mi.dwFlags = MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE;
  return DoneIf(SendAll({input}), "the mouse was not moved");
}

Json MoveButton(std::istream& arguments, bool isUp) {
  int button = 0;
  arguments >> button;
  INPUT input{};
  input.type = INPUT_MOUSE;
  switch (button) {
    case 1:
      input.mi.dwFlags = isUp ? MOUSEEVENTF_LEFTUP : MOUSEEVENTF_LEFTDOWN;
      break;
    case 2:
      input.mi.dwFlags = isUp ? MOUSEEVENTF_MIDDLEUP : MOUSEEVENTF_MIDDLEDOWN;
      break;
    case 3:
      input.mi.dwFlags = isUp ? MOUSEEVENTF_RIGHTUP : MOUSEEVENTF_RIGHTDOWN;
      break;
    case 4:
    case 5:
      if (isUp) return Done();  // a wheel is not released
      input.mi.dwFlags = MOUSEEVENTF_WHEEL;
      input.mi.mouseData = static_cast<DWORD>(button == 4 ? WHEEL_DELTA : -WHEEL_DELTA);
      break;
    default:
      return Error("no such button");
  }
  return DoneIf(SendAll({input}), "the button was not taken");
}

Json PressButton(std::istream& arguments) { return MoveButton(arguments, false); }
Json ReleaseButton(std::istream& arguments) { return MoveButton(arguments, true); }

Json DescribeFocus(std::istream&) {
  const HWND window = GetForegroundWindow();
  if (!window) return Error("no window has the keyboard");
  wchar_t title[256] = L"";
  const int units = GetWindowTextW(window, title, 256);
  return MakeObject({{"title", Narrow(std::wstring_view(title, static_cast<size_t>(units)))}});
}

Json DescribeSizing(std::istream&) {
  GUITHREADINFO info{};
  info.cbSize = sizeof(info);
  GetGUIThreadInfo(0, &info);
  return MakeObject({{"sizing", (info.flags & GUI_INMOVESIZE) != 0}});
}

struct ScreenContextTraits {
  using Raw = HDC;
  static Raw Empty() { return nullptr; }
  static void Close(Raw context) { ReleaseDC(nullptr, context); }
};
struct MemoryContextTraits : ScreenContextTraits {
  static void Close(Raw context) { DeleteDC(context); }
};
struct BitmapTraits {
  using Raw = HBITMAP;
  static Raw Empty() { return nullptr; }
  static void Close(Raw bitmap) { DeleteObject(bitmap); }
};
using Bitmap = Unique<BitmapTraits>;

Json DescribeColor(std::istream& arguments) {
  int x = 0;
  int y = 0;
  arguments >> x >> y;
  const Unique<ScreenContextTraits> screen(GetDC(nullptr));
  const COLORREF color = GetPixel(screen.Get(), x, y);
  if (color == CLR_INVALID) return Error("no such pixel");
  char text[8] = "";
  std::snprintf(text, sizeof(text), "#%02X%02X%02X", GetRValue(color), GetGValue(color),
                GetBValue(color));
  return MakeObject({{"color", std::string(text)}});
}

Bitmap CopyScreen() {
  const Unique<ScreenContextTraits> screen(GetDC(nullptr));
  const Unique<MemoryContextTraits> memory(CreateCompatibleDC(screen.Get()));
  const int width = GetSystemMetrics(SM_CXSCREEN);
  const int height = GetSystemMetrics(SM_CYSCREEN);
  Bitmap bitmap(CreateCompatibleBitmap(screen.Get(), width, height));
  const HGDIOBJ before = SelectObject(memory.Get(), bitmap.Get());
  const bool isCopied = BitBlt(memory.Get(), 0, 0, width, height, screen.Get(), 0, 0, SRCCOPY);
  SelectObject(memory.Get(), before);
  return isCopied ? std::move(bitmap) : Bitmap();
}

// Writes the bitmap as a PNG file.
bool WritePng(HBITMAP bitmap, const std::wstring& file) {
  ComOwner<IWICImagingFactory> factory;
  ComOwner<IWICBitmap> source;
  ComOwner<IWICStream> stream;
  ComOwner<IWICBitmapEncoder> encoder;
  ComOwner<IWICBitmapFrameEncode> frame;
  return SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                    IID_IWICImagingFactory,
                                    reinterpret_cast<void**>(factory.Receive()))) &&
         SUCCEEDED(factory->CreateBitmapFromHBITMAP(bitmap, nullptr, WICBitmapIgnoreAlpha,
                                                    source.Receive())) &&
         SUCCEEDED(factory->CreateStream(stream.Receive())) &&
         SUCCEEDED(stream->InitializeFromFilename(file.c_str(), GENERIC_WRITE)) &&
         SUCCEEDED(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.Receive())) &&
         SUCCEEDED(encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache)) &&
         SUCCEEDED(encoder->CreateNewFrame(frame.Receive(), nullptr)) &&
         SUCCEEDED(frame->Initialize(nullptr)) &&
         SUCCEEDED(frame->WriteSource(source.Get(), nullptr)) && SUCCEEDED(frame->Commit()) &&
         SUCCEEDED(encoder->Commit());
}

Json TakePicture(std::istream& arguments) {
  const auto file = TextOf(arguments);
  if (!file) return Error("no JSON string");
  const Bitmap bitmap = CopyScreen();
  if (!bitmap) return Error("the screen cannot be copied");
  return DoneIf(WritePng(bitmap.Get(), *file), "the picture was not written");
}

Json Answer(const std::string& line) {
  static const std::map<std::string, std::function<Json(std::istream&)>> commands = {
      {"keys", PressKeys},        {"hold", HoldKey},          {"free", FreeKey},
      {"type", TypeText},         {"move", MoveMouse},        {"press", PressButton},
      {"release", ReleaseButton}, {"focused", DescribeFocus}, {"sizing", DescribeSizing},
      {"color", DescribeColor},   {"picture", TakePicture},
  };
  std::istringstream arguments(line);
  std::string name;
  arguments >> name;
  const auto command = commands.find(name);
  return command == commands.end() ? Error("unknown command") : command->second(arguments);
}

}  // namespace
}  // namespace wendra

int main() {
  SetThreadDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
  if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return 1;
  for (std::string line; std::getline(std::cin, line);) {
    std::cout << wendra::ToText(wendra::Answer(line)) << std::endl;
  }
  return 0;
}
