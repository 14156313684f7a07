// Copies what the program sends to the debugger to its standard output, losing no character.
//
// On a development machine without Windows the debugger's channel is narrow text; the tap sits in
// front of it, where the lines are still wide.
#pragma once

namespace wendra {

// Redirects the main program's import of OutputDebugStringW, if WENDRA_DEV_LOG is 1. Each text is
// written as UTF-8 with one WriteFile, from whatever thread, and then goes where it always went.
// Call while the DLL is loaded; a program that does not import the function is left alone.
void InstallDebugTap();

}  // namespace wendra
