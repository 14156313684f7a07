; Closes the program that runs from $INSTDIR. A copy elsewhere goes on.

!define CLOSE_LIMIT_MS 20000
!define PROCESS_RIGHTS 0x101000 ; SYNCHRONIZE and PROCESS_QUERY_LIMITED_INFORMATION

; Finds the first of our windows after the window in $R1 (0: the first of all). $R1 becomes the window,
; or 0; $R2 a handle of its process.
!macro CloseProgramFunctions un
  Function ${un}NextWindow
    ${Do}
      FindWindow $R1 "WendraHostWnd" "" 0 $R1
      ${If} $R1 = 0
        Return
      ${EndIf}
      System::Call 'user32::GetWindowThreadProcessId(p R1, *i .R3)'
      System::Call 'kernel32::OpenProcess(i ${PROCESS_RIGHTS}, i 0, i R3) p .R2'
      ${If} $R2 P<> 0
        System::Call 'kernel32::QueryFullProcessImageNameW(p R2, i 0, w .R4, *i ${NSIS_MAX_STRLEN})'
        ${If} $R4 == "$INSTDIR\wendra.exe"
          Return
        ${EndIf}
        System::Call 'kernel32::CloseHandle(p R2)'
      ${EndIf}
    ${Loop}
  FunctionEnd

  ; Asks each window to close, and waits for the end of its process: the files are locked until then.
  Function ${un}CloseProgram
    StrCpy $R5 0 ; 1: the user has been asked
    ${Do}
      StrCpy $R1 0
      Call ${un}NextWindow
      ${If} $R1 = 0
        Return
      ${EndIf}
      ${If} $R5 = 0
      ${AndIfNot} ${Silent}
      ${AndIf} $IsUpdate != 1
        MessageBox MB_OKCANCEL|MB_ICONINFORMATION "$(ASK_CLOSE)" IDOK close
        System::Call 'kernel32::CloseHandle(p R2)'
        SetErrorLevel ${EXIT_CANCELLED}
        Abort
        close:
      ${EndIf}
      StrCpy $R5 1
      System::Call 'user32::PostMessageW(p R1, i 0x10, p 0, p 0)' ; WM_CLOSE
      System::Call 'kernel32::WaitForSingleObject(p R2, i ${CLOSE_LIMIT_MS}) i .R6'
      System::Call 'kernel32::CloseHandle(p R2)'
      ${If} $R6 <> 0
        ${Fail} ${EXIT_RUNNING} "$(DOES_NOT_CLOSE)"
      ${EndIf}
    ${Loop}
  FunctionEnd
!macroend
!insertmacro CloseProgramFunctions ""
!insertmacro CloseProgramFunctions "un."

; A shortcut with the program's application identifier, so that Windows groups its windows under it.
; VARIANT of the type VT_LPWSTR (31); in 64-bit code its pointer begins at byte 8.
!macro MakeShortcut link
  CreateShortcut "${link}" "$INSTDIR\wendra.exe" "" "$INSTDIR\wendra.exe" 0
  !insertmacro ComHlpr_CreateInProcInstance ${CLSID_ShellLink} ${IID_IShellLink} r0 ""
  ${If} $0 P<> 0
    ${IUnknown::QueryInterface} $0 '("${IID_IPersistFile}", .r1)'
    ${If} $1 P<> 0
      ${IPersistFile::Load} $1 '("${link}", ${STGM_READWRITE})'
      ${IUnknown::QueryInterface} $0 '("${IID_IPropertyStore}", .r2)'
      ${If} $2 P<> 0
        System::Call 'shlwapi::SHStrDupW(w "${APP_ID}", *p .r3)'
        System::Call '*${SYSSTRUCT_PROPERTYKEY}(${PKEY_AppUserModel_ID}) p .r4'
        System::Call '*(&i2 31, &i6 0, p r3, p 0) p .r5'
        ${IPropertyStore::SetValue} $2 '($4, $5)'
        ${IPropertyStore::Commit} $2 ""
        System::Call 'ole32::PropVariantClear(p r5)'
        System::Free $5
        System::Free $4
        ${IUnknown::Release} $2 ""
      ${EndIf}
      ${IPersistFile::Save} $1 '("${link}", 1)'
      ${IUnknown::Release} $1 ""
    ${EndIf}
    ${IUnknown::Release} $0 ""
  ${EndIf}
!macroend
!define MakeShortcut "!insertmacro MakeShortcut"
