// A program that imports version.dll in the ordinary way: Windows loads that library when the
// program starts, and takes one that lies beside the program.
#include <windows.h>

#include <winver.h>

int wmain() {
  DWORD handle = 0;
  return static_cast<int>(GetFileVersionInfoSizeW(L"kernel32.dll", &handle));
}
