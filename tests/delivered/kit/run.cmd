@echo off
rem Runs everything in this folder on this machine, goes on after failures, and writes what came of it
rem to report.txt. Nothing has to be installed; what Python, .NET and Microsoft's compiler show is
rem skipped where they are missing.
rem
rem     run.cmd [quick]        quick: without the programs that take minutes
setlocal
cd /d "%~dp0"
rem Programs of this folder are named with .\, because Windows can be told not to look for them here.
set quick=
if /i "%~1"=="quick" set quick=1
set minutes=ended_save_test listing_test load_unload_test out_of_memory_test query_test stress_test
set SS_KIT=1
for /f %%g in (stack-guard.txt) do set SS_STACK_GUARD=%%g

if exist scratch rmdir /s /q scratch
if exist output rmdir /s /q output
mkdir scratch
mkdir output
rem What the tests put into the user's temporary folder stays in this one.
set TEMP=%CD%\scratch
set TMP=%CD%\scratch

rem ---- The machine -----------------------------------------------------------------------------

copy /y version.txt report.txt >nul
ver >>report.txt
echo Processor: %PROCESSOR_IDENTIFIER%, %NUMBER_OF_PROCESSORS% of them >>report.txt
chcp >>report.txt 2>&1
net session >nul 2>nul
if errorlevel 1 (echo User: an ordinary one, or the prompt is not elevated>>report.txt) else echo User: an administrator>>report.txt
reg query HKLM\SYSTEM\CurrentControlSet\Control\FileSystem /v LongPathsEnabled >>report.txt 2>&1
if errorlevel 1 echo LongPathsEnabled: not set>>report.txt
fsutil fsinfo volumeinfo %~d0 >>report.txt 2>&1
if errorlevel 1 echo File system: fsutil does not tell>>report.txt
echo.>>report.txt
type report.txt

rem ---- The tests of the DLL --------------------------------------------------------------------

for %%p in (tests\*.exe) do call :program %%~np
for /f "delims=" %%t in (scripts.txt) do .\run_one.exe skip %%t a shell script, which runs on Debian

rem ---- The hosts -------------------------------------------------------------------------------

mkdir scratch\tree
mkdir scratch\tree\reports
echo twelve bytes>scratch\tree\reports\report.txt
echo x>scratch\tree\other.bin
set tree="%CD%\scratch\tree" report

.\run_one.exe run host.console 60 "contains=2 matches" package\bin\system-search.exe search %tree%
.\run_one.exe run host.c 60 "contains=search: 2 of 2 in 3" hosts\c\host.exe %tree%
.\run_one.exe run host.cpp 60 like=host.c hosts\cpp\host.exe %tree%

set missing=
if not exist hosts\csharp\host.exe set missing=it is not in this kit
if not exist "%SystemRoot%\Microsoft.NET\Framework64\v4.0.30319\clr.dll" set missing=no .NET Framework 4 here
if defined missing .\run_one.exe skip host.csharp %missing%
if not defined missing .\run_one.exe run host.csharp 60 like=host.c hosts\csharp\host.exe %tree%

set missing=
call :find dotnet.exe --list-runtimes
if not defined found set missing=no .NET on the PATH
if not exist hosts\csharp\host.dll set missing=it is not in this kit
if defined missing .\run_one.exe skip host.dotnet %missing%
if not defined missing .\run_one.exe run host.dotnet 60 like=host.c "%found%" "%CD%\hosts\csharp\host.dll" %tree%

call :find py.exe --version
if not defined found call :find python.exe --version
if not defined found .\run_one.exe skip host.python no Python on the PATH
if defined found .\run_one.exe run host.python 60 like=host.c "%found%" "%CD%\hosts\python\host.py" %tree%

call .\compile.cmd

rem ---- The end ---------------------------------------------------------------------------------

.\run_one.exe total
exit /b %errorlevel%

:program
set leave=
for %%m in (%minutes%) do if "%quick%%1"=="1%%m" set leave=1
if defined leave .\run_one.exe skip %1 takes minutes, left out because of quick
if not defined leave .\run_one.exe run %1 600 tests\%1.exe
goto :eof

rem Sets `found` to the program's path when it is there and runs: Windows brings a python.exe that only
rem says where to get one.
:find
set found=
for %%f in (%1) do set found=%%~$PATH:f
if not defined found goto :eof
"%found%" %2 >nul 2>nul
if errorlevel 1 set found=
goto :eof
