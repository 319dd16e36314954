#!/usr/bin/env bash
# Starts the program: the window when a display is available, otherwise a
# plain note that there is none.
set -euo pipefail
app="$1"
if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; then
  exec "$app"
fi
echo "No display found (DISPLAY and WAYLAND_DISPLAY are unset): the main window cannot be shown."
