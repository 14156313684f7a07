// This DLL as a module of the process.
#pragma once

#include <windows.h>

namespace wendra {

// The module that window classes of this DLL are registered with.
HINSTANCE ThisModule();

// Keeps the DLL loaded until the process ends, because its threads run code of the DLL.
void PinThisModule();

}  // namespace wendra
