; Installer of Dorvala Online for Windows, made with makensis by scripts/windows/build.sh:
;   makensis -DVERSION=1.0.0 -DLISTS=<folder> -DOUTFILE=<setup.exe> dorvala.nsi
; where <folder> holds install-files.nsh and uninstall-files.nsh, the program's files as
; File and Delete lines, written by the build script from the folder it packs.
; Installs for the current user only (no administrator needed): the program into
; %LOCALAPPDATA%\Programs\Dorvala, a Start-menu entry, and an uninstaller listed under
; "Apps & features". The uninstaller removes exactly the files installed here; the player's
; score and name files live elsewhere and stay.

; A 64-bit installer for a 64-bit program (it also runs under Debian's wine64 alone).
Target amd64-unicode
SetCompressor /SOLID lzma
RequestExecutionLevel user

!include "MUI2.nsh"
!include "FileFunc.nsh"

!define NAME "Dorvala Online"
!define PUBLISHER "Pobrek"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Dorvala"

Name "${NAME}"
OutFile "${OUTFILE}"
InstallDir "$LOCALAPPDATA\Programs\Dorvala"
InstallDirRegKey HKCU "Software\Dorvala" "InstallDir"
VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "${NAME}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "FileDescription" "${NAME} Setup"
VIAddVersionKey "CompanyName" "${PUBLISHER}"
VIAddVersionKey "LegalCopyright" "${PUBLISHER}"

!define MUI_ABORTWARNING
!define MUI_FINISHPAGE_RUN "$INSTDIR\dorvala.exe"
!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "Indonesian"

Section "Dorvala Online"
  SetShellVarContext current
  SetOutPath "$INSTDIR"
  !include "${LISTS}/install-files.nsh"
  WriteUninstaller "$INSTDIR\uninstall.exe"

  CreateShortCut "$SMPROGRAMS\Dorvala Online.lnk" "$INSTDIR\dorvala.exe"

  WriteRegStr HKCU "Software\Dorvala" "InstallDir" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "${NAME}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "Publisher" "${PUBLISHER}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\dorvala.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "EstimatedSize" "$0"
SectionEnd

Section "Uninstall"
  SetShellVarContext current
  !include "${LISTS}/uninstall-files.nsh"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  Delete "$SMPROGRAMS\Dorvala Online.lnk"
  DeleteRegKey HKCU "${UNINSTALL_KEY}"
  DeleteRegKey HKCU "Software\Dorvala"
SectionEnd
