@echo off
rem on-windows.cmd [FOLDER]: runs every test program of a folder on Windows itself, and tells which failed.
rem
rem Build here (./test), copy build/win32/bin to a Windows machine together with this file, and start it there; without an
rem argument it looks in its own folder. A program passes if it ends with 0 and prints its closing line. What a failed one
rem printed is left beside it, NAME_test.exe.log. Nothing waits for an answer.
setlocal enabledelayedexpansion
set folder=%~1
if "%folder%"=="" set folder=%~dp0
cd /d "%folder%"
set passed=0
set failed=0
for %%t in (*_test.exe) do (
    set good=1
    .\%%t >%%t.log 2>&1
    if errorlevel 1 set good=0
    find "test program passed:" %%t.log >nul
    if errorlevel 1 set good=0
    if "!good!"=="0" echo FAILED %%t, see %%t.log
    if "!good!"=="0" set /a failed=failed+1
    if "!good!"=="1" set /a passed=passed+1
    if "!good!"=="1" del %%t.log
)
echo %passed% passed, %failed% failed
if not "%failed%"=="0" exit /b 1
if "%passed%"=="0" exit /b 2
exit /b 0
