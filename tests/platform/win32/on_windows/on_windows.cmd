@echo off
rem Tries on Windows itself what Wine cannot prove, and writes a report:
rem
rem     on_windows.cmd [report]
rem
rem The programs lie beside this file. Symbolic links are tried where the developer mode is on or an
rem administrator asks, paths of the network where \\localhost\C$ may be opened; else the report
rem says that they were skipped. Ends with the number of programs that failed.
setlocal
set "here=%~dp0"
set "report=%~1"
if "%report%"=="" set "report=%here%on_windows_report.txt"
set failed=0

>"%report%" echo ztkbase on Windows: what Wine cannot prove
>>"%report%" ver
for %%p in (on_windows_test win32_file_test win32_lock_test win32_kill_test win32_event_loop_test win32_time_zone_test) do call :run %%p
>>"%report%" echo.
>>"%report%" echo == The end: programs that failed: %failed%
type "%report%"
exit /b %failed%

:run
>>"%report%" echo.
>>"%report%" echo == %1
"%here%%1.exe" >>"%report%" 2>&1
if "%errorlevel%"=="0" goto :eof
>>"%report%" echo == %1 failed
set /a failed=failed+1
goto :eof
