; The installer for Windows. tools/package calls makensis with these definitions:
;
;   VERSION    four numbers, the version of wendra.exe
;   TITLE      the name under "Installed apps"
;   FILES      a folder with everything that is installed
;   SIZE_KIB   their size
;   PICTURE    the picture beside the first and the last page, a BMP of 164 by 314 pixels
;   OUTPUT     the installer to write
;   APP_ID     the program's application identifier
;   PUBLISHER  the maker under "Installed apps"
;   LIST       a file with a ${MoveFile} for each installed file, wendra.exe last
;   REMOVAL    a file with a ${RemoveFile} for each of the others
;
; docs/deploying.md describes the switches and the exit codes.
Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma
SetDateSave off ; the times of the files would differ from build to build
ManifestSupportedOS Win10
ManifestDPIAware true
ManifestLongPathAware true
RequestExecutionLevel user ; no prompt for an installation for one user

; Each is 0 or 1.
Var IsForAll       ; /ALLUSERS, or found out
Var IsForOne       ; /CURRENTUSER
Var IsElevated     ; another instance has started this one with the rights of an administrator
Var IsUpdate       ; /UPDATE: the program is started again afterwards
Var MayDowngrade   ; /DOWNGRADE: an older version may replace a newer one
Var WithoutRuntime ; /NORUNTIME: install even if the WebView2 runtime is missing
Var WantsDesktop   ; /DESKTOP: a shortcut on the desktop

!include "FileFunc.nsh"
!include "LogicLib.nsh"
!include "MUI2.nsh"
!include "WordFunc.nsh"
!include "x64.nsh"
!include "Win\COM.nsh"
!include "Win\Propkey.nsh"
!include "codes.nsh"
!include "system.nsh"
!include "program.nsh"
!include "runtime.nsh"
!include "files.nsh"

Name "${TITLE}"
OutFile "${OUTPUT}"
BrandingText "${TITLE} ${VERSION}"
InstallDir "" ; .onInit decides
AllowRootDirInstall false
VIProductVersion "${VERSION}"
VIAddVersionKey /LANG=0 "ProductName" "Wendra"
VIAddVersionKey /LANG=0 "CompanyName" "${PUBLISHER}"
VIAddVersionKey /LANG=0 "FileDescription" "Wendra Setup"
VIAddVersionKey /LANG=0 "FileVersion" "${VERSION}"
VIAddVersionKey /LANG=0 "ProductVersion" "${VERSION}"
VIAddVersionKey /LANG=0 "LegalCopyright" "MIT licence"

!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Wendra"
!define APP_PATH_KEY "Software\Microsoft\Windows\CurrentVersion\App Paths\wendra.exe"
!define UPDATER_KEY "Software\Wendra\Wendra\WinSparkle"
!define PROJECTS_KEY "Software\${APP_ID}"

!define MUI_ICON "${__FILEDIR__}\..\resources\wendra.ico"
!define MUI_UNICON "${__FILEDIR__}\..\resources\wendra.ico"
!define MUI_WELCOMEFINISHPAGE_BITMAP "${PICTURE}"
!define MUI_UNWELCOMEFINISHPAGE_BITMAP "${PICTURE}"
!define MUI_ABORTWARNING
!define MUI_CUSTOMFUNCTION_ABORT OnCancel

!define MUI_PAGE_CUSTOMFUNCTION_PRE SkipIfUpdate
!insertmacro MUI_PAGE_WELCOME
!define MUI_PAGE_CUSTOMFUNCTION_PRE SkipIfUpdate
!define MUI_PAGE_CUSTOMFUNCTION_LEAVE CheckFolder
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!define MUI_PAGE_CUSTOMFUNCTION_PRE SkipIfUpdate
!define MUI_PAGE_CUSTOMFUNCTION_SHOW HideRunIfElevated
!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_FUNCTION StartProgram
!define MUI_FINISHPAGE_SHOWREADME ""
!define MUI_FINISHPAGE_SHOWREADME_TEXT "$(DESKTOP_SHORTCUT)"
!define MUI_FINISHPAGE_SHOWREADME_FUNCTION MakeDesktopShortcut
!define MUI_FINISHPAGE_SHOWREADME_NOTCHECKED
!insertmacro MUI_PAGE_FINISH

!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES

!insertmacro MUI_LANGUAGE "English" ; the first is for all other languages
!insertmacro MUI_LANGUAGE "German"
!include "texts.nsh"

Function SkipIfUpdate
  ${If} $IsUpdate == 1
    Abort
  ${EndIf}
FunctionEnd

Function HideRunIfElevated
  ${If} $IsElevated == 1
    ${NSD_Uncheck} $mui.FinishPage.Run
    ShowWindow $mui.FinishPage.Run ${SW_HIDE}
  ${EndIf}
FunctionEnd

Function OnCancel
  SetErrorLevel ${EXIT_CANCELLED}
FunctionEnd

; ---- the beginning

Function .onInit
  SetOutPath "$TEMP" ; the caller's folder would be locked; the updater's is the program's own
  SetRegView 64
  ${If} ${Silent}
    SetAutoClose true
  ${EndIf}
  Call ReadSwitches
  ${If} $IsForAll == 1
    Call GetElevation
  ${EndIf}
  Call TakeMutex
  Call ChooseFolder
  Call CheckVersion
  Call NeedRuntime
  ${If} ${Silent}
  ${OrIf} $IsUpdate == 1 ; which does not show the page of the folder
    Call CheckFolder
  ${EndIf}
FunctionEnd

; Reads all switches. An unknown one ends the installer: a misspelt one must not be ignored.
Function ReadSwitches
  StrCpy $IsForAll 0
  StrCpy $IsElevated 0
  StrCpy $IsUpdate 0
  StrCpy $MayDowngrade 0
  StrCpy $WithoutRuntime 0
  StrCpy $WantsDesktop 0
  ${GetParameters} $R0
  StrCpy $IsForOne 0
  ${Do}
    ${WordFind} "$R0 " " " "+1" $R1
    ${If} $R1 == "$R0 "
    ${OrIf} $R1 == ""
      ${Break}
    ${EndIf}
    StrLen $R2 $R1
    IntOp $R2 $R2 + 1
    StrCpy $R0 $R0 "" $R2
    ${If} $R1 == "/S"
    ${AndIfNot} ${Silent} ; "/s": NSIS takes capitals only, and a script must get a code, not a window
      SetSilent silent
      StrCpy $R1 "$R1 (/S)"
    ${EndIf}
    ${Select} $R1
      ${Case} "/ALLUSERS"
        StrCpy $IsForAll 1
      ${Case} "/CURRENTUSER"
        StrCpy $IsForOne 1
      ${Case} "/UPDATE"
        StrCpy $IsUpdate 1
        SetAutoClose true
      ${Case} "/ELEVATED"
        StrCpy $IsElevated 1
      ${Case} "/DOWNGRADE"
        StrCpy $MayDowngrade 1
      ${Case} "/NORUNTIME"
        StrCpy $WithoutRuntime 1
      ${Case} "/DESKTOP"
        StrCpy $WantsDesktop 1
      ${Case2} "/S" "/NCRC"
      ${Default}
        StrCpy $0 $R1
        ${Refuse} ${EXIT_ARGUMENT} "$(BAD_ARGUMENT)"
    ${EndSelect}
  ${Loop}
  Call CheckFolderArgument
  ${If} $IsForOne == 1
    ${If} $IsForAll == 1
      StrCpy $0 "/CURRENTUSER"
      ${Refuse} ${EXIT_ARGUMENT} "$(BAD_ARGUMENT)"
    ${EndIf}
    Return
  ${EndIf}
  ; An update goes to where the program is. The account of the system has no desktop.
  ReadRegStr $R1 HKCU "${UNINSTALL_KEY}" "InstallLocation"
  ReadRegStr $R2 HKLM "${UNINSTALL_KEY}" "InstallLocation"
  ${If} $R1 == ""
  ${AndIf} $R2 != ""
    StrCpy $IsForAll 1
  ${EndIf}
  Call IsSystemAccount
  Pop $R1
  ${If} $R1 == 1
    StrCpy $IsForAll 1
  ${EndIf}
FunctionEnd

Function ChooseFolder
  ${If} $IsForAll == 1
    SetShellVarContext all
    ReadRegStr $R1 HKLM "${UNINSTALL_KEY}" "InstallLocation"
    StrCpy $R2 "$PROGRAMFILES64\Wendra"
  ${Else}
    SetShellVarContext current
    ReadRegStr $R1 HKCU "${UNINSTALL_KEY}" "InstallLocation"
    StrCpy $R2 "$LOCALAPPDATA\Programs\Wendra"
  ${EndIf}
  ${If} $INSTDIR != "" ; /D
    Return
  ${EndIf}
  ${If} $R1 != ""
    StrCpy $INSTDIR $R1
  ${Else}
    StrCpy $INSTDIR $R2
  ${EndIf}
FunctionEnd

; A newer version that is installed stays, unless the user wants it otherwise.
Function CheckVersion
  ReadRegStr $R0 SHCTX "${UNINSTALL_KEY}" "DisplayVersion"
  ${If} $R0 == ""
  ${OrIf} $MayDowngrade == 1
    Return
  ${EndIf}
  ${VersionCompare} $R0 "${VERSION}" $R1
  ${If} $R1 != 1
    Return
  ${EndIf}
  StrCpy $0 $R0
  ${If} ${Silent}
    ${Refuse} ${EXIT_NEWER} "$(NEWER_INSTALLED)"
  ${EndIf}
  MessageBox MB_YESNO|MB_ICONQUESTION "$(ASK_DOWNGRADE)" IDYES yes
  SetErrorLevel ${EXIT_NEWER}
  Quit
yes:
FunctionEnd

; ---- the installation

Section "Wendra"
  AddSize ${SIZE_KIB} ; the files are written by a function, which NSIS does not count
  Call StageFiles
  Call CloseProgram
  Call MoveFiles
  Call WriteRegistry
  Call MakeShortcuts
  Call RemoveStage
  ${If} $IsUpdate == 1
    Call StartProgram
  ${EndIf}
SectionEnd

Function .onInstFailed
  Call RemoveStage
  ${If} $IsUpdate == 1
  ${AndIf} ${FileExists} "$INSTDIR\wendra.exe"
    Call StartProgram ; the old version, which was closed
  ${EndIf}
FunctionEnd

; DisplayVersion is written after the files: the tools of administrators read it to learn whether the
; installation is done.
Function WriteRegistry
  StrCpy $R1 ""
  ${If} $IsForAll == 1
    StrCpy $R1 " /ALLUSERS"
  ${EndIf}
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayName" "${TITLE}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "Publisher" "${PUBLISHER}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\wendra.exe,0"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"$R1'
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe"$R1 /S'
  ${GetTime} "" "L" $0 $1 $2 $3 $4 $5 $6
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "InstallDate" "$2$1$0"
  ${GetSize} "$INSTDIR" "/S=0K /G=0" $0 $1 $2
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "EstimatedSize" $0
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoRepair" 1
  WriteRegStr SHCTX "${APP_PATH_KEY}" "" "$INSTDIR\wendra.exe"
  ClearErrors
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  ${If} ${Errors}
    Call RestoreFiles
    ${Fail} ${EXIT_ACCESS} "$(NO_REGISTRY)"
  ${EndIf}
FunctionEnd

Function MakeShortcuts
  ${MakeShortcut} "$SMPROGRAMS\Wendra.lnk"
  ${If} $WantsDesktop == 1
    Call MakeDesktopShortcut
  ${EndIf}
FunctionEnd

Function MakeDesktopShortcut
  ${MakeShortcut} "$DESKTOP\Wendra.lnk"
FunctionEnd

; Without an argument: the program shows the server that it has saved.
Function StartProgram
  ${If} $IsElevated == 1
    Return ; the instance that has started this one does it, as the user
  ${EndIf}
  SetOutPath "$TEMP"
  Exec '"$INSTDIR\wendra.exe"'
FunctionEnd

; ---- the uninstaller

Var IsRegistered ; 1: the entry under "Installed apps" is that of this folder
Var PurgesData   ; 1: /PURGE, data and configuration of this user are removed too

Function un.onInit
  SetOutPath "$TEMP" ; the program's folder would be locked
  SetRegView 64
  StrCpy $IsForAll 0
  StrCpy $IsElevated 0
  StrCpy $PurgesData 0
  ${GetParameters} $R0
  ${GetOptions} $R0 "/ELEVATED" $R1
  ${IfNot} ${Errors}
    StrCpy $IsElevated 1
  ${EndIf}
  ; The folder says whether it was an installation for all users; the switch may be missing.
  ReadRegStr $R1 HKLM "${UNINSTALL_KEY}" "InstallLocation"
  ${If} $R1 == $INSTDIR
    StrCpy $IsForAll 1
    SetShellVarContext all
    Call un.GetElevation
  ${EndIf}
  StrCpy $IsRegistered 0
  ReadRegStr $R1 SHCTX "${UNINSTALL_KEY}" "InstallLocation"
  ${If} $R1 == $INSTDIR
    StrCpy $IsRegistered 1
  ${EndIf}
  ClearErrors
  ${GetOptions} $R0 "/PURGE" $R1
  ${IfNot} ${Errors}
    StrCpy $PurgesData 1
  ${EndIf}
  ClearErrors
  Call un.TakeMutex
FunctionEnd

Section "un.Wendra"
  Call un.CloseProgram
  Call un.RemoveFiles
  ${If} $IsRegistered == 1 ; otherwise these belong to a later installation in another folder
    Delete "$SMPROGRAMS\Wendra.lnk"
    Delete "$DESKTOP\Wendra.lnk"
    DeleteRegKey SHCTX "${APP_PATH_KEY}"
    DeleteRegKey SHCTX "${UNINSTALL_KEY}"
  ${EndIf}
  DeleteRegKey HKCU "${UPDATER_KEY}"
  DeleteRegKey /ifempty HKCU "Software\Wendra\Wendra"
  DeleteRegKey /ifempty HKCU "Software\Wendra"
  ${If} $PurgesData == 1
    DeleteRegKey HKCU "${PROJECTS_KEY}"
    SetShellVarContext current
    RMDir /r "$LOCALAPPDATA\Wendra"
    RMDir /r "$PROFILE\.config\wendra"
    RMDir "$PROFILE\.config"
  ${EndIf}
SectionEnd
