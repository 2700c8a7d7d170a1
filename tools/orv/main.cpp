#include "CommandLine.h"

int main(int argc, char** argv) {
  return orv::cli::runCommandLine(argc, argv);
}
