; The folder of the program, and the files in it.
;
; An installation must never leave a folder from which the program does not start, whenever it is
; broken off. So the new files are first written into the folder STAGE, and then moved one by one over
; the old ones, wendra.exe last: the old program works with the new libraries too. What is replaced is
; kept in the folder KEPT until the end, and comes back if a file cannot be replaced.

!define STAGE "$INSTDIR\.wendra-new"
!define KEPT "$INSTDIR\.wendra-old"
!define LONGEST_PATH 200 ; names of files in the folder, and of the update library's, must fit behind it

; Refuses a /D that NSIS does not take, or takes for something else: it must be the last argument,
; without quotes, and absolute.
Function CheckFolderArgument
  System::Call 'kernel32::GetCommandLineW() w .R1'
  ${WordFind} "$R1 " "/D=" "E+1{" $R2
  ${If} ${Errors}
    ClearErrors
    Return ; there is none
  ${EndIf}
  ClearErrors
  StrLen $R3 $R2
  IntOp $R4 $R3 + 3
  StrCpy $R5 $R1 "" $R4 ; what follows /D=
  StrCpy $R6 $R2 1 -1   ; the character before it
  ${If} $R6 == " "
  ${AndIf} $R5 == $INSTDIR
    Return
  ${EndIf}
  ; NSIS takes a /S behind /D= for a part of the folder. A script must get a code, not a window.
  ${WordFind} "$R1 " " /S " "E+1{" $R2
  ${IfNot} ${Errors}
    SetSilent silent
  ${EndIf}
  ClearErrors
  StrCpy $0 "/D=$R5"
  ${Refuse} ${EXIT_ARGUMENT} "$(BAD_ARGUMENT)"
FunctionEnd

; On the page of the folder the user may choose another one.
!macro RefuseFolder code text
  ${IfNot} ${Silent}
    MessageBox MB_OK|MB_ICONEXCLAMATION "${text}"
    Abort
  ${EndIf}
  SetErrorLevel ${code}
  Quit
!macroend
!define RefuseFolder "!insertmacro RefuseFolder"

; Refuses a folder whose name is too long, that cannot be written, or on a disk without room.
Function CheckFolder
  StrLen $R1 $INSTDIR
  ${If} $R1 > ${LONGEST_PATH}
    ${RefuseFolder} ${EXIT_PATH} "$(PATH_TOO_LONG)"
  ${EndIf}
  ${If} ${FileExists} "$INSTDIR\*.*"
  ${AndIfNot} ${FileExists} "$INSTDIR\wendra.exe"
  ${AndIfNot} ${FileExists} "${STAGE}\*.*" ; an installation here was broken off
    ${DirState} "$INSTDIR" $R1
    ${If} $R1 = 1
      ${RefuseFolder} ${EXIT_OTHER_FILES} "$(OTHER_FILES)"
    ${EndIf}
  ${EndIf}
  StrCpy $R9 0 ; 1: the folder was made to try it
  ${IfNot} ${FileExists} "$INSTDIR\*.*"
    StrCpy $R9 1
  ${EndIf}
  ClearErrors
  CreateDirectory "${STAGE}"
  FileOpen $R2 "${STAGE}\try" w
  ${If} ${Errors}
    RMDir "${STAGE}"
    ${RefuseFolder} ${EXIT_ACCESS} "$(NO_ACCESS)"
  ${EndIf}
  FileClose $R2
  System::Call 'kernel32::GetDiskFreeSpaceExW(w "$INSTDIR", *l .R3, p 0, p 0) i .R4'
  Delete "${STAGE}\try"
  RMDir "${STAGE}"
  ${If} $R9 = 1
    RMDir "$INSTDIR"
  ${EndIf}
  SectionGetSize 0 $R5
  IntOp $R5 $R5 * 2 ; the new files and those that are kept
  System::Int64Op $R5 * 1024
  Pop $R5
  System::Int64Op $R3 < $R5
  Pop $R6
  ${If} $R4 <> 0
  ${AndIf} $R6 = 1
    ${RefuseFolder} ${EXIT_FULL} "$(DISK_FULL)"
  ${EndIf}
FunctionEnd

; Writes all files into the folder STAGE. Everything else in $INSTDIR stays as it is.
Function StageFiles
  RMDir /r "${STAGE}" ; of an installation that was broken off
  ClearErrors
  SetOutPath "${STAGE}"
  SetOverwrite try ; otherwise a silent installer goes on after a file that cannot be written
  File /r "${FILES}\*.*"
  WriteUninstaller "${STAGE}\uninstall.exe"
  SetOutPath "$TEMP" ; the folder of the last files would be locked
  ${If} ${Errors}
    ${Fail} ${EXIT_FULL} "$(DISK_FULL)"
  ${EndIf}
FunctionEnd

; Moves one file from STAGE to its place; the old one is kept in KEPT. A scanner for viruses may hold a
; new file for a moment, so the move is tried again for two seconds.
!macro MoveFile name
  StrCpy $0 "${name}"
  ${If} ${FileExists} "$INSTDIR\${name}"
    System::Call 'kernel32::CopyFileW(w "$INSTDIR\${name}", w "${KEPT}\${name}", i 0) i .R1'
  ${EndIf}
  ${For} $R2 1 10
    System::Call 'kernel32::MoveFileExW(w "${STAGE}\${name}", w "$INSTDIR\${name}", i 9) i .R1' ; replace, write through
    ${If} $R1 <> 0
      ${Break}
    ${EndIf}
    Sleep 200
  ${Next}
  ${If} $R1 = 0
    Call RestoreFiles
    ${Fail} ${EXIT_IN_USE} "$(FILE_IN_USE)"
  ${EndIf}
!macroend
!define MoveFile "!insertmacro MoveFile"

Function MoveFiles
  RMDir /r "${KEPT}"
  CreateDirectory "${KEPT}"
  !include "${LIST}"
  ${MoveFile} "uninstall.exe"
FunctionEnd

Function RestoreFiles
  FindFirst $R2 $R3 "${KEPT}\*.*"
  ${DoWhile} $R3 != ""
    ${IfNot} ${FileExists} "${KEPT}\$R3\*.*" ; "." and ".." are folders
      System::Call 'kernel32::MoveFileExW(w "${KEPT}\$R3", w "$INSTDIR\$R3", i 9)'
    ${EndIf}
    FindNext $R2 $R3
  ${Loop}
  FindClose $R2
FunctionEnd

Function RemoveStage
  RMDir /r "${STAGE}"
  RMDir /r "${KEPT}"
  RMDir "$INSTDIR" ; only if it is empty: nothing had been installed here before
FunctionEnd

!macro RemoveFile name
  Delete "$INSTDIR\${name}"
!macroend
!define RemoveFile "!insertmacro RemoveFile"

; Removes what was installed, and nothing else.
Function un.RemoveFiles
  ${RemoveFile} "wendra.exe"
  ${If} ${FileExists} "$INSTDIR\wendra.exe" ; another user runs it
    StrCpy $0 "wendra.exe"
    ${Fail} ${EXIT_IN_USE} "$(FILE_IN_USE)"
  ${EndIf}
  !include "${REMOVAL}"
  Delete "$INSTDIR\uninstall.exe"
  RMDir /r "${STAGE}"
  RMDir /r "${KEPT}"
  RMDir "$INSTDIR"
  ${If} $INSTDIR == "$LOCALAPPDATA\Programs\Wendra"
    RMDir "$LOCALAPPDATA\Programs" ; only if it is empty: the installer made it
  ${EndIf}
FunctionEnd
