#pragma once

// `tamberline run` and `tamberline check`: run a query over pages without the designer.
// Exit status: 0 when every page gave a result, 1 when some page did not, 2 for bad arguments
// or a bad query file.
int runCommandMain(int argc, char *argv[]);

class CommandLine;
// The arguments, help and usage of `run` or of `check`.
CommandLine runCommandLine(bool check);
