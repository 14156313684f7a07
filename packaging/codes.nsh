; The exit codes besides 0 (done), 1 (cancelled by the user) and 2 (an error of the system).
; docs/deploying.md and the manifests for winget have the same numbers.
!define EXIT_CANCELLED 1
!define EXIT_ARGUMENT 10
!define EXIT_ACCESS 11
!define EXIT_SECOND 12
!define EXIT_RUNNING 13
!define EXIT_NEWER 14
!define EXIT_IN_USE 15
!define EXIT_FULL 16
!define EXIT_PATH 17
!define EXIT_ELEVATION 18
!define EXIT_RUNTIME 19
!define EXIT_OTHER_FILES 20

; Ends the installer with this code; without /S the user is told why. For .onInit and for pages.
!macro Refuse code text
  SetErrorLevel ${code}
  MessageBox MB_OK|MB_ICONSTOP "${text}" /SD IDOK
  Quit
!macroend
!define Refuse "!insertmacro Refuse"

; The same in a section: what is under way is broken off.
!macro Fail code text
  SetErrorLevel ${code}
  MessageBox MB_OK|MB_ICONSTOP "${text}" /SD IDOK
  Abort "${text}"
!macroend
!define Fail "!insertmacro Fail"
