// What differs between the two kinds of machines on which the tests run: Debian with Wine, and
// Windows. Both folders offer the same names:
//
//   kWindowsNode         a Node for Windows, as a Windows path
//   windowsPath(path)    the path of a file for Windows programs
//   makeProfile()        the folder of a user profile in which no host has run
//   removeProfile(path)  removes what the tests have put into such a folder
//   Launch               one start of the host, see debian/machine.mjs
import * as debian from './debian/machine.mjs';
import * as windows from './windows/machine.mjs';

// An import that waits would let leftovers.mjs declare its hook before those of the tests.
export const { kWindowsNode, Launch, makeProfile, removeProfile, windowsPath } =
  process.platform === 'win32' ? windows : debian;
