// stattree: the command-line tool. See app.h for the command line.
#include <signal.h>

#include <csignal>
#include <iostream>

#include "tools/stattree/app.h"

namespace {

volatile std::sig_atomic_t gCancel = 0;

// First Ctrl-C asks the engine to stop; a second one ends the process.
void OnInterrupt(int) {
  gCancel = 1;
  std::signal(SIGINT, SIG_DFL);
}

}  // namespace

int main(int argc, char** argv) {
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  // No SA_RESTART: a read blocked on a terminal or pipe returns at once.
  action.sa_flags = 0;
  sigaction(SIGINT, &action, nullptr);
  return stattree::cli::App(std::cout, std::cerr, &gCancel).Main(argc, argv);
}
