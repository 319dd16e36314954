#!/usr/bin/env bash
# Starts the program: the main window when a display is available; otherwise
# the command line over the bundled samples, printing what it finds.
set -euo pipefail
app="$1"
if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; then
  exec "$app"
fi

cd "$(dirname "$0")/.."
echo "No display found: running the command line over samples/ instead."
show() {
  echo
  echo "\$ gleanmark run $*"
  "$app" run "$@"
}
show --website --mailto --file-name --process-time samples/pages/contact.html samples/pages/team.asp samples/text/notes.txt
show --keywords samples/keywords.txt --file-name samples/pages/team.asp samples/text/notes.txt
show --mail --heading --from --to --cc samples/mail/board_invite.eml samples/mail/re_catering.eml samples/mail/team_update.eml samples/mail/volunteer_roster.eml
