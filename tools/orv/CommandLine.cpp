#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "Commands.h"
#include "Failure.h"
#include "HardwareOptions.h"
#include "Interruption.h"
#include "OrvPlatform/Log.h"
#include "Text.h"

namespace orv::cli {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr int kStopped = 130;

void printProblem(const std::string& line) {
  std::fprintf(stderr, "orv: %s\n", line.c_str());
}

// What the framework logs is for those who ask for it: of a failure, standard error gets one line.
void routeLog(bool verbose) {
  setLogSink([verbose](std::string_view line) {
    if (verbose) {
      std::fprintf(stderr, "orv: log: %s\n", printable(line).c_str());
    }
  });
}

int perform(const Action& action) {
  try {
    action();
    return 0;
  } catch (const Cancelled& stop) {
    printProblem(stop.what());
    return kStopped;
  } catch (const std::bad_alloc&) {
    printProblem("out of memory");
  } catch (const std::exception& problem) {
    printProblem(problem.what());
  }
  return kFailed;
}

int explainUsage(const CLI::App& program, const CLI::ParseError& error) {
  const auto chosen = program.get_subcommands();
  const std::string command = chosen.empty() ? "orv" : "orv " + chosen.front()->get_name();
  std::fprintf(stderr, "%s: %s; see '%s --help'\n", command.c_str(), printable(error.what()).c_str(), command.c_str());
  return kWrongUsage;
}

}  // namespace

void print(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
    throw systemFailure("standard output", errno);
  }
}

int runCommandLine(int argc, char** argv) {
  CLI::App program(
      "Records, plays and monitors; cuts recordings into tracks and converts them; lists and meters audio devices.",
      "orv");
  program.footer(
      "Each subcommand has a --help of its own, with an example.\n"
      "Exit status: 0 done, 1 failed (standard error says why), 2 wrong usage, 130 stopped.");
  program.set_version_flag("--version", "orv " ORV_VERSION, "Print the version and exit");
  program.set_help_flag("-h,--help", "Print this help and exit");
  program.require_subcommand(0, 1);
  bool verbose = false;
  program.add_flag("--verbose", verbose, "Show on standard error what the framework logs");

  const auto hardware = addHardwareOptions(program);

  Action action;
  addRecordCommand(program, hardware, &action);
  addMonitorCommand(program, hardware, &action);
  addPlayCommand(program, hardware, &action);
  addInfoCommand(program, &action);
  addSplitCommand(program, &action);
  addTracksCommand(program, &action);
  addExportCommand(program, &action);
  addProcessCommand(program, &action);
  addConvertCommand(program, &action);
  addCheckCommand(program, &action);
  addDevicesCommand(program, hardware, &action);
  addMeterCommand(program, hardware, &action);
  try {
    program.parse(argc, argv);
    if (!action) {
      throw CLI::ParseError("a subcommand is missing", CLI::ExitCodes::RequiredError);
    }
  } catch (const CLI::Success& answer) {
    return program.exit(answer);
  } catch (const CLI::ParseError& error) {
    return explainUsage(program, error);
  }
  routeLog(verbose);
  catchInterruptions();
  const int status = perform(action);
  letHardwareGo();
  return status;
}

}  // namespace orv::cli
