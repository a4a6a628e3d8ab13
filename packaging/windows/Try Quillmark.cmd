@echo off
rem Opens the program. Where it has no installation yet, lays out a trial with made-up events for this user first.
setlocal
set "KEY=SOFTWARE\Tarrowind\Quillmark\Report Framework\8.50.000"
set "TRIAL=%LOCALAPPDATA%\Quillmark Trial"

if not exist "%~dp0quillmark.exe" goto alone

reg query "HKLM\%KEY%" /v InstallPath /reg:64 >nul 2>&1
if not errorlevel 1 goto open
reg query "HKCU\%KEY%" /v InstallPath /reg:64 >nul 2>&1
if errorlevel 1 goto trial
rem Another installation of this user's is opened as it is; the trial's folder may have been deleted since.
reg query "HKCU\%KEY%" /v InstallPath /reg:64 | find /i "%TRIAL%\" >nul
if errorlevel 1 goto open

:trial
if exist "%TRIAL%\Packages.ini" goto register
echo Laying out a trial installation in "%TRIAL%" ...
"%~dp0quillmark-trial.exe" --to "%TRIAL%"
if errorlevel 1 goto failed

:register
reg add "HKCU\%KEY%" /v InstallPath /d "%TRIAL%\\" /f /reg:64 >nul
if errorlevel 1 goto failed

:open
start "" "%~dp0quillmark.exe"
exit /b 0

:alone
echo The program is not beside this file. Unpack the whole zip into a folder and start it from there.
pause
exit /b 1

:failed
echo The trial installation was not made. Remove the cause and start this again.
pause
exit /b 1
