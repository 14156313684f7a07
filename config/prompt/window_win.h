// The first-run prompt's window: its controls, what they do, and how it looks.
#pragma once

#include <string>

#include "config/prompt/color.h"
#include "config/prompt/layout.h"
#include "config/prompt/text.h"
#include "win/unique.h"

#include <windows.h>

namespace wendra {

// UI thread only. The window and its controls live from construction until the user has decided;
// Handle() then is null.
class PromptWindow {
 public:
  explicit PromptWindow(HINSTANCE instance);
  ~PromptWindow();
  PromptWindow(const PromptWindow&) = delete;
  PromptWindow& operator=(const PromptWindow&) = delete;

  HWND Handle() const { return window_; }
  // In front, with the keyboard in the field.
  void Show();
  // The accepted address; "" while there is none.
  const std::string& Result() const { return result_; }

 private:
  struct Fonts {
    Font title;
    Font text;
    Font label;
    Font error;
  };
  struct BrushTraits {
    using Raw = HBRUSH;
    static Raw Empty() { return nullptr; }
    static void Close(Raw brush) { DeleteObject(brush); }
  };
  using Brush = Unique<BrushTraits>;

  static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  static LRESULT CALLBACK ButtonProcedure(HWND button, UINT message, WPARAM wparam, LPARAM lparam,
                                          UINT_PTR id, DWORD_PTR self);
  LRESULT OnMessage(UINT message, WPARAM wparam, LPARAM lparam);
  void OnCommand(WORD id, WORD notification);
  void OnAccept();
  void OnPaint();
  void OnDrawButton(const DRAWITEMSTRUCT& item);
  LRESULT OnColorStatic(HDC dc, HWND control);
  void OnHover(HWND button, bool isHovered);

  void MakeControls();
  HWND MakeControl(const wchar_t* className, const std::string& text, DWORD style, int id,
                   const PromptBox& box, const Font& font);
  void MakeField();
  void MakeButton(const std::string& text, int id, const PromptBox& box);
  PromptTextHeights MeasureTexts() const;
  void RoundCorners();
  void KeepFocus();
  void RepaintFrame();
  int Scaled(int size) const { return ScaleByPercent(size, percent_); }

  const HINSTANCE instance_;
  const int percent_;  // of 96 DPI, as the system had it at the start
  const PromptText text_;
  const Rgb accent_;
  const Fonts fonts_;
  const Brush background_;
  const Brush footer_;
  PromptLayout layout_;
  HWND window_ = nullptr;
  HWND field_ = nullptr;
  HWND error_ = nullptr;
  HWND focus_ = nullptr;    // the control that gets the keyboard with the window
  HWND hovered_ = nullptr;  // the button under the mouse
  bool hasError_ = false;
  std::string result_;
};

}  // namespace wendra
