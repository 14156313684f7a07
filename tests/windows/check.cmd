@echo off
rem Checks Wendra on this Windows machine. See docs/windows.md.
where node >nul 2>nul
if errorlevel 1 (
  echo check: Node is missing. Install it from https://nodejs.org and try again.
  exit /b 2
)
node "%~dp0check.mjs" %*
