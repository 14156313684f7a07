; The texts of the installer, in English and German. $0 is the part that varies.
!macro Text name english german
  LangString ${name} ${LANG_ENGLISH} "${english}"
  LangString ${name} ${LANG_GERMAN} "${german}"
!macroend
!define Text "!insertmacro Text"

${Text} BAD_ARGUMENT "The installer does not know the argument $0, or cannot use it here." \
  "Das Installationsprogramm kennt das Argument $0 nicht oder kann es hier nicht verwenden."
${Text} SECOND_INSTALLER "Wendra is being installed or removed already. Wait until that is done." \
  "Wendra wird bereits installiert oder entfernt. Warten Sie, bis das fertig ist."
${Text} NEWER_INSTALLED "Version $0 is installed, which is newer than ${VERSION}. It stays. (/DOWNGRADE replaces it.)" \
  "Version $0 ist installiert und neuer als ${VERSION}. Sie bleibt. (/DOWNGRADE ersetzt sie.)"
${Text} ASK_DOWNGRADE "Version $0 is installed, which is newer than ${VERSION}. Replace it by the older version?" \
  "Version $0 ist installiert und neuer als ${VERSION}. Durch die ältere Version ersetzen?"
${Text} PATH_TOO_LONG "The name of the folder is too long. Choose one with at most 200 characters." \
  "Der Name des Ordners ist zu lang. Wählen Sie einen mit höchstens 200 Zeichen."
${Text} OTHER_FILES "The folder $INSTDIR holds other files. Choose an empty or a new one." \
  "Der Ordner $INSTDIR enthält andere Dateien. Wählen Sie einen leeren oder einen neuen."
${Text} NO_ACCESS "The folder $INSTDIR cannot be written." \
  "In den Ordner $INSTDIR kann nicht geschrieben werden."
${Text} NO_REGISTRY "The entry under “Installed apps” cannot be written." \
  "Der Eintrag unter „Installierte Apps“ kann nicht geschrieben werden."
${Text} DISK_FULL "There is not enough space on the disk for $INSTDIR. Nothing has been changed." \
  "Auf dem Datenträger von $INSTDIR ist nicht genug Platz. Es wurde nichts geändert."
${Text} ASK_CLOSE "Wendra is running. It will be closed now." \
  "Wendra läuft. Es wird jetzt geschlossen."
${Text} DOES_NOT_CLOSE "Wendra is running and does not close. Close it and try again. Nothing has been changed." \
  "Wendra läuft und schließt sich nicht. Schließen Sie es und versuchen Sie es noch einmal. Es wurde nichts geändert."
${Text} FILE_IN_USE "Another program uses $0. Close it and try again. The installed version has been kept." \
  "Ein anderes Programm benutzt $0. Schließen Sie es und versuchen Sie es noch einmal. Die installierte Version ist erhalten."
${Text} NO_ELEVATION "An installation for all users needs the rights of an administrator." \
  "Eine Installation für alle Benutzer braucht die Rechte eines Administrators."
${Text} NO_RUNTIME "Wendra needs Microsoft's WebView2 runtime, which is missing on this computer. Install it from https://go.microsoft.com/fwlink/p/?LinkId=2124703 and start this installer again." \
  "Wendra braucht die WebView2-Laufzeit von Microsoft, die auf diesem Computer fehlt. Installieren Sie sie von https://go.microsoft.com/fwlink/p/?LinkId=2124703 und starten Sie dieses Programm noch einmal."
${Text} INSTALLING_RUNTIME "Installing Microsoft's WebView2 runtime…" \
  "Die WebView2-Laufzeit von Microsoft wird installiert…"
${Text} DESKTOP_SHORTCUT "Make a shortcut on the desktop" \
  "Eine Verknüpfung auf dem Desktop anlegen"
