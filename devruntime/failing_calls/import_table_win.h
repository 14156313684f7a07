// Replaces functions that the program imports. The import tables of the libraries stay as they are.
#pragma once

#include <windows.h>

namespace wendra {

// Replaces the function `name` of any library: from here on the program calls `replacement`.
// `*real` gets the function that the program called until then; it is set before the first call can
// reach `replacement`. False: the slot of the import table cannot be written. One thread at a time.
// A function of a delayed library is found at its first call only, so `name` must not have been
// called yet; the program may also not import it at all.
bool RedirectImport(const char* name, void* replacement, void** real);

template <typename Function>
bool RedirectImport(const char* name, Function replacement, Function& real) {
  return RedirectImport(name, reinterpret_cast<void*>(replacement),
                        reinterpret_cast<void**>(&real));
}

}  // namespace wendra
