#pragma once

// `gleanmark run [OPTIONS] PATH...`: runs the main window's processing
// headless and writes the result file to standard output or a file. Returns
// the exit status.
int RunCommandLine(int argc, char* argv[]);
