; The per-machine set-up. installer.sh passes VERSION, FOLDER (the packed folder), INSTALL and REMOVE (what it holds), ICON,
; PICTURE, KILOBYTES and OUTPUT.
;
;   Quillmark-VERSION-setup.exe [/S] [/DATA=folder] [/EMPTY] [/OPERATORS=group] [/D=program folder]
;     /S          asks nothing; what went wrong is in "%TEMP%\Quillmark set-up.log", the exit code is then 2
;     /DATA       the installation folder (packages, queries, reports, logs); default: the one in use, else ProgramData\Tarrowind\Quillmark
;     /EMPTY      a new installation folder gets empty event databases instead of made-up events
;     /OPERATORS  the group that may write in a new installation folder; default: the machine's users
;   uninstall.exe [/S] [/PURGE]
;     /PURGE      deletes the installation folder too
Target amd64-unicode
SetCompressor /SOLID lzma
; A file that cannot be written ends the set-up; where nobody is asked it would be left out in silence.
AllowSkipFiles off
!include MUI2.nsh
!include LogicLib.nsh
!include nsDialogs.nsh
!include FileFunc.nsh
!include WinVer.nsh

!define PRODUCT "Quillmark SQL Report Generator"
!define COMPANY "Tarrowind"
!define FRAMEWORK_KEY "SOFTWARE\Tarrowind\Quillmark\Report Framework"
!define VALUE_KEY "${FRAMEWORK_KEY}\8.50.000"
!define UNINSTALL_KEY "SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall\Quillmark"
!define SHORTCUT "$SMPROGRAMS\${PRODUCT}.lnk"
; The group of all users, by its number: its name differs from language to language.
!define USERS "*S-1-5-32-545"
!define ADMINISTRATORS "*S-1-5-32-544"
!define SYSTEM "*S-1-5-18"

Name "${PRODUCT}"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES64\${COMPANY}\Quillmark"
InstallDirRegKey HKLM "${UNINSTALL_KEY}" "InstallLocation"
RequestExecutionLevel admin
ManifestSupportedOS Win10
ManifestDPIAware true
ManifestLongPathAware true
BrandingText "${PRODUCT} ${VERSION}"
ShowInstDetails nevershow
ShowUninstDetails nevershow

VIProductVersion "${VERSION}.0"
VIFileVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "${PRODUCT}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "FileDescription" "${PRODUCT} set-up"
VIAddVersionKey "CompanyName" "${COMPANY}"
VIAddVersionKey "LegalCopyright" "${COMPANY}"

Var Data       ; the installation folder, without a separator at its end
Var Operators  ; who may write there
Var Events     ; "sample" or "empty"
Var Problem    ; what keeps the folder from being used; empty: nothing
Var Purge      ; uninstall: delete the installation folder
Var Previous   ; the program folder of the version that is there
Var DataBox
Var EventsRadio
Var EmptyRadio
Var OperatorsBox
Var PurgeBox

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_WELCOMEFINISHPAGE_BITMAP "${PICTURE}"
!define MUI_ABORTWARNING
!define MUI_WELCOMEPAGE_TEXT "This installs ${PRODUCT} ${VERSION} for everybody who uses this computer.$\r$\n$\r$\nClose the program, if it is open, before you go on."
!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_DIRECTORY
Page custom DataPage LeaveDataPage
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_TEXT "Start ${PRODUCT}"
!define MUI_FINISHPAGE_RUN_FUNCTION StartProgram
!insertmacro MUI_PAGE_FINISH
UninstPage custom un.PurgePage un.LeavePurgePage
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; Tells what is wrong, with a box or, where nobody is asked, in the log, and ends with code 2.
!macro Fail un
Function ${un}Fail
  Pop $R9
  MessageBox MB_OK|MB_ICONSTOP "$R9" /SD IDOK
  Push "$R9"
  Call ${un}Note
  StrCpy $Problem "told"
  SetErrorLevel 2
  Quit
FunctionEnd

; Adds a line to the log of set-up.
Function ${un}Note
  Pop $R9
  FileOpen $R8 "$TEMP\Quillmark set-up.log" a
  ${IfNot} ${Errors}
    FileSeek $R8 0 END
    ${GetTime} "" "L" $0 $1 $2 $3 $4 $5 $6
    FileWriteUTF16LE $R8 "$2-$1-$0 $4:$5:$6 $R9$\r$\n"
    FileClose $R8
  ${EndIf}
  ClearErrors
FunctionEnd

; Looks for the option on the stack on the command line, by Windows' own rules of quoting: puts what follows it on the stack, or sets the error flag.
Function ${un}ReadOption
  Pop $R0
  StrLen $R1 $R0
  System::Call 'kernel32::GetCommandLineW() w .R2'
  System::Call 'shell32::CommandLineToArgvW(w R2, *i .R3) p .R4'
  StrCpy $R5 1
  ${While} $R5 < $R3
    IntOp $R6 $R5 * 8
    IntPtrOp $R6 $R4 + $R6
    System::Call '*$R6(w .R7)'
    StrCpy $R8 $R7 $R1
    ${If} $R8 == $R0
      StrCpy $R7 $R7 "" $R1
      Push $R7
      System::Call 'kernel32::LocalFree(p R4)'
      ClearErrors
      Return
    ${EndIf}
    IntOp $R5 $R5 + 1
  ${EndWhile}
  System::Call 'kernel32::LocalFree(p R4)'
  SetErrors
FunctionEnd

; Waits until none of the programs in the folder on the stack runs: Windows lets nobody write to a program that does.
Function ${un}EnsureNotRunning
  Pop $R7
  ${Do}
    StrCpy $R6 ""
    !insertmacro LookAt "quillmark.exe"
    !insertmacro LookAt "quillmark-report.exe"
    !insertmacro LookAt "quillmark-import.exe"
    !insertmacro LookAt "quillmark-trial.exe"
    ${If} $R6 == ""
      ${ExitDo}
    ${EndIf}
    StrCpy $R5 "$R7\$R6 is running (perhaps hidden in the notification area, or for another user), so its files cannot be changed."
    MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$R5$\r$\n$\r$\nEnd it and press Retry." /SD IDCANCEL IDRETRY next
    Push "$R5 End it and start this again. Nothing was changed."
    Call ${un}Fail
    next:
  ${Loop}
FunctionEnd
!macroend

!macro LookAt program
  ${If} $R6 == ""
  ${AndIf} ${FileExists} "$R7\${program}"
    ClearErrors
    FileOpen $R8 "$R7\${program}" a
    ${If} ${Errors}
      StrCpy $R6 "${program}"
    ${Else}
      FileClose $R8
    ${EndIf}
    ClearErrors
  ${EndIf}
!macroend

!insertmacro Fail ""
!insertmacro Fail "un."

Function .onInit
  SetRegView 64
  SetShellVarContext all
  ${IfNot} ${AtLeastWin10}
    Push "${PRODUCT} needs Windows 10, Windows Server 2016 or a later one."
    Call Fail
  ${EndIf}
  UserInfo::GetAccountType
  Pop $0
  ${If} $0 != "Admin"
    Push "Only an administrator can install ${PRODUCT} for this computer. Start the set-up as administrator."
    Call Fail
  ${EndIf}

  StrCpy $Previous ""
  ReadRegStr $Previous HKLM "${UNINSTALL_KEY}" "InstallLocation"
  ReadRegStr $Data HKLM "${VALUE_KEY}" "InstallPath"
  ${If} $Data == ""
    StrCpy $Data "$APPDATA\${COMPANY}\Quillmark"
  ${EndIf}
  StrCpy $Events "sample"
  StrCpy $Operators "${USERS}"
  Push "/DATA="
  Call ReadOption
  ${IfNot} ${Errors}
    Pop $Data
  ${EndIf}
  Push "/OPERATORS="
  Call ReadOption
  ${IfNot} ${Errors}
    Pop $Operators
  ${EndIf}
  Push "/EMPTY"
  Call ReadOption
  ${IfNot} ${Errors}
    Pop $R0
    StrCpy $Events "empty"
  ${EndIf}
  ClearErrors
  Call TrimData
FunctionEnd

; Also called after Fail, which has said what was wrong.
Function .onInstFailed
  ${If} $Problem != "told"
    Push "Not every file of the program could be written in $INSTDIR. Make room there, end what uses the folder, and start the set-up again."
    Call Note
  ${EndIf}
FunctionEnd

Function TrimData
  ${Do}
    StrCpy $R1 $Data 1 -1
    ${If} $R1 != "\"
    ${AndIf} $R1 != " "
      ${ExitDo}
    ${EndIf}
    StrCpy $Data $Data -1
  ${LoopUntil} $Data == ""
FunctionEnd

; Whether $Data lies in the folder given: sets $Problem.
!macro RefuseInside folder why
  StrLen $R1 "${folder}\"
  StrCpy $R2 "$Data\" $R1
  ${If} $Problem == ""
  ${AndIf} $R2 == "${folder}\"
    StrCpy $Problem "$Data lies in ${folder}, ${why} Choose another installation folder."
  ${EndIf}
!macroend

; Sets $Problem to what keeps $Data from being the installation folder.
Function CheckData
  StrCpy $Problem ""
  StrCpy $R1 $Data 2 1
  StrCpy $R2 $Data 2
  ${If} $R1 != ":\"
  ${AndIf} $R2 != "\\"
    StrCpy $Problem 'The installation folder "$Data" is not a full path. Write it with its drive, for example C:\ProgramData\${COMPANY}\Quillmark.'
    Return
  ${EndIf}
  StrCpy $R3 0
  ${Do}
    StrCpy $R1 $Data 1 $R3
    ${If} $R1 == '"'
      StrCpy $Problem "The installation folder $Data holds a quotation mark. Write it without a backslash at its end."
      Return
    ${EndIf}
    ${If} $R1 == "/"
      StrCpy $Problem "The installation folder $Data holds a slash. Write it with backslashes."
      Return
    ${EndIf}
    IntOp $R3 $R3 + 1
  ${LoopUntil} $R1 == ""
  ${GetRoot} "$Data" $R1
  ${If} $R1 == $Data
    StrCpy $Problem "$Data is a whole drive. Choose a folder of its own as the installation folder."
    Return
  ${EndIf}
  !insertmacro RefuseInside "$INSTDIR" "where the program's own files are: they are removed with the program."
  !insertmacro RefuseInside "$PROGRAMFILES64" "where only administrators may write."
  !insertmacro RefuseInside "$PROGRAMFILES32" "where only administrators may write."
  !insertmacro RefuseInside "$WINDIR" "which belongs to Windows."
  ${If} $Problem == ""
  ${AndIfNot} ${FileExists} "$Data\Packages.ini"
    ${DirState} "$Data" $R1
    ${If} $R1 == 1
      StrCpy $Problem "$Data holds files, but no installation (there is no Packages.ini). Choose a new or an empty folder, or the folder of an installation."
    ${EndIf}
  ${EndIf}
FunctionEnd

Function DataPage
  !insertmacro MUI_HEADER_TEXT "Choose the installation folder" "Packages, report queries, reports, schedules and logs lie there."
  nsDialogs::Create 1018
  Pop $0
  ${NSD_CreateLabel} 0 0 100% 24u "The people who work with the program need to write in this folder. A folder that holds an installation already is used as it is: nothing in it is changed."
  Pop $0
  ${NSD_CreateDirRequest} 0 28u 77% 13u "$Data"
  Pop $DataBox
  ${NSD_OnChange} $DataBox ShowChoices
  ${NSD_CreateBrowseButton} 80% 27u 20% 15u "B&rowse..."
  Pop $0
  ${NSD_OnClick} $0 BrowseData
  ${NSD_CreateRadioButton} 0 50u 100% 12u "Three &sample packages with made-up events, to try the program with"
  Pop $EventsRadio
  ${NSD_CreateRadioButton} 0 64u 100% 12u "The same packages with &empty event databases, for your own event logs"
  Pop $EmptyRadio
  ${If} $Events == "empty"
    ${NSD_Check} $EmptyRadio
  ${Else}
    ${NSD_Check} $EventsRadio
  ${EndIf}
  ${NSD_CreateLabel} 0 86u 100% 20u "&Group whose members work with the program and may write there (empty: every user of this computer):"
  Pop $0
  StrCpy $R1 $Operators
  ${If} $R1 == "${USERS}"
    StrCpy $R1 ""
  ${EndIf}
  ${NSD_CreateText} 0 108u 77% 13u "$R1"
  Pop $OperatorsBox
  Call ShowChoices
  nsDialogs::Show
FunctionEnd

Function BrowseData
  ${NSD_GetText} $DataBox $R1
  nsDialogs::SelectFolderDialog "Choose the installation folder" "$R1"
  Pop $R1
  ${If} $R1 != "error"
    ${NSD_SetText} $DataBox "$R1"
  ${EndIf}
FunctionEnd

; What a new folder gets is asked for a new folder only.
Function ShowChoices
  ${NSD_GetText} $DataBox $R1
  StrCpy $R2 1
  ${If} ${FileExists} "$R1\Packages.ini"
    StrCpy $R2 0
  ${EndIf}
  EnableWindow $EventsRadio $R2
  EnableWindow $EmptyRadio $R2
  EnableWindow $OperatorsBox $R2
FunctionEnd

Function LeaveDataPage
  ${NSD_GetText} $DataBox $Data
  Call TrimData
  Call CheckData
  ${If} $Problem != ""
    MessageBox MB_OK|MB_ICONEXCLAMATION "$Problem"
    Abort
  ${EndIf}
  ${NSD_GetState} $EmptyRadio $R1
  StrCpy $Events "sample"
  ${If} $R1 == ${BST_CHECKED}
    StrCpy $Events "empty"
  ${EndIf}
  ${NSD_GetText} $OperatorsBox $Operators
  ${If} $Operators == ""
    StrCpy $Operators "${USERS}"
  ${EndIf}
FunctionEnd

; By the shell, so that the program does not run with the rights of the set-up.
Function StartProgram
  Exec '"$WINDIR\explorer.exe" "${SHORTCUT}"'
FunctionEnd

; Runs a command line without a window; ends the set-up when it fails.
!macro Run what command
  nsExec::ExecToStack '${command}'
  Pop $R1
  Pop $R2
  ${If} $R1 != 0
    Push `${what} ($R1)$\r$\n$R2$\r$\nThe program is installed, but it has no installation folder yet. Remove the cause and start the set-up again.`
    Call AbandonData
  ${EndIf}
!macroend

Function AbandonData
  RMDir /r "$Data"
  Call Fail
FunctionEnd

; A new installation folder: rights first, as the files inherit them. What the program loads as plug-ins only administrators may put there.
Function LayOutData
  DetailPrint "Laying out $Data"
  StrCpy $R3 "$APPDATA\${COMPANY}"
  ${If} $Data != "$R3\Quillmark"
  ${OrIf} ${FileExists} "$R3\*.*"
    StrCpy $R3 ""
  ${EndIf}
  CreateDirectory "$Data\Components"
  ${IfNot} ${FileExists} "$Data\Components\*.*"
    Push "The installation folder $Data cannot be made. Check the drive and its rights, or choose another folder, and start the set-up again."
    Call Fail
  ${EndIf}
  StrCpy $R0 '"$SYSDIR\icacls.exe"'
  ${If} $R3 != "" ; or users could put another folder, with plug-ins of their own, in the place of this one
    !insertmacro Run "The rights of $R3 could not be set." '$R0 "$R3" /inheritance:r /grant:r "${SYSTEM}:(OI)(CI)F" "${ADMINISTRATORS}:(OI)(CI)F" "${USERS}:(OI)(CI)RX"'
  ${EndIf}
  ${If} $Operators == "${USERS}"
    !insertmacro Run "The users could not be given the right to write in $Data." '$R0 "$Data" /grant "${USERS}:(OI)(CI)M"'
  ${Else}
    !insertmacro Run 'The group "$Operators" could not be given the right to write in $Data. Is its name right?' '$R0 "$Data" /inheritance:r /grant:r "${SYSTEM}:(OI)(CI)F" "${ADMINISTRATORS}:(OI)(CI)F" "$Operators:(OI)(CI)M"'
  ${EndIf}
  !insertmacro Run "The rights of $Data\Components could not be set." '$R0 "$Data\Components" /inheritance:r /grant:r "${SYSTEM}:(OI)(CI)F" "${ADMINISTRATORS}:(OI)(CI)F" "$Operators:(OI)(CI)RX"'
  StrCpy $R0 ""
  ${If} $Events == "empty"
    StrCpy $R0 " --rows 0"
  ${EndIf}
  !insertmacro Run "The packages could not be laid out in $Data." '"$INSTDIR\quillmark-trial.exe" --to "$Data"$R0'
  ; The help beside the program is shown then, the new one after an upgrade too.
  Delete "$Data\Report Generator.chm"
FunctionEnd

Section
  Call CheckData
  ${If} $Problem != ""
    Push "$Problem Nothing was installed."
    Call Fail
  ${EndIf}
  Push $INSTDIR
  Call EnsureNotRunning
  ${If} $Previous != ""
  ${AndIf} ${FileExists} "$Previous\uninstall.exe"
    Push $Previous
    Call EnsureNotRunning
    DetailPrint "Removing the version that is there"
    ExecWait '"$Previous\uninstall.exe" /S _?=$Previous' $R1
    ${If} $R1 != 0
      Push "The version in $Previous could not be removed ($R1). Uninstall it in Windows' list of installed apps and start this again."
      Call Fail
    ${EndIf}
    Delete "$Previous\uninstall.exe"
    RMDir "$Previous"
    ; Should this not come to its end, the next start still finds the folder in use.
    ${If} ${FileExists} "$Data\Packages.ini"
      WriteRegStr HKLM "${VALUE_KEY}" "InstallPath" "$Data\"
    ${EndIf}
  ${EndIf}

  !include "${INSTALL}"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayName" "${PRODUCT}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "Publisher" "${COMPANY}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\quillmark.exe,0"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "EstimatedSize" ${KILOBYTES}
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoRepair" 1

  ${IfNot} ${FileExists} "$Data\Packages.ini"
    Call LayOutData
  ${EndIf}
  ClearErrors
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DataFolder" "$Data"
  WriteRegStr HKLM "${VALUE_KEY}" "InstallPath" "$Data\"
  ${If} ${Errors}
    Push "The registry value InstallPath of HKEY_LOCAL_MACHINE\${VALUE_KEY} could not be written. Write it as a text: $Data\"
    Call Fail
  ${EndIf}
  SetOutPath "$INSTDIR"
  CreateShortcut "${SHORTCUT}" "$INSTDIR\quillmark.exe"
SectionEnd

Function un.onInit
  SetRegView 64
  SetShellVarContext all
  ReadRegStr $Data HKLM "${UNINSTALL_KEY}" "DataFolder"
  StrCpy $Purge 0
  Push "/PURGE"
  Call un.ReadOption
  ${IfNot} ${Errors}
    Pop $R0
    StrCpy $Purge 1
  ${EndIf}
  ClearErrors
FunctionEnd

Function un.PurgePage
  !insertmacro MUI_HEADER_TEXT "Uninstall ${PRODUCT}" "The program is removed from $INSTDIR."
  nsDialogs::Create 1018
  Pop $0
  ${NSD_CreateLabel} 0 0 100% 36u "The installation folder is kept, so that the program can be installed again and finds everything as it was:$\r$\n$\r$\n$Data"
  Pop $0
  ${NSD_CreateCheckbox} 0 48u 100% 12u "&Delete that folder as well"
  Pop $PurgeBox
  ${If} $Purge = 1
    ${NSD_Check} $PurgeBox
  ${EndIf}
  ${NSD_CreateLabel} 12u 62u 95% 36u "All packages with their event databases, report queries and layouts, the schedule, the saved connections, the finished reports and the record of all runs are then gone for good."
  Pop $0
  ${If} $Data == ""
    EnableWindow $PurgeBox 0
  ${EndIf}
  GetDlgItem $0 $HWNDPARENT 1
  SendMessage $0 ${WM_SETTEXT} 0 "STR:&Uninstall"
  nsDialogs::Show
FunctionEnd

Function un.LeavePurgePage
  ${NSD_GetState} $PurgeBox $R1
  StrCpy $Purge 0
  ${If} $R1 == ${BST_CHECKED}
    MessageBox MB_YESNO|MB_ICONEXCLAMATION|MB_DEFBUTTON2 "Delete $Data with everything in it? It cannot be brought back." IDYES +2
    Abort
    StrCpy $Purge 1
  ${EndIf}
FunctionEnd

Section "Uninstall"
  Push $INSTDIR
  Call un.EnsureNotRunning
  !include "${REMOVE}"
  Delete "$INSTDIR\uninstall.exe"
  SetOutPath "$TEMP"
  RMDir "$INSTDIR"
  RMDir "$PROGRAMFILES64\${COMPANY}"
  Delete "${SHORTCUT}"

  ; The value is set-up's own only as long as it names the folder that set-up wrote.
  ReadRegStr $R1 HKLM "${VALUE_KEY}" "InstallPath"
  ${If} $R1 == "$Data\"
    DeleteRegValue HKLM "${VALUE_KEY}" "InstallPath"
  ${EndIf}
  DeleteRegKey /ifempty HKLM "${VALUE_KEY}"
  DeleteRegKey /ifempty HKLM "${FRAMEWORK_KEY}"
  DeleteRegKey /ifempty HKLM "SOFTWARE\Tarrowind\Quillmark"
  DeleteRegKey /ifempty HKLM "SOFTWARE\Tarrowind"
  DeleteRegKey HKLM "${UNINSTALL_KEY}"

  ${If} $Purge = 1
    ${If} ${FileExists} "$Data\Packages.ini"
      RMDir /r "$Data"
      RMDir "$APPDATA\${COMPANY}"
      ${If} ${FileExists} "$Data\*.*"
        Push "The program is removed, but some files in $Data are in use and were kept. Close what uses them and delete the folder."
        Call un.Fail
      ${EndIf}
    ${Else}
      Push 'The program is removed. The folder "$Data" was not deleted, as it holds no installation (there is no Packages.ini); look at it and delete it yourself.'
      Call un.Fail
    ${EndIf}
  ${EndIf}
SectionEnd
