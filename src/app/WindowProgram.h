#pragma once

// Replaces the running program with the window program, handing on argv
// unchanged (so Qt's own arguments reach the window). It is looked for beside
// the running program first (a build folder), then where the install puts it
// relative to the program's folder (GLEANMARK_WINDOW_FROM_BINDIR), so that an
// installed tree can move. Returns only when no candidate could be started:
// then it has said on stderr which paths it tried and why, and the result is
// the exit status 1.
int StartWindowProgram(char* argv[]);
