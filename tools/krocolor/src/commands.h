// The sub-commands. Each takes the full argument vector and the index of
// its first own argument, and returns the exit status (or throws CliError).
#pragma once

namespace krocolor {

int runConvert(int argc, char** argv, int first);
int runIcc(int argc, char** argv, int first);
int runLab(int argc, char** argv, int first);
int runFormats(int argc, char** argv, int first);
int runColors(int argc, char** argv, int first);
int runCompare(int argc, char** argv, int first);
int runDemo(int argc, char** argv, int first);

}  // namespace krocolor
