// Creates the first-run prompt's window with its controls, draws it and handles its messages.
#pragma once

#include <string>

#include "config/prompt/color.h"
#include "config/prompt/layout.h"
#include "config/prompt/text.h"
#include "win/unique.h"

#include <windows.h>

namespace wendra {

// The constructor creates the window and its controls, hidden. They exist until the user has
// decided or the destructor runs. UI thread only.
class PromptWindow {
 public:
  explicit PromptWindow(HINSTANCE instance);
  ~PromptWindow();
  PromptWindow(const PromptWindow&) = delete;
  PromptWindow& operator=(const PromptWindow&) = delete;

  // Null after the user has decided, and if the window could not be created.
  HWND Handle() const { return window_; }
  // Shows the window in front of others and gives the field the focus.
  void Show();
  // The accepted address; "" until the user accepts one.
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
  const int percent_;  // the system's DPI at construction, as a percentage of 96
  const PromptText text_;
  const Rgb accent_;
  const Fonts fonts_;
  const Brush background_;
  const Brush footer_;
  PromptLayout layout_;
  HWND window_ = nullptr;
  HWND field_ = nullptr;
  HWND error_ = nullptr;
  HWND focus_ = nullptr;    // the control that gets the focus when the window gets it
  HWND hovered_ = nullptr;  // the button under the mouse; may be null
  bool hasError_ = false;
  std::string result_;
};

}  // namespace wendra
