; The installer: the files of the package for the user who starts it, under his own folder and in his own part
; of the registry. It never asks for an administrator. What it defines comes from tools/package.
;
; /S: without windows. Exit code 0: done, 1: ended by the user, 2: not done; then nothing was changed but for
; a failure to write, which leaves what was written to the next try.

!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\Vistrame"
!define SETTINGS "Software\Korvix\QVRA\Config"
!define MENU "$SMPROGRAMS\Vistrame"

Unicode true
Target ${STUB}
Name "Vistrame ${VERSION}"
OutFile "${OUTPUT}"
RequestExecutionLevel user
InstallDir "$LOCALAPPDATA\Programs\Vistrame"
InstallDirRegKey HKCU "${UNINSTALL}" "InstallLocation"
SetCompressor /SOLID lzma
ManifestDPIAware true

!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include TextFunc.nsh
!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_FINISHPAGE_RUN "$INSTDIR\vistrame-analyzer.exe"
!define MUI_FINISHPAGE_RUN_TEXT "Start Vistrame"
!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

VIProductVersion "${VERSION}.0.0"
VIAddVersionKey ProductName "Vistrame"
VIAddVersionKey CompanyName "Korvix"
VIAddVersionKey FileDescription "Installs Vistrame"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey LegalCopyright "Copyright (c) 2026 Korvix. All rights reserved."

; A file that a program has loaded cannot be opened for writing. Replacing one program of the three while
; another runs would leave two versions working together, so nothing is touched until all can be.
!macro NothingRuns un
Function ${un}NothingRuns
    again:
    StrCpy $1 ""
    !insertmacro Try vistrame.exe
    !insertmacro Try vistrame-analyzer.exe
    !insertmacro Try vistrame.ax
    ${If} $1 != ""
        MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$1 is in use.$\n$\nClose Vistrame and every program that plays \
            through its filters, then try again." /SD IDCANCEL IDRETRY again
        SetErrorLevel 2
        Quit
    ${EndIf}
FunctionEnd
!macroend
!macro Try file
    ${If} ${FileExists} "$INSTDIR\${file}"
        ClearErrors
        FileOpen $0 "$INSTDIR\${file}" a
        ${If} ${Errors}
            StrCpy $1 "${file}"
        ${Else}
            FileClose $0
        ${EndIf}
    ${EndIf}
!macroend
!insertmacro NothingRuns ""
!insertmacro NothingRuns un.

; For this user, unless he may do it for everybody: then he runs elevated, and so may what he starts, which
; leaves a user's own classes out. $SYSDIR has the regsvr32 of this program's own width, which is the filters'
; too.
!macro Register options
    ExecWait '"$SYSDIR\regsvr32.exe" /s ${options} "$INSTDIR\vistrame.ax"' $0
!macroend

; What the version that is there had installed goes, or what only it had would stay. Anybody may have written
; into its list since: a name that could lead out of the folder, or stands for several files, is left alone.
Function TakeOldFiles
    ReadRegStr $0 HKCU "${UNINSTALL}" InstallLocation
    ${If} $0 != $INSTDIR
        Return ; what lies there is the user's
    ${EndIf}
    ClearErrors
    FileOpen $0 "$INSTDIR\vistrame-files.txt" r
    ${If} ${Errors}
        Return
    ${EndIf}
    ${Do}
        ClearErrors ; of what could not be removed
        FileRead $0 $1
        ${If} ${Errors}
            ${ExitDo}
        ${EndIf}
        ${TrimNewLines} $1 $1
        StrCpy $2 0
        ${Do}
            StrCpy $3 $1 1 $2
            StrCpy $4 $1 2 $2
            ${If} $3 == ""
            ${OrIf} $3 == ":"
            ${OrIf} $3 == "*"
            ${OrIf} $3 == "?"
            ${OrIf} $4 == ".."
                ${ExitDo}
            ${EndIf}
            IntOp $2 $2 + 1
        ${Loop}
        ${If} $3 == "" ; its end was reached
        ${AndIf} $1 != ""
            Delete "$INSTDIR\$1"
            ${GetParent} "$INSTDIR\$1" $2
            ${If} $2 != $INSTDIR
                RMDir $2 ; when it is empty
            ${EndIf}
        ${EndIf}
    ${Loop}
    FileClose $0
FunctionEnd

Function Failed
    MessageBox MB_OK|MB_ICONSTOP "$2" /SD IDOK
    SetErrorLevel 2
    Abort "$2"
FunctionEnd

Section
    SetShellVarContext current
    Call NothingRuns
    Call TakeOldFiles
    SetOutPath $INSTDIR
    ClearErrors
    File /r "${STAGE}\*"
    File "/oname=vistrame-files.txt" "${LIST}"
    WriteUninstaller "$INSTDIR\uninstall.exe"
    ${If} ${Errors}
        StrCpy $2 "The files cannot be written to $INSTDIR."
        Call Failed
    ${EndIf}
    !insertmacro Register ""
    ${If} $0 != 0
        StrCpy $2 "vistrame.ax cannot be registered (regsvr32 ended with $0)."
        Call Failed
    ${EndIf}
    CreateDirectory "${MENU}"
    CreateShortcut "${MENU}\Vistrame.lnk" "$INSTDIR\vistrame-analyzer.exe"
    CreateShortcut "${MENU}\User guide.lnk" "$INSTDIR\user-guide.html"
    CreateShortcut "${MENU}\Remove Vistrame.lnk" "$INSTDIR\uninstall.exe"
    WriteRegStr HKCU "${UNINSTALL}" DisplayName "Vistrame"
    WriteRegStr HKCU "${UNINSTALL}" DisplayVersion "${VERSION}"
    WriteRegStr HKCU "${UNINSTALL}" Publisher "Korvix"
    WriteRegStr HKCU "${UNINSTALL}" DisplayIcon "$INSTDIR\vistrame-analyzer.exe"
    WriteRegStr HKCU "${UNINSTALL}" InstallLocation "$INSTDIR"
    WriteRegStr HKCU "${UNINSTALL}" UninstallString '"$INSTDIR\uninstall.exe"'
    WriteRegStr HKCU "${UNINSTALL}" QuietUninstallString '"$INSTDIR\uninstall.exe" /S'
    WriteRegDWORD HKCU "${UNINSTALL}" EstimatedSize ${SIZE}
    WriteRegDWORD HKCU "${UNINSTALL}" NoModify 1
SectionEnd

; Only what was installed, and folders only when they are empty: a user may have put files of his own beside
; it.
Section Uninstall
    SetShellVarContext current
    Call un.NothingRuns
    !insertmacro Register /u
    ${If} $0 != 0
        MessageBox MB_OK|MB_ICONSTOP "vistrame.ax was registered by an administrator and has to be removed by one." /SD IDOK
        SetErrorLevel 2
        Quit
    ${EndIf}
    !include "${FILES}"
    Delete "$INSTDIR\vistrame-files.txt"
    Delete "$INSTDIR\uninstall.exe"
    RMDir "$INSTDIR\licences"
    RMDir $INSTDIR
    RMDir "$LOCALAPPDATA\Programs" ; where this was the first of his programs
    Delete "${MENU}\Vistrame.lnk"
    Delete "${MENU}\User guide.lnk"
    Delete "${MENU}\Remove Vistrame.lnk"
    RMDir "${MENU}"
    DeleteRegKey HKCU "${UNINSTALL}"
    DeleteRegKey /ifempty HKCU "Software\Microsoft\Windows\CurrentVersion\Uninstall" ; an earlier Windows has none
    DeleteRegKey HKCU "Software\Vistrame\Analyzer" ; its window's place and recent files
    DeleteRegKey /ifempty HKCU "Software\Vistrame"
    DeleteRegKey HKCU "${SETTINGS}"
    DeleteRegKey /ifempty HKCU "Software\Korvix\QVRA"
    DeleteRegKey /ifempty HKCU "Software\Korvix"
SectionEnd
