// Replaces functions that the program imports. The import tables of the libraries stay as they are.
#pragma once

#include <windows.h>

namespace wendra {

// The slot of the program's import table that holds the address of the function `name`, from any
// library. Null when the program does not import that name.
ULONGLONG* FindImport(const char* name);

// Writes the address of another function into the slot. False: Windows does not allow it.
bool WriteImport(ULONGLONG* slot, ULONGLONG address);

// From here on the program calls `replacement` instead of the function `name`. `real` gets the
// function that the slot held; it is set before the first call can reach `replacement`. False: the
// program does not import that name, or the slot cannot be written. One thread at a time.
template <typename Function>
bool RedirectImport(const char* name, Function replacement, Function& real) {
  ULONGLONG* const slot = FindImport(name);
  if (!slot) return false;
  real = reinterpret_cast<Function>(*slot);
  return WriteImport(slot, reinterpret_cast<ULONGLONG>(replacement));
}

}  // namespace wendra
