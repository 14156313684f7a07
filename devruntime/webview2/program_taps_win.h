// Taps in the program's import table, through which tools learn what the program itself writes to
// the debugger and with which code it ends.
#pragma once

namespace wendra {

// If WENDRA_DEV_LOG is 1: each text that the program sends with OutputDebugStringW is written to
// its standard output as UTF-8, with one write and from the calling thread, and then sent on. Wine
// keeps only narrow text for a debugger; here the text is still UTF-16, so no character is lost.
// Call it while the DLL is being loaded. Nothing happens when the program does not import the
// function.
void TapDebuggerOutput();

// If WENDRA_DEV_EVENTS names a file: when the program calls the C library's exit, the exit code is
// written into that file. A launcher outside Wine cannot always learn the code: Wine's server kills
// a process that still exists half a second after it has ended, and the launcher sees only the
// kill. Call it as the function above.
void TapExit();

// If WENDRA_DEV_SHELL_MS is a number: ShellExecuteW takes so many milliseconds longer, and
// dispatches messages meanwhile, as it may on Windows. Call it as the functions above.
void TapShell();

}  // namespace wendra
