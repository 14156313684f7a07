// The functions that the program itself imports, and putting others in their place.
#pragma once

#include <windows.h>

namespace wendra {

// The slot of the program's import table that holds the function of that name, from whatever
// library; null when the program does not import it by name.
ULONGLONG* FindImportOfProgram(const char* name);

// From here on the program calls `replacement` where it would call what the slot holds, which is
// given back; null when the slot cannot be written to. Not for use beside other threads.
void* RedirectImport(ULONGLONG* slot, void* replacement);

}  // namespace wendra
