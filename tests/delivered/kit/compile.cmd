@echo off
rem Compiles with Microsoft's compiler what a host takes from the package: the header in C and C++, its
rem C++ face, and the examples, which then have to do what MinGW's do. run.cmd calls this.
setlocal
cd /d "%~dp0"
set include_folder="%CD%\package\include"
set library="%CD%\package\lib\system_search.lib"
set below=package\share\doc\system_search\examples
set examples=%CD%\%below%
set tree="%CD%\scratch\tree" report

set compiler=
for %%c in (cl.exe) do set compiler=%%~$PATH:c
if not defined compiler call :look_for_studio
for %%c in (cl.exe) do set compiler=%%~$PATH:c
if not defined compiler (
    .\run_one.exe skip cl no compiler of Microsoft on the PATH
    goto :eof
)
copy /y package\bin\system_search.dll scratch >nul

call :cl header.c /W4 /WX /Zs /TC "%CD%\compile\header.c"
call :cl header.cpp /W4 /WX /Zs /TP "%CD%\compile\header.c"
call :cl face17 /W4 /Zs /EHsc /std:c++17 "%CD%\compile\face.cpp"
call :cl face20 /W4 /Zs /EHsc /std:c++20 "%CD%\compile\face.cpp"
for %%g in (%below%\guide\*.c) do call :cl guide.%%~ng /W3 /Zs "%examples%\guide\%%~nxg"
call :cl minimal.c /W3 "%examples%\minimal.c" %library% /Fe:cl_minimal.exe
call :cl host.c /W3 "%examples%\c\host.c" %library% /Fe:cl_c.exe
call :cl host.cpp /W3 /EHsc /std:c++17 "%examples%\cpp\host.cpp" %library% /Fe:cl_cpp.exe
rem Marked for shadow stacks, as newer hosts are: an exception inside of the library has to get through.
call :cl failing_build.c /W4 "%CD%\compile\failing_build.c" %library% /Fe:cl_failing_build.exe /link /CETCOMPAT

.\run_one.exe run cl.minimal 60 contains=report.txt scratch\cl_minimal.exe %tree%
.\run_one.exe run cl.c 60 like=host.c scratch\cl_c.exe %tree%
.\run_one.exe run cl.cpp 60 like=host.c scratch\cl_cpp.exe %tree%
.\run_one.exe run cl.failing_build 60 "contains=3 builds failed as they should" scratch\cl_failing_build.exe
goto :eof

:cl
set name=%1
.\run_one.exe run compile.%name% 300 cl.exe /nologo /utf-8 /I %include_folder% %2 %3 %4 %5 %6 %7 %8 %9
goto :eof

rem Visual Studio keeps its compiler off the PATH, but tells where it is.
:look_for_studio
set installer=%ProgramFiles(x86)%\Microsoft Visual Studio\Installer
if not exist "%installer%\vswhere.exe" goto :eof
pushd "%installer%"
for /f "delims=" %%s in ('.\vswhere.exe -latest -products * -property installationPath') do set studio=%%s
popd
if exist "%studio%\VC\Auxiliary\Build\vcvars64.bat" call "%studio%\VC\Auxiliary\Build\vcvars64.bat" >nul
rem It may have gone elsewhere.
cd /d "%~dp0"
goto :eof
