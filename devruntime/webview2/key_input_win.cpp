#include "devruntime/webview2/key_input_win.h"

#include <string_view>

#include "devruntime/webview2/mouse_input_win.h"
#include "json/objects.h"
#include "win/wide.h"

namespace wendra {
namespace {

const struct {
  WPARAM virtualKey;
  const char* key;
} kNamedKeys[] = {
    {VK_BACK, "Backspace"},   {VK_TAB, "Tab"},          {VK_RETURN, "Enter"},
    {VK_SHIFT, "Shift"},      {VK_CONTROL, "Control"},  {VK_MENU, "Alt"},
    {VK_PAUSE, "Pause"},      {VK_CAPITAL, "CapsLock"}, {VK_ESCAPE, "Escape"},
    {VK_PRIOR, "PageUp"},     {VK_NEXT, "PageDown"},    {VK_END, "End"},
    {VK_HOME, "Home"},        {VK_LEFT, "ArrowLeft"},   {VK_UP, "ArrowUp"},
    {VK_RIGHT, "ArrowRight"}, {VK_DOWN, "ArrowDown"},   {VK_INSERT, "Insert"},
    {VK_DELETE, "Delete"},    {VK_LWIN, "Meta"},        {VK_RWIN, "Meta"},
    {VK_APPS, "ContextMenu"}, {VK_NUMLOCK, "NumLock"},  {VK_SCROLL, "ScrollLock"},
};

// Names of the keys by their position on the keyboard, which does not depend on the layout.
const struct {
  int scanCode;
  const char* code;
} kPositions[] = {
    {0x01, "Escape"},      {0x0c, "Minus"},       {0x0d, "Equal"},        {0x0e, "Backspace"},
    {0x0f, "Tab"},         {0x1a, "BracketLeft"}, {0x1b, "BracketRight"}, {0x1c, "Enter"},
    {0x1d, "ControlLeft"}, {0x27, "Semicolon"},   {0x28, "Quote"},        {0x29, "Backquote"},
    {0x2a, "ShiftLeft"},   {0x2b, "Backslash"},   {0x33, "Comma"},        {0x34, "Period"},
    {0x35, "Slash"},       {0x36, "ShiftRight"},  {0x38, "AltLeft"},      {0x39, "Space"},
    {0x3a, "CapsLock"},    {0x47, "Home"},        {0x48, "ArrowUp"},      {0x49, "PageUp"},
    {0x4b, "ArrowLeft"},   {0x4d, "ArrowRight"},  {0x4f, "End"},          {0x50, "ArrowDown"},
    {0x51, "PageDown"},    {0x52, "Insert"},      {0x53, "Delete"},       {0x56, "IntlBackslash"},
};

int ScanCode(LPARAM lparam) { return static_cast<int>((lparam >> 16) & 0xff); }

std::string PositionName(LPARAM lparam) {
  const int scanCode = ScanCode(lparam);
  const struct {
    int first;
    std::string_view keys;
    const char* prefix;
  } rows[] = {
      {0x02, "1234567890", "Digit"},
      {0x10, "QWERTYUIOP", "Key"},
      {0x1e, "ASDFGHJKL", "Key"},
      {0x2c, "ZXCVBNM", "Key"},
  };
  for (const auto& row : rows) {
    const int index = scanCode - row.first;
    if (index >= 0 && index < static_cast<int>(row.keys.size())) {
      return row.prefix + std::string(1, row.keys[static_cast<size_t>(index)]);
    }
  }
  for (const auto& each : kPositions) {
    if (each.scanCode == scanCode) return each.code;
  }
  return {};
}

// The character that the key types without Ctrl, in lower case unless Shift is down.
std::string PlainCharacter(WPARAM virtualKey) {
  auto character =
      static_cast<wchar_t>(MapVirtualKeyW(static_cast<UINT>(virtualKey), MAPVK_VK_TO_CHAR));
  if (character >= L'A' && character <= L'Z' && GetKeyState(VK_SHIFT) >= 0) character += 32;
  return character == 0 ? std::string() : Narrow(std::wstring_view(&character, 1));
}

std::string KeyName(WPARAM virtualKey, const std::wstring& text) {
  for (const auto& each : kNamedKeys) {
    if (each.virtualKey == virtualKey) return each.key;
  }
  if (virtualKey >= VK_F1 && virtualKey <= VK_F24) {
    return "F" + std::to_string(virtualKey - VK_F1 + 1);
  }
  return text.empty() ? PlainCharacter(virtualKey) : Narrow(text);
}

Json KeyEvent(const char* type, WPARAM virtualKey, LPARAM lparam, int modifiers,
              const std::string& key) {
  return MakeObject({{"type", type},
                     {"modifiers", modifiers},
                     {"key", key},
                     {"code", PositionName(lparam)},
                     {"windowsVirtualKeyCode", static_cast<int>(virtualKey)},
                     {"nativeVirtualKeyCode", static_cast<int>(virtualKey)}});
}

}  // namespace

int KeyModifiers() {
  int modifiers = 0;
  if (GetKeyState(VK_MENU) < 0) modifiers |= kAltModifier;
  if (GetKeyState(VK_CONTROL) < 0) modifiers |= kControlModifier;
  if (GetKeyState(VK_SHIFT) < 0) modifiers |= kShiftModifier;
  return modifiers;
}

Json KeyDown(WPARAM virtualKey, LPARAM lparam, std::wstring text) {
  int modifiers = KeyModifiers();
  const bool isPrintable = !text.empty() && text[0] >= L' ' && text[0] != 0x7f;
  // AltGr counts as Ctrl and Alt together, but it types plain text.
  if (isPrintable) modifiers &= ~(kControlModifier | kAltModifier);
  if (!isPrintable && virtualKey != VK_RETURN) text.clear();  // control characters type nothing
  if (virtualKey == VK_RETURN) text = L"\r";
  Json event = KeyEvent(text.empty() ? "rawKeyDown" : "keyDown", virtualKey, lparam, modifiers,
                        KeyName(virtualKey, text));
  if (!text.empty()) {
    event.members.emplace_back("text", Narrow(text));
    event.members.emplace_back("unmodifiedText", Narrow(text));
  }
  const bool wasDown = (lparam >> 30) & 1;
  event.members.emplace_back("autoRepeat", wasDown);
  return event;
}

Json KeyUp(WPARAM virtualKey, LPARAM lparam) {
  return KeyEvent("keyUp", virtualKey, lparam, KeyModifiers(), KeyName(virtualKey, {}));
}

Json Character(std::wstring text) {
  if (text == L"\n") text = L"\r";
  return MakeObject({{"type", "char"}, {"text", Narrow(text)}, {"key", Narrow(text)}});
}

}  // namespace wendra
