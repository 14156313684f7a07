// The page's own dialogs: alert, confirm, prompt, beforeunload. The page stands still until each is
// answered.
#pragma once

#include <functional>
#include <string>

#include "devruntime/webview2/settings_win.h"

namespace wendra {

// Gets the answer, and the text of a prompt. Called once: before AnswerDialog returns when the
// answer is settled, otherwise later on a thread of the dialog's own.
using DialogDone = std::function<void(bool accept, const std::string& text)>;

// Any thread; does not block. `type` is the protocol's word. A prompt that is accepted answers with
// its default text: a message box has no field to type into.
void AnswerDialog(DialogAnswer answer, const std::string& type, const std::string& message,
                  const std::string& defaultText, DialogDone done);

}  // namespace wendra
