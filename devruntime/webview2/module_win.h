// This DLL's own module handle, which window classes are registered with.
#pragma once

#include <windows.h>

namespace wendra {

HINSTANCE ThisModule();

// Keeps the DLL loaded to the end of the process: its threads run in it.
void PinThisModule();

}  // namespace wendra
