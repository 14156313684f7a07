; Microsoft's WebView2 runtime: without it the program shows an empty window.

!define RUNTIME_CLIENT "Microsoft\EdgeUpdate\Clients\{F3017226-FE2A-4295-8BDF-00C3A9A7E4C5}"
!define RUNTIME_WAIT_STEPS 240 ; of half a second: some of Microsoft's installers end before they are done

; Pushes 1 if a runtime is registered for this user or for all.
Function HasRuntime
  ReadRegStr $R1 HKLM "SOFTWARE\WOW6432Node\${RUNTIME_CLIENT}" "pv"
  ReadRegStr $R2 HKCU "Software\${RUNTIME_CLIENT}" "pv"
  ${If} $R1 == ""
  ${OrIf} $R1 == "0.0.0.0"
    ${If} $R2 == ""
    ${OrIf} $R2 == "0.0.0.0"
      Push 0
      Return
    ${EndIf}
  ${EndIf}
  Push 1
FunctionEnd

; Runs Microsoft's installer if one lies beside this one, and refuses to go on without a runtime.
Function NeedRuntime
  ${If} $WithoutRuntime == 1
    Return
  ${EndIf}
  Call HasRuntime
  Pop $R0
  ${If} $R0 = 1
    Return
  ${EndIf}
  StrCpy $R3 "$EXEDIR\MicrosoftEdgeWebView2RuntimeInstallerX64.exe"
  ${IfNot} ${FileExists} $R3
    StrCpy $R3 "$EXEDIR\MicrosoftEdgeWebview2Setup.exe"
  ${EndIf}
  ${If} ${FileExists} $R3
    ${IfNot} ${Silent}
      Banner::show "$(INSTALLING_RUNTIME)"
    ${EndIf}
    ExecWait '"$R3" /silent /install' $R4
    ${For} $R5 1 ${RUNTIME_WAIT_STEPS}
      Call HasRuntime
      Pop $R0
      ${If} $R0 = 1
      ${OrIf} $R4 <> 0 ; a code other than 0 is no proof of a failure, but nothing more will come
        ${Break}
      ${EndIf}
      Sleep 500
    ${Next}
    ${IfNot} ${Silent}
      Banner::destroy
    ${EndIf}
  ${EndIf}
  ${If} $R0 = 0
    ${Refuse} ${EXIT_RUNTIME} "$(NO_RUNTIME)"
  ${EndIf}
FunctionEnd
