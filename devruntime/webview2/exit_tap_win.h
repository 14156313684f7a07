// Writes the program's exit code into the events file when the program ends by itself.
//
// A launcher outside cannot always ask for it: Wine's server kills a process that takes longer than
// half a second to go after its end, and then the system outside only knows of the kill.
#pragma once

namespace wendra {

// Redirects the main program's import of the C library's exit, if WENDRA_DEV_EVENTS names a file.
// Call while the DLL is loaded; a program that does not import the function is left alone.
void InstallExitTap();

}  // namespace wendra
