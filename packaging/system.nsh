; Rights, accounts, and one installer at a time.

; Takes the mutex of all installers and uninstallers for this user, or for all users; it is given back
; at the end of the process.
!macro TakeMutexFunction un
  Function ${un}TakeMutex
    StrCpy $R1 "Local\Wendra.Setup"
    ${If} $IsForAll == 1
      StrCpy $R1 "Global\Wendra.Setup"
    ${EndIf}
    System::Call 'kernel32::CreateMutexW(p 0, i 0, w R1) p .R0 ?e'
    Pop $R2
    ${If} $R2 = 183 ; ERROR_ALREADY_EXISTS
    ${OrIf} $R0 P= 0 ; it belongs to another account
      ${Refuse} ${EXIT_SECOND} "$(SECOND_INSTALLER)"
    ${EndIf}
  FunctionEnd
!macroend
!insertmacro TakeMutexFunction ""
!insertmacro TakeMutexFunction "un."

; After an update the program is started without the rights of an administrator. $R7 is the code of the
; elevated instance, which has installed it.
!macro AfterElevation code
  ${If} ${code} == 0
  ${AndIf} $IsUpdate == 1
    Call ChooseFolder
    Call StartProgram
  ${EndIf}
!macroend
!define AfterElevation "!insertmacro AfterElevation"
!macro un.AfterElevation code
!macroend
!define un.AfterElevation "!insertmacro un.AfterElevation"

; Without the rights of an administrator: starts this program again with them, waits for it, and ends
; with its code.
!macro GetElevationFunction un
  Function ${un}GetElevation
    UserInfo::GetAccountType
    Pop $R0
    ${If} $R0 == "Admin"
      Return
    ${EndIf}
    ${If} $IsElevated == 1 ; the system has not given them: do not ask again and again
      ${Refuse} ${EXIT_ELEVATION} "$(NO_ELEVATION)"
    ${EndIf}
    ${GetParameters} $R1
    StrCpy $R1 "$R1 /ALLUSERS /ELEVATED" ; another account may find another installation
    ${If} $INSTDIR != "" ; /D is no part of the parameters, and must be the last one
      StrCpy $R1 "$R1 /D=$INSTDIR"
    ${EndIf}
    StrCpy $R2 $EXEPATH
    ; SHELLEXECUTEINFOW, 112 bytes; 0x540: give the process, no box, no delay.
    System::Call '*(&i4 112, &i4 0x540, p $HWNDPARENT, w "runas", w R2, w R1, p 0, &i4 1, &i4 0, p 0, p 0, p 0, p 0, &i4 0, &i4 0, p 0, p 0) p .R3'
    System::Call 'shell32::ShellExecuteExW(p R3) i .R4 ?e'
    Pop $R5
    ${If} $R4 = 0
      System::Free $R3
      ${Refuse} ${EXIT_ELEVATION} "$(NO_ELEVATION)"
    ${EndIf}
    System::Call '*$R3(&i4, &i4, p, p, p, p, p, &i4, &i4, p, p, p, p, &i4, &i4, p, p .R6)'
    System::Free $R3
    System::Call 'kernel32::WaitForSingleObject(p R6, i -1)'
    System::Call 'kernel32::GetExitCodeProcess(p R6, *i .R7)'
    System::Call 'kernel32::CloseHandle(p R6)'
    ${${un}AfterElevation} $R7
    SetErrorLevel $R7
    Quit
  FunctionEnd
!macroend
!insertmacro GetElevationFunction ""
!insertmacro GetElevationFunction "un."

; Pushes 1 if this is the account of the system, in which administration tools run.
Function IsSystemAccount
  ReadEnvStr $R9 "USERPROFILE"
  StrCpy $R8 "$SYSDIR\config\systemprofile"
  ${If} $R9 == $R8
    Push 1
  ${Else}
    Push 0
  ${EndIf}
FunctionEnd
