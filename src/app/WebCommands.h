#pragma once

// `gleanmark crawl ...` and `gleanmark shortcut ...`: the web window's crawl
// and shortcut commands, headless. Returns the exit status.
int WebCommandLine(int argc, char* argv[]);
